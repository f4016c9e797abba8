#include "journal/JournalText.h"

#include "Journals.h"

using namespace corvidctl;
using journals::batch;
using journals::change;
using journals::TickingClock;
using std::chrono::microseconds;
using std::chrono::system_clock;

namespace {

const JournalBatch BATCH = batch(
    7, Cause::Download, {change("A", "1", "tab\there \"quoted\"", "S", "T"), change("B", "", "x", "", "T", true)});

const std::string LINE =
    R"({"batch":7,"time":"2001-09-09T01:46:45.500Z","cause":"download","changes":[)"
    R"({"key":"A","oldValue":"1","newValue":"tab\there \"quoted\"","oldStore":"S","newStore":"T","isSensitive":false},)"
    R"({"key":"B","oldValue":"","newValue":"x","oldStore":"","newStore":"T","isSensitive":true}]})"
    "\n";

const std::string TABBED = "7\t2001-09-09T01:46:45.500Z\tdownload\tA\t1\ttab\\there \"quoted\"\tS\tT\tfalse\n"
                           "7\t2001-09-09T01:46:45.500Z\tdownload\tB\t\tx\t\tT\ttrue\n";

const std::string HEADINGS = "batch\ttime\tcause\tkey\toldValue\tnewValue\toldStore\tnewStore\tisSensitive\n";

std::string withoutLineFeed(std::string line) { return line.substr(0, line.size() - 1); }

}  // namespace

TEST(JournalTime, IsUtcWithMilliseconds) {
    EXPECT_EQ(journaltext::timeText(system_clock::from_time_t(0)), "1970-01-01T00:00:00.000Z");
    EXPECT_EQ(journaltext::timeText(system_clock::from_time_t(1709211959) + microseconds(7999)),
              "2024-02-29T13:05:59.007Z");
    EXPECT_EQ(journaltext::timeText(system_clock::from_time_t(0) - microseconds(1)), "1969-12-31T23:59:59.999Z");
}

TEST(JournalTime, IsReadBack) {
    const system_clock::time_point time = TickingClock::at(3);
    EXPECT_EQ(journaltext::timeOf(journaltext::timeText(time)), time);
}

TEST(JournalTime, IsReadInItsOneSpellingOnly) {
    for (const char* const text : {"", "2024-02-30T13:05:59.007Z", "2024-02-29 13:05:59.007Z", "2024-02-29T13:05:59Z",
                                   "2024-02-29T13:05:59.7Z", "2024-02-29T13:05:59.007", "2024-02-29T13:05:59.007Z ",
                                   "2024-02-29T13:05:59.-07Z", "2024-02-29T24:00:00.000Z"}) {
        EXPECT_EQ(journaltext::timeOf(text), std::nullopt) << text;
    }
}

TEST(JournalLine, HoldsABatch) { EXPECT_EQ(journaltext::line(BATCH), LINE); }

TEST(JournalLine, BeginsAsAllOfThemDo) { EXPECT_EQ(LINE.find(journaltext::BEGINNING), 0U); }

TEST(JournalLine, IsReadBack) {
    EXPECT_EQ(journaltext::batchOf(withoutLineFeed(LINE)), BATCH);
    const JournalBatch empty = batch(1, Cause::Start, {});
    EXPECT_EQ(journaltext::batchOf(withoutLineFeed(journaltext::line(empty))), empty);
}

TEST(JournalLine, IsReadWithNamesThatNobodyKnowsYet) {
    EXPECT_NE(
        journaltext::batchOf(R"({"batch":1,"new":[],"time":"2001-09-09T01:46:45.500Z","cause":"set","changes":[]})"),
        std::nullopt);
}

TEST(JournalLine, IsNotReadWhenAnyOfItIsCutOff) {
    const std::string whole = withoutLineFeed(LINE);
    for (std::size_t length = 0; length < whole.size(); ++length) {
        EXPECT_EQ(journaltext::batchOf(whole.substr(0, length)), std::nullopt) << length;
    }
}

TEST(JournalLine, IsNotReadWhenAPartIsMissingOrWrong) {
    for (const char* const line :
         {"null", "[]", "7", "{}", R"({"batch":1})", "\xff\xfe",
          R"({"batch":"1","time":"2001-09-09T01:46:45.500Z","cause":"set","changes":[]})",
          R"({"batch":1,"time":"yesterday","cause":"set","changes":[]})",
          R"({"batch":1,"time":7,"cause":"set","changes":[]})",
          R"({"batch":1,"time":"2001-09-09T01:46:45.500Z","cause":"magic","changes":[]})",
          R"({"batch":1,"time":"2001-09-09T01:46:45.500Z","cause":"set","changes":{}})",
          R"({"batch":1,"time":"2001-09-09T01:46:45.500Z","cause":"set","changes":[7]})",
          R"({"batch":1,"time":"2001-09-09T01:46:45.500Z","cause":"set","changes":[{"key":"A"}]})"}) {
        EXPECT_EQ(journaltext::batchOf(line), std::nullopt) << line;
    }
}

TEST(JournalStream, IsAnObjectALineOrALineForEachChange) {
    EXPECT_EQ(journaltext::headings(Format::Json), "");
    EXPECT_EQ(journaltext::headings(Format::JsonLines), "");
    EXPECT_EQ(journaltext::headings(Format::Tsv), HEADINGS);
    EXPECT_EQ(journaltext::batch(BATCH, Format::Json), LINE);
    EXPECT_EQ(journaltext::batch(BATCH, Format::JsonLines), LINE);
    EXPECT_EQ(journaltext::batch(BATCH, Format::Tsv), TABBED);
}

TEST(JournalAnswer, GivesBatches) {
    EXPECT_EQ(journaltext::batches({BATCH}, Format::JsonLines), LINE);
    EXPECT_EQ(journaltext::batches({BATCH}, Format::Tsv), HEADINGS + TABBED);
    EXPECT_EQ(journaltext::batches({}, Format::Json), "[]\n");
    EXPECT_EQ(journaltext::batches({}, Format::Tsv), HEADINGS);
}

TEST(JournalAnswer, GivesChangesWithWhatTheirBatchTells) {
    EXPECT_EQ(journaltext::changes({batch(7, Cause::Set, {change("A", "1", "2", "S", "T")})}, Format::JsonLines),
              R"({"batch":7,"time":"2001-09-09T01:46:45.500Z","cause":"set","key":"A","oldValue":"1","newValue":"2",)"
              R"("oldStore":"S","newStore":"T","isSensitive":false})"
              "\n");
    EXPECT_EQ(journaltext::changes({BATCH}, Format::Tsv), HEADINGS + TABBED);
    EXPECT_EQ(journaltext::changes({}, Format::Json), "[]\n");
}
