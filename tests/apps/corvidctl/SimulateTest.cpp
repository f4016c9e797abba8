#include <csignal>

#include "ServedTool.h"
#include "support/HeldPipe.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

constexpr const char* NO_SERVER = "This configuration names no server to fetch the file from; its values are taken as "
                                  "if one had delivered it.\n";

/// The installer's file names a server that nobody runs.
class Simulate : public ServedTool {
protected:
    support::Ended simulated(const std::vector<std::string>& words, const std::string& format = "table") const {
        std::vector<std::string> all = {"-o", format, "simulate"};
        all.insert(all.end(), words.begin(), words.end());
        return run(all);
    }

    /// The changes, as "change key: old -> new" of each row.
    std::vector<std::string> told(const std::vector<std::string>& words) const {
        const auto before = files();
        const support::Ended ended = simulated(words, "json");
        EXPECT_EQ(ended.status, 0) << ended.error;
        EXPECT_EQ(files(), before);
        std::vector<std::string> texts;
        for (const json& row : json::parse(ended.out)) {
            const auto side = [&row](const char* value, const char* store) {
                return row.at(value).is_null()
                           ? "none"
                           : row.at(value).get<std::string>() + " (" + row.at(store).get<std::string>() + ")";
            };
            texts.push_back(row.at("change").get<std::string>() + " " + row.at("key").get<std::string>() + ": " +
                            side("oldValue", "oldStore") + " -> " + side("newValue", "newStore"));
        }
        return texts;
    }

    std::string write(const std::string& text) const { return directory_.write("new-file", text); }
    void nameNoServer() const { name("ServicesDomain: example.org\n"); }
};

}  // namespace

TEST_F(Simulate, TellsWhatAUserValueWouldChange) {
    EXPECT_THAT(told({"--set", "LaunchOnSystemStartup=true"}),
                ElementsAre("changed LaunchOnSystemStartup: false (corvid-config-defaults.xml) -> true "
                            "(LocalFileConfigStore)"));
    EXPECT_THAT(told({"--unset", "OnlyMine"}), ElementsAre("removed onlymine: 1 (LocalFileConfigStore) -> none"));
}

TEST_F(Simulate, SaysThatNothingWouldChange) {
    const support::Ended ended = simulated({"--set", "Telephony_Enabled=maybe"});
    EXPECT_EQ(ended.status, 0);
    const std::string reason = "Telephony_Enabled would be stored in LocalFileConfigStore; TftpOverrideConfigStore "
                               "still wins, with \"true\".\n";
    EXPECT_EQ(ended.out, reason + "No key would change.\n");
    EXPECT_EQ(simulated({"--set", "Telephony_Enabled=maybe"}, "json").out, "[]\n");
    EXPECT_EQ(simulated({"--set", "Telephony_Enabled=maybe"}, "json").error, reason);
    EXPECT_EQ(simulated({"--set", "DockedWindow=false"}).out, "No key would change.\n");
}

TEST_F(Simulate, PrintsATableForPeople) {
    const support::Ended ended = simulated({"--set", "DockedWindow=true", "--set", "Brand=new"});
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.out, "CHANGE   KEY           BEFORE  FROM                  AFTER  FROM\n"
                         "added    Brand         -                             new    LocalFileConfigStore\n"
                         "changed  DockedWindow  false   LocalFileConfigStore  true   LocalFileConfigStore\n"
                         "2 keys would change: 1 added, 1 changed.\n");
}

TEST_F(Simulate, RemarksOnTheAdministratorsValueWhereItIsNotTheOneThatIsRead) {
    const std::string defaults = write(localFile({{"DockedWindow", "never"}, {"LaunchOnSystemStartup", "true"}}));
    EXPECT_EQ(simulated({"--replace", "corvid-config-defaults.xml=" + defaults}).out,
              "CHANGE    KEY                    BEFORE  FROM                        AFTER  FROM                        "
              "REMARKS\n"
              "original  DockedWindow           false   LocalFileConfigStore        false  LocalFileConfigStore        "
              "administrator's value: \"true\", from corvid-config-defaults.xml -> \"never\", from "
              "corvid-config-defaults.xml\n"
              "changed   LaunchOnSystemStartup  false   corvid-config-defaults.xml  true   corvid-config-defaults.xml\n"
              "2 keys would change: 1 changed, 1 original.\n");
    EXPECT_THAT(simulated({"--unset", "DockedWindow"}).out, HasSubstr("  no longer overridden\n"));
    EXPECT_THAT(simulated({"--set", "LaunchOnSystemStartup=x"}).out, HasSubstr("  overridden from then on\n"));
}

TEST_F(Simulate, GivesScriptsBothSidesOfAChange) {
    const json rows = json::parse(simulated({"--unset", "DockedWindow"}, "json").out);
    EXPECT_EQ(rows, json::array({{{"change", "changed"},
                                  {"key", "DockedWindow"},
                                  {"oldValue", "false"},
                                  {"newValue", "true"},
                                  {"oldStore", "LocalFileConfigStore"},
                                  {"newStore", "corvid-config-defaults.xml"},
                                  {"oldOriginalValue", "true"},
                                  {"newOriginalValue", "true"},
                                  {"oldIsOverridden", true},
                                  {"newIsOverridden", false},
                                  {"isSensitive", false},
                                  {"oldOriginalStore", "corvid-config-defaults.xml"},
                                  {"newOriginalStore", "corvid-config-defaults.xml"}}}));
}

TEST_F(Simulate, LeavesAStoresFileOut) {
    EXPECT_THAT(told({"--without", "LocalFileConfigStore"}),
                ElementsAre("changed DockedWindow: false (LocalFileConfigStore) -> true (corvid-config-defaults.xml)",
                            "removed onlymine: 1 (LocalFileConfigStore) -> none"));
    EXPECT_THAT(told({"--without", "corvid-config-defaults.xml"}),
                ElementsAre("original DockedWindow: false (LocalFileConfigStore) -> false (LocalFileConfigStore)",
                            "removed LaunchOnSystemStartup: false (corvid-config-defaults.xml) -> none"));
    EXPECT_THAT(told({"--without", "BootstrapConfigStore"}),
                ElementsAre("removed TFTPPrimaryServer: " + address_ + " (BootstrapConfigStore) -> none"));
    EXPECT_THAT(told({"--without", "TftpOverrideConfigStore", "--reveal"}),
                ElementsAre("removed bdiconnectionusername: reader (TftpOverrideConfigStore) -> none",
                            "changed telephony_enabled: true (TftpOverrideConfigStore) -> false "
                            "(LocalFileConfigStore)"));
}

TEST_F(Simulate, PutsAFileInAStoresPlace) {
    const std::string override =
        write("<c><g><DockedWindow>maybe</DockedWindow><Telephony_Enabled>true"
              "</Telephony_Enabled><BDIConnectionUsername>reader</BDIConnectionUsername></g></c>");
    EXPECT_THAT(told({"--replace", "tftpoverrideconfigstore=" + override}),
                ElementsAre("changed DockedWindow: false (LocalFileConfigStore) -> maybe (TftpOverrideConfigStore)"));
    const std::string defaults = write(localFile({{"DockedWindow", "true"}, {"LaunchOnSystemStartup", "never"}}));
    EXPECT_THAT(told({"--replace", "corvid-config-defaults.xml=" + defaults}),
                ElementsAre("changed LaunchOnSystemStartup: false (corvid-config-defaults.xml) -> never "
                            "(corvid-config-defaults.xml)"));
    const std::string bootstrap = write("TftpServer1: " + address_ + "\nServicesDomain: example.com\n");
    EXPECT_THAT(told({"--replace", "BootstrapConfigStore=" + bootstrap}),
                ElementsAre("added ServicesDomain: none -> example.com (BootstrapConfigStore)"));
    const std::string link = write("<Corvid><CachedConfig><sso_enabled>true</sso_enabled></CachedConfig></Corvid>");
    EXPECT_THAT(told({"--replace", "UrlProvisioningConfigStore=" + link}),
                ElementsAre("added sso_enabled: none -> true (UrlProvisioningConfigStore)"));
}

TEST_F(Simulate, PutsAFileInTheUsersPlace) {
    const std::string local = write(localFile({{"DockedWindow", "false"}, {"OnlyMine", "2"}}));
    EXPECT_THAT(told({"--replace", "LocalFileConfigStore=" + local, "--set", "Brand=new"}),
                ElementsAre("added Brand: none -> new (LocalFileConfigStore)",
                            "changed onlymine: 1 (LocalFileConfigStore) -> 2 (LocalFileConfigStore)"));
}

TEST_F(Simulate, PutsAFileInTheCachedCopysPlace) {
    writeConfig("corvidLocalConfig.xml", localFile({{"PrimaryConfigStores", "TFTPConfigStore:240;"}}));
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<Corvid><CachedConfig><a>1</a></CachedConfig></Corvid>");
    const std::string copy = write("<Corvid><CachedConfig><a>2</a></CachedConfig></Corvid>");
    EXPECT_THAT(told({"--replace", "CACHEDtftpconfigstore.xml=" + copy}),
                ElementsAre("changed a: 1 (cachedTFTPConfigStore.xml) -> 2 (cachedTFTPConfigStore.xml)"));
    EXPECT_THAT(told({"--without", "cachedTFTPConfigStore.xml"}),
                ElementsAre("removed a: 1 (cachedTFTPConfigStore.xml) -> none"));
}

TEST_F(Simulate, NamesTheStoresWhereACopyIsNotInTheChain) {
    const auto before = files();
    const support::Ended ended = simulated({"--without", "cachedOther.xml"});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error,
              "corvidctl: --without 'cachedOther.xml': expected a store of this configuration: "
              "TftpOverrideConfigStore, LocalFileConfigStore, UrlProvisioningConfigStore, BootstrapConfigStore, "
              "InMemoryConfigStore, corvid-config-defaults.xml\n");
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(files(), before);
}

TEST_F(Simulate, DeliversTheServersFileWithoutAskingAnybody) {
    const SilentServer version(address_, 8443);
    const SilentServer file(address_, 6972);
    const std::string served = write("<c><g><LaunchOnSystemStartup>true</LaunchOnSystemStartup></g></c>");
    EXPECT_THAT(told({"--replace", "TFTPConfigStore=" + served}),
                ElementsAre("changed LaunchOnSystemStartup: false (corvid-config-defaults.xml) -> true "
                            "(TFTPConfigStore)",
                            "added PrimaryConfigStores: none -> TFTPConfigStore:240; (LocalFileConfigStore)"));
    EXPECT_FALSE(version.isSomebodyThere());
    EXPECT_FALSE(file.isSomebodyThere());
}

TEST_F(Simulate, WorksOutTheFlagsThatFollowFromTheServersFile) {
    directory_.write("install/corvid-config-defaults.xml", localFile({{"Voicemail_Enabled", "false"}}));
    const std::string served = write("<c><g><VoicemailPrimaryServer>vm.example.org</VoicemailPrimaryServer></g></c>");
    EXPECT_THAT(told({"--replace", "TFTPConfigStore=" + served}),
                testing::Contains("changed Voicemail_Enabled: false (corvid-config-defaults.xml) -> true "
                                  "(InMemoryConfigStore)"));
}

TEST_F(Simulate, ChangesAsARealFetchWould) {
    serve("12.5");
    ASSERT_EQ(run({"set", "HomeUdsVersion", "12.5"}).status, 0);
    const json real = json::parse(run(trusting({"--json", "fetch", "--dry-run"})).out).at("changes");
    const json simulation = json::parse(
        simulated({"--replace", "TFTPConfigStore=" + directory_.path("server/corvid-config.xml")}, "json").out);
    EXPECT_EQ(simulation, real);
    EXPECT_THAT(real, Not(IsEmpty()));
}

TEST_F(Simulate, MakesUpAServerWhereNoneIsKnownAndShowsNothingOfIt) {
    nameNoServer();
    const std::string served = write("<c><g><LaunchOnSystemStartup>true</LaunchOnSystemStartup></g></c>");
    const support::Ended ended = simulated({"--replace", "TFTPConfigStore=" + served});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, StartsWith(NO_SERVER));
    EXPECT_THAT(ended.out, HasSubstr("LaunchOnSystemStartup"));
    for (const char* const made : {"invalid", "TFTPPrimaryServer", "HomeUdsVersion", "Demonstration"}) {
        EXPECT_THAT(ended.out, Not(HasSubstr(made)));
    }
}

TEST_F(Simulate, TellsRemarksBesideTheAnswerOfScripts) {
    nameNoServer();
    const support::Ended ended = simulated({"--replace", "TFTPConfigStore=" + write("<c/>")}, "tsv");
    EXPECT_EQ(ended.error, NO_SERVER);
    EXPECT_THAT(ended.out, StartsWith("change\tkey\toldValue\tnewValue\t"));
}

TEST_F(Simulate, SaysNothingOfAServerThatIsKnown) {
    EXPECT_THAT(simulated({"--replace", "TFTPConfigStore=" + write("<c/>")}).out, Not(HasSubstr("names no server")));
}

TEST_F(Simulate, LetsThePoliciesOfTheFileSpeak) {
    nameNoServer();
    writeConfig("corvidLocalConfig.xml", localFile({{"VoicemailPrimaryServer", "mine"}}));
    const std::string served = write("<c><g><Customize_Voicemail_Server>false</Customize_Voicemail_Server></g></c>");
    EXPECT_THAT(told({"--replace", "TFTPConfigStore=" + served}),
                testing::Contains("removed VoicemailPrimaryServer: mine (LocalFileConfigStore) -> none"));
}

TEST_F(Simulate, TellsThatAFileTakesItsOwnServerAway) {
    nameNoServer();
    writeConfig("corvidLocalConfig.xml", localFile({{"TFTPPrimaryServer", address_}}));
    const std::string served = write("<c><g><Customize_Phone_Server>false</Customize_Phone_Server></g></c>");
    const support::Ended ended = simulated({"--replace", "TFTPConfigStore=" + served});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, StartsWith("The file's values do not stay: the file that was delivered took the last "
                                      "server's address away, and so its own values.\n"));
    EXPECT_THAT(ended.out, HasSubstr("removed"));
}

TEST_F(Simulate, MasksWhatTheServerMarks) {
    const std::string served = write("<c><g><Token sensitive=\"true\">s3cret</Token></g></c>");
    EXPECT_THAT(simulated({"--replace", "TFTPConfigStore=" + served}).out,
                testing::AllOf(HasSubstr("VALUE_HIDDEN"), Not(HasSubstr("s3cret"))));
    EXPECT_THAT(simulated({"--reveal", "--replace", "TFTPConfigStore=" + served}).out, HasSubstr("s3cret"));
}

TEST_F(Simulate, RefusesAFileThatIsNotValidInItsPlace) {
    const auto before = files();
    const std::string broken = directory_.path("install/bootstrap.properties");
    const support::Ended ended = simulated({"--replace", "TFTPConfigStore=" + broken});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error, "corvidctl: --replace 'TFTPConfigStore=" + broken +
                               "': not valid in this place: line 1, column 1: it is not well-formed XML; the "
                               "module would drop the server's values, and keep an empty copy for the next start\n");
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(files(), before);
}

TEST_F(Simulate, LeavesABrokenLocalFileWhereItIs) {
    writeConfig("corvidLocalConfig.xml", "<broken");
    const auto before = files();
    EXPECT_EQ(simulated({"--set", "A=b"}).status, 0);
    EXPECT_EQ(files(), before);
}

TEST_F(Simulate, TakesAMissingProfileForAnEmptyOne) {
    const support::Ended ended =
        support::runProgram({CORVIDCTL_PROGRAM, "--config-dir", directory_.path("no"), "--install-dir",
                             directory_.path("install"), "simulate", "--set", "DockedWindow=x"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_THAT(ended.out, EndsWith("1 key would change: 1 changed.\n"));
    EXPECT_FALSE(directory_.exists("no"));
}

TEST_F(Simulate, RefusesWrongWordsBeforeItReadsAnything) {
    const support::Ended ended = simulated({});
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error, "corvidctl: simulate: expected a change: --replace, --without, --set or --unset\n");
}

TEST_F(Simulate, EndsWhenItIsInterruptedWithNoCopyLeft) {
    directory_.write("tmp/keep", "");
    const std::string bootstrap = directory_.path("install/bootstrap.properties");
    std::filesystem::remove(bootstrap);
    support::HeldPipe held(bootstrap);
    held.write("\n");
    support::ChildProcess::Options options;
    options.environment = {{"TMPDIR", directory_.path("tmp")}};
    support::ChildProcess simulation(command({"simulate", "--set", "A=b"}), options);
    held.waitForReader();
    simulation.signal(SIGTERM);
    const support::Ended ended = simulation.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error, "corvidctl: interrupted\n");
    EXPECT_EQ(ended.out, "");
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path("tmp")), {}), 1);
}

TEST_F(Simulate, TellsWhereNoCopyCanBeMade) {
    support::ChildProcess::Options options;
    const std::string none = directory_.path("none");
    options.environment = {{"TMPDIR", none}};
    const std::string problem = "TMPDIR '" + none + "': expected a folder that can be written\n";
    const support::Ended ended = run({"simulate", "--set", "A=b"}, options);
    EXPECT_EQ(ended.status, 2);
    EXPECT_EQ(ended.error, "corvidctl: " + problem);
    const support::Ended compared = run({"diff", "live", "dir:" + directory_.path("config")}, options);
    EXPECT_EQ(compared.status, 2);
    EXPECT_EQ(compared.error, "corvidctl: diff: " + problem);
}

TEST_F(Simulate, LeavesNoCopyBehind) {
    directory_.write("tmp/keep", "");
    support::ChildProcess::Options options;
    options.environment = {{"TMPDIR", directory_.path("tmp")}};
    EXPECT_EQ(run({"simulate", "--without", "corvid-config-defaults.xml"}, options).status, 0);
    EXPECT_EQ(run({"set", "--dry-run", "A", "b"}, options).status, 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(directory_.path("tmp")), {}), 1);
}

TEST_F(Simulate, ErasesWhatThePoliciesEraseAtTheNextStart) {
    writeConfig("corvid-config-user.xml", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server></g></c>");
    const support::Ended ended = simulated({"--set", "CTIPrimaryServer=mine"});
    EXPECT_EQ(ended.out, "CTIPrimaryServer would be stored in LocalFileConfigStore; the client erases it when it "
                         "starts: Customize_Phone_Server is \"false\", from TftpOverrideConfigStore.\n"
                         "No key would change.\n");
}

TEST_F(Simulate, TellsWhatAPolicyOfTheUsersOwnWouldErase) {
    writeConfig("corvidLocalConfig.xml", localFile({{"VoicemailPrimaryServer", "mine"}}));
    EXPECT_THAT(told({"--set", "Customize_Voicemail_Server=false"}),
                testing::IsSupersetOf({"added Customize_Voicemail_Server: none -> false (LocalFileConfigStore)",
                                       "removed VoicemailPrimaryServer: mine (LocalFileConfigStore) -> none"}));
}

TEST_F(Simulate, TellsThatTheFipsRuleOutweighsTheValue) {
    EXPECT_THAT(run({"--fips", "on", "simulate", "--set", "Telephony_P2P_Enabled=true"}).out,
                StartsWith("Telephony_P2P_Enabled would be stored in LocalFileConfigStore; it still reads as "
                           "\"false\".\n"));
}

TEST_F(Simulate, TellsWhichFilesItCouldNotReadAndNothingOfWhatStandsInThem) {
    writeConfig("corvidLocalConfig.xml", "<Corvid><s3cret></wrong></Corvid>");
    const support::Ended ended = simulated({"--set", "A=b"});
    EXPECT_EQ(ended.error, "");
    EXPECT_THAT(ended.out, StartsWith("LocalFileConfigStore failed to load: " + localPath() +
                                      ", line 1, column 25: it is not well-formed XML.\n"));
    EXPECT_THAT(ended.out, Not(HasSubstr("s3cret")));
}

TEST_F(Simulate, LogsWhatHappensToTheCopyWhenAsked) {
    writeConfig("corvidLocalConfig.xml", "<broken");
    EXPECT_EQ(run({"--log-level", "3", "simulate", "--set", "A=b"}).error, "");
    EXPECT_THAT(run({"--log-level", "4", "simulate", "--set", "A=b"}).error, HasSubstr("renaming invalid file to"));
}

TEST_F(Simulate, QuotesNothingOfABrokenDocument) {
    const std::string broken = write("<c><s3cret></wrong></c>");
    const support::Ended ended = simulated({"--replace", "TftpOverrideConfigStore=" + broken});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, HasSubstr("it is not well-formed XML; "));
    EXPECT_THAT(ended.error, Not(HasSubstr("s3cret")));
}

TEST_F(Simulate, RefusesAProgramForAnInstallersFile) {
    const std::string program = write(std::string("TftpServer1: a\n\0\x7f", 17));
    const support::Ended ended = simulated({"--replace", "BootstrapConfigStore=" + program});
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.error, "corvidctl: --replace 'BootstrapConfigStore=" + program +
                               "': expected a text with lines of the form KEY: VALUE, and no NUL byte in it\n");
    EXPECT_EQ(ended.out, "");
}
