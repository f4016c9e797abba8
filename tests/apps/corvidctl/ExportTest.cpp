#include <sys/stat.h>

#include "Tool.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string ONE_HIDDEN = "corvidctl: 1 sensitive value is left out, --reveal exports it too\n";

/// The log on standard error is silenced, which leaves the tool's own lines.
class ExportTool : public Tool {
protected:
    support::Ended quietly(std::vector<std::string> words) const {
        words.insert(words.begin(), {"--log-file", "/dev/null"});
        return run(words);
    }

    json valuesOf(const json& list) const {
        json values = json::object();
        for (const json& value : list) {
            if (!value.at("isSensitive").get<bool>()) {
                values[value.at("key").get<std::string>()] = value.at("value");
            }
        }
        return values;
    }
};

}  // namespace

TEST_F(ExportTool, WritesTheEffectiveConfiguration) {
    const support::Ended ended = quietly({"export", "--format", "json"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, ONE_HIDDEN);
    EXPECT_EQ(json::parse(ended.out), valuesOf(asJson({"list"})));
}

TEST_F(ExportTool, IsReadBackAsTheFileOfAnotherClient) {
    writeConfig("corvidLocalConfig.xml", localFile({{"Markup", "&lt;a&gt;&amp;&lt;/a&gt;"}, {"Lines", "1&#10;2"}}));
    const json before = valuesOf(asJson({"list", "Markup", "Lines", "TFTPPrimaryServer"}));
    ASSERT_EQ(before.size(), 3U);
    ASSERT_EQ(quietly({"export", "--to", directory_.path("a.xml")}).status, 0);
    writeConfig("corvidLocalConfig.xml", localFile({}));
    directory_.write("install/bootstrap.properties", "");
    writeConfig("corvid-config-user.xml", directory_.read("a.xml"));
    EXPECT_EQ(valuesOf(asJson({"list", "Markup", "Lines", "TFTPPrimaryServer"})), before);
}

TEST_F(ExportTool, IsReadBackAsAnInstallersFile) {
    ASSERT_EQ(quietly({"export", "--store", "bootstrapconfigstore", "--format", "properties", "--to",
                       directory_.path("a.properties")})
                  .status,
              0);
    EXPECT_EQ(directory_.read("a.properties"),
              "# One key:value a line; everything after the first colon is the value.\n"
              "ServicesDomain: example.org\nTftpServer1: tftp.example.org\n");
    EXPECT_EQ(asJson({"--bootstrap", directory_.path("a.properties"), "list"}), asJson({"list"}));
}

TEST_F(ExportTool, WritesOneStoreAsItIs) {
    EXPECT_EQ(quietly({"export", "--store", "LocalFileConfigStore"}).out,
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<config version=\"1.0\">\n  <Exported>\n"
              "    <dockedwindow>false</dockedwindow>\n    <onlymine>1</onlymine>\n"
              "    <telephony_enabled>false</telephony_enabled>\n  </Exported>\n</config>\n");
}

TEST_F(ExportTool, LeavesOutWhatTheStoreDoesNotAnswerFor) {
    writeConfig("corvid-config-user.xml", "<c><g><CertificateValidationEnabled>0</CertificateValidationEnabled>"
                                          "<Other>1</Other></g></c>");
    const support::Ended ended = quietly({"export", "--store", "TftpOverrideConfigStore", "--format", "json"});
    EXPECT_EQ(ended.out, "{\n  \"other\": \"1\"\n}\n");
    EXPECT_EQ(ended.status, 0);
}

TEST_F(ExportTool, GivesAScriptTheVeryBytes) {
    writeConfig("corvidLocalConfig.xml", localFile({{"Tab", "a&#9;b\xC2\x9B"}}));
    EXPECT_THAT(quietly({"export", "--store", "LocalFileConfigStore", "--format", "properties"}).out,
                testing::EndsWith("\ntab: a\tb\xC2\x9B\n"));
}

TEST_F(ExportTool, TellsTheStoresWhenThereIsNoneOfTheName) {
    const support::Ended ended = quietly({"export", "--store", "nowhere", "--to", directory_.path("a.xml")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error,
              "corvidctl: no store has the name \"nowhere\", expected one of TftpOverrideConfigStore, "
              "LocalFileConfigStore, UrlProvisioningConfigStore, BootstrapConfigStore, InMemoryConfigStore, "
              "corvid-config-defaults.xml\n");
    EXPECT_FALSE(directory_.exists("a.xml"));
}

TEST_F(ExportTool, GivesNoDocumentOfAStoreThatFailedToLoad) {
    writeConfig("corvid-config-user.xml", "<c>\n<g><Secret>reader</g></c>");
    const support::Ended ended =
        quietly({"export", "--store", "tftpoverrideconfigstore", "--to", directory_.path("a.xml")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.error,
                testing::MatchesRegex("corvidctl: TftpOverrideConfigStore failed to load: corvid-config-user.xml, line "
                                      "2, column [0-9]+: it is not well-formed XML\n"));
    EXPECT_FALSE(directory_.exists("a.xml"));
}

TEST_F(ExportTool, TellsWhichStoresFailedToLoadAndAreMissing) {
    writeConfig("corvidLocalConfig.xml", "<Corvid>");
    const support::Ended ended = quietly({"export", "--json"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error,
                HasSubstr("corvidctl: LocalFileConfigStore failed to load: corvidLocalConfig.xml, line 1"));
    const json view = json::parse(ended.out);
    ASSERT_EQ(view.at("failed").size(), 1U);
    EXPECT_THAT(view.at("failed")[0], testing::StartsWith("LocalFileConfigStore failed to load: "));
    EXPECT_THAT(view.at("document"), HasSubstr("telephony_enabled"));
}

TEST_F(ExportTool, IsNotHinderedByAnotherStoreThatFailedToLoad) {
    writeConfig("corvid-config-user.xml", "<c>");
    const support::Ended ended = quietly({"export", "--store", "LocalFileConfigStore"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
}

TEST_F(ExportTool, LeavesOutWhatTheClientKeepsForItself) {
    writeConfig("corvidLocalConfig.xml",
                localFile({{"AllowUrlProvisioning", "false"}, {"PrimaryConfigStores", "x"}, {"Good", "y"}}));
    const support::Ended ended = quietly({"export", "--json"});
    EXPECT_EQ(ended.status, 0);
    const json view = json::parse(ended.out);
    EXPECT_THAT(view.at("document"), HasSubstr("<good>y</good>"));
    EXPECT_THAT(ended.error, HasSubstr("is left out, since the client keeps it for itself\n"));
    ASSERT_EQ(view.at("leftOut").size(), 2U);
    for (const json& value : view.at("leftOut")) {
        EXPECT_EQ(value.at("reason"), "the client keeps it for itself");
    }
}

TEST_F(ExportTool, KeepsThatAnAdministratorForbidsLinks) {
    writeConfig("corvid-config-user.xml", "<c><g><AllowUrlProvisioning>false</AllowUrlProvisioning></g></c>");
    EXPECT_THAT(quietly({"export"}).out, HasSubstr("false</allowurlprovisioning>"));
}

TEST_F(ExportTool, LeavesSecretsOutUnlessTheyAreToBeShown) {
    for (const char* const format : {"server", "json", "properties"}) {
        EXPECT_THAT(quietly({"export", "--format", format}).out, Not(HasSubstr("reader"))) << format;
    }
    const support::Ended revealed = quietly({"--reveal", "export", "--store", "TftpOverrideConfigStore"});
    EXPECT_THAT(revealed.out, HasSubstr("<bdiconnectionusername sensitive=\"true\">reader</bdiconnectionusername>"));
    EXPECT_EQ(revealed.error, "");
}

TEST_F(ExportTool, TellsWhatItLeavesOutWithStatusOne) {
    writeConfig("corvidLocalConfig.xml", localFile({{"Blank", " x"}, {"Good", "y"}}));
    const support::Ended ended =
        quietly({"export", "--store", "LocalFileConfigStore", "--to", directory_.path("a.xml")});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error, "corvidctl: \"blank\" is left out, since white space around a value is not read\n");
    EXPECT_EQ(ended.out, directory_.path("a.xml") + ": 1 key of LocalFileConfigStore\n");
    EXPECT_THAT(directory_.read("a.xml"), HasSubstr("<good>y</good>"));
}

TEST_F(ExportTool, WritesAFileWithSecretsForItsOwnerAlone) {
    const std::string file = directory_.path("a.xml");
    const support::Ended ended = quietly({"--reveal", "export", "--store", "TftpOverrideConfigStore", "--to", file});
    EXPECT_EQ(ended.out, file + ": 2 keys of TftpOverrideConfigStore\n");
    struct stat status {};
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(ExportTool, ReplacesAFileWhenItIsForced) {
    const std::string file = directory_.write("a.json", "old");
    EXPECT_EQ(quietly({"export", "--format", "json", "--to", file, "--force"}).status, 0);
    EXPECT_EQ(json::parse(directory_.read("a.json")), valuesOf(asJson({"list"})));
}

TEST_F(ExportTool, AnswersScriptsInTheirFormat) {
    const json expected = {{"store", "BootstrapConfigStore"},
                           {"format", "properties"},
                           {"file", nullptr},
                           {"keys", 2},
                           {"hidden", json::array()},
                           {"leftOut", json::array()},
                           {"failed", json::array()},
                           {"document", "# One key:value a line; everything after the first colon is the value.\n"
                                        "ServicesDomain: example.org\nTftpServer1: tftp.example.org\n"}};
    EXPECT_EQ(asJson({"export", "--store", "BootstrapConfigStore", "--format", "properties"}), expected);
    EXPECT_EQ(quietly({"-o", "tsv", "export", "--store", "UrlProvisioningConfigStore", "--format", "json"}).out,
              "store\tformat\tfile\tkeys\thidden\tleftOut\tdocument\tfailed\n"
              "UrlProvisioningConfigStore\tjson\t\t0\t[]\t[]\t{}\\n\t[]\n");
}

TEST_F(ExportTool, TellsScriptsOfAFileAndOfWhatItLacks) {
    writeConfig("corvidLocalConfig.xml", localFile({{"a b", "x"}}));
    const std::string file = directory_.path("a.xml");
    const json answer = asJson({"export", "--to", file}, 1);
    EXPECT_EQ(answer.at("store"), nullptr);
    EXPECT_EQ(answer.at("file"), file);
    EXPECT_EQ(answer.at("document"), nullptr);
    EXPECT_EQ(answer.at("hidden"), json::array({"bdiconnectionusername"}));
    const json leftOut = {{{"key", "a b"}, {"reason", "its key is no XML name"}}};
    EXPECT_EQ(answer.at("leftOut"), leftOut);
}
