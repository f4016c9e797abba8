#include "impl/system/LogindPowerSource.h"

#include <cstdlib>
#include <future>
#include <stdexcept>
#include <thread>

#include "PowerListener.h"

using support::BusClient;
using support::LogindSignal;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class LogindPowerSource : public PowerListener {};

/// A signal that is none of logind's.
struct OddSignal {
    std::string name;
    LogindSignal signal;
};

class SignalThatResemblesLogindS : public PowerListener, public testing::WithParamInterface<OddSignal> {};

}  // namespace

TEST_F(LogindPowerSource, ReportsAShutdownAsEventThree) {
    listen();
    logind.emit({"PrepareForShutdown"});
    EXPECT_THAT(events.waitFor(1), ElementsAre(3));
}

TEST_F(LogindPowerSource, ReportsASleepAsEventOne) {
    listen();
    logind.emit({"PrepareForSleep"});
    EXPECT_THAT(events.waitFor(1), ElementsAre(1));
}

TEST_F(LogindPowerSource, ReportsAResumeAsEventTwo) {
    listen();
    logind.emit({"PrepareForSleep", false});
    EXPECT_THAT(events.waitFor(1), ElementsAre(2));
}

TEST_F(LogindPowerSource, ReportsAShutdownThatIsCalledOffAsEventFour) {
    listen();
    logind.emit({"PrepareForShutdown"});
    logind.emit({"PrepareForShutdown", false});
    EXPECT_THAT(events.waitFor(2), ElementsAre(3, 4));
}

TEST_F(LogindPowerSource, IgnoresTheEndOfAShutdownThatNeverBegan) {
    listen();
    logind.emit({"PrepareForShutdown", false});
    EXPECT_THAT(eventsUpToASleep(), ElementsAre(1));
}

TEST_F(LogindPowerSource, ReportsOnceWhatIsAnnouncedTwice) {
    listen();
    logind.emit({"PrepareForShutdown"});
    logind.emit({"PrepareForShutdown"});
    logind.emit({"PrepareForShutdown", false});
    logind.emit({"PrepareForShutdown", false});
    logind.emit({"PrepareForShutdown"});
    EXPECT_THAT(eventsUpToASleep(4), ElementsAre(3, 4, 3, 1));
}

TEST_F(LogindPowerSource, ReportsEventsInTheirOrder) {
    listen();
    logind.emit({"PrepareForSleep"});
    logind.emit({"PrepareForSleep", false});
    logind.emit({"PrepareForShutdown"});
    logind.emit({"PrepareForSleep"});
    EXPECT_THAT(events.waitFor(4), ElementsAre(1, 2, 3, 1));
}

TEST_F(LogindPowerSource, LogsThatItListensAndWhatItHears) {
    listen();
    logind.emit({"PrepareForShutdown"});
    events.waitFor(1);
    source->stop();
    using Line = fakes::RecordingLogSink::Line;
    EXPECT_THAT(log->lines(), ElementsAre(Line{4, "LogindPowerSource", "listen", "Listening for power events"},
                                          Line{4, "LogindPowerSource", "onSignal", "Power event [3]"}));
}

TEST_F(LogindPowerSource, ReportsOnAThreadOfItsOwn) {
    std::promise<std::thread::id> reportedOn;
    listenWith([&](auto) { reportedOn.set_value(std::this_thread::get_id()); });
    logind.emit({"PrepareForSleep"});
    EXPECT_NE(reportedOn.get_future().get(), std::this_thread::get_id());
}

TEST_P(SignalThatResemblesLogindS, IsIgnored) {
    listen();
    logind.emit(GetParam().signal);
    EXPECT_THAT(eventsUpToASleep(), ElementsAre(1));
}

INSTANTIATE_TEST_SUITE_P(
    All, SignalThatResemblesLogindS,
    testing::Values(
        OddSignal{"OfAnotherName", {"PrepareForNothing"}},
        OddSignal{"OfAnotherObject", {"PrepareForShutdown", true, "/org/freedesktop/login1/seat/seat0"}},
        OddSignal{"OfAnotherInterface",
                  {"PrepareForShutdown", true, "/org/freedesktop/login1", "org.freedesktop.login1.Session"}},
        OddSignal{"WithoutAnArgument",
                  {"PrepareForShutdown", true, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", ""}},
        OddSignal{"WithAText",
                  {"PrepareForShutdown", true, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "s"}},
        OddSignal{"WithANumber",
                  {"PrepareForSleep", true, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "i"}},
        OddSignal{"WithOneArgumentMore",
                  {"PrepareForSleep", true, "/org/freedesktop/login1", "org.freedesktop.login1.Manager", "bb"}}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(LogindPowerSource, IgnoresWhatSomebodyElseTellsEverybody) {
    listen();
    BusClient forger(bus.address());
    forger.emit({"PrepareForShutdown"});
    EXPECT_THAT(eventsUpToASleep(), ElementsAre(1));
}

TEST_F(LogindPowerSource, IgnoresWhatSomebodyElseTellsItAlone) {
    listen();
    const std::string listener = logind.theOtherOne();
    BusClient forger(bus.address());
    LogindSignal forged{"PrepareForShutdown"};
    forged.destination = listener;
    forger.emit(forged);
    EXPECT_THAT(eventsUpToASleep(), ElementsAre(1));
}

TEST_F(LogindPowerSource, IgnoresTheFormerOwnerOfTheName) {
    listen();
    logind.release(BusClient::LOGIND);
    BusClient successor(bus.address());
    successor.own(BusClient::LOGIND);
    logind.emit({"PrepareForShutdown"});
    successor.emit({"PrepareForSleep", false});
    EXPECT_THAT(events.waitFor(1), ElementsAre(2));
}

TEST_F(LogindPowerSource, HearsALoginManagerThatComesLater) {
    logind.release(BusClient::LOGIND);
    listen();
    logind.own(BusClient::LOGIND);
    EXPECT_THAT(eventsUpToASleep(), ElementsAre(1));
}

TEST_F(LogindPowerSource, GoesOnWhenAReportThrows) {
    listenWith([this](auto type) {
        events.recorder()(type);
        throw std::runtime_error("out of order");
    });
    logind.emit({"PrepareForSleep"});
    logind.emit({"PrepareForShutdown"});
    EXPECT_THAT(events.waitFor(2), ElementsAre(1, 3));
    source->stop();
    EXPECT_THAT(log->texts(2), ElementsAre("Task [report of power event 1] threw: out of order",
                                           "Task [report of power event 3] threw: out of order"));
}

TEST_F(LogindPowerSource, SharesTheBusWithAnother) {
    listen();
    PowerEvents others;
    log->clear();
    const TesselSystemMonitor::LogindPowerSource other(others.recorder(), bus.address());
    log->waitFor("Listening for power events");
    logind.emit({"PrepareForShutdown"});
    EXPECT_THAT(events.waitFor(1), ElementsAre(3));
    EXPECT_THAT(others.waitFor(1), ElementsAre(3));
}

TEST_F(LogindPowerSource, ListensOnTheMachinesOwnBusUnlessItIsToldAnother) {
    const char* const former = std::getenv("DBUS_SYSTEM_BUS_ADDRESS");
    const std::string kept = former == nullptr ? "" : former;
    setenv("DBUS_SYSTEM_BUS_ADDRESS", bus.address().c_str(), 1);
    source = std::make_unique<TesselSystemMonitor::LogindPowerSource>(events.recorder());
    log->waitFor("Listening for power events");
    logind.emit({"PrepareForShutdown"});
    EXPECT_THAT(events.waitFor(1), ElementsAre(3));
    source->stop();
    setenv("DBUS_SYSTEM_BUS_ADDRESS", kept.c_str(), 1);
}
