#include <sched.h>

#include <algorithm>
#include <csignal>
#include <filesystem>

#include "ServedTool.h"
#include "support/BusClient.h"
#include "support/PrivateBus.h"

using testing::HasSubstr;
using testing::Not;

namespace {

class Power : public Tool {
protected:
    Power() { logind.own(support::BusClient::LOGIND); }

    support::ChildProcess::Options onTheBus() const {
        support::ChildProcess::Options options;
        options.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}};
        return options;
    }

    support::PrivateBus bus;
    support::BusClient logind{bus.address()};
};

/// A watch on a client with a server, and a machine that is not switched off after all.
class PowerDownCalledOff : public ServedTool {
protected:
    PowerDownCalledOff() { logind.own(support::BusClient::LOGIND); }

    void startWatch() {
        serve("12.5");
        support::ChildProcess::Options options;
        options.environment = {{"DBUS_SYSTEM_BUS_ADDRESS", bus.address()}};
        watch = std::make_unique<support::ChildProcess>(command(trusting({"--log-level", "4", "watch"})), options);
        ASSERT_TRUE(watch->waitForError("Listening for power events"));
        ASSERT_TRUE(watch->waitForOutput("voicemail.example.org"));
    }

    void fetchAnotherFile() {
        rewrite("<config><Voicemail><VoicemailPrimaryServer>other.example.org</VoicemailPrimaryServer></Voicemail>"
                "</config>");
        logind.emit({"PrepareForShutdown"});
        logind.emit({"PrepareForShutdown", false});
        ASSERT_TRUE(watch->waitForOutput("other.example.org"));
    }

    /// Returns when the watch has found a copy good and left its note beside it.
    void waitForNote() const {
        while (!std::filesystem::exists(directory_.path("config/Cache/cachedTFTPConfigStore.download.json"))) {
            sched_yield();
        }
    }

    support::Ended endWatch() {
        watch->signal(SIGTERM);
        return watch->wait();
    }

    const std::string copy = directory_.path("config/Cache/cachedTFTPConfigStore.xml");
    support::PrivateBus bus;
    support::BusClient logind{bus.address()};
    std::unique_ptr<support::ChildProcess> watch;
};

}  // namespace

TEST_F(Power, DownEndsTheStoresOfAWatchAndNotTheWatch) {
    support::ChildProcess watch(command({"--log-level", "4", "watch"}), onTheBus());
    ASSERT_TRUE(watch.waitForError("Listening for power events"));
    logind.emit({"PrepareForShutdown"});
    EXPECT_TRUE(watch.waitForError("Config adapter received a power down event. Calling destroy on configAdapter"));
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.wait().status, 0);
}

TEST_F(PowerDownCalledOff, LetsAWatchFetchAnew) {
    startWatch();
    waitForNote();
    fetchAnotherFile();
    EXPECT_EQ(endWatch().status, 0);
    const std::vector<std::string> requests = requestsUntilStop();
    EXPECT_EQ(std::count(requests.begin(), requests.end(), "6972/corvid-config.xml"), 2);
}

TEST_F(PowerDownCalledOff, LetsAWatchTellOfACopyThatIsLostOnlyThen) {
    startWatch();
    waitForNote();
    std::filesystem::remove(copy);
    std::filesystem::create_directory(copy);
    fetchAnotherFile();
    EXPECT_TRUE(watch->waitForError("corvidctl: the copy for the next start could not be written: " + copy + "\n"));
    EXPECT_EQ(endWatch().status, 1);
}

TEST_F(PowerDownCalledOff, LetsAWatchMakeALostCopyGood) {
    std::filesystem::create_directories(copy);
    startWatch();
    ASSERT_TRUE(watch->waitForError("corvidctl: the copy for the next start could not be written: " + copy + "\n"));
    std::filesystem::remove(copy);
    fetchAnotherFile();
    waitForNote();
    EXPECT_EQ(endWatch().status, 0);
}

TEST_F(Power, IsNoneOfTheOtherCommandsBusiness) {
    bus.stop();
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"list"}, {"get", "OnlyMine"}, {"set", "OnlyMine", "2"}, {"stores"}}) {
        const support::Ended ended = run(words, onTheBus());
        EXPECT_EQ(ended.status, 0) << ended.error;
        EXPECT_THAT(ended.error, Not(HasSubstr("Power events"))) << words.front();
    }
}

TEST_F(Power, IsNotWatchedOnAMachineWithoutABus) {
    bus.stop();
    support::ChildProcess watch(command({"watch"}), onTheBus());
    EXPECT_TRUE(watch.waitForError("Power events are not watched: No such file or directory"));
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.wait().status, 0);
}
