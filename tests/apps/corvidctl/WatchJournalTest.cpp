#include <sys/stat.h>

#include <csignal>

#include "ServedTool.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;
using testing::StartsWith;

namespace {

const std::string TIME = "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3}Z";

/// Watches whose output is batches, on a client whose server delivers a file.
class BatchWatch : public ServedTool {
protected:
    std::string journal() const { return directory_.path("journal"); }

    support::Ended watchUntil(const std::string& lastOfOutput, const std::vector<std::string>& words) {
        support::ChildProcess watch(command(trusting(words)));
        EXPECT_TRUE(watch.waitForOutput(lastOfOutput));
        watch.signal(SIGTERM);
        return watch.wait();
    }

    /// The history of some keys, as changes.
    std::vector<json> history(std::vector<std::string> words, int status = 0) const {
        words.insert(words.begin(), {CORVIDCTL_PROGRAM, "-o", "jsonl", "history", "--journal", journal()});
        const support::Ended ended = support::runProgram(words);
        EXPECT_EQ(ended.status, status) << ended.error;
        return records(ended.out);
    }

    static std::vector<json> records(const std::string& out) {
        std::vector<json> objects;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);) {
            objects.push_back(json::parse(line));
        }
        return objects;
    }

    /// The batch of the server's file, which changed this key.
    static json batchWith(const std::string& out, const std::string& key) {
        for (const json& batch : records(out)) {
            if (!entryOf(batch.at("changes"), key).is_null()) {
                return batch;
            }
        }
        return nullptr;
    }
};

}  // namespace

TEST_F(BatchWatch, PrintsADownloadAsOneBatch) {
    directory_.write("install/corvid-config-defaults.xml",
                     localFile({{"LaunchOnSystemStartup", "false"}, {"Voicemail_Enabled", "false"}}));
    serve("12.5");
    const support::Ended ended = watchUntil("CTIPrimaryServer", {"--json", "watch", "--batch"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    const json batch = batchWith(ended.out, "CTIPrimaryServer");
    EXPECT_EQ(batch.at("cause"), "download");
    EXPECT_THAT(batch.at("time").get<std::string>(), MatchesRegex(TIME));
    EXPECT_EQ(entryOf(batch.at("changes"), "LaunchOnSystemStartup"), json({{"key", "LaunchOnSystemStartup"},
                                                                           {"oldValue", "false"},
                                                                           {"newValue", "true"},
                                                                           {"oldStore", "corvid-config-defaults.xml"},
                                                                           {"newStore", "TFTPConfigStore"},
                                                                           {"isSensitive", false}}));
    EXPECT_EQ(entryOf(batch.at("changes"), "voicemail_enabled").at("newStore"), "InMemoryConfigStore");
    EXPECT_EQ(entryOf(batch.at("changes"), "token").at("newValue"), "VALUE_HIDDEN");
    EXPECT_TRUE(entryOf(batch.at("changes"), "DockedWindow").is_null()) << "the user's answer stays the same";
}

TEST_F(BatchWatch, PrintsABatchForPeople) {
    serve("12.5");
    const support::Ended ended = watchUntil("CTIPrimaryServer", {"watch", "--batch", "cti*", "launch*"});
    EXPECT_THAT(ended.out,
                MatchesRegex(TIME + "  download  2 keys\n"
                                    "  CTIPrimaryServer: not defined -> \"phones.example.org\" \\(TFTPConfigStore\\)\n"
                                    "  LaunchOnSystemStartup: \"false\" -> \"true\" "
                                    "\\(corvid-config-defaults.xml -> TFTPConfigStore\\)\n"));
}

TEST_F(BatchWatch, PrintsALineForEachChangeBetweenTabs) {
    serve("12.5");
    const support::Ended ended = watchUntil("phones", {"-o", "tsv", "watch", "--batch", "cti*"});
    EXPECT_THAT(ended.out,
                MatchesRegex("batch\ttime\tcause\tkey\toldValue\tnewValue\toldStore\tnewStore\tisSensitive\n[0-9]+\t" +
                             TIME + "\tdownload\tCTIPrimaryServer\t\tphones.example.org\t\tTFTPConfigStore\tfalse\n"));
}

TEST_F(BatchWatch, TellsTheServersVersionAsADownload) {
    serve("12.5");
    const support::Ended ended = watchUntil("HomeUdsVersion", {"--json", "watch", "--batch", "homeudsversion"});
    EXPECT_EQ(batchWith(ended.out, "HomeUdsVersion").at("cause"), "download");
}

TEST_F(BatchWatch, KeepsAJournalOfAllKeysWhicheverItPrints) {
    serve("12.5");
    const support::Ended ended = watchUntil("CTIPrimaryServer", {"watch", "--journal", journal(), "cti*"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_THAT(ended.out, StartsWith("CTIPrimaryServer = \"phones.example.org\", from TFTPConfigStore  (changed: "));
    EXPECT_EQ(history({"cti*"}).size(), 1U);
    EXPECT_EQ(history({"launchonsystemstartup"}).size(), 1U);
    struct stat status {};
    ASSERT_EQ(stat(journal().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600U);
}

TEST_F(BatchWatch, BeginsItsJournalWithAllThatIsDefined) {
    serve("12.5");
    watchUntil("CTIPrimaryServer", {"watch", "--journal", journal(), "cti*"});
    const json start = records(directory_.read("journal")).at(0);
    EXPECT_EQ(start.at("batch"), 1);
    EXPECT_EQ(start.at("cause"), "start");
    EXPECT_EQ(entryOf(start.at("changes"), "onlymine").at("newValue"), "1");
    EXPECT_EQ(entryOf(start.at("changes"), "bdiconnectionusername").at("newValue"), "VALUE_HIDDEN");
}

TEST_F(BatchWatch, WritesNoSecretUnlessItIsToShowThem) {
    serve("12.5");
    watchUntil("token", {"watch", "--journal", journal(), "token"});
    EXPECT_THAT(directory_.read("journal"), Not(HasSubstr("only-the-server-knows")));
    watchUntil("only-the-server-knows", {"--reveal", "watch", "--journal", journal(), "token"});
    EXPECT_THAT(directory_.read("journal"), HasSubstr("only-the-server-knows"));
    EXPECT_EQ(history({"token"}).back().at("newValue"), "VALUE_HIDDEN");
    EXPECT_EQ(history({"token", "--reveal"}).back().at("newValue"), "only-the-server-knows");
}

TEST_F(BatchWatch, TellsInTheNextWatchWhatTheServerChangedMeanwhile) {
    serve("12.5");
    watchUntil("CTIPrimaryServer", {"watch", "--journal", journal(), "cti*"});
    rewrite("<config><Phone><CtiServer1>telephones.example.org</CtiServer1></Phone></config>");
    watchUntil("telephones", {"watch", "--journal", journal(), "cti*"});
    const std::vector<json> changes = history({"CtiServer1"});
    ASSERT_EQ(changes.size(), 2U);
    EXPECT_EQ(changes[1].at("key"), "CTIPrimaryServer");
    EXPECT_EQ(changes[1].at("cause"), "download");
    EXPECT_EQ(changes[1].at("oldValue"), "phones.example.org");
    EXPECT_EQ(changes[1].at("newValue"), "telephones.example.org");
}

TEST_F(BatchWatch, TellsInTheNextWatchWhatTheUserChangedMeanwhile) {
    serve("12.5");
    watchUntil("CTIPrimaryServer", {"watch", "--journal", journal(), "cti*"});
    ASSERT_EQ(run({"set", "OnlyMine", "2"}).status, 0);
    ASSERT_EQ(run({"unset", "DockedWindow"}).status, 0);
    watchUntil("HomeUdsVersion", {"watch", "--journal", journal(), "homeudsversion"});
    const std::vector<json> mine = history({"onlymine"});
    ASSERT_EQ(mine.size(), 1U);
    EXPECT_EQ(mine[0].at("cause"), "start");
    EXPECT_EQ(mine[0].at("oldValue"), "1");
    EXPECT_EQ(mine[0].at("newValue"), "2");
    EXPECT_EQ(history({"dockedwindow"}).at(0).at("newStore"), "cachedTFTPConfigStore.xml");
}

TEST_F(BatchWatch, RefusesAJournalThatAnotherWatchWrites) {
    SilentServer silent(address_, 8443);
    support::ChildProcess first(command(trusting({"watch", "--journal", journal()})));
    silent.waitForSomebody();
    const support::Ended second = run({"watch", "--journal", journal()});
    EXPECT_EQ(second.status, 1);
    EXPECT_EQ(second.out, "");
    EXPECT_THAT(second.error, HasSubstr(" is running on " + directory_.path("config") + " as well: "));
    EXPECT_THAT(second.error,
                testing::EndsWith("corvidctl: the journal " + journal() +
                                  " is being written by another watch; end that one, or name another file\n"));
    first.signal(SIGTERM);
    EXPECT_EQ(first.wait().status, 0);
}

TEST_F(BatchWatch, GoesOnWithoutAJournalThatCannotBeWrittenAndFailsAtItsEnd) {
    name("ServicesDomain: example.org\n");  // nothing but the journal is to be written
    support::ChildProcess watch(withoutDisk({"watch", "--journal", journal()}));
    EXPECT_TRUE(watch.waitForError("corvidctl: the journal " + journal() + " could not be written: File too large\n"));
    EXPECT_TRUE(watch.waitForError("corvidctl: nothing fetched: "));
    watch.signal(SIGTERM);
    const support::Ended ended = watch.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error.find("the journal"), ended.error.rfind("the journal"));
}

TEST_F(BatchWatch, IsReadWhileItIsWritten) {
    serve("12.5");
    support::ChildProcess watch(command(trusting({"watch", "--batch", "--journal", journal(), "cti*"})));
    EXPECT_TRUE(watch.waitForOutput("CTIPrimaryServer"));
    EXPECT_EQ(history({"cti*"}).size(), 1U);
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.wait().status, 0);
}

TEST_F(BatchWatch, SurvivesTheDeathOfTheWatchBefore) {
    serve("12.5");
    watchUntil("CTIPrimaryServer", {"watch", "--journal", journal(), "cti*"});
    directory_.write("journal", directory_.read("journal") + "{\"batch\":9,\"time");
    watchUntil("HomeUdsVersion", {"watch", "--journal", journal(), "homeudsversion"});
    EXPECT_EQ(history({"homeudsversion"}).size(), 3U);  // learned, forgotten at the end, learned again
}
