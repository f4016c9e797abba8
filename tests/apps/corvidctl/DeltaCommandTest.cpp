#include "Tool.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

TEST_F(Tool, DeltaShowsWhereLayersDiffer) {
    const support::Ended ended = run({"delta"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.out,
              "TYPE        KEY                STORE                    VALUE  STORE BELOW                 ITS VALUE  "
              "REMARKS\n"
              "overridden  DockedWindow       LocalFileConfigStore     false  corvid-config-defaults.xml  true\n"
              "overridden  telephony_enabled  TftpOverrideConfigStore  true   LocalFileConfigStore        false\n"
              "shadowed    telephony_enabled  LocalFileConfigStore     false  -                           -          "
              "TftpOverrideConfigStore wins, with \"true\"\n"
              "6 entries have no layer below that knows the key; --type extended shows them.\n");
}

TEST_F(Tool, DeltaGivesScriptsEveryEntry) {
    const json rows = asJson({"delta", "Telephony*"});
    ASSERT_EQ(rows.size(), 2u);
    EXPECT_EQ(rows[0], json({{"type", "overridden"},
                             {"key", "telephony_enabled"},
                             {"name", "telephony_enabled"},
                             {"store", "TftpOverrideConfigStore"},
                             {"value", "true"},
                             {"belowStore", "LocalFileConfigStore"},
                             {"belowValue", "false"},
                             {"winningStore", "TftpOverrideConfigStore"},
                             {"winningValue", "true"},
                             {"isSensitive", false}}));
    EXPECT_EQ(rows[1].at("type"), "shadowed");
    EXPECT_EQ(rows[1].at("belowStore"), nullptr);
    EXPECT_EQ(rows[1].at("belowValue"), nullptr);
}

TEST_F(Tool, DeltaShowsTheTypesThatAreAskedFor) {
    for (const json& row : asJson({"delta", "--type", "extended"})) {
        EXPECT_EQ(row.at("type"), "extended");
    }
    EXPECT_EQ(asJson({"delta", "--type", "extended"}).size(), 6u);
    EXPECT_EQ(asJson({"delta", "--type", "extended,shadowed", "--type", "overridden"}).size(), 9u);
    EXPECT_EQ(run({"delta", "--type", "equal"}).out, "No entry of these types.\n");
    EXPECT_EQ(run({"delta", "--type", "equal", "DockedWindow"}).out, "No entry of these types.\n");
}

TEST_F(Tool, DeltaChoosesKeysByTheirCurrentNames) {
    const support::Ended ended = run({"-o", "tsv", "delta", "--type", "extended", "tftpserver1"});
    EXPECT_EQ(ended.out,
              "type\tkey\tname\tstore\tvalue\tbelowStore\tbelowValue\twinningStore\twinningValue\tisSensitive\n"
              "extended\tTFTPPrimaryServer\tTftpServer1\tBootstrapConfigStore\ttftp.example.org\t\t\t"
              "BootstrapConfigStore\ttftp.example.org\tfalse\n");
    EXPECT_THAT(run({"delta", "--type", "extended", "tftpserver1"}).out, HasSubstr("held as TftpServer1\n"));
}

TEST_F(Tool, DeltaHidesSecretsUnlessTheyAreToBeShown) {
    writeConfig("corvidLocalConfig.xml", localFile({{"BDIConnectionUsername", "mine"}}));
    for (const std::string format : {"table", "json", "jsonl", "tsv"}) {
        const std::string out = run({"-o", format, "delta", "--type", "overridden,shadowed,extended"}).out;
        EXPECT_THAT(out, HasSubstr("VALUE_HIDDEN"));
        EXPECT_THAT(out, Not(HasSubstr("reader")));
        EXPECT_THAT(out, Not(HasSubstr("mine")));
    }
    EXPECT_THAT(run({"--reveal", "delta"}).out, HasSubstr("mine"));
}

TEST_F(Tool, DeltaRefusesAnUnknownType) {
    const support::Ended ended = run({"delta", "--type", "equal,masked"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error, "corvidctl: --type 'masked': expected overridden, shadowed, equal or extended\n");
}

TEST_F(Tool, DeltaSaysThatNoKeyMatches) {
    EXPECT_EQ(run({"delta", "nope", "no*"}).out, "No key matches nope or no*.\n");
    const support::Ended forScripts = run({"--json", "delta", "nope"});
    EXPECT_EQ(forScripts.out, "[]\n");
    EXPECT_EQ(forScripts.error, "No key matches nope.\n");
}

TEST_F(Tool, DeltaTellsWhichFilesCouldNotBeRead) {
    writeConfig("corvid-config-user.xml", "<Corvid><s3cret></wrong></Corvid>");
    writeConfig("Cache/cachedNobodysStore.xml", "<broken");  // in no chain
    const std::string remark =
        "TftpOverrideConfigStore failed to load: " + directory_.path("config/corvid-config-user.xml") +
        ", line 1, column 25: it is not well-formed XML.\n";
    EXPECT_THAT(run({"--log-level", "2", "delta"}).out, testing::EndsWith(remark));
    EXPECT_THAT(run({"--log-level", "2", "--json", "delta"}).error, testing::EndsWith(remark));
    EXPECT_THAT(run({"delta"}).out, Not(HasSubstr("cachedNobodysStore")));
}
