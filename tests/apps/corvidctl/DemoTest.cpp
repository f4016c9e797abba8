#include "Tool.h"

#include <sys/stat.h>

using nlohmann::json;
using testing::HasSubstr;

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
    EXPECT_EQ(storeOf("telephony_enabled"), "cachedTFTPConfigStore.xml");

    const json overridden = entryOf(values, "VoicemailPrimaryServer");
    EXPECT_EQ(overridden.at("isOverridden"), true);
    EXPECT_EQ(overridden.at("valueStoreName"), "LocalFileConfigStore");
    EXPECT_EQ(overridden.at("originalValueStoreName"), "cachedTFTPConfigStore.xml");

    const json shadowed = entryOf(values, "telemetryenabled");
    EXPECT_EQ(shadowed.at("isOverridden"), false);
    EXPECT_EQ(shadowed.at("valueStoreName"), "TftpOverrideConfigStore");

    EXPECT_EQ(entryOf(values, "TFTPPrimaryServer").at("value"), "config-1.example.org");
    EXPECT_EQ(entryOf(values, "bdiconnectionusername").at("value"), "VALUE_HIDDEN");
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

TEST(Demo, TellsTheChangeInWords) {
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "demo"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_THAT(ended.out, HasSubstr("value                   \"false\" -> \"true\"\n"));
    EXPECT_THAT(ended.out, HasSubstr("given by the store      corvid-config-defaults.xml -> LocalFileConfigStore\n"));
    EXPECT_THAT(ended.out, HasSubstr("administrator's value   \"false\"\n"));
}

TEST_F(Tool, DemoWorksOnACopyOfANamedProfile) {
    const auto before = files();
    const support::Ended ended = run({"demo"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("tftp.example.org"));
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
    EXPECT_THAT(out, HasSubstr("Now the user sets the key to \"false\".\nBut a store that comes first holds the key: "
                               "the user's value waits behind it.\n"));
    EXPECT_THAT(out, HasSubstr("given by the store      TftpOverrideConfigStore\n"));
    EXPECT_THAT(out, testing::Not(HasSubstr("the object tells the client")));
    EXPECT_THAT(out, testing::Not(HasSubstr("told to the client")));
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
