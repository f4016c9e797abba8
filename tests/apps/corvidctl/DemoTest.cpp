#include "Tool.h"

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
