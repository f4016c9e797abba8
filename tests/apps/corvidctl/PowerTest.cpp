#include <csignal>

#include "Tool.h"
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

}  // namespace

TEST_F(Power, DownEndsTheStoresOfAWatchAndNotTheWatch) {
    support::ChildProcess watch(command({"--log-level", "4", "watch"}), onTheBus());
    ASSERT_TRUE(watch.waitForError("Listening for power events"));
    logind.emit({"PrepareForShutdown"});
    EXPECT_TRUE(watch.waitForError("Config adapter received a power down event. Calling destroy on configAdapter"));
    watch.signal(SIGTERM);
    EXPECT_EQ(watch.wait().status, 0);
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
