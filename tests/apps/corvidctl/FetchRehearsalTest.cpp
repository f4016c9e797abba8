#include <csignal>

#include "ServedTool.h"

using nlohmann::json;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class FetchDryRun : public ServedTool {
protected:
    support::Ended rehearsed(const std::string& format = "table") const {
        return run(trusting({"-o", format, "fetch", "--dry-run"}));
    }
};

}  // namespace

TEST_F(FetchDryRun, AsksTheServerAndTouchesNothing) {
    serve("12.5");
    const auto before = files();
    const support::Ended ended = rehearsed();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(files(), before);
    EXPECT_THAT(requestsUntilStop(), testing::ElementsAre("8443/hubm-uds/version", "6972/corvid-config.xml"));
}

TEST_F(FetchDryRun, TellsPeopleWhatWouldChange) {
    serve("12.5", "<c><g><LaunchOnSystemStartup>true</LaunchOnSystemStartup></g></c>");
    const std::string out = rehearsed().out;
    EXPECT_THAT(out, StartsWith(address_ + " delivered the file over HTTPS: 1 key.\n"));
    EXPECT_THAT(out, HasSubstr("changed  LaunchOnSystemStartup  false"));
    EXPECT_THAT(out, HasSubstr("added    HomeUdsVersion         -"));
    EXPECT_THAT(out, EndsWith("3 keys would change: 2 added, 1 changed.\nNothing has been changed.\n"));
}

TEST_F(FetchDryRun, GivesScriptsTheFetchWithItsChanges) {
    serve("12.5");
    const json answer = json::parse(rehearsed("json").out);
    EXPECT_EQ(answer.at("ok"), true);
    EXPECT_EQ(answer.at("keys"), 7);
    EXPECT_EQ(answer.at("version"), "12.5");
    EXPECT_EQ(answer.at("dryRun"), true);
    const json change = entryOf(answer.at("changes"), "LaunchOnSystemStartup");
    EXPECT_EQ(change.at("oldValue"), "false");
    EXPECT_EQ(change.at("newValue"), "true");
    EXPECT_EQ(change.at("newStore"), "TFTPConfigStore");
}

TEST_F(FetchDryRun, ShowsNoSecretOfTheFile) {
    serve("12.5");
    for (const std::string format : {"table", "json", "jsonl", "tsv"}) {
        const std::string out = rehearsed(format).out;
        EXPECT_THAT(out, HasSubstr("VALUE_HIDDEN"));
        EXPECT_THAT(out, Not(HasSubstr("only-the-server-knows")));
        EXPECT_THAT(out, Not(HasSubstr("nobody-else-either")));
    }
}

TEST_F(FetchDryRun, TellsThatTheCopyOfAFormerVersionWouldGo) {
    serve("12.5");
    const std::string line = "would remove corvid-config.xml, a copy of a former version\n";
    EXPECT_THAT(rehearsed().out, Not(HasSubstr("former version")));
    writeConfig("corvid-config.xml", "<c/>");
    EXPECT_THAT(rehearsed().out, EndsWith(line + "Nothing has been changed.\n"));
    EXPECT_EQ(rehearsed("json").error, line);
    EXPECT_EQ(configFile("corvid-config.xml"), "<c/>");
}

TEST_F(FetchDryRun, FailsAsAFetchDoes) {
    serveAs("other.xml", "12.5");
    const auto before = files();
    const support::Ended ended = rehearsed();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, StartsWith("corvidctl: nothing fetched: no server delivered the file: "));
    EXPECT_THAT(ended.out, EndsWith("Nothing has been changed.\n"));
    EXPECT_EQ(files(), before);
}

TEST_F(FetchDryRun, ShowsWhatAnUnreadableFileWouldTakeAway) {
    writeConfig("corvidLocalConfig.xml", localFile({{"PrimaryConfigStores", "TFTPConfigStore:240;"}}));
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<Corvid><CachedConfig><a>1</a></CachedConfig></Corvid>");
    serve("12.5", "no document");
    const auto before = files();
    const support::Ended ended = rehearsed();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.out, HasSubstr("removed  a               1       cachedTFTPConfigStore.xml  -"));
    EXPECT_EQ(files(), before);
}

TEST_F(FetchDryRun, EndsAtOnceWhenInterruptedWhileAServerIsSilent) {
    directory_.write("tmp/keep", "");
    SilentServer silent(address_, 8443);
    support::ChildProcess::Options options;
    options.environment = {{"TMPDIR", directory_.path("tmp")}};
    support::ChildProcess fetch(command(trusting({"fetch", "--dry-run"})), options);
    silent.waitForSomebody();
    fetch.signal(SIGINT);
    const support::Ended ended = fetch.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: interrupted\n"));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path("tmp")), {}), 1);
}

TEST_F(FetchDryRun, TakesAnUnchangedFileAndItsKeptCopyForOnePlace) {
    serve("12.5", "<c><g><Fresh>true</Fresh><Other>1</Other></g></c>");
    ASSERT_EQ(run(trusting({"fetch"})).status, 0);
    EXPECT_THAT(rehearsed().out, EndsWith("1 key would change: 1 added.\n"  // the version, known for each run anew
                                          "2 more come from TFTPConfigStore instead of its kept copy.\n"
                                          "Nothing has been changed.\n"));
    rewrite("<c><g><Fresh>true</Fresh><Other>2</Other></g></c>");
    EXPECT_THAT(rehearsed().out, EndsWith("2 keys would change: 1 added, 1 changed.\n"
                                          "1 more comes from TFTPConfigStore instead of its kept copy.\n"
                                          "Nothing has been changed.\n"));
}

TEST_F(FetchDryRun, TellsWhichFilesCouldNotBeRead) {
    writeConfig("corvid-config-user.xml", "<broken");
    serve("12.5");
    const std::string remark = "TftpOverrideConfigStore failed to load: ";
    EXPECT_THAT(rehearsed().out, HasSubstr(remark));
    EXPECT_THAT(rehearsed("json").error, StartsWith(remark));
}
