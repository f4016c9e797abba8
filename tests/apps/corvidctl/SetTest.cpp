#include "Tool.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string ALL_THE_SAME = "; to store it all the same, leave out --require-effective\n";

}  // namespace

TEST_F(Tool, SetIsOnDiskWhenItEnds) {
    EXPECT_EQ(run({"set", "LaunchOnSystemStartup", "true"}).status, 0);
    EXPECT_THAT(configFile("corvidLocalConfig.xml"),
                HasSubstr("<userConfig name=\"LaunchOnSystemStartup\" value=\"true\"/>"));
    EXPECT_EQ(run({"get", "LaunchOnSystemStartup", "--show-origin"}).out, "LocalFileConfigStore\ttrue\n");
}

TEST_F(Tool, SetSaysWhichStoreTookTheValue) {
    const support::Ended ended = run({"set", "LaunchOnSystemStartup", "true"});
    EXPECT_EQ(ended.out, "LaunchOnSystemStartup stored in LocalFileConfigStore.\n"
                         "It takes effect, and is kept in " +
                             localPath() + ".\n");
    EXPECT_EQ(ended.error, "");
}

TEST_F(Tool, SetSaysWhichStoreStillWins) {
    const support::Ended ended = run({"set", "Telephony_Enabled", "maybe"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "Telephony_Enabled stored in LocalFileConfigStore.\n"
                         "TftpOverrideConfigStore still wins, with \"true\".\n"
                         "It is kept in " +
                             localPath() + ".\n");
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), HasSubstr("value=\"maybe\""));
}

TEST_F(Tool, SetGivesTheValueObjectAfterwards) {
    const json expected = {{"key", "LaunchOnSystemStartup"},
                           {"value", "true"},
                           {"originalValue", "false"},
                           {"isOverridden", true},
                           {"isDefined", true},
                           {"valueStoreName", "LocalFileConfigStore"},
                           {"originalValueStoreName", "corvid-config-defaults.xml"},
                           {"isSensitive", false},
                           {"storedIn", "LocalFileConfigStore"},
                           {"isEffective", true},
                           {"isPersisted", true},
                           {"file", localPath()},
                           {"dryRun", false}};
    EXPECT_EQ(asJson({"set", "LaunchOnSystemStartup", "true"}), expected);
}

TEST_F(Tool, SetTakesAnEmptyValue) {
    EXPECT_EQ(run({"set", "Nothing", ""}).status, 0);
    const json value = asJson({"get", "Nothing"});
    EXPECT_EQ(value.at("isDefined"), true);
    EXPECT_EQ(value.at("value"), "");
}

TEST_F(Tool, SetKeepsEveryCharacterOfAValue) {
    const std::string value = "a<b>&\"c' \xC3\xA4\xE2\x82\xAC\xF0\x9F\x90\xA6 ]]>";
    EXPECT_EQ(run({"set", "Odd", value}).status, 0);
    EXPECT_EQ(run({"get", "Odd"}).out, value + "\n");
}

TEST_F(Tool, SetNeedsNoConfigurationDirectory) {
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "--config-dir", directory_.path("new/profile"),
                                                      "--install-dir", directory_.path("install"), "set", "A", "b"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_THAT(directory_.read("new/profile/corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"b\""));
}

TEST_F(Tool, SetThatCannotReachTheDiskIsStatusOne) {
    directory_.write("blocked", "a file");
    const support::Ended ended =
        support::runProgram({CORVIDCTL_PROGRAM, "--config-dir", directory_.path("blocked/profile"), "--install-dir",
                             directory_.path("install"), "set", "A", "b"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: A could not be written to " + directory_.path("blocked/profile") +
                                       ": Not a directory\n"));
}

TEST_F(Tool, SetShowsNoSensitiveValue) {
    const support::Ended ended = run({"set", "BDIConnectionUsername", "mine"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, Not(HasSubstr("reader")));
    EXPECT_THAT(ended.out, Not(HasSubstr("mine")));
    EXPECT_EQ(asJson({"set", "BDIConnectionUserDn", "mine"}).at("value"), "VALUE_HIDDEN");
}

TEST_F(Tool, SetSetsAsideALocalFileThatIsBrokenAsTheModuleDoes) {
    writeConfig("corvidLocalConfig.xml", "<Corvid><userConfig");
    EXPECT_EQ(run({"set", "A", "b"}).status, 0);
    EXPECT_EQ(configFile("corvidLocalConfig-backup.xml"), "<Corvid><userConfig");
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), HasSubstr("name=\"A\" value=\"b\""));
}

TEST_F(Tool, UnsetIsOnDiskWhenItEnds) {
    const support::Ended ended = run({"unset", "DockedWindow"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "DockedWindow removed from LocalFileConfigStore.\n"
                         "corvid-config-defaults.xml wins now, with \"true\".\n"
                         "It is gone from " +
                             localPath() + ".\n");
    EXPECT_EQ(run({"get", "DockedWindow", "--show-origin"}).out, "corvid-config-defaults.xml\ttrue\n");
}

TEST_F(Tool, UnsetGivesTheValueObjectAfterwards) {
    const json value = asJson({"unset", "DockedWindow"});
    EXPECT_EQ(value.at("value"), "true");
    EXPECT_EQ(value.at("isOverridden"), false);
    EXPECT_EQ(value.at("valueStoreName"), "corvid-config-defaults.xml");
    EXPECT_EQ(asJson({"unset", "OnlyMine"}).at("isDefined"), false);
}

TEST_F(Tool, UnsetRemovesAKeyUnderAllItsNames) {
    EXPECT_EQ(run({"set", "TftpServer2", "old"}).status, 0);
    EXPECT_EQ(run({"set", "TFTPBackupServer1", "new"}).status, 0);
    EXPECT_EQ(run({"unset", "TftpServer2"}).out, "TFTPBackupServer1 removed from LocalFileConfigStore.\n"
                                                 "It is not defined any more.\n"
                                                 "It is gone from " +
                                                     localPath() + ".\n");
    EXPECT_EQ(run({"get", "TFTPBackupServer1"}).status, 1);
}

TEST_F(Tool, UnsetThatFindsNothingEndsWithNought) {
    const auto before = files();
    const support::Ended ended = run({"unset", "Nowhere"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("Nowhere is in no writable store; nothing to remove.\n"));
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, SetTakesWordsWithBracketsLetterByLetter) {
    for (const std::string value : {"[1]", "[]", "[a,b]", "{}", "%%", "++", "-"}) {
        EXPECT_EQ(run({"set", "Odd", value}).status, 0) << value;
        EXPECT_EQ(run({"get", "Odd"}).out, value + "\n");
    }
}

TEST_F(Tool, SetSaysThatTheCurrentNameInTheSameStoreComesFirst) {
    writeConfig("corvidLocalConfig.xml", localFile({{"TFTPPrimaryServer", "current"}}));
    EXPECT_EQ(run({"set", "TftpServer1", "old"}).out,
              "TFTPPrimaryServer stored in LocalFileConfigStore, under its old name TftpServer1.\n"
              "It still reads as \"current\".\n"
              "What the store holds under TFTPPrimaryServer comes first.\nIt is kept in " +
                  localPath() + ".\n");
}

TEST_F(Tool, SetSaysThatTheFipsRuleOutweighsTheValue) {
    EXPECT_EQ(run({"--fips", "on", "set", "Telephony_P2P_Enabled", "true"}).out,
              "Telephony_P2P_Enabled stored in LocalFileConfigStore.\n"
              "It still reads as \"false\".\nIt is kept in " +
                  localPath() + ".\n");
}

TEST_F(Tool, SetOfASensitiveValueThatWinsIsNoSurprise) {
    EXPECT_EQ(run({"set", "ConnectionPassword", "s3cret"}).out,
              "ConnectionPassword stored in LocalFileConfigStore.\nIt takes effect, and is kept in " + localPath() +
                  ".\n");
}

TEST_F(Tool, SetTellsWhatWillBeOnDiskWhereXmlCannotHoldAValue) {
    const support::Ended ended = run({"set", "Odd", "a\x1b[31m"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: XML cannot hold every character of the value; on disk it is "
                                       "\"a\xEF\xBF\xBD[31m\"\n"));
    EXPECT_EQ(run({"get", "Odd"}).out, "a\xEF\xBF\xBD[31m\n");
}

TEST_F(Tool, SetHidesASecretInTheKey) {
    for (const std::string key : {"ConnectionPassword=s3cret", "ConnectionPassword=s3cret\x01"}) {
        const support::Ended ended = run({"--log-level", "2", "set", key, "x"});
        EXPECT_EQ(ended.status, 0);
        EXPECT_THAT(ended.out,
                    testing::StartsWith("ConnectionPassword=VALUE_HIDDEN stored in LocalFileConfigStore.\n"));
        EXPECT_THAT(ended.out + ended.error, Not(HasSubstr("s3cret")));
    }
    EXPECT_THAT(run({"--reveal", "set", "ConnectionPassword=s3cret\x01", "x"}).error,
                HasSubstr("on disk it is \"ConnectionPassword=s3cret\xEF\xBF\xBD\"\n"));
}

TEST_F(Tool, SetTellsWhatWillBeOnDiskWhereXmlCannotHoldAKey) {
    EXPECT_THAT(run({"set", "O\x01k", "v"}).error,
                HasSubstr("corvidctl: XML cannot hold every character of the key; on disk it is \"O\xEF\xBF\xBDk\"\n"));
    EXPECT_EQ(run({"get", "O\xEF\xBF\xBDk"}).out, "v\n");
}

TEST_F(Tool, SetShowsNoSensitiveValueThatXmlCannotHold) {
    const support::Ended ended = run({"set", "ConnectionPassword", "s3cret\x01"});
    EXPECT_THAT(ended.error, HasSubstr("on disk U+FFFD stands for them\n"));
    EXPECT_THAT(ended.error, Not(HasSubstr("s3cret")));
}

TEST_F(Tool, SetGivesTheWinnersValueObjectWhereAnotherStoreWins) {
    const json value = asJson({"set", "Telephony_Enabled", "maybe"});
    EXPECT_EQ(value.at("value"), "true");
    EXPECT_EQ(value.at("valueStoreName"), "TftpOverrideConfigStore");
    EXPECT_EQ(value.at("isOverridden"), false);
}

TEST_F(Tool, UnsetOfAKeyThatNeverWasSaysSo) {
    EXPECT_EQ(run({"unset", "Nowhere"}).out, "Nowhere is in no writable store; nothing to remove.\n"
                                             "It is not defined.\n");
}

TEST_F(Tool, UnsetThatCannotReachTheDiskIsStatusOne) {
    const std::string before = configFile("corvidLocalConfig.xml");
    const support::Ended ended = support::runProgram(
        {"/bin/sh", "-c",
         "trap '' XFSZ; ulimit -f 0; exec \"$0\" --config-dir \"$1\" --install-dir \"$2\" unset DockedWindow",
         CORVIDCTL_PROGRAM, directory_.path("config"), directory_.path("install")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: DockedWindow could not be removed from " +
                                       directory_.path("config") + ": File too large\n"));
    EXPECT_EQ(configFile("corvidLocalConfig.xml"), before);
}

TEST_F(Tool, SetRehearsesAValueThatWouldTakeEffect) {
    const auto before = files();
    const support::Ended ended = run({"set", "--dry-run", "LaunchOnSystemStartup", "true"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.out, "LaunchOnSystemStartup would be stored in LocalFileConfigStore.\n"
                         "It would take effect, and be kept in " +
                             localPath() + ".\nNothing has been stored.\n");
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, SetRehearsesAValueThatWouldHaveNoEffect) {
    EXPECT_EQ(run({"set", "--dry-run", "Telephony_Enabled", "maybe"}).out,
              "Telephony_Enabled would be stored in LocalFileConfigStore.\n"
              "TftpOverrideConfigStore would still win, with \"true\".\n"
              "It would be kept in " +
                  localPath() + ".\nNothing has been stored.\n");
}

TEST_F(Tool, SetGivesScriptsWhatItRehearsed) {
    const auto before = files();
    const json value = asJson({"set", "--dry-run", "DockedWindow", "true"});
    EXPECT_EQ(value.at("value"), "true");
    EXPECT_EQ(value.at("storedIn"), "LocalFileConfigStore");
    EXPECT_EQ(value.at("isEffective"), true);
    EXPECT_EQ(value.at("isPersisted"), true);
    EXPECT_EQ(value.at("file"), localPath());
    EXPECT_EQ(value.at("dryRun"), true);
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, SetRehearsesADiskThatTakesNothing) {
    directory_.write("blocked", "a file");
    const std::string profile = directory_.path("blocked/profile");
    const support::Ended ended = support::runProgram({CORVIDCTL_PROGRAM, "--config-dir", profile, "--install-dir",
                                                      directory_.path("install"), "set", "--dry-run", "A", "b"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "corvidctl: A could not be written to " + profile + ": Not a directory\n");
}

TEST_F(Tool, SetStoresNothingThatWouldNotWinWhenItMust) {
    const auto before = files();
    const support::Ended ended = run({"set", "--require-effective", "Telephony_Enabled", "maybe"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "corvidctl: nothing stored: TftpOverrideConfigStore wins Telephony_Enabled, with \"true\"" +
                               ALL_THE_SAME);
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, SetGivesScriptsTheValueThatStaysWhenNothingIsStored) {
    const json value = asJson({"set", "--require-effective", "Telephony_Enabled", "maybe"}, 1);
    EXPECT_EQ(value.at("value"), "true");
    EXPECT_EQ(value.at("storedIn"), nullptr);
    EXPECT_EQ(value.at("isEffective"), false);
    EXPECT_EQ(value.at("isPersisted"), false);
    EXPECT_EQ(value.at("file"), nullptr);
}

TEST_F(Tool, SetStoresWhatWinsWhenItMust) {
    EXPECT_EQ(run({"set", "--require-effective", "DockedWindow", "maybe"}).out,
              "DockedWindow stored in LocalFileConfigStore.\nIt takes effect, and is kept in " + localPath() + ".\n");
    EXPECT_EQ(run({"get", "DockedWindow"}).out, "maybe\n");
}

TEST_F(Tool, SetStoresNothingThatWouldReadOtherwiseWhenItMust) {
    const auto before = files();
    EXPECT_EQ(run({"--fips", "on", "set", "--require-effective", "Telephony_P2P_Enabled", "true"}).error,
              "corvidctl: nothing stored: Telephony_P2P_Enabled would read as \"false\"" + ALL_THE_SAME);
    EXPECT_EQ(run({"set", "--require-effective", "Odd", "a\x01"}).error,
              "corvidctl: nothing stored: XML cannot hold every character of it" + ALL_THE_SAME);
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, SetTellsThatAPolicyTakesTheValueAwayAtTheNextStart) {
    writeConfig("corvid-config-user.xml", "<c><g><Customize_Phone_Server>False</Customize_Phone_Server></g></c>");
    const std::string policy = "Customize_Phone_Server is \"False\", from TftpOverrideConfigStore";
    EXPECT_EQ(run({"set", "CtiServer1", "mine"}).out, "CTIPrimaryServer stored in LocalFileConfigStore, under its old "
                                                      "name CtiServer1.\n"
                                                      "The client erases it when it starts: " +
                                                          policy + ".\nIt is kept in " + localPath() + ".\n");
    EXPECT_EQ(run({"get", "CTIPrimaryServer"}).status, 1);
    EXPECT_EQ(run({"set", "--require-effective", "TFTPPrimaryServer", "mine"}).error,
              "corvidctl: nothing stored: the client would erase TFTPPrimaryServer when it starts: " + policy +
                  ALL_THE_SAME);
    EXPECT_EQ(run({"set", "--require-effective", "TFTPBackupServer1", "mine"}).status, 0);
}

TEST_F(Tool, SetRehearsesWithALocalFileThatIsBroken) {
    writeConfig("corvidLocalConfig.xml", "<Corvid><userConfig");
    const auto before = files();
    const support::Ended ended = run({"--log-level", "2", "set", "--dry-run", "A", "b"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: " + localPath() + " cannot be read (line "));
    EXPECT_THAT(ended.error, testing::EndsWith("); it would be set aside as " +
                                               directory_.path("config/corvidLocalConfig-backup.xml") + "\n"));
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, SetTellsThatABrokenLocalFileIsSetAside) {
    writeConfig("corvidLocalConfig.xml", "<Corvid><userConfig");
    EXPECT_THAT(run({"set", "A", "b"}).error,
                HasSubstr("); it is set aside as " + directory_.path("config/corvidLocalConfig-backup.xml") + "\n"));
}

TEST_F(Tool, UnsetRehearsesAnErasure) {
    const auto before = files();
    EXPECT_EQ(run({"unset", "--dry-run", "DockedWindow"}).out,
              "DockedWindow would be removed from LocalFileConfigStore.\n"
              "corvid-config-defaults.xml would win, with \"true\".\n"
              "It would be gone from " +
                  localPath() + ".\nNothing has been removed.\n");
    EXPECT_EQ(run({"unset", "--dry-run", "OnlyMine"}).out, "OnlyMine would be removed from LocalFileConfigStore.\n"
                                                           "It would not be defined any more.\n"
                                                           "It would be gone from " +
                                                               localPath() + ".\nNothing has been removed.\n");
    EXPECT_EQ(asJson({"unset", "--dry-run", "DockedWindow"}).at("dryRun"), true);
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, UnsetTellsThatAnotherStoreWinsAsBefore) {
    EXPECT_EQ(run({"unset", "Telephony_Enabled"}).out, "Telephony_Enabled removed from LocalFileConfigStore.\n"
                                                       "TftpOverrideConfigStore still wins, with \"true\".\n"
                                                       "It is gone from " +
                                                           localPath() + ".\n");
}

TEST_F(Tool, UnsetGivesScriptsTheStoresThatHeldTheKey) {
    const json value = asJson({"unset", "DockedWindow"});
    EXPECT_EQ(value.at("removedFrom"), json::array({"LocalFileConfigStore"}));
    EXPECT_EQ(value.at("isEffective"), true);
    EXPECT_EQ(value.at("isPersisted"), true);
    EXPECT_EQ(value.at("file"), localPath());
    const json nothing = asJson({"unset", "Nowhere"});
    EXPECT_EQ(nothing.at("removedFrom"), json::array());
    EXPECT_EQ(nothing.at("isEffective"), false);
    EXPECT_EQ(nothing.at("file"), nullptr);
}

TEST_F(Tool, SetTellsWhyTheDiskTookNothing) {
    const std::string before = configFile("corvidLocalConfig.xml");
    const support::Ended ended = support::runProgram(
        {"/bin/sh", "-c",
         "trap '' XFSZ; ulimit -f 0; exec \"$0\" --json --config-dir \"$1\" --install-dir \"$2\" set "
         "DockedWindow true",
         CORVIDCTL_PROGRAM, directory_.path("config"), directory_.path("install")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: DockedWindow could not be written to " + directory_.path("config") +
                                       ": File too large\n"));
    const json value = json::parse(ended.out);
    EXPECT_EQ(value.at("storedIn"), "LocalFileConfigStore");
    EXPECT_EQ(value.at("isPersisted"), false);
    EXPECT_EQ(configFile("corvidLocalConfig.xml"), before);
}

TEST_F(Tool, SetOfAPolicyTellsWhichOfTheUsersKeysItErases) {
    writeConfig("corvidLocalConfig.xml", localFile({{"VoicemailPrimaryServer", "mine"}}));
    const std::string reason =
        "VoicemailPrimaryServer when it starts, since Customize_Voicemail_Server is \"false\".\n";
    EXPECT_THAT(run({"set", "--dry-run", "Customize_Voicemail_Server", "false"}).out,
                HasSubstr("\nThe client would erase " + reason));
    const support::Ended stored = run({"-o", "json", "set", "Customize_Voicemail_Server", "false"});
    EXPECT_EQ(stored.error, "The client erases " + reason);
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), HasSubstr("value=\"mine\""));
    EXPECT_EQ(run({"get", "VoicemailPrimaryServer"}).status, 1);
}

TEST_F(Tool, SetOfAPolicyThatForbidsNothingTellsNothing) {
    writeConfig("corvidLocalConfig.xml", localFile({{"VoicemailPrimaryServer", "mine"}}));
    EXPECT_THAT(run({"set", "Customize_Voicemail_Server", "true"}).out, Not(HasSubstr("VoicemailPrimaryServer")));
    EXPECT_THAT(run({"set", "Customize_Phone_Server", "false"}).out, Not(HasSubstr("The client erases")));
}

TEST_F(Tool, SetQuotesNothingOfALocalFileThatIsBroken) {
    writeConfig("corvidLocalConfig.xml", "<Corvid><s3cret></wrong></Corvid>");
    for (const char* const option : {"--dry-run", "--require-effective"}) {
        const support::Ended ended = run({"set", option, "Telephony_Enabled", "maybe"});
        EXPECT_THAT(ended.error, HasSubstr("column 25: it is not well-formed XML); it would be set aside as "));
        EXPECT_THAT(ended.error, Not(HasSubstr("s3cret")));
        EXPECT_THAT(ended.error, Not(HasSubstr("renaming")));
    }
}
