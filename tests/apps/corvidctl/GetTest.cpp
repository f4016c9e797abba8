#include "Tool.h"

using nlohmann::json;

TEST_F(Tool, GetPrintsTheWinningValueAlone) {
    const support::Ended ended = run({"get", "DockedWindow"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "false\n");
    EXPECT_EQ(ended.error, "");
}

TEST_F(Tool, GetIgnoresTheCaseOfAKey) { EXPECT_EQ(run({"get", "DOCKEDWINDOW"}).out, "false\n"); }

TEST_F(Tool, GetPutsTheStoreAndATabBeforeTheValue) {
    EXPECT_EQ(run({"get", "DockedWindow", "--show-origin"}).out, "LocalFileConfigStore\tfalse\n");
    EXPECT_EQ(run({"get", "--show-origin", "Telephony_Enabled"}).out, "TftpOverrideConfigStore\ttrue\n");
}

TEST_F(Tool, GetPrintsTheAdministratorsValue) {
    EXPECT_EQ(run({"get", "--original", "DockedWindow"}).out, "true\n");
    EXPECT_EQ(run({"get", "--original", "--show-origin", "DockedWindow"}).out, "corvid-config-defaults.xml\ttrue\n");
}

TEST_F(Tool, GetPrintsAnEmptyLineWhereTheAdministratorSaysNothing) {
    const support::Ended ended = run({"get", "--original", "OnlyMine"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "\n");
}

TEST_F(Tool, GetOfAnUndefinedKeyIsStatusOne) {
    const support::Ended ended = run({"get", "Nowhere"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "corvidctl: Nowhere is not defined\n");
}

TEST_F(Tool, GetOfAnUndefinedKeyPrintsItsJsonAllTheSame) {
    const json expected = {
        {"key", "Nowhere"},   {"value", ""},          {"originalValue", ""},          {"isOverridden", false},
        {"isDefined", false}, {"valueStoreName", ""}, {"originalValueStoreName", ""}, {"isSensitive", false}};
    EXPECT_EQ(asJson({"get", "Nowhere"}, 1), expected);
}

TEST_F(Tool, GetGivesTheWholeValueObject) {
    const json expected = {{"key", "DockedWindow"},
                           {"value", "false"},
                           {"originalValue", "true"},
                           {"isOverridden", true},
                           {"isDefined", true},
                           {"valueStoreName", "LocalFileConfigStore"},
                           {"originalValueStoreName", "corvid-config-defaults.xml"},
                           {"isSensitive", false}};
    EXPECT_EQ(asJson({"get", "DockedWindow"}), expected);
}

TEST_F(Tool, GetGivesTheSameAnswerUnderBothNamesOfAKey) {
    const json current = asJson({"get", "TFTPPrimaryServer"});
    EXPECT_EQ(current.at("value"), "tftp.example.org");
    EXPECT_EQ(current.at("key"), "TFTPPrimaryServer");
    EXPECT_EQ(asJson({"get", "TftpServer1"}), current);
    EXPECT_EQ(asJson({"get", "tftpserver1"}), current);
    EXPECT_EQ(asJson({"get", "tftpprimaryserver"}), current);
    EXPECT_EQ(run({"get", "TftpServer1"}).out, run({"get", "TFTPPrimaryServer"}).out);
}

TEST_F(Tool, GetHidesASensitiveValueUnlessToldOtherwise) {
    EXPECT_EQ(run({"get", "BDIConnectionUsername"}).out, "VALUE_HIDDEN\n");
    EXPECT_EQ(run({"get", "--original", "BDIConnectionUsername"}).out, "VALUE_HIDDEN\n");
    EXPECT_EQ(run({"--reveal", "get", "BDIConnectionUsername"}).out, "reader\n");

    const json hidden = asJson({"get", "BDIConnectionUsername"});
    EXPECT_EQ(hidden.at("value"), "VALUE_HIDDEN");
    EXPECT_EQ(hidden.at("originalValue"), "VALUE_HIDDEN");
    EXPECT_EQ(hidden.at("isSensitive"), true);
}

TEST_F(Tool, GetShowsNoMaskWhereThereIsNothingToHide) {
    const json value = asJson({"get", "connectionpassword"}, 1);
    EXPECT_EQ(value.at("value"), "");
    EXPECT_EQ(value.at("originalValue"), "");
    EXPECT_EQ(value.at("isSensitive"), true);
}

TEST_F(Tool, GetGivesAScriptTheVeryTextAndATerminalAHarmlessOne) {
    writeConfig("corvid-config-user.xml", "<c><g><Evil>a<![CDATA[\xC2\x9B]]>31mb</Evil></g></c>");
    EXPECT_EQ(run({"get", "Evil"}).out, "a\xC2\x9B"
                                        "31mb\n");
    support::ChildProcess::Options terminal;
    terminal.terminal = true;
    EXPECT_EQ(run({"get", "Evil"}, terminal).out, "a\\x9b31mb\r\n");
}

TEST_F(Tool, GetReadsAFileThatIsBrokenAsTheModuleDoes) {
    writeConfig("corvid-config-user.xml", "<c><g>");
    const support::Ended ended = run({"get", "Telephony_Enabled", "--show-origin"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "LocalFileConfigStore\tfalse\n");
    EXPECT_THAT(ended.error, testing::HasSubstr("is an invalid XML document"));
}

TEST_F(Tool, GetTakesAKeyWithBracketsLetterByLetter) {
    writeConfig("corvidLocalConfig.xml", localFile({{"[OnlyMine]", "brackets"}, {"OnlyMine", "none"}}));
    EXPECT_EQ(run({"get", "[OnlyMine]"}).out, "brackets\n");
}

TEST_F(Tool, GetShowsNoControlCharacterOfAStoresName) {
    writeConfig("corvidLocalConfig.xml", localFile({{"PrimaryConfigStores", "a\xC2\x9B"
                                                                            "b:240;"}}));
    writeConfig("Cache/cacheda\xC2\x9B"
                "b.xml",
                "<c><g><Cached>1</Cached></g></c>");
    EXPECT_EQ(run({"get", "Cached", "--show-origin"}).out, "cacheda\\x9bb.xml\t1\n");
}

TEST_F(Tool, GetTellsTheKeyThatWasMeant) {
    const support::Ended ended = run({"get", "dockedwindw"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "corvidctl: dockedwindw is not defined; did you mean DockedWindow?\n");
}
