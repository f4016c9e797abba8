#include "ServedTool.h"

#include <csignal>

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
