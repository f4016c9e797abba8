#include "ServedTool.h"

#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <sstream>

#include "demo/Demonstration.h"
#include "session/Interruption.h"
#include "support/HeldPipe.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

json demonstration() {
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "--json", "demo"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    return json::parse(ended.out);
}

}  // namespace

TEST(Demo, ShowsEveryKindOfValueInTheSampleProfile) {
    const json values = demonstration().at("values");
    const auto storeOf = [&values](const char* key) { return entryOf(values, key).at("valueStoreName"); };

    EXPECT_EQ(storeOf("LaunchOnSystemStartup"), "corvid-config-defaults.xml");
    EXPECT_EQ(storeOf("ServicesDomain"), "BootstrapConfigStore");
    EXPECT_EQ(storeOf("telephony_enabled"), "TFTPConfigStore");
    EXPECT_EQ(storeOf("Meetings_Enabled"), "InMemoryConfigStore");

    const json beatsADefault = entryOf(values, "ShowContactPictures");
    EXPECT_EQ(beatsADefault.at("value"), "false");
    EXPECT_EQ(beatsADefault.at("valueStoreName"), "TFTPConfigStore");

    const json overridden = entryOf(values, "VoicemailPrimaryServer");
    EXPECT_EQ(overridden.at("isOverridden"), true);
    EXPECT_EQ(overridden.at("valueStoreName"), "LocalFileConfigStore");
    EXPECT_EQ(overridden.at("originalValueStoreName"), "TFTPConfigStore");

    const json shadowed = entryOf(values, "telemetryenabled");
    EXPECT_EQ(shadowed.at("isOverridden"), false);
    EXPECT_EQ(shadowed.at("valueStoreName"), "TftpOverrideConfigStore");

    EXPECT_EQ(entryOf(values, "bdiconnectionusername").at("value"), "VALUE_HIDDEN");
    EXPECT_EQ(entryOf(values, "contactsearchtoken").at("value"), "VALUE_HIDDEN");
}

TEST(Demo, FetchesTheFileTwiceFromAServerOfItsOwn) {
    const json demo = demonstration();
    const json fetches = demo.at("fetches");
    ASSERT_EQ(fetches.size(), 2U);
    const std::string server = fetches[0].at("server");
    EXPECT_THAT(server, StartsWith("127."));
    for (const json& fetch : fetches) {
        EXPECT_EQ(fetch, json({{"server", server},
                               {"url", "https://" + server + ":6972/corvid-config.xml"},
                               {"version", "12.5"},
                               {"keys", 11},
                               {"ok", true},
                               {"reason", ""}}));
    }
    const json named = entryOf(demo.at("values"), "TFTPPrimaryServer");
    EXPECT_EQ(named.at("value"), server);
    EXPECT_EQ(named.at("valueStoreName"), "BootstrapConfigStore");
}

TEST(Demo, ShowsWhatTheServersChangeBroughtToTheClient) {
    const json changes = demonstration().at("serverChanges");
    ASSERT_EQ(changes.size(), 2U);
    const json changed = entryOf(changes, "VoicmeailPollingInterval");
    EXPECT_EQ(changed.at("value"), "15");
    EXPECT_EQ(changed.at("changed"), json::array({"value", "originalValue"}));
    const json behindTheUsers = entryOf(changes, "VoicemailPrimaryServer");
    EXPECT_EQ(behindTheUsers.at("value"), "voicemail-2.example.org");
    EXPECT_EQ(behindTheUsers.at("originalValue"), "voicemail-3.example.org");
    EXPECT_EQ(behindTheUsers.at("changed"), json::array({"originalValue"}));
}

TEST(Demo, ShowsOneChangeArrivingAtALiveObject) {
    const json changes = demonstration().at("changes");
    ASSERT_EQ(changes.size(), 1U);
    EXPECT_EQ(changes.at(0).at("key"), "LaunchOnSystemStartup");
    EXPECT_EQ(changes.at(0).at("value"), "true");
    EXPECT_EQ(changes.at(0).at("originalValue"), "false");
    EXPECT_EQ(changes.at(0).at("valueStoreName"), "LocalFileConfigStore");
    EXPECT_EQ(changes.at(0).at("changed"), json::array({"value", "isOverridden", "valueStoreName"}));
}

TEST(Demo, TellsTheStoryInSixSteps) {
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "demo"});
    std::vector<std::string> steps;
    std::istringstream lines(ended.out);
    for (std::string line; std::getline(lines, line);) {
        if (line.size() > 2 && line[0] >= '1' && line[0] <= '9' && line[1] == '.') {
            steps.push_back(line.substr(0, line.find(", at 127.")));
        }
    }
    EXPECT_THAT(steps, ElementsAre("1. A call-control server starts on this machine",
                                   "2. A client starts with what is on its disk",
                                   "3. The client fetches the server's file (corvidctl fetch)",
                                   "4. The effective configuration now (corvidctl list)",
                                   "5. The administrator changes the file on the server, and the client fetches it "
                                   "again",
                                   "6. The user sets LaunchOnSystemStartup to \"true\""));
    EXPECT_THAT(ended.out,
                HasSubstr("stores    TFTPConfigStore joins, cachedTFTPConfigStore.xml leaves; a copy without "
                          "the secrets is kept for the next start\n"));
    EXPECT_THAT(ended.out, testing::ContainsRegex("VoicmeailPollingInterval  30 -> 15 +TFTPConfigStore +30 -> 15 +"
                                                  "value, originalValue\n"));
    EXPECT_THAT(ended.out, Not(HasSubstr("only-the-server-knows")));
}

TEST(Demo, TellsTheChangeInWords) {
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "demo"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_THAT(ended.out, HasSubstr("value                   \"false\" -> \"true\"\n"));
    EXPECT_THAT(ended.out, HasSubstr("given by the store      corvid-config-defaults.xml -> LocalFileConfigStore\n"));
    EXPECT_THAT(ended.out, HasSubstr("administrator's value   \"false\"\n"));
    EXPECT_THAT(ended.out, HasSubstr("told in one report      value, isOverridden, valueStoreName\n"));
}

TEST(Demo, SaysWhatIsKeptInTheCacheWhereSomethingIs) {
    const std::string out = support::runProgram({CORVIDCTL_PROGRAM, "demo"}).out;
    EXPECT_THAT(out, HasSubstr("The installer's file names the server.\nNobody has been asked yet: the last server's "
                               "file counts, as kept in the cache.\n"));
}

TEST(Demo, TellsWhatTheUserSetFromWhatTheClientWorkedOut) {
    const std::string out = support::runProgram({CORVIDCTL_PROGRAM, "demo"}).out;
    EXPECT_THAT(
        out, HasSubstr("* marks a key for which a writable store comes before the administrator's: the user's file, or "
                       "the client's memory for this run.\n"));
    EXPECT_THAT(out, testing::ContainsRegex("\\*  Meetings_Enabled [^\n]* overridden for this run\n"));
    EXPECT_THAT(out, testing::ContainsRegex("\\*  HomeUdsVersion [^\n]* set for this run\n"));
    EXPECT_THAT(out, testing::ContainsRegex("\\*  VoicemailPrimaryServer [^\n]* overridden\n"));
}

TEST(Demo, ColoursATerminalThatIsNotDumbOnly) {
    const auto demoOn = [](const std::map<std::string, std::string>& environment) {
        support::ChildProcess::Options options;
        options.terminal = true;
        options.environment = environment;
        return support::runProgram({CORVIDCTL_PROGRAM, "demo"}, options).out;
    };
    EXPECT_THAT(demoOn({{"TERM", "xterm"}, {"NO_COLOR", ""}}), HasSubstr("\x1b["));
    EXPECT_THAT(demoOn({{"TERM", "dumb"}, {"NO_COLOR", ""}}), Not(HasSubstr("\x1b[")));
    EXPECT_THAT(demoOn({{"TERM", "xterm"}, {"NO_COLOR", "1"}}), Not(HasSubstr("\x1b[")));
}

TEST_F(Tool, DemoSpeaksOfNoCacheWhereThereIsNone) {
    const std::string out = run({"demo"}).out;
    EXPECT_THAT(out, HasSubstr("The installer's file names the server.\nNobody has been asked yet.\n"));
    EXPECT_THAT(out, Not(HasSubstr("as kept in the cache")));
}

TEST_F(Tool, DemoTellsAProfileThatNamesAVersionFromOneThatNamesServers) {
    writeConfig("corvid-config-user.xml", "<c><g><HomeUdsVersion>11</HomeUdsVersion></g></c>");
    const std::string out = run({"demo"}).out;
    EXPECT_THAT(out, HasSubstr("The installer's file names the server. The profile tells another version, or another "
                               "file; a store ahead of all\nothers tells this server's.\n"));
    EXPECT_THAT(out, Not(HasSubstr("names servers of its own")));
    EXPECT_THAT(out, testing::ContainsRegex("DemonstrationStore +this demonstration"));
}

TEST_F(Tool, DemoWorksOnACopyOfANamedProfile) {
    const auto before = files();
    const support::Ended ended = run({"demo"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("onlymine"));
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, DemoTakesAMissingProfileForAnEmptyOne) {
    const support::Ended ended =
        support::runProgram({CORVIDCTL_PROGRAM, "--config-dir", directory_.path("no"), "--json", "demo"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(entryOf(json::parse(ended.out).at("values"), "ServicesDomain").at("value"), "example.org");
    EXPECT_FALSE(directory_.exists("no"));
}

TEST_F(Tool, DemoLeavesNoCopyBehind) {
    support::ChildProcess::Options options;
    directory_.write("tmp/keep", "");
    options.environment = {{"TMPDIR", directory_.path("tmp")}};
    EXPECT_EQ(run({"demo"}, options).status, 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path("tmp")), {}), 1);
}

TEST_F(Tool, DemoTellsTheTruthWhenTheOverrideWins) {
    writeConfig("corvid-config-user.xml", "<c><g><LaunchOnSystemStartup>true</LaunchOnSystemStartup></g></c>");
    const std::string out = run({"demo"}).out;
    EXPECT_THAT(out,
                HasSubstr("6. The user sets LaunchOnSystemStartup to \"false\"\nBut a store that comes first holds "
                          "the key: the user's value waits behind it.\n"));
    EXPECT_THAT(out, HasSubstr("given by the store      TftpOverrideConfigStore\n"));
    EXPECT_THAT(out, Not(HasSubstr("the live object tells the client")));
    EXPECT_THAT(out, Not(HasSubstr("told in one report")));
}

TEST_F(Tool, DemoEndsWhereItsTemporaryFolderIsInsideTheProfile) {
    directory_.write("config/tmp/keep", "");
    support::ChildProcess::Options options;
    options.environment = {{"TMPDIR", directory_.path("config/tmp")}};
    const auto before = files();
    EXPECT_EQ(run({"demo"}, options).status, 0);
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, DemoCopiesNeitherPipesNorEndlessLinks) {
    ASSERT_EQ(mkfifo(directory_.path("config/pipe").c_str(), 0600), 0);
    std::filesystem::create_directory_symlink(directory_.path("config"), directory_.path("config/round"));
    std::filesystem::create_symlink("itself", directory_.path("config/itself"));
    const support::Ended ended = run({"demo"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_THAT(ended.out, HasSubstr("onlymine"));
}

TEST_F(Tool, DemoLeavesNoCopyBehindWhenCopyingFails) {
    directory_.write("tmp/keep", "");
    const support::Ended ended = support::runProgram(
        {"/bin/sh", "-c",
         "trap '' XFSZ; ulimit -f 0; TMPDIR=\"$3\" exec \"$0\" --config-dir \"$1\" --install-dir \"$2\" demo",
         CORVIDCTL_PROGRAM, directory_.path("config"), directory_.path("install"), directory_.path("tmp")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: "));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path("tmp")), {}), 1);
}

TEST_F(Tool, DemoAsksNoServerThatTheProfileNames) {
    const std::string real = callcontrol::CallControlServer::freeLoopbackAddress();
    const SilentServer version(real, 8443);
    const SilentServer file(real, 6972);
    directory_.write("install/bootstrap.properties",
                     "TFTPPrimaryServer: " + real + "\nTFTPBackupServer2: " + real + "\n");
    writeConfig("corvid-config-user.xml",
                "<c><g><HubcipServer1>" + real + "</HubcipServer1><HomeUdsVersion>11" +
                    "</HomeUdsVersion><configurationfile>other.xml</configurationfile></g></c>");
    writeConfig("corvidLocalConfig.xml", localFile({{"TftpServer2", real}, {"HubcipServer3", real}}));
    const auto before = files();
    const support::Ended ended = run({"demo"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_THAT(ended.out, HasSubstr("The profile names servers of its own. They are not asked"));
    EXPECT_THAT(ended.out, HasSubstr("DemonstrationStore"));
    EXPECT_FALSE(version.isSomebodyThere());
    EXPECT_FALSE(file.isSomebodyThere());
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, DemoNeedsNoDetourWhereTheProfileNamesNoServer) {
    EXPECT_THAT(run({"demo"}).out, Not(HasSubstr("DemonstrationStore")));
}

TEST_F(Tool, DemoSaysWhenNoLiveValueChanges) {
    writeConfig("corvid-config-user.xml", "<c><g><VoicmeailPollingInterval>1</VoicmeailPollingInterval>"
                                          "<VoicemailPrimaryServer>mine</VoicemailPrimaryServer></g></c>");
    EXPECT_THAT(run({"demo"}).out, HasSubstr("No live value changes: stores that come first hold these keys.\n"));
}

TEST_F(Tool, DemoLeavesNothingBehindWhenInterrupted) {
    directory_.write("tmp/keep", "");
    ASSERT_EQ(setenv("TMPDIR", directory_.path("tmp").c_str(), 1), 0);
    corvidctl::Invocation invocation;
    invocation.host.configDirectory = directory_.path("config");
    invocation.host.installationDirectory = directory_.path("install");
    invocation.host.logLevel = 2;
    std::ostringstream out;
    corvidctl::ProgressLine progress(out, {});
    corvidctl::Interruption interruption;
    interruption.end();
    EXPECT_THAT([&] { corvidctl::demonstrate(invocation, directory_.path("config"), interruption, progress); },
                testing::ThrowsMessage<std::runtime_error>("interrupted"));
    unsetenv("TMPDIR");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path("tmp")), {}), 1);
}

TEST_F(Tool, DemoEndsWhenItIsInterrupted) {
    directory_.write("tmp/keep", "");
    const std::string bootstrap = directory_.path("bootstrap");
    support::HeldPipe held(bootstrap);
    held.write("\n");
    support::ChildProcess::Options options;
    options.environment = {{"TMPDIR", directory_.path("tmp")}};
    support::ChildProcess demo(command({"--bootstrap", bootstrap, "demo"}), options);
    held.waitForReader();
    demo.signal(SIGINT);
    const support::Ended ended = demo.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, testing::EndsWith("corvidctl: interrupted\n"));
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path("tmp")), {}), 1);
}
