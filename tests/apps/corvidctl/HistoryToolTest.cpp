#include "Tool.h"

using nlohmann::json;
using testing::HasSubstr;

namespace {

const std::string START =
    R"({"batch":1,"time":"2024-02-29T13:05:59.007Z","cause":"start","changes":[)"
    R"({"key":"A","oldValue":"","newValue":"1","oldStore":"","newStore":"S","isSensitive":false},)"
    R"({"key":"B","oldValue":"","newValue":"1","oldStore":"","newStore":"S","isSensitive":false}]})"
    "\n";

const std::string SET =
    R"({"batch":2,"time":"2024-02-29T13:06:00.000Z","cause":"set","changes":[)"
    R"({"key":"A","oldValue":"1","newValue":"2","oldStore":"S","newStore":"T","isSensitive":false}]})"
    "\n";

const std::string LATE_START =
    R"({"batch":3,"time":"2024-02-29T13:08:00.000Z","cause":"start","changes":[)"
    R"({"key":"A","oldValue":"","newValue":"2","oldStore":"","newStore":"T","isSensitive":false},)"
    R"({"key":"B","oldValue":"","newValue":"1","oldStore":"","newStore":"S","isSensitive":false}]})"
    "\n";

const std::string RESET =
    R"({"batch":3,"time":"2024-02-29T13:07:00.000Z","cause":"reset","changes":[)"
    R"({"key":"A","oldValue":"2","newValue":"","oldStore":"T","newStore":"","isSensitive":false},)"
    R"({"key":"B","oldValue":"1","newValue":"","oldStore":"S","newStore":"S","isSensitive":false}]})"
    "\n";

/// The tool beside a journal, with no module and no profile near.
class HistoryTool : public Tool {
protected:
    support::Ended history(std::vector<std::string> words) const {
        words.insert(words.begin(), {CORVIDCTL_PROGRAM, "history"});
        support::ChildProcess::Options options;
        options.environment = {{"HOME", ""}, {"XDG_CONFIG_HOME", ""}};
        return support::runProgram(words, options);
    }

    const std::string journal_ = directory_.write("journal", START + SET + RESET);
};

}  // namespace

TEST_F(HistoryTool, PrintsEveryChange) {
    const support::Ended ended = history({"--journal", journal_});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_EQ(ended.out, "TIME (UTC)           CAUSE  KEY  FROM  TO       STORE\n"
                         "2024-02-29 13:06:00  set    A    1     2        S -> T\n"
                         "2024-02-29 13:07:00  reset  A    2     -        T\n"
                         "2024-02-29 13:07:00  reset  B    1     (empty)  S\n");
    EXPECT_EQ(ended.error, "");
}

TEST_F(HistoryTool, PrintsTheChangesOfSomeKeys) {
    EXPECT_EQ(history({"b", "--journal", journal_}).out, "TIME (UTC)           CAUSE  KEY  FROM  TO       STORE\n"
                                                         "2024-02-29 13:07:00  reset  B    1     (empty)  S\n");
}

TEST_F(HistoryTool, PrintsBatches) {
    EXPECT_EQ(history({"--batch", "--journal", journal_}).out, "2024-02-29T13:06:00.000Z  set  1 key\n"
                                                               "  A: \"1\" -> \"2\" (S -> T)\n"
                                                               "2024-02-29T13:07:00.000Z  reset  2 keys\n"
                                                               "  A: \"2\" -> not defined (T)\n"
                                                               "  B: \"1\" -> \"\" (S)\n");
}

TEST_F(HistoryTool, PrintsForScripts) {
    const json changes = json::parse(history({"--json", "--journal", journal_}).out);
    ASSERT_EQ(changes.size(), 3U);
    EXPECT_EQ(changes[0], json({{"batch", 2},
                                {"time", "2024-02-29T13:06:00.000Z"},
                                {"cause", "set"},
                                {"key", "A"},
                                {"oldValue", "1"},
                                {"newValue", "2"},
                                {"oldStore", "S"},
                                {"newStore", "T"},
                                {"isSensitive", false}}));
    EXPECT_EQ(history({"-o", "jsonl", "--batch", "--journal", journal_}).out, SET + RESET);
    EXPECT_EQ(history({"-o", "tsv", "--batch", "b", "--journal", journal_}).out,
              "batch\ttime\tcause\tkey\toldValue\tnewValue\toldStore\tnewStore\tisSensitive\n"
              "3\t2024-02-29T13:07:00.000Z\treset\tB\t1\t\tS\tS\tfalse\n");
}

TEST_F(HistoryTool, ReadsTheOldFileToo) {
    directory_.write("journal.1", START + SET);
    directory_.write("journal", RESET);
    EXPECT_EQ(history({"a", "-o", "tsv", "--journal", journal_}).out,
              "batch\ttime\tcause\tkey\toldValue\tnewValue\toldStore\tnewStore\tisSensitive\n"
              "2\t2024-02-29T13:06:00.000Z\tset\tA\t1\t2\tS\tT\tfalse\n"
              "3\t2024-02-29T13:07:00.000Z\treset\tA\t2\t\tT\t\tfalse\n");
}

TEST_F(HistoryTool, NamesTheLinesThatItCannotRead) {
    directory_.write("journal", START + "garbage\n" + SET + RESET.substr(0, 40));
    const support::Ended ended = history({"--journal", journal_});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("2024-02-29 13:06:00  set    A    1     2   S -> T\n"));
    EXPECT_EQ(ended.error, "corvidctl: " + journal_ + ", line 2: no batch that can be read, left out\n" +
                               "corvidctl: " + journal_ +
                               ", line 4: the file ends in the midst of this batch, which is left out\n");
}

TEST_F(HistoryTool, SaysSinceWhenNothingChanged) {
    const support::Ended ended = history({"C", "x*", "--journal", journal_});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "corvidctl: the journal knows no change of C, x* since 2024-02-29T13:05:59.007Z\n");
    EXPECT_EQ(history({"", "--journal", journal_}).error,
              "corvidctl: the journal knows no change of \"\" since 2024-02-29T13:05:59.007Z\n");
    directory_.write("journal", START);
    EXPECT_EQ(history({"--journal", journal_}).error,
              "corvidctl: the journal knows no change since 2024-02-29T13:05:59.007Z\n");
}

TEST_F(HistoryTool, SaysWhatAKeyHasBeenThatNeverChanged) {
    directory_.write("journal", START + SET);
    const support::Ended ended = history({"b", "--journal", journal_});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "corvidctl: the journal knows no change of b since 2024-02-29T13:05:59.007Z\n"
                           "corvidctl: B has been \"1\", from S, since 2024-02-29T13:05:59.007Z\n");
}

TEST_F(HistoryTool, SaysWhatAKeyHasBeenSinceAJournalThatHasLostItsBeginningNamesIt) {
    directory_.write("journal", SET + LATE_START);
    EXPECT_EQ(history({"b", "--journal", journal_}).error,
              "corvidctl: the journal knows no change of b since 2024-02-29T13:06:00.000Z\n"
              "corvidctl: B has been \"1\", from S, since 2024-02-29T13:08:00.000Z\n");
}

TEST_F(HistoryTool, GivesScriptsAnEmptyAnswerWhereNothingChanged) {
    const support::Ended ended = history({"C", "--json", "--journal", journal_});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "[]\n");
    EXPECT_EQ(ended.error, "corvidctl: the journal knows no change of C since 2024-02-29T13:05:59.007Z\n");
}

TEST_F(HistoryTool, SaysThatAJournalIsEmpty) {
    directory_.write("journal", "");
    const support::Ended ended = history({"--journal", journal_});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error, "corvidctl: the journal holds no batch yet\n");
}

TEST_F(HistoryTool, NeedsAJournal) {
    const support::Ended ended = history({"A"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error,
              "corvidctl: history: --journal is missing, expected: corvidctl history [KEY|GLOB...] --journal FILE\n");
    EXPECT_EQ(history({"--journal", ""}).error, "corvidctl: --journal is empty, expected a path\n");
}

TEST_F(HistoryTool, NeedsAJournalThatIsThere) {
    const std::string missing = directory_.path("missing");
    const support::Ended ended = history({"--journal", missing});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error, "corvidctl: --journal '" + missing +
                               "': expected a journal that corvidctl watch --journal has written\n");
    EXPECT_EQ(history({"--journal", directory_.path()}).error,
              "corvidctl: --journal '" + directory_.path() + "': expected a file that can be read\n");
}

TEST_F(HistoryTool, NeedsAFileThatIsAJournal) {
    const std::string letter = directory_.write("letter", "Dear Sirs,\n\nyours\n");
    const support::Ended ended = history({"--journal", letter});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error,
              "corvidctl: --journal '" + letter + "': expected a journal that corvidctl watch --journal has written\n");
}

TEST_F(HistoryTool, IsNotWrittenIntoAnotherFile) {
    const std::string letter = directory_.write("letter", "Dear Sirs");
    directory_.write("taken.1", "Dear Sirs");
    const auto before = files();
    const std::map<std::string, std::string> problems = {
        {directory_.path("taken"),
         "expected no other file at " + directory_.path("taken.1") + ", where a full journal goes"},
        {letter, "expected a journal of an earlier watch, or a file that does not exist yet"},
        {directory_.path(), "expected a file that can be written"},
        {"/dev/null", "expected a file that can be written"},
        {directory_.path("nowhere/journal"), "expected a file that can be written"}};
    for (const auto& [path, problem] : problems) {
        const support::Ended ended = run({"watch", "--journal", path});
        EXPECT_EQ(ended.status, 2) << path;
        EXPECT_EQ(ended.error, "corvidctl: --journal '" + path + "': " + problem + "\n");
    }
    EXPECT_EQ(run({"watch", "--journal", ""}).error, "corvidctl: --journal is empty, expected a path\n");
    EXPECT_EQ(files(), before);
}
