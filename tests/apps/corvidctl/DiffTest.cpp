#include <csignal>

#include "Tool.h"
#include "support/HeldPipe.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

class Diff : public Tool {
protected:
    /// What differs, as "difference key" of each row.
    std::vector<std::string> told(const std::vector<std::string>& words) const {
        std::vector<std::string> all = {"diff"};
        all.insert(all.end(), words.begin(), words.end());
        std::vector<std::string> texts;
        for (const json& row : asJson(all, 1)) {
            texts.push_back(row.at("difference").get<std::string>() + " " + row.at("key").get<std::string>());
        }
        return texts;
    }

    void expectRefused(const std::vector<std::string>& operands, const std::string& line) const {
        const auto before = files();
        const support::Ended ended = run({"diff", operands[0], operands[1]});
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.error, "corvidctl: diff: " + line + "\n");
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(files(), before);
    }
};

}  // namespace

TEST_F(Diff, TellsWhatOneStoreHasAndAnotherHasNot) {
    const support::Ended ended = run({"diff", "LocalFileConfigStore", "corvid-config-defaults.xml"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.out,
              "- only in LocalFileConfigStore (A)   + only in corvid-config-defaults.xml (B)   ~ different values\n"
              "\n"
              "   KEY                    A      B\n"
              "~  DockedWindow           false  true\n"
              "+  LaunchOnSystemStartup  -      false\n"
              "-  onlymine               1      -\n"
              "-  telephony_enabled      false  -\n");
}

TEST_F(Diff, GivesScriptsBothValuesAndStores) {
    directory_.write("other/corvidLocalConfig.xml", localFile({{"DockedWindow", "true"}}));
    const json rows = asJson({"diff", "live", "dir:" + directory_.path("other")}, 1);
    EXPECT_EQ(entryOf(rows, "DockedWindow"), json({{"difference", "different"},
                                                   {"key", "DockedWindow"},
                                                   {"a", "false"},
                                                   {"b", "true"},
                                                   {"aStore", "LocalFileConfigStore"},
                                                   {"bStore", "LocalFileConfigStore"},
                                                   {"isSensitive", false}}));
    const json mine = entryOf(rows, "onlymine");
    EXPECT_EQ(mine.at("difference"), "onlyInA");
    EXPECT_EQ(mine.at("b"), nullptr);
    EXPECT_EQ(mine.at("bStore"), nullptr);
}

TEST_F(Diff, EndsWithNoughtWhereNothingDiffers) {
    const support::Ended ended = run({"diff", "live", directory_.path("config")});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "Nothing differs: 7 keys are the same.\n");
    EXPECT_EQ(run({"--json", "diff", "live", "live"}).out, "[]\n");
}

TEST_F(Diff, ShowsEqualKeysWhenAsked) {
    const json rows = asJson({"diff", "--all", "live", "live"});
    EXPECT_EQ(rows.size(), 7u);
    for (const json& row : rows) {
        EXPECT_EQ(row.at("difference"), "equal");
    }
    const support::Ended ended = run({"diff", "--all", "live", "live"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr("   ~ different values   = equal values\n\n"));
    EXPECT_THAT(ended.out, HasSubstr("=  DockedWindow"));
    EXPECT_THAT(ended.out, testing::EndsWith("Nothing differs: 7 keys are the same.\n"));
}

TEST_F(Diff, ReadsDocumentsOfEveryForm) {
    directory_.write("server.xml", "<c><g><A>1</A><B>2</B></g></c>");
    directory_.write("local.xml", localFile({{"a", "1"}, {"B", "3"}}));
    directory_.write("some.properties", "# comment\nA: 1\nC: 4\n");
    EXPECT_EQ(told({directory_.path("server.xml"), directory_.path("local.xml")}),
              std::vector<std::string>{"different b"});
    EXPECT_EQ(told({directory_.path("server.xml"), directory_.path("some.properties")}),
              (std::vector<std::string>{"onlyInA b", "onlyInB C"}));
}

TEST_F(Diff, TakesOldNamesForTheirCurrentOnes) {
    directory_.write("a.properties", "TftpServer1: one\n");
    directory_.write("b.xml", "<c><g><TftpServer1>two</TftpServer1><TFTPPrimaryServer>one</TFTPPrimaryServer></g></c>");
    EXPECT_EQ(run({"diff", directory_.path("a.properties"), directory_.path("b.xml")}).status, 0);
    EXPECT_EQ(run({"diff", "BootstrapConfigStore", directory_.path("install/bootstrap.properties")}).status, 0);
}

TEST_F(Diff, LeavesOutWhatNoStoreAnswersFromADocument) {
    directory_.write("a.xml", "<c><g><CertificateValidationEnabled>false</CertificateValidationEnabled></g></c>");
    directory_.write("b.xml", "<c/>");
    EXPECT_EQ(run({"diff", directory_.path("a.xml"), directory_.path("b.xml")}).status, 0);
}

TEST_F(Diff, HidesASecretOnBothSidesIfOneSideMarksIt) {
    directory_.write("a.xml", "<c><g><Token sensitive=\"true\">first</Token><BDIConnectionUsername>who"
                              "</BDIConnectionUsername></g></c>");
    directory_.write("b.xml", "<c><g><Token>second</Token></g></c>");
    const std::vector<std::string> words = {"diff", directory_.path("a.xml"), directory_.path("b.xml")};
    for (const std::string format : {"table", "json", "jsonl", "tsv"}) {
        const std::string out = run({"-o", format, words[0], words[1], words[2]}).out;
        EXPECT_THAT(out, HasSubstr("VALUE_HIDDEN"));
        for (const char* const secret : {"first", "second", "who"}) {
            EXPECT_THAT(out, Not(HasSubstr(secret)));
        }
    }
    EXPECT_THAT(run({"--reveal", words[0], words[1], words[2]}).out, HasSubstr("second"));
}

TEST_F(Diff, HidesTheValueOfAKeyThatHasTheNameOfASecretInIt) {
    directory_.write("a.xml", localFile({{"ConnectionPassword ", "s3cret"}, {"ConnectionPassword=x y", "s3cret"}}));
    directory_.write("b.properties", "ConnectionPassword x: s3cret\n");
    for (const std::string& file : {directory_.path("a.xml"), directory_.path("b.properties")}) {
        const support::Ended ended = run({"diff", file, "InMemoryConfigStore"});
        EXPECT_EQ(ended.status, 1);
        EXPECT_THAT(ended.out, HasSubstr("VALUE_HIDDEN"));
        EXPECT_THAT(ended.out, Not(HasSubstr("s3cret")));
        EXPECT_THAT(run({"--reveal", "diff", file, "InMemoryConfigStore"}).out, HasSubstr("s3cret"));
    }
}

TEST_F(Diff, AppliesTheFipsRuleToDocumentsAsToStores) {
    directory_.write("a.xml", "<c><g><Telephony_P2P_Enabled>true</Telephony_P2P_Enabled></g></c>");
    directory_.write("b.properties", "Telephony_P2P_Enabled: false\n");
    const std::vector<std::string> operands = {directory_.path("a.xml"), directory_.path("b.properties")};
    EXPECT_EQ(run({"--fips", "off", "diff", operands[0], operands[1]}).status, 1);
    EXPECT_EQ(run({"--fips", "on", "diff", operands[0], operands[1]}).status, 0);
}

TEST_F(Diff, ChangesNothingOfWhatItReads) {
    writeConfig("corvidLocalConfig.xml", "<Corvid><userConfig");  // the module would move it
    directory_.write("other/corvidLocalConfig.xml", "<broken");
    const auto before = files();
    EXPECT_EQ(run({"diff", "live", directory_.path("other")}).status, 1);
    EXPECT_EQ(files(), before);
}

TEST_F(Diff, RefusesWhatCannotBeCompared) {
    const std::string stores = "TftpOverrideConfigStore, LocalFileConfigStore, UrlProvisioningConfigStore, "
                               "BootstrapConfigStore, InMemoryConfigStore, corvid-config-defaults.xml";
    expectRefused({"live", "TFTPConfigStore"},
                  "'TFTPConfigStore': expected live, a path, or a store of this configuration: " + stores);
    expectRefused({"live", "Nowhere"},
                  "'Nowhere': expected live, a path, or the name of a store, which corvidctl stores lists");
    expectRefused({"", "live"}, "A and B must not be empty, expected a store, a path or live");
    expectRefused({"live", "file:/nowhere"}, "'file:/nowhere': expected a file that can be read");
    const std::string broken = directory_.write("broken.xml", "<a>\n<b>\n</a>\n");
    expectRefused({"live", broken},
                  "'" + broken +
                      "' is no document that the module can read: line 3, column 5: it is not well-formed "
                      "XML");
}

TEST_F(Diff, RefusesAnUnknownNameBeforeItStartsALog) {
    const std::string log = directory_.path("diff.log");
    EXPECT_EQ(run({"--log-file", log, "diff", "live", "Nowhere"}).status, 2);
    EXPECT_FALSE(std::filesystem::exists(log));
}

TEST_F(Diff, SaysNothingOfItsCopies) {
    const support::Ended ended = run({"diff", "live", directory_.path("nowhere-yet")});
    EXPECT_THAT(ended.error, StartsWith("corvidctl: diff: "));
    std::filesystem::create_directory(directory_.path("nowhere-yet"));
    EXPECT_EQ(run({"diff", "live", directory_.path("nowhere-yet")}).error, "");
}

TEST_F(Diff, LeavesNoCopyBehind) {
    directory_.write("tmp/keep", "");
    support::ChildProcess::Options options;
    options.environment = {{"TMPDIR", directory_.path("tmp")}};
    EXPECT_EQ(run({"diff", "live", directory_.path("config")}, options).status, 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path("tmp")), {}), 1);
}

TEST_F(Diff, EndsWhenItIsInterruptedWithNoCopyLeft) {
    directory_.write("tmp/keep", "");
    const std::string bootstrap = directory_.path("bootstrap");
    support::HeldPipe held(bootstrap);
    held.write("\n");
    support::ChildProcess::Options options;
    options.environment = {{"TMPDIR", directory_.path("tmp")}};
    support::ChildProcess diff(command({"--bootstrap", bootstrap, "diff", "live", "live"}), options);
    held.waitForReader();
    diff.signal(SIGINT);
    held.end();
    const support::Ended ended = diff.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error, "corvidctl: interrupted\n");
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path("tmp")), {}), 1);
}

TEST_F(Diff, AppliesTheFipsRuleToDocumentsInTheLocalForm) {
    const std::string on = directory_.write("on.xml", localFile({{"Telephony_P2P_Enabled", "true"}}));
    const std::string off = directory_.write("off.xml", localFile({{"Telephony_P2P_Enabled", "false"}}));
    EXPECT_EQ(run({"--fips", "off", "diff", on, off}).status, 1);
    EXPECT_EQ(run({"--fips", "on", "diff", on, off}).status, 0);
}

TEST_F(Diff, ComparesTwoConfigurations) {
    directory_.write("a/corvidLocalConfig.xml", localFile({{"DockedWindow", "1"}, {"Same", "x"}}));
    directory_.write("b/corvidLocalConfig.xml", localFile({{"DockedWindow", "2"}, {"Same", "x"}}));
    EXPECT_EQ(told({directory_.path("a"), directory_.path("b")}), std::vector<std::string>{"different DockedWindow"});
}

TEST_F(Diff, TellsWhichFilesItCouldNotRead) {
    directory_.write("other/corvidLocalConfig.xml", "<Corvid><s3cret></wrong></Corvid>");
    const std::string remark =
        "LocalFileConfigStore failed to load: " + directory_.path("other/corvidLocalConfig.xml") +
        ", line 1, column 25: it is not well-formed XML.\n";
    const support::Ended ended = run({"diff", "live", directory_.path("other")});
    EXPECT_EQ(ended.error, "");
    EXPECT_THAT(ended.out, testing::EndsWith(remark));
    EXPECT_EQ(run({"--json", "diff", "live", directory_.path("other")}).error, remark);
}

TEST_F(Diff, RefusesAFailedStoreOnlyWhereItIsCompared) {
    writeConfig("corvidLocalConfig.xml", "<broken");
    for (const std::vector<std::string>& sides : {std::vector<std::string>{"LocalFileConfigStore", "live"},
                                                  {"BootstrapConfigStore", "store:localfileconfigstore"}}) {
        const support::Ended ended = run({"diff", sides[0], sides[1]});
        EXPECT_EQ(ended.status, 2);
        EXPECT_EQ(ended.out, "");
        EXPECT_THAT(ended.error, testing::MatchesRegex("corvidctl: diff: LocalFileConfigStore failed to load: .*, line "
                                                       "1, column [0-9]+: it is not well-formed XML\n"));
    }
    EXPECT_THAT(run({"diff", "corvid-config-defaults.xml", "BootstrapConfigStore"}).out,
                Not(HasSubstr("failed to load")));
}

TEST_F(Diff, TellsThatADirectoryHoldsNoConfiguration) {
    directory_.write("other/letter.txt", "");
    const std::string remark = directory_.path("other") +
                               " holds no file of a configuration, so it counts as an empty one; expected "
                               "corvidLocalConfig.xml, corvid-config-user.xml or kept copies in Cache.\n";
    EXPECT_EQ(run({"--json", "diff", "live", directory_.path("other")}).error, remark);
    EXPECT_THAT(run({"diff", "live", directory_.path("other")}).out, testing::EndsWith(remark));
    directory_.write("other/Cache/cachedTFTPConfigStore.xml", "<Corvid/>");
    EXPECT_EQ(run({"--json", "diff", "live", directory_.path("other")}).error, "");
}
