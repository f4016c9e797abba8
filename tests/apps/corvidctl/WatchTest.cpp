#include "FullPipe.h"
#include "ServedTool.h"
#include "fakes/ScriptedServer.h"

#include <csignal>
#include <future>
#include <thread>

using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

namespace {

/// A watch that has put its module in: the module warns of the missing bootstrap file then.
class Watch : public Tool {
protected:
    Watch() { std::filesystem::remove(directory_.path("install/bootstrap.properties")); }

    support::Ended interruptedBy(int signal, const std::vector<std::string>& words) const {
        support::ChildProcess watch(command(words));
        EXPECT_TRUE(watch.waitForError("File does not exist"));
        watch.signal(signal);
        return watch.wait();
    }
};

/// A watch on a client whose server delivers a file.
class ServedWatch : public ServedTool {
protected:
    /// What a watch prints until it has told the last key of the file.
    support::Ended watchOneFetch(const std::vector<std::string>& words, const std::string& lastOfOutput) {
        serve("12.5");
        support::ChildProcess watch(command(trusting(words)));
        EXPECT_TRUE(watch.waitForOutput(lastOfOutput));
        watch.signal(SIGTERM);
        return watch.wait();
    }

    static std::vector<json> records(const std::string& out) {
        std::vector<json> objects;
        std::istringstream lines(out);
        for (std::string line; std::getline(lines, line);) {
            objects.push_back(json::parse(line));
        }
        return objects;
    }
};

}  // namespace

TEST_F(Watch, EndsWithNoughtWhenItIsTerminated) {
    const support::Ended ended = interruptedBy(SIGTERM, {"watch"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_EQ(ended.out, "");
}

TEST_F(Watch, EndsWithNoughtWhenItIsInterrupted) { EXPECT_EQ(interruptedBy(SIGINT, {"watch", "docked*"}).status, 0); }

TEST_F(Watch, PrintsNothingAtTheStart) { EXPECT_EQ(interruptedBy(SIGTERM, {"--json", "watch"}).out, ""); }

TEST_F(Watch, ChangesNothingByItself) {
    const auto before = files();
    interruptedBy(SIGTERM, {"watch"});
    EXPECT_EQ(files(), before);
}

TEST_F(ServedWatch, PrintsWhatTheServersFileChanges) {
    const support::Ended ended = watchOneFetch({"--json", "watch", "launch*"}, "isDefined");
    EXPECT_EQ(ended.status, 0);
    const std::vector<json> told = records(ended.out);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].at("value"), "true");
    EXPECT_EQ(told[0].at("valueStoreName"), "TFTPConfigStore");
    EXPECT_EQ(told[0].at("changed"),
              json::array({"value", "originalValue", "valueStoreName", "originalValueStoreName"}));
}

TEST_F(ServedWatch, LeavesANoteOnWhereTheKeptCopyCameFrom) {
    const std::string note = directory_.path("config/Cache/cachedTFTPConfigStore.download.json");
    serve("12.5");
    support::ChildProcess watch(command(trusting({"watch"})));
    while (!std::filesystem::exists(note)) {
        std::this_thread::yield();  // it is written once the fetch has ended, while the watch goes on
    }
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.wait().status, 0);
    EXPECT_EQ(json::parse(directory_.read("config/Cache/cachedTFTPConfigStore.download.json")).at("url"),
              "https://" + address_ + ":6972/corvid-config.xml");
}

TEST_F(ServedWatch, PrintsTheAdministratorsValueBehindTheUsers) {
    const support::Ended ended = watchOneFetch({"--json", "watch", "dockedwindow"}, "changed");
    const std::vector<json> told = records(ended.out);
    ASSERT_EQ(told.size(), 1U);
    EXPECT_EQ(told[0].at("value"), "false");
    EXPECT_EQ(told[0].at("originalValueStoreName"), "TFTPConfigStore");
    EXPECT_EQ(told[0].at("changed"), json::array({"originalValueStoreName"}));
}

TEST_F(ServedWatch, PrintsForPeople) {
    const support::Ended ended = watchOneFetch({"watch", "cti*"}, "changed");
    EXPECT_THAT(ended.out,
                HasSubstr("CTIPrimaryServer = \"phones.example.org\", from TFTPConfigStore  (changed: value, "));
}

TEST_F(ServedWatch, PrintsNoSecret) {
    const support::Ended ended = watchOneFetch({"--json", "--log-level", "5", "watch", "token"}, "token");
    EXPECT_EQ(records(ended.out).at(0).at("value"), "VALUE_HIDDEN");
    EXPECT_THAT(ended.out + ended.error, Not(HasSubstr("only-the-server-knows")));
}

TEST_F(ServedWatch, EndsAtOnceWhenInterruptedWhileAServerIsSilent) {
    const std::string second = callcontrol::CallControlServer::freeLoopbackAddress();
    name("TftpServer1: " + address_ + "\nTftpServer2: " + second + "\n");
    SilentServer silent(address_, 8443);
    const SilentServer next(second, 8443);
    support::ChildProcess watch(command(trusting({"watch"})));
    silent.waitForSomebody();
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait().status, 0);
    EXPECT_FALSE(next.isSomebodyThere());
}

TEST_F(ServedWatch, ShowsOnATerminalWhatItWaitsFor) {
    SilentServer silent(address_, 8443);
    support::ChildProcess::Options options;
    options.errorTerminal = true;
    options.environment = {{"TERM", "xterm"}};
    support::ChildProcess watch(command(trusting({"watch"})), options);
    EXPECT_TRUE(watch.waitForError("asking " + address_ + " for its version … 1 s\x1b[K\r"));
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait().status, 0);
}

TEST_F(ServedWatch, SaysOnStandardErrorWhyNothingWasFetchedAndGoesOn) {
    name("ServicesDomain: example.org\n");
    support::ChildProcess watch(command({"--json", "watch"}));
    EXPECT_TRUE(watch.waitForError("corvidctl: nothing fetched: no server is configured: TFTPPrimaryServer, "
                                   "TFTPBackupServer1 and TFTPBackupServer2 are all empty\n"));
    watch.signal(SIGINT);
    const support::Ended ended = watch.wait();
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "");
}

TEST_F(ServedWatch, SaysWhichServerDidNotDeliver) {
    support::ChildProcess watch(command({"watch"}));
    EXPECT_TRUE(watch.waitForError("corvidctl: nothing fetched: the server's version is not known: no usable answer "
                                   "from " +
                                   address_ + "\n"));
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.wait().status, 0);
}

TEST_F(ServedWatch, FailsWhereNothingCanBeWritten) {
    serve("12.5");
    support::ChildProcess watch(withoutDisk(trusting({"watch"})));
    EXPECT_TRUE(watch.waitForError("corvidctl: the copy for the next start could not be written: " +
                                   directory_.path("config/Cache/cachedTFTPConfigStore.xml") + "\n"));
    watch.signal(SIGTERM);
    const support::Ended ended = watch.wait();
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.error, HasSubstr("corvidctl: what belongs to the server's file could not be written to " +
                                       directory_.path("config") + "\n"));
}

TEST_F(ServedWatch, FailsWhereOnlyTheCopyCannotBeWritten) {
    writeConfig("Cache", "a file where the folder should be");
    serve("12.5");
    support::ChildProcess watch(command(trusting({"watch"})));
    EXPECT_TRUE(watch.waitForError("corvidctl: the copy for the next start could not be written: "));
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.wait().status, 1);
}

TEST_F(ServedWatch, EndsWhenNobodyReadsItsLines) {
    ASSERT_EQ(run({"set", "HomeUdsVersion", "10.5"}).status, 0);
    std::promise<void> readerHasGone;
    fakes::ScriptedServer::Options options;
    options.address = address_;
    options.port = 6970;
    fakes::ScriptedServer server(
        [&](fakes::ScriptedConnection& connection) {
            readerHasGone.get_future().wait();
            connection.respond(200, SAMPLE);
        },
        options);
    support::ChildProcess watch(command({"watch"}));
    server.waitForRequests(1);
    watch.stopReading();
    readerHasGone.set_value();
    EXPECT_EQ(watch.wait().status, 0);
}

TEST_F(ServedWatch, EndsWhenInterruptedWhileNobodyTakesItsLines) {
    const FullPipe pipe(directory_.path("pipe"));
    serve("12.5");
    support::ChildProcess watch(pipe.asOutputOf(command(trusting({"--log-level", "4", "watch"}))));
    EXPECT_TRUE(watch.waitForError("Config updated with TFTP server information"));  // its lines come next
    watch.signal(SIGINT);
    EXPECT_EQ(watch.wait().status, 0);
}

TEST_F(ServedWatch, ColoursATerminalThatIsNotDumbOnly) {
    serve("12.5");
    const auto watchOn = [this](const std::map<std::string, std::string>& environment) {
        support::ChildProcess::Options options;
        options.terminal = true;
        options.environment = environment;
        support::ChildProcess watch(command(trusting({"watch", "cti*"})), options);
        EXPECT_TRUE(watch.waitForOutput("changed"));
        watch.signal(SIGINT);
        return watch.wait().out;
    };
    EXPECT_THAT(watchOn({{"TERM", "xterm"}, {"NO_COLOR", ""}}), HasSubstr("\x1b["));
    EXPECT_THAT(watchOn({{"TERM", "dumb"}, {"NO_COLOR", ""}}), Not(HasSubstr("\x1b[")));
    EXPECT_THAT(watchOn({{"TERM", "xterm"}, {"NO_COLOR", "1"}}), Not(HasSubstr("\x1b[")));
}
