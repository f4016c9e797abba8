#include "ServedTool.h"

#include <csignal>
#include <filesystem>

#include "support/StrangersLink.h"

using nlohmann::json;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class Fetch : public ServedTool {
protected:
    json fetched(int expectedStatus = 0) const { return asJson(trusting({"fetch"}), expectedStatus); }

    /// Tells the client the version, so that it need not ask.
    void storeVersion(const std::string& version) const {
        ASSERT_EQ(run({"set", "HomeUdsVersion", version}).status, 0);
    }
};

}  // namespace

TEST_F(Fetch, TakesTheFileOverHttpsFromVersionElevenOn) {
    serve("11");
    EXPECT_EQ(fetched(), json({{"server", address_},
                               {"url", "https://" + address_ + ":6972/corvid-config.xml"},
                               {"version", "11"},
                               {"keys", 7},
                               {"ok", true},
                               {"reason", ""}}));
    EXPECT_THAT(requestsUntilStop(), ElementsAre("8443/hubm-uds/version", "6972/corvid-config.xml"));
}

TEST_F(Fetch, TellsThatTheCopyOfAFormerVersionIsGone) {
    serve("12.5");
    const std::string line = "removed corvid-config.xml, a copy of a former version\n";
    for (const std::string format : {"table", "json"}) {
        writeConfig("corvid-config.xml", "<c/>");
        const support::Ended ended = run(trusting({"-o", format, "fetch"}));
        EXPECT_EQ(ended.status, 0);
        EXPECT_THAT(format == "json" ? ended.error : ended.out, testing::EndsWith(line));
        EXPECT_FALSE(directory_.exists("config/corvid-config.xml"));
    }
    EXPECT_THAT(run(trusting({"fetch"})).out, Not(HasSubstr("former version")));
}

TEST_F(Fetch, TakesTheFileOverHttpBelowVersionEleven) {
    serve("10.5.2");
    const json result = fetched();
    EXPECT_EQ(result.at("url"), "http://" + address_ + ":6970/corvid-config.xml");
    EXPECT_EQ(result.at("version"), "10.5.2");
    EXPECT_EQ(result.at("ok"), true);
    EXPECT_THAT(requestsUntilStop(), ElementsAre("8443/hubm-uds/version", "6970/corvid-config.xml"));
}

TEST_F(Fetch, AsksNobodyForAVersionThatIsStored) {
    storeVersion("12.0");
    serve("10");
    EXPECT_EQ(fetched().at("version"), "12.0");
    EXPECT_THAT(requestsUntilStop(), ElementsAre("6972/corvid-config.xml"));
}

TEST_F(Fetch, TellsPeopleWhatWasDelivered) {
    serve("12.5");
    const support::Ended ended = run(trusting({"fetch"}));
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(ended.out, address_ + " delivered the file over HTTPS: 7 keys.\n  URL      https://" + address_ +
                             ":6972/corvid-config.xml\n  version  12.5, as " + address_ + " answered\n");
}

TEST_F(Fetch, TakesTheFileFromABackup) {
    const std::string dead = callcontrol::CallControlServer::freeLoopbackAddress();
    name("TftpServer1: " + dead + "\nTftpServer2: " + address_ + "\n");
    serve("12.5");
    const support::Ended ended = run(trusting({"fetch"}));
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out, HasSubstr(address_ + " delivered the file over HTTPS: 7 keys.\n"));
    EXPECT_THAT(ended.out,
                HasSubstr("  before   https://" + dead + ":6972/corvid-config.xml: no connection to the server\n"));
}

TEST_F(Fetch, FailsWhereTheServerHasNoSuchFile) {
    serveAs("other.xml", "12.5");
    const json result = fetched(1);
    EXPECT_EQ(result.at("ok"), false);
    EXPECT_EQ(result.at("keys"), 0);
    EXPECT_EQ(result.at("server"), address_);
    EXPECT_EQ(result.at("url"), "https://" + address_ + ":6972/corvid-config.xml");
    EXPECT_EQ(result.at("reason"),
              "no server delivered the file: " + address_ + ": the server has no such file, or refused it");
}

TEST_F(Fetch, TellsPeopleWhatFailedAndWhatToDo) {
    serveAs("other.xml", "12.5");
    const support::Ended ended = run(trusting({"fetch"}));
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, EndsWith("corvidctl: nothing fetched: no server delivered the file: " + address_ +
                                      ": the server has no such file, or refused it\n"));
    EXPECT_THAT(ended.out, HasSubstr("https://" + address_ + ":6972/corvid-config.xml"));
    EXPECT_THAT(ended.out, HasSubstr("Check that the server holds the file under this name"));
}

TEST_F(Fetch, TakesTheFileThatTheKeyNames) {
    serveAs("other.xml", "12.5");
    name("TftpServer1: " + address_ + "\nconfigurationfile: other.xml\n");
    EXPECT_EQ(fetched().at("url"), "https://" + address_ + ":6972/other.xml");
}

TEST_F(Fetch, FailsWhereNoServerIsConfigured) {
    name("ServicesDomain: example.org\n");
    EXPECT_EQ(fetched(1), json({{"server", ""},
                                {"url", ""},
                                {"version", ""},
                                {"keys", 0},
                                {"ok", false},
                                {"reason", "no server is configured: TFTPPrimaryServer, TFTPBackupServer1 and "
                                           "TFTPBackupServer2 are all empty"}}));
}

TEST_F(Fetch, StallsWhereNobodyTellsTheVersion) {
    const json result = fetched(1);
    EXPECT_EQ(result.at("reason"), "the server's version is not known: no usable answer from " + address_);
    EXPECT_EQ(result.at("server"), "");
    EXPECT_EQ(result.at("ok"), false);
}

TEST_F(Fetch, FailsWhereNobodyListensAlthoughTheVersionIsKnown) {
    storeVersion("12.0");
    const json result = fetched(1);
    EXPECT_EQ(result.at("reason"), "no server delivered the file: " + address_ + ": no connection to the server");
    EXPECT_EQ(result.at("version"), "12.0");
}

TEST_F(Fetch, FailsOnAFileThatIsNoDocument) {
    serve("12.5", "not a document");
    const json result = fetched(1);
    EXPECT_EQ(result.at("ok"), false);
    EXPECT_EQ(result.at("server"), address_);
    EXPECT_EQ(result.at("reason"), address_ + " delivered a file that is no configuration document; the values of the "
                                              "server's file are gone until it delivers one");
}

TEST_F(Fetch, TrustsNoUnknownAuthority) {
    serve("12.5");
    EXPECT_EQ(asJson({"fetch"}, 1).at("reason"),
              "the server's version is not known: no usable answer from " + address_);
    storeVersion("12.5");
    EXPECT_EQ(asJson({"fetch"}, 1).at("reason"),
              "no server delivered the file: " + address_ + ": the server's certificate is not trusted");
}

TEST_F(Fetch, AdvisesToNameTheAuthority) {
    serve("12.5");
    storeVersion("12.5");
    EXPECT_THAT(run({"fetch"}).out, HasSubstr("name that with --ca-file FILE."));
}

TEST_F(Fetch, WaitsForTheCycleThatTheNewFileStarts) {
    const std::string usersOwn = callcontrol::CallControlServer::freeLoopbackAddress();
    ASSERT_EQ(run({"set", "TFTPPrimaryServer", address_}).status, 0);
    name("TftpServer1: " + usersOwn + "\n");
    serve("12.5", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server></g></c>");
    const json result = fetched(1);
    EXPECT_EQ(result.at("server"), usersOwn);
    EXPECT_EQ(result.at("reason"), "no server delivered the file: " + usersOwn + ": no connection to the server");
    EXPECT_EQ(asJson({"get", "TFTPPrimaryServer"}).at("value"), usersOwn);
}

TEST_F(Fetch, SaysWhenTheFileTookTheLastServerAway) {
    ASSERT_EQ(run({"set", "TFTPPrimaryServer", address_}).status, 0);
    name("");
    serve("12.5", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server></g></c>");
    EXPECT_EQ(fetched(1).at("reason"),
              "the file that was delivered took the last server's address away, and so its own values");
}

TEST_F(Fetch, LeavesACopyForTheNextStart) {
    serve("12.5");
    ASSERT_EQ(run(trusting({"fetch"})).status, 0);
    stopServing();
    EXPECT_EQ(asJson({"get", "CtiServer1"}).at("valueStoreName"), "cachedTFTPConfigStore.xml");
    const json values = asJson({"list"});
    EXPECT_EQ(entryOf(values, "cachedtftpconfigstore.xml"), nullptr);
    EXPECT_EQ(entryOf(values, "LaunchOnSystemStartup").at("value"), "true");
    const json overridden = entryOf(values, "DockedWindow");
    EXPECT_EQ(overridden.at("value"), "false");
    EXPECT_EQ(overridden.at("originalValue"), "true");
    EXPECT_EQ(overridden.at("isOverridden"), true);
}

TEST_F(Fetch, KeepsTheCopyWhenALaterFetchFails) {
    serve("12.5");
    ASSERT_EQ(run(trusting({"fetch"})).status, 0);
    stopServing();
    EXPECT_EQ(fetched(1).at("ok"), false);
    EXPECT_EQ(asJson({"get", "CtiServer1"}).at("value"), "phones.example.org");
}

TEST_F(Fetch, BringsWhatTheServerHasChanged) {
    serve("12.5");
    ASSERT_EQ(run(trusting({"fetch"})).status, 0);
    rewrite("<c><g><CtiServer1>phones-2.example.org</CtiServer1></g></c>");
    EXPECT_EQ(fetched().at("keys"), 1);
    EXPECT_EQ(asJson({"get", "CtiServer1"}).at("value"), "phones-2.example.org");
    EXPECT_EQ(asJson({"get", "VoicemailPrimaryServer"}, 1).at("isDefined"), false);
}

TEST_F(Fetch, TellsAndKeepsNoSecret) {
    serve("12.5");
    const support::Ended ended = run(trusting({"--log-level", "5", "--reveal", "fetch"}));
    ASSERT_EQ(ended.status, 0);
    EXPECT_THAT(ended.error, HasSubstr("ctiserver1"));
    for (const std::string secret : {"only-the-server-knows", "nobody-else-either"}) {
        EXPECT_THAT(ended.out + ended.error, Not(HasSubstr(secret)));
        for (const auto& [path, contents] : files()) {
            if (path.starts_with("config")) {
                EXPECT_THAT(contents, Not(HasSubstr(secret))) << path;
            }
        }
    }
}

TEST_F(Fetch, ShowsNoProgressWhereStandardErrorIsNoTerminal) {
    storeVersion("10.5");
    SilentServer silent(address_, 6970);
    support::ChildProcess::Options options;
    options.environment = {{"TERM", "xterm"}};
    support::ChildProcess fetch(command(trusting({"--log-level", "2", "fetch"})), options);
    silent.waitForSomebody();
    const support::Ended ended = fetch.wait();  // the transfer's own end, long after progress would have shown
    EXPECT_EQ(ended.error,
              "corvidctl: nothing fetched: no server delivered the file: " + address_ + ": the server took too long\n");
}

TEST_F(Fetch, EndsAtOnceWhenInterruptedWhileAServerIsSilent) {
    const std::string second = callcontrol::CallControlServer::freeLoopbackAddress();
    name("TftpServer1: " + address_ + "\nTftpServer2: " + second + "\n");
    SilentServer silent(address_, 8443);
    const SilentServer next(second, 8443);
    support::ChildProcess fetch(command(trusting({"--log-level", "2", "fetch"})));
    silent.waitForSomebody();
    fetch.signal(SIGTERM);
    const support::Ended ended = fetch.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, EndsWith("corvidctl: interrupted\n"));
    EXPECT_EQ(ended.out, "");
    EXPECT_FALSE(next.isSomebodyThere());
}

TEST_F(Fetch, EndsAtOnceWhenInterruptedWhileAFileIsOnItsWay) {
    storeVersion("12.5");
    const std::string second = callcontrol::CallControlServer::freeLoopbackAddress();
    name("TftpServer1: " + address_ + "\nTftpServer2: " + second + "\n");
    SilentServer silent(address_, 6972);
    const SilentServer next(second, 6972);  // would be asked if the first one's time had run out
    support::ChildProcess fetch(command(trusting({"--json", "fetch"})));
    silent.waitForSomebody();
    fetch.signal(SIGINT);
    const support::Ended ended = fetch.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: interrupted\n"));
    const json result = json::parse(ended.out);
    EXPECT_EQ(result.at("reason"), "interrupted");
    EXPECT_EQ(result.at("ok"), false);
    EXPECT_EQ(result.at("server"), address_);
    EXPECT_FALSE(next.isSomebodyThere());
}

TEST_F(Fetch, TellsPeopleWhatHadNotEndedWhenInterrupted) {
    storeVersion("12.5");
    SilentServer silent(address_, 6972);
    support::ChildProcess fetch(command(trusting({"fetch"})));
    silent.waitForSomebody();
    fetch.signal(SIGINT);
    const support::Ended ended = fetch.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.out, HasSubstr("https://" + address_ + ":6972/corvid-config.xml  not ended\n"));
}

TEST_F(Fetch, EndsAtOnceWhenInterruptedWhileTheNewFilesServerIsAskedForItsVersion) {
    const std::string second = callcontrol::CallControlServer::freeLoopbackAddress();
    const std::string third = callcontrol::CallControlServer::freeLoopbackAddress();
    SilentServer silent(second, 8443);
    const SilentServer next(third, 8443);
    // The empty version hides the one that the first server told.
    ASSERT_EQ(run({"set", "TFTPPrimaryServer", address_}).status, 0);
    name("TftpServer1: " + second + "\nTftpServer2: " + third + "\n");
    serve("12.5", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server><HomeUdsVersion/></g></c>");
    support::ChildProcess fetch(command(trusting({"fetch"})));
    silent.waitForSomebody();
    fetch.signal(SIGINT);
    const support::Ended ended = fetch.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, EndsWith("corvidctl: interrupted\n"));
    EXPECT_FALSE(next.isSomebodyThere());
}

TEST_F(Fetch, ShowsOnATerminalWhatItWaitsFor) {
    SilentServer silent(address_, 8443);
    support::ChildProcess::Options options;
    options.errorTerminal = true;
    options.environment = {{"TERM", "xterm"}};
    support::ChildProcess fetch(command(trusting({"--log-level", "2", "fetch"})), options);
    EXPECT_TRUE(fetch.waitForError("asking " + address_ + " for its version … 1 s\x1b[K\r"));
    fetch.signal(SIGINT);
    const support::Ended ended = fetch.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, HasSubstr("\r\x1b[K"));
    EXPECT_THAT(ended.error, EndsWith("corvidctl: interrupted\r\n"));
}

TEST_F(Fetch, ShowsOnATerminalsStandardErrorWhatItWaitsForWhateverAScriptReads) {
    SilentServer silent(address_, 8443);
    support::ChildProcess::Options options;
    options.errorTerminal = true;
    options.environment = {{"TERM", "xterm"}};
    support::ChildProcess fetch(command(trusting({"--json", "--log-level", "2", "fetch"})), options);
    EXPECT_TRUE(fetch.waitForError("asking " + address_ + " for its version … 1 s\x1b[K\r"));
    fetch.signal(SIGINT);
    EXPECT_EQ(json::parse(fetch.wait().out).at("reason"), "interrupted");
}

TEST_F(Fetch, ColoursATerminalThatIsNotDumbOnly) {
    serve("12.5");
    const auto fetchOn = [this](const std::map<std::string, std::string>& environment) {
        support::ChildProcess::Options options;
        options.terminal = true;
        options.environment = environment;
        return run(trusting({"fetch"}), options).out;
    };
    EXPECT_THAT(fetchOn({{"TERM", "xterm"}, {"NO_COLOR", ""}}), HasSubstr("\x1b["));
    EXPECT_THAT(fetchOn({{"TERM", "dumb"}, {"NO_COLOR", ""}}), Not(HasSubstr("\x1b[")));
    EXPECT_THAT(fetchOn({{"TERM", ""}, {"NO_COLOR", ""}}), Not(HasSubstr("\x1b[")));
    EXPECT_THAT(fetchOn({{"TERM", "xterm"}, {"NO_COLOR", "1"}}), Not(HasSubstr("\x1b[")));
}

TEST_F(Fetch, SaysWhenTheCopyForTheNextStartCannotBeWritten) {
    writeConfig("Cache", "a file where the folder should be");
    serve("12.5");
    const support::Ended ended = run(trusting({"fetch"}));
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, EndsWith("corvidctl: the copy for the next start could not be written: " +
                                      directory_.path("config/Cache/cachedTFTPConfigStore.xml") + "\n"));
    EXPECT_THAT(ended.out, HasSubstr(address_ + " delivered the file over HTTPS: 7 keys.\n"));
    EXPECT_THAT(ended.out, EndsWith("Its values count for this run only.\n"));
}

TEST_F(Fetch, TellsAScriptThatTheCopyCannotBeWritten) {
    directory_.write("config/Cache/cachedTFTPConfigStore.xml/inside", "");
    serve("12.5");
    const json result = fetched(1);
    EXPECT_EQ(result.at("ok"), false);
    EXPECT_EQ(result.at("keys"), 7);
    EXPECT_EQ(result.at("reason"), "the copy for the next start could not be written: " +
                                       directory_.path("config/Cache/cachedTFTPConfigStore.xml"));
}

TEST_F(Fetch, NoticesThatTheCopyIsStillTheOldOne) {
    serve("12.5");
    ASSERT_EQ(run(trusting({"fetch"})).status, 0);
    rewrite("<c><g><CtiServer1>phones-2.example.org</CtiServer1></g></c>");
    const support::Ended ended = support::runProgram(withoutDisk(trusting({"--json", "fetch"})));
    EXPECT_EQ(ended.status, 1);
    const json result = json::parse(ended.out);
    EXPECT_EQ(result.at("ok"), false);
    EXPECT_THAT(std::string(result.at("reason")), HasSubstr("the copy for the next start could not be written: "));
}

TEST_F(Fetch, SaysWhenItCannotKeepWhatBelongsToTheFile) {
    serve("12.5");
    const std::string line = "what belongs to the file could not be written to " + directory_.path("config");
    const support::Ended ended = support::runProgram(withoutDisk(trusting({"fetch"})));
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: " + line + "\n"));
    const support::Ended script = support::runProgram(withoutDisk(trusting({"--json", "fetch"})));
    EXPECT_EQ(script.status, 1);
    EXPECT_EQ(json::parse(script.out).at("ok"), false);
    EXPECT_EQ(json::parse(script.out).at("reason"), line);
}

TEST_F(Fetch, LeavesTheNetworkAloneInEveryOtherCommand) {
    serve("12.5");
    const std::string document = directory_.write("document.xml", SAMPLE);
    const std::string journal = directory_.write(
        "journal", R"({"batch":1,"time":"2024-02-29T13:06:00.000Z","cause":"set","changes":[)"
                   R"({"key":"A","oldValue":"","newValue":"1","oldStore":"","newStore":"S","isSensitive":false}]})"
                   "\n");
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"list"},
                                               {"get", "DockedWindow"},
                                               {"explain", "DockedWindow"},
                                               {"stores"},
                                               {"report"},
                                               {"validate", document},
                                               {"explain", "--all-stores"},
                                               {"export", "--store", "BootstrapConfigStore"},
                                               {"delta"},
                                               {"diff", "live", "live"},
                                               {"simulate", "--set", "Own=1"},
                                               {"history", "--journal", journal},
                                               {"provision", "x?ServicesDomain=a"},
                                               {"set", "TFTPPrimaryServer", address_},
                                               {"unset", "TFTPPrimaryServer"},
                                               {"reset-data", "--yes"}}) {
        EXPECT_EQ(run(trusting(words)).status, 0) << words.front();
    }
    EXPECT_THAT(requestsUntilStop(), IsEmpty());
}

TEST_F(Fetch, LeavesANoteOnTheKeptCopyThatExplainReads) {
    serve("12.5");
    ASSERT_EQ(fetched().at("ok"), true);
    stopServing();
    const std::string url = "https://" + address_ + ":6972/corvid-config.xml";
    const auto copyOf = [this] {
        for (const json& store : asJson({"stores"})) {
            if (store.at("name") == "cachedTFTPConfigStore.xml") {
                return store;
            }
        }
        return json();
    };
    const json note = json::parse(configFile("Cache/cachedTFTPConfigStore.download.json"));
    EXPECT_EQ(note.at("url"), url);
    EXPECT_EQ(note.at("server"), address_);
    EXPECT_EQ(note.at("version"), "12.5");
    EXPECT_EQ(copyOf().at("url"), url);
    EXPECT_EQ(copyOf().at("time"), note.at("time").get<std::string>().substr(0, 19) + "Z");
    EXPECT_THAT(run({"stores"}).out, HasSubstr("cachedTFTPConfigStore.xml is the copy of " + url + ", fetched at "));
    EXPECT_THAT(run({"stores"}).out, HasSubstr("Cache/cachedTFTPConfigStore.xml"));

    // A copy that somebody else has written since came from elsewhere.
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<Corvid><CachedConfig><a>1</a></CachedConfig></Corvid>");
    EXPECT_EQ(copyOf().at("url"), nullptr);
    EXPECT_THAT(run({"explain", "a"}).out, HasSubstr("is the copy that was kept when the server delivered last"));
}

TEST_F(Fetch, IsToldByExplainWithUrlAndTime) {
    serve("12.5");
    ASSERT_EQ(fetched().at("ok"), true);
    stopServing();
    const json stores = asJson({"list", "--store", "cachedTFTPConfigStore.xml"});
    ASSERT_FALSE(stores.empty());
    EXPECT_THAT(
        run({"explain", stores.at(0).at("key").get<std::string>()}).out,
        testing::ContainsRegex("cachedTFTPConfigStore.xml is the copy of https://" + address_ +
                               ":6972/corvid-config.xml, fetched at ....-..-..T..:..:..Z; its priority, [0-9]+, "
                               "comes from PrimaryConfigStores."));
}

TEST_F(Fetch, LeavesNoNoteOnACopyThatCouldNotBeWritten) {
    serve("12.5");
    EXPECT_EQ(support::runProgram(withoutDisk(trusting({"fetch"}))).status, 1);
    EXPECT_EQ(files().count("config/Cache/cachedTFTPConfigStore.download.json"), 0U);
}

TEST_F(Fetch, WritesNothingBehindAStrangersLink) {
    namespace fs = std::filesystem;
    serve("12.5");
    ASSERT_EQ(fetched().at("ok"), true);
    const auto filesElsewhere = [this] {
        auto contents = files();
        std::erase_if(contents, [](const auto& file) { return !file.first.starts_with("elsewhere/"); });
        return contents;
    };
    const std::string elsewhere = directory_.path("elsewhere");
    for (const std::string folder : {"config/Cache", "config"}) {
        // The copy says what the server does, so that only the note on it would be new.
        fs::remove(directory_.path("config/Cache/cachedTFTPConfigStore.download.json"));
        writeConfig("Cache/.cachedTFTPConfigStore.download.json.4711.3.new", "half a no");
        fs::rename(directory_.path(folder), elsewhere);
        if (!support::makeStrangersLink(elsewhere, directory_.path(folder))) {
            GTEST_SKIP() << "only root can make somebody else's link";
        }
        const auto before = filesElsewhere();
        EXPECT_EQ(fetched(1).at("reason"), "the copy for the next start could not be written: " +
                                               directory_.path("config/Cache/cachedTFTPConfigStore.xml"))
            << folder;
        EXPECT_EQ(filesElsewhere(), before) << folder;
        fs::remove(directory_.path(folder));
        fs::rename(elsewhere, directory_.path(folder));
    }
}

TEST_F(Fetch, LeavesANoteThatADataResetRemoves) {
    serve("12.5");
    ASSERT_EQ(fetched().at("ok"), true);
    EXPECT_THAT(run({"reset-data", "--yes"}).out, HasSubstr("removed  Cache/cachedTFTPConfigStore.download.json\n"));
    EXPECT_THAT(run({"reset-data", "--yes"}).out, testing::Not(HasSubstr("download.json")));
}
