#include "Tool.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

std::vector<std::string> keysOf(const json& values) {
    std::vector<std::string> keys;
    for (const json& value : values) {
        keys.push_back(value.at("key"));
    }
    return keys;
}

}  // namespace

TEST_F(Tool, ListGivesEveryDefinedKeyInOrderUnderItsCurrentName) {
    EXPECT_THAT(keysOf(asJson({"list"})),
                ElementsAre("bdiconnectionusername", "DockedWindow", "LaunchOnSystemStartup", "onlymine",
                            "ServicesDomain", "telephony_enabled", "TFTPPrimaryServer"));
}

TEST_F(Tool, ListGivesTheSameValueObjectsAsGet) {
    for (const json& value : asJson({"list"})) {
        json single = asJson({"get", value.at("key")});
        EXPECT_EQ(single, value);
    }
}

TEST_F(Tool, ListMarksOnlyWhatTheUserOverrides) {
    const json values = asJson({"list"});
    EXPECT_EQ(entryOf(values, "DockedWindow").at("isOverridden"), true);
    EXPECT_EQ(entryOf(values, "onlymine").at("isOverridden"), true);
    EXPECT_EQ(entryOf(values, "telephony_enabled").at("isOverridden"), false);
    EXPECT_EQ(entryOf(values, "ServicesDomain").at("isOverridden"), false);
}

TEST_F(Tool, ListChoosesByPatternWithoutRegardToCase) {
    EXPECT_THAT(keysOf(asJson({"list", "*WINDOW"})), ElementsAre("DockedWindow"));
    EXPECT_THAT(keysOf(asJson({"list", "onlymin?", "s*n"})), ElementsAre("onlymine", "ServicesDomain"));
    EXPECT_THAT(keysOf(asJson({"list", "Window"})), ElementsAre());
}

TEST_F(Tool, ListTakesAnOldNameForAKey) {
    EXPECT_THAT(keysOf(asJson({"list", "TftpServer1"})), ElementsAre("TFTPPrimaryServer"));
}

TEST_F(Tool, ListChoosesByTheStoreThatWins) {
    EXPECT_THAT(keysOf(asJson({"list", "--store", "localfileconfigstore"})), ElementsAre("DockedWindow", "onlymine"));
    EXPECT_THAT(keysOf(asJson({"list", "--store", "LocalFileConfigStore", "d*"})), ElementsAre("DockedWindow"));
    EXPECT_THAT(keysOf(asJson({"list", "--store", "UrlProvisioningConfigStore"})), ElementsAre());
}

TEST_F(Tool, ListAllAddsTheUndefinedKeysOfTheLiveObjects) {
    // The start of the feature set drops the flags that were worked out in memory; their live objects stay.
    directory_.write("install/corvid-config-defaults.xml", localFile({}));
    writeConfig("corvid-config-user.xml", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server></g></c>");
    writeConfig("corvidLocalConfig.xml", localFile({{"CtiServer1", "cti.example.org"}}));
    const json all = asJson({"list", "--all"});
    const json undefined = entryOf(all, "CTIPrimaryServer");
    ASSERT_FALSE(undefined.is_null()) << all;
    EXPECT_EQ(undefined.at("isDefined"), false);
    EXPECT_EQ(undefined.at("value"), "");
    EXPECT_TRUE(entryOf(asJson({"list"}), "CTIPrimaryServer").is_null());
}

TEST_F(Tool, ListOfNothingIsAnEmptyArray) { EXPECT_EQ(asJson({"list", "nothing*"}), json::array()); }

TEST_F(Tool, ListHidesSensitiveValuesUnlessToldOtherwise) {
    EXPECT_THAT(run({"list"}).out, Not(HasSubstr("reader")));
    EXPECT_EQ(entryOf(asJson({"list"}), "bdiconnectionusername").at("value"), "VALUE_HIDDEN");
    EXPECT_EQ(entryOf(asJson({"--reveal", "list"}), "bdiconnectionusername").at("value"), "reader");
}

TEST_F(Tool, ListPrintsAnAlignedTable) {
    const support::Ended ended = run({"list", "DockedWindow", "ServicesDomain", "TFTPPrimaryServer"});
    EXPECT_EQ(ended.out,
              "   KEY                VALUE             STORE                 ADMINISTRATOR'S VALUE  ITS STORE"
              "                   REMARKS\n"
              "*  DockedWindow       false             LocalFileConfigStore  true                   "
              "corvid-config-defaults.xml  overridden\n"
              "   ServicesDomain     example.org       BootstrapConfigStore  example.org            "
              "BootstrapConfigStore\n"
              "   TFTPPrimaryServer  tftp.example.org  BootstrapConfigStore  tftp.example.org       "
              "BootstrapConfigStore        found as TftpServer1\n");
}

TEST_F(Tool, ListShortensALongValueForPeopleOnly) {
    const std::string value(2000, 'x');
    writeConfig("corvidLocalConfig.xml", localFile({{"Long", value}}));
    EXPECT_THAT(run({"list", "Long"}).out, Not(HasSubstr(value)));
    EXPECT_THAT(run({"list", "Long"}).out, HasSubstr("xxx\xE2\x80\xA6"));
    EXPECT_EQ(asJson({"list", "Long"}).at(0).at("value"), value);
}

TEST_F(Tool, ListShowsNoControlCharacterOfAFile) {
    writeConfig("corvidLocalConfig.xml", localFile({{"Evil", "a&#10;forged \xC2\x9B"
                                                             "31m"}}));
    const std::string out = run({"list", "Evil"}).out;
    EXPECT_THAT(out, HasSubstr("a\\nforged \\x9b31m"));
    EXPECT_EQ(asJson({"list", "Evil"}).at(0).at("value"), "a\nforged \xC2\x9B"
                                                          "31m");
}

TEST_F(Tool, ListChangesNothing) {
    const auto before = files();
    EXPECT_EQ(run({"list"}).status, 0);
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, ListRemarksAUsersValueThatDoesNotWin) {
    EXPECT_THAT(run({"list", "Telephony_Enabled"}).out, HasSubstr("the user's value waits behind it"));
    EXPECT_THAT(run({"list", "DockedWindow"}).out, Not(HasSubstr("waits behind")));
}

TEST_F(Tool, ListTakesAPatternWithBracketsLetterByLetter) {
    writeConfig("corvidLocalConfig.xml", localFile({{"[a,b]", "1"}, {"a", "2"}, {"b", "3"}}));
    EXPECT_THAT(keysOf(asJson({"list", "[a,b]"})), ElementsAre("[a,b]"));
}

TEST_F(Tool, ListOfNothingIsALineForPeople) {
    const support::Ended ended = run({"list", "nothing*"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "No key matches.\n");
}

TEST_F(Tool, ListRemarksWhatIsSpecialAboutAKey) {
    EXPECT_THAT(run({"list", "OnlyMine"}).out, HasSubstr("  user only\n"));
    EXPECT_THAT(run({"list", "DockedWindow"}).out, HasSubstr("  overridden\n"));
    EXPECT_THAT(run({"list", "BDIConnectionUsername"}).out, HasSubstr("  sensitive\n"));
    EXPECT_THAT(run({"list", "TFTPPrimaryServer"}).out, HasSubstr("  found as TftpServer1\n"));
    EXPECT_EQ(run({"set", "BDIConnectionUsername", "mine"}).status, 0);
    EXPECT_THAT(run({"list", "BDIConnectionUsername"}).out,
                HasSubstr("  the user's value waits behind it, sensitive\n"));
}

TEST_F(Tool, ListRemarksAnUndefinedKey) {
    directory_.write("install/corvid-config-defaults.xml", localFile({}));
    writeConfig("corvid-config-user.xml", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server></g></c>");
    writeConfig("corvidLocalConfig.xml", localFile({{"CtiServer1", "cti.example.org"}}));
    EXPECT_THAT(run({"list", "--all", "CTIPrimaryServer"}).out, testing::EndsWith("  undefined\n"));
}

TEST_F(Tool, ListRemarksWhatTheClientKeepsItself) {
    writeConfig("corvidLocalConfig.xml", localFile({{"PrimaryConfigStores", "TFTPConfigStore:240;"}}));
    EXPECT_THAT(run({"list", "PrimaryConfigStores"}).out, HasSubstr("  kept by the client\n"));
}

TEST_F(Tool, ListTellsTheStoresWhenThereIsNoneOfTheName) {
    const support::Ended ended = run({"--log-file", "/dev/null", "list", "--store", "Nope"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error,
              "corvidctl: no store has the name \"Nope\", expected one of TftpOverrideConfigStore, "
              "LocalFileConfigStore, UrlProvisioningConfigStore, BootstrapConfigStore, InMemoryConfigStore, "
              "corvid-config-defaults.xml\n");
}

TEST_F(Tool, ListOfAStoreThatWinsNothingIsNoFailure) {
    const support::Ended ended = run({"list", "--store", "urlprovisioningconfigstore"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "No key matches.\n");
}

TEST_F(Tool, ShowsNoSecretOfALineWithoutAColonUnlessTold) {
    const std::string lines = "ConnectionPassword s3cret\nBDIConnectionPassword=s3cret\n<Addtional_Info>s3cret\n<v "
                              "name=\"ConnectionUsername\" value=\"a:s3cret\"/>\nPlain s3lf\n";
    directory_.write("install/bootstrap.properties", lines);
    const std::string file = directory_.write("other.properties", lines + "connectionpassword\ts3cret again\n");
    const std::vector<std::vector<std::string>> commands = {
        {"list"},
        {"--json", "list"},
        {"delta", "--type", "extended"},
        {"--json", "delta"},
        {"export"},
        {"export", "--format", "json"},
        {"export", "--format", "properties", "--store", "BootstrapConfigStore"},
        {"--json", "export", "--store", "BootstrapConfigStore"},
        {"simulate", "--replace", "BootstrapConfigStore=" + file},
        {"--json", "simulate", "--without", "BootstrapConfigStore"},
        {"diff", "live", "LocalFileConfigStore"},
        {"--json", "diff", "live", "LocalFileConfigStore"},
        {"explain", "connectionpassword s3cret", "--json"},
        {"validate", file},
        {"complete", "keys"}};
    for (const std::vector<std::string>& words : commands) {
        const support::Ended ended = run(words);
        EXPECT_THAT(ended.out + ended.error, Not(HasSubstr("s3cret"))) << testing::PrintToString(words);
    }
    EXPECT_THAT(run({"list"}).out, HasSubstr("ConnectionPassword VALUE_HIDDEN"));
    EXPECT_THAT(run({"list"}).out, HasSubstr("BDIConnectionPassword=VALUE_HIDDEN"));
    EXPECT_THAT(run({"list"}).out, HasSubstr("Plain s3lf"));
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"--reveal", "list"}, {"--reveal", "delta", "--type", "extended"}, {"--reveal", "export"}}) {
        const support::Ended ended = run(words);
        EXPECT_THAT(ended.out + ended.error, HasSubstr("ConnectionPassword s3cret")) << words[1];
    }
}
