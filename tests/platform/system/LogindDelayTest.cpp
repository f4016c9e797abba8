#include <future>
#include <stdexcept>
#include <string>

#include "PowerListener.h"

using testing::IsEmpty;

namespace {

constexpr const char* WAITS = "A shutdown waits until everything is on disk";

/// A source that has asked the login manager to wait for it.
class LogindDelay : public PowerListener {
protected:
    /// Lends a first delay, announces a shutdown and calls it off; the log has nothing of it any more.
    /// @return what was asked for.
    std::string announceAndCallOff() {
        const support::LentDelay first = logind.lendDelay();
        log->waitFor(WAITS);
        logind.emit({"PrepareForShutdown"});
        first.waitForItsEnd();
        log->clear();
        logind.emit({"PrepareForShutdown", false});
        return first.request();
    }
};

}  // namespace

TEST_F(LogindDelay, IsAskedForAShutdownAlone) {
    listen();
    EXPECT_EQ(logind.lendDelay().request(), "shutdown, Corvid, What was set is being written to the disk, delay");
}

TEST_F(LogindDelay, IsHeldUntilTheReportHasReturned) {
    std::promise<void> goOn;
    listenWith([&](auto type) {
        events.recorder()(type);
        goOn.get_future().wait();
    });
    const support::LentDelay delay = logind.lendDelay();
    log->waitFor(WAITS);
    logind.emit({"PrepareForShutdown"});
    events.waitFor(1);
    EXPECT_TRUE(delay.isHeld());
    goOn.set_value();
    delay.waitForItsEnd();
    EXPECT_FALSE(delay.isHeld());
}

TEST_F(LogindDelay, IsGivenBackAfterAReportThatThrew) {
    listenWith([](auto) { throw std::runtime_error("out of order"); });
    const support::LentDelay delay = logind.lendDelay();
    logind.emit({"PrepareForShutdown"});
    delay.waitForItsEnd();
}

TEST_F(LogindDelay, IsGivenBackWhenTheSourceStops) {
    listen();
    const support::LentDelay delay = logind.lendDelay();
    log->waitFor(WAITS);
    source->stop();
    delay.waitForItsEnd();  // the bus may hold it for a moment more
}

TEST_F(LogindDelay, IsGivenBackWhenTheBusGoesAway) {
    listen();
    const support::LentDelay delay = logind.lendDelay();
    log->waitFor(WAITS);
    bus.stop();
    delay.waitForItsEnd();
}

TEST_F(LogindDelay, IsNotKeptIfItComesAfterTheShutdown) {
    listen();
    logind.emit({"PrepareForShutdown"});
    events.waitFor(1);
    logind.lendDelay().waitForItsEnd();
    EXPECT_FALSE(log->mentions(WAITS));
}

TEST_F(LogindDelay, IsKeptThroughSleepsAndAnEndOfAShutdownThatNeverBegan) {
    listen();
    const support::LentDelay delay = logind.lendDelay();
    logind.emit({"PrepareForShutdown", false});
    logind.emit({"PrepareForSleep"});
    logind.emit({"PrepareForSleep", false});
    events.waitFor(2);
    EXPECT_TRUE(delay.isHeld());
}

TEST_F(LogindDelay, IsAskedForAnewWhenAShutdownIsCalledOff) {
    listen();
    const std::string first = announceAndCallOff();
    const support::LentDelay second = logind.lendDelay();
    EXPECT_EQ(second.request(), first);
    log->waitFor(WAITS);
    EXPECT_TRUE(second.isHeld());
}

TEST_F(LogindDelay, IsAskedForAnewBeforeItIsReportedThatAShutdownIsCalledOff) {
    std::promise<void> goOn;
    listenWith([&](auto type) {
        if (type == TesselSystemMonitor::PowerEventTypeEnum::PowerDownCalledOff) {
            goOn.get_future().wait();
        }
    });
    announceAndCallOff();
    const support::LentDelay second = logind.lendDelay();
    goOn.set_value();
    log->waitFor(WAITS);  // after the report has returned
    EXPECT_TRUE(second.isHeld());
}

TEST_F(LogindDelay, IsHeldThroughTheReportOfAShutdownAfterOneThatWasCalledOff) {
    std::promise<void> goOn;
    listenWith([&](auto type) {
        events.recorder()(type);
        if (events.numbers().size() == 3) {
            goOn.get_future().wait();
        }
    });
    logind.emit({"PrepareForShutdown"});
    logind.lendDelay().waitForItsEnd();
    logind.emit({"PrepareForShutdown", false});
    const support::LentDelay delay = logind.lendDelay();
    log->waitFor(WAITS);
    logind.emit({"PrepareForShutdown"});
    EXPECT_THAT(events.waitFor(3), testing::ElementsAre(3, 4, 3));
    EXPECT_TRUE(delay.isHeld());
    goOn.set_value();
    delay.waitForItsEnd();
}

TEST_F(LogindDelay, ThatIsRefusedIsSaidAndLeavesTheReports) {
    logind.release(support::BusClient::LOGIND);
    listen();
    log->waitForLines(2);
    EXPECT_TRUE(log->mentions("A shutdown does not wait for this program: "));
    logind.own(support::BusClient::LOGIND);
    logind.emit({"PrepareForShutdown"});
    EXPECT_THAT(events.waitFor(1), testing::ElementsAre(3));
    EXPECT_THAT(log->texts(3), IsEmpty());
}
