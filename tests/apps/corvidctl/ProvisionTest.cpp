#include "Tool.h"

#include <filesystem>
#include <ostream>
#include <sstream>

#include "commands/Commands.h"

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

const std::string CACHE_FILE = "Cache/cachedUrlProvisioningConfigStore.xml";
const std::string CLOSED = "Further links are refused until corvidctl provision --reopen.\n";

const std::string HINT = "A link is taken once; corvidctl provision --reopen LINK allows another, unless an "
                         "administrator refuses them.\n";

/// Keeps what is written to a stream that does not collect it, as standard error: a piece for each time.
class Pieces : public std::stringbuf {
public:
    std::vector<std::string> all;

protected:
    int sync() override {
        if (!str().empty()) {
            all.push_back(str());
            str("");
        }
        return 0;
    }
};

class ProvisionTool : public Tool {
protected:
    void expectRefused(const std::string& link, const std::string& error) const {
        const std::map<std::string, std::string> before = files();
        const support::Ended ended = run({"provision", link});
        EXPECT_EQ(ended.status, 1) << link;
        EXPECT_EQ(ended.out, "");
        EXPECT_EQ(ended.error, "corvidctl: link refused: " + error + "\n");
        EXPECT_EQ(files(), before) << link;
    }

    /// Where no file can grow.
    support::Ended runWithoutDisk(const std::string& words) const {
        return support::runProgram(
            {"/bin/sh", "-c",
             "trap '' XFSZ; ulimit -f 0; exec \"$0\" --config-dir \"$1\" --install-dir \"$2\" " + words,
             CORVIDCTL_PROGRAM, directory_.path("config"), directory_.path("install")});
    }

    /// What an administrator's file says beside everything else.
    void writeOverride(const std::string& entries) const {
        writeConfig("corvid-config-user.xml", "<c><g>" + entries + "</g></c>");
    }
};

}  // namespace

TEST_F(ProvisionTool, SetsTheKeysOfALinkOnDiskAndClosesTheLatch) {
    const support::Ended ended = run({"provision", "corvid://x?ServicesDomain=a.example&TelemetryEnabled=false"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "ServicesDomain is set to \"a.example\".\nTelemetryEnabled is set to \"false\".\n" + CLOSED);
    EXPECT_EQ(ended.error, "");
    EXPECT_THAT(configFile(CACHE_FILE), HasSubstr("<ServicesDomain>a.example</ServicesDomain>"));
    EXPECT_THAT(configFile("corvidLocalConfig.xml"),
                HasSubstr("<userConfig name=\"AllowUrlProvisioning\" value=\"False\"/>"));
    EXPECT_EQ(run({"get", "ServicesDomain", "--show-origin"}).out, "UrlProvisioningConfigStore\ta.example\n");
}

TEST_F(ProvisionTool, TellsWhatIsDroppedAndWhy) {
    const support::Ended ended =
        run({"provision", "x?ServicesDomain=1&&a&b=c=d& =e&Unknown=f&servicesdomain=2&TelemetryEnabled="});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "ServicesDomain is set to \"2\".\n"
                         "TelemetryEnabled is set to \"\".\n"
                         "Part 1, \"ServicesDomain\", is dropped: a later part sets the same key.\n"
                         "Part 2 is dropped: it is empty.\n"
                         "Part 3, \"a\", is dropped: it has no equals sign.\n"
                         "Part 4, \"b\", is dropped: it has more than one equals sign.\n"
                         "Part 5, \" =e\", is dropped: no key stands before its equals sign.\n"
                         "Part 6, \"Unknown\", is dropped: no link may set this key.\n" +
                             CLOSED);
}

TEST_F(ProvisionTool, TellsWhichStoreStillWins) {
    EXPECT_EQ(run({"provision", "x?Telephony_Enabled=maybe"}).out,
              "Telephony_Enabled is set to \"maybe\".\n"
              "TftpOverrideConfigStore still wins, with \"true\".\n" +
                  CLOSED);
}

TEST_F(ProvisionTool, TellsThatTheFipsRuleOutweighsTheValue) {
    const support::Ended ended = run({"--fips", "on", "provision", "x?Telephony_P2P_Enabled=true"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.out, "Telephony_P2P_Enabled is set to \"true\".\nIt reads as \"false\".\n" + CLOSED);
}

TEST_F(ProvisionTool, GivesTheKeysAsTheLinkSpellsThem) {
    const json expected = {{"accepted", true}, {"keys", {"SERVICESDOMAIN", "TelemetryEnabled"}}, {"reopened", false}};
    EXPECT_EQ(asJson({"provision", "x?TelemetryEnabled=1&SERVICESDOMAIN=a&Unknown=b"}), expected);
}

TEST_F(ProvisionTool, GivesARefusalWithoutKeys) {
    const json expected = {{"accepted", false}, {"keys", json::array()}, {"reopened", false}};
    EXPECT_EQ(asJson({"provision", "x?Unknown=a"}, 1), expected);
}

TEST_F(ProvisionTool, GivesWhetherItHasResetTheLatch) {
    const json opened = {{"accepted", false}, {"keys", json::array()}, {"reopened", true}};
    const json wasOpen = {{"accepted", false}, {"keys", json::array()}, {"reopened", false}};
    EXPECT_EQ(asJson({"provision", "--reopen"}), wasOpen);
    ASSERT_EQ(run({"provision", "x?ServicesDomain=first"}).status, 0);
    EXPECT_EQ(asJson({"provision", "--reopen"}), opened);
    EXPECT_EQ(asJson({"provision", "--reopen"}), wasOpen);
}

TEST_F(ProvisionTool, GivesWhetherItHasResetTheLatchForALink) {
    ASSERT_EQ(run({"provision", "x?ServicesDomain=first"}).status, 0);
    const json accepted = {{"accepted", true}, {"keys", {"ServicesDomain"}}, {"reopened", true}};
    EXPECT_EQ(asJson({"provision", "--reopen", "x?ServicesDomain=second"}), accepted);
    const json refused = {{"accepted", false}, {"keys", json::array()}, {"reopened", true}};
    EXPECT_EQ(asJson({"provision", "--reopen", "nonsense"}, 1), refused);
}

TEST_F(ProvisionTool, GivesThatTheLatchOfAnAdministratorIsNotReset) {
    writeOverride("<AllowUrlProvisioning>false</AllowUrlProvisioning>");
    const json expected = {{"accepted", false}, {"keys", json::array()}, {"reopened", false}};
    EXPECT_EQ(asJson({"provision", "--reopen"}, 1), expected);
    EXPECT_EQ(asJson({"provision", "--reopen", "x?ServicesDomain=a"}, 1), expected);
}

TEST_F(ProvisionTool, TellsTheReasonsBesideTheJson) {
    EXPECT_EQ(run({"--json", "provision", "x?ServicesDomain=a&Unknown=b"}).error,
              "Part 2, \"Unknown\", is dropped: no link may set this key.\n");
}

TEST_F(ProvisionTool, RefusesALinkThatIsNone) {
    expectRefused("ServicesDomain=a", "it has no question mark, behind which its settings would stand");
    expectRefused("x?", "nothing stands behind its question mark");
}

TEST_F(ProvisionTool, CountsTheCharactersOfALinkAndNotItsBytes) {
    const std::string end = "?ServicesDomain=a";
    const auto umlauts = [](std::size_t count) {
        std::string text;
        while (count-- > 0) {
            text += "\xC3\xA4";
        }
        return text;
    };
    expectRefused(umlauts(1000 - end.size()) + end, "it has 1000 characters, and 999 is the most");
    EXPECT_EQ(run({"provision", umlauts(999 - end.size()) + end}).status, 0);
}

TEST_F(ProvisionTool, TellsWhatALinkMaySetWhereItSetsNothing) {
    const support::Ended ended = run({"provision", "x?Unknown=a"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error,
                testing::StartsWith("corvidctl: link refused: none of its parts sets a key that a link may set\n"
                                    "Part 1, \"Unknown\", is dropped: no link may set this key.\n"
                                    "A link may set: ServicesDomain, VoiceServicesDomain, "));
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), Not(HasSubstr("AllowUrlProvisioning")));
}

TEST_F(ProvisionTool, RefusesASecondLinkAndNamesTheLatch) {
    ASSERT_EQ(run({"provision", "x?ServicesDomain=first"}).status, 0);
    expectRefused("x?ServicesDomain=second", "LocalFileConfigStore says that AllowUrlProvisioning is \"False\"\n" +
                                                 HINT.substr(0, HINT.size() - 1));
    EXPECT_EQ(run({"get", "ServicesDomain"}).out, "first\n");
}

TEST_F(ProvisionTool, TakesALinkAgainOnceTheLatchIsReset) {
    ASSERT_EQ(run({"provision", "x?ServicesDomain=first&TelemetryEnabled=true"}).status, 0);
    const support::Ended ended = run({"provision", "--reopen", "x?ServicesDomain=second"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "The latch was closed and has been reset.\n"
                         "ServicesDomain is set to \"second\".\n"
                         "telemetryenabled, which an earlier link had set, is gone.\n" +
                             CLOSED);
    EXPECT_EQ(run({"get", "ServicesDomain"}).out, "second\n");
    EXPECT_EQ(run({"get", "TelemetryEnabled"}).status, 1);
}

TEST_F(ProvisionTool, ReopensWithoutALink) {
    EXPECT_EQ(run({"provision", "--reopen"}).out, "The latch was not closed.\n");
    ASSERT_EQ(run({"provision", "x?ServicesDomain=first"}).status, 0);
    const support::Ended ended = run({"provision", "--reopen"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "The latch was closed and has been reset.\n");
    EXPECT_THAT(configFile("corvidLocalConfig.xml"), Not(HasSubstr("AllowUrlProvisioning")));
    EXPECT_EQ(run({"get", "ServicesDomain"}).out, "first\n");
}

TEST_F(ProvisionTool, ResetsTheLatchEvenIfTheLinkIsRefused) {
    ASSERT_EQ(run({"provision", "x?ServicesDomain=first"}).status, 0);
    const support::Ended ended = run({"provision", "--reopen", "nonsense"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "The latch was closed and has been reset.\n");
    EXPECT_EQ(run({"provision", "x?ServicesDomain=second"}).status, 0);
}

TEST_F(ProvisionTool, CannotResetTheLatchOfAnAdministrator) {
    writeOverride("<AllowUrlProvisioning>fAlSe</AllowUrlProvisioning>");
    const support::Ended ended = run({"provision", "--reopen"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(ended.error, "corvidctl: the latch stays closed: TftpOverrideConfigStore says that AllowUrlProvisioning "
                           "is \"fAlSe\"\n");
    const support::Ended withLink = run({"provision", "--reopen", "x?ServicesDomain=a"});
    EXPECT_EQ(withLink.status, 1);
    EXPECT_EQ(withLink.out, "");
    EXPECT_THAT(withLink.error, HasSubstr("link refused: TftpOverrideConfigStore says"));
}

TEST_F(ProvisionTool, TellsThatAnAdministratorKeepsTheLatchOpen) {
    writeOverride("<AllowUrlProvisioning>true</AllowUrlProvisioning>");
    EXPECT_EQ(run({"provision", "x?ServicesDomain=a"}).out,
              "ServicesDomain is set to \"a\".\n"
              "Further links are not refused: TftpOverrideConfigStore says that AllowUrlProvisioning is \"true\".\n");
}

TEST_F(ProvisionTool, ShowsNoPartThatMayBeTheEndOfASecretUnlessTold) {
    const std::string link = "x?ConnectionPassword=s3c&ret&ServicesDomain=a";
    EXPECT_EQ(run({"provision", link}).out, "ServicesDomain is set to \"a\".\n"
                                            "Part 1, \"ConnectionPassword\", is dropped: no link may set this key.\n"
                                            "Part 2, \"VALUE_HIDDEN\", is dropped: it has no equals sign.\n" +
                                                CLOSED);
    EXPECT_THAT(run({"--reveal", "provision", "--reopen", link}).out,
                HasSubstr("Part 2, \"ret\", is dropped: it has no equals sign.\n"));
}

TEST_F(ProvisionTool, ShowsNothingOfTheValueOfADroppedPart) {
    const support::Ended ended = run({"provision", "x?ConnectionPassword=s3cret&ServicesDomain=a&b=s3cret=c"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out + ended.error, Not(HasSubstr("s3cret")));
}

TEST_F(ProvisionTool, ShowsNoControlCharacterOfALink) {
    const support::Ended ended = run({"provision", "x?ServicesDomain=a\x1b[31m&\x1b[31mb=1"});
    EXPECT_THAT(ended.out + ended.error, Not(HasSubstr("\x1b")));
    EXPECT_THAT(ended.error,
                HasSubstr("corvidctl: XML cannot hold every character of the value of ServicesDomain; on disk "
                          "U+FFFD stands for them\n"));
}

TEST_F(ProvisionTool, SaysThatTheValuesAreNotOnDisk) {
    writeConfig("Cache", "no folder");
    const support::Ended ended = run({"provision", "x?ServicesDomain=a&Unknown=b"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "Part 2, \"Unknown\", is dropped: no link may set this key.\n" + CLOSED);
    EXPECT_THAT(ended.error,
                HasSubstr("corvidctl: what the link sets could not be written to " + directory_.path("config") +
                          " and is gone; corvidctl provision --reopen LINK tries again\n"));
}

TEST_F(ProvisionTool, SaysThatTheLatchIsNotOnDisk) {
    const support::Ended ended = runWithoutDisk("provision 'x?ServicesDomain=a'");
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "");
    EXPECT_THAT(ended.error,
                HasSubstr("the state of the latch could not be written to " + directory_.path("config") + "\n"));
}

TEST_F(ProvisionTool, GivesNothingAsDoneThatIsNotOnDisk) {
    const json nothing = {{"accepted", false}, {"keys", json::array()}, {"reopened", false}};
    EXPECT_EQ(json::parse(runWithoutDisk("--json provision 'x?ServicesDomain=a'").out), nothing);
    ASSERT_EQ(run({"provision", "x?ServicesDomain=first"}).status, 0);
    EXPECT_EQ(json::parse(runWithoutDisk("--json provision --reopen").out), nothing);
    // What an earlier link has left on the disk is not what these set.
    for (const std::string& key : {std::string("ServicesDomain"), std::string("VoiceServicesDomain")}) {
        EXPECT_EQ(json::parse(runWithoutDisk("--json provision --reopen 'x?" + key + "=second'").out), nothing) << key;
    }
    EXPECT_EQ(runWithoutDisk("provision --reopen").out, "");
}

TEST_F(ProvisionTool, WritesEachLineOnStandardErrorInOnePiece) {
    corvidctl::Invocation invocation;
    invocation.format = corvidctl::Format::Json;
    invocation.host.configDirectory = directory_.path("config");
    invocation.host.installationDirectory = directory_.path("install");
    invocation.host.bootstrapFilePath = directory_.path("install/bootstrap.properties");
    invocation.host.powerEvents = false;
    Pieces pieces;
    std::ostringstream out;
    std::ostream error(&pieces);
    error << std::unitbuf;
    corvidctl::Output output{out, error, false, false};
    for (const char* const link : {"x?Unknown=a&b", "x?ServicesDomain=a&Unknown=b", "x?ServicesDomain=again"}) {
        invocation.arguments = {link};
        corvidctl::runProvision(invocation, output);
    }
    EXPECT_EQ(pieces.all.size(), 7U);
    for (const std::string& piece : pieces.all) {
        EXPECT_EQ(piece.find('\n'), piece.size() - 1) << piece;
    }
}
