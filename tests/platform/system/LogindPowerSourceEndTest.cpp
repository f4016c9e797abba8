#include <sys/socket.h>
#include <sys/un.h>

#include <atomic>
#include <cstring>
#include <future>
#include <thread>

#include "PowerListener.h"
#include "impl/quill/FileDescriptor.h"

using testing::ElementsAre;
using testing::IsEmpty;
using Source = TesselSystemMonitor::LogindPowerSource;

namespace {

class LogindPowerSourceEnd : public PowerListener {};

/// A source on a bus that is not as it should be.
class LogindPowerSourceWithoutABus : public ::testing::Test {
protected:
    /// All that a source logs until it has given up, as "LEVEL LOGGER FUNCTION: TEXT".
    std::vector<std::string> linesOfListeningTo(const std::string& address) {
        Source source(events.recorder(), address);
        log->waitForLines(1);
        source.stop();
        std::vector<std::string> lines;
        for (const auto& line : log->lines()) {
            lines.push_back(std::to_string(line.level) + " " + line.logger + " " + line.function + ": " + line.text);
        }
        return lines;
    }

    fakes::ScopedRecordingLog log;
    PowerEvents events;
    const fakes::TemporaryDirectory directory;
};

/// A socket that takes connections into its queue and never answers one.
QuillCoreUtils::FileDescriptor silentSocket(const std::string& path) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, path.c_str(), sizeof address.sun_path - 1);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    bind(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    listen(descriptor, 1);
    return QuillCoreUtils::FileDescriptor(descriptor);
}

}  // namespace

TEST_F(LogindPowerSourceEnd, ReportsNothingAfterIt) {
    listen();
    source->stop();
    logind.emit({"PrepareForShutdown"});
    source.reset();
    EXPECT_THAT(events.numbers(), IsEmpty());
}

TEST_F(LogindPowerSourceEnd, LogsNothing) {
    listen();
    source->stop();
    EXPECT_THAT(log->texts(4), ElementsAre("Listening for power events"));
    EXPECT_EQ(log->lines().size(), 1U);
}

TEST_F(LogindPowerSourceEnd, ComesTwice) {
    listen();
    source->stop();
    source->stop();
    EXPECT_THAT(events.numbers(), IsEmpty());
}

TEST_F(LogindPowerSourceEnd, ComesBeforeTheBeginning) {
    for (int i = 0; i < 20; ++i) {
        Source(events.recorder(), bus.address()).stop();
    }
    EXPECT_THAT(log->texts(3), IsEmpty());
}

TEST_F(LogindPowerSourceEnd, IsFollowedByAnotherSource) {
    listen();
    source->stop();
    log->clear();
    listen();
    EXPECT_THAT(eventsUpToASleep(), ElementsAre(1));
}

TEST_F(LogindPowerSourceEnd, WaitsForTheReportThatIsUnderWay) {
    std::promise<void> entered;
    std::promise<void> goOn;
    std::atomic<bool> reported = false;
    listenWith([&](auto) {
        entered.set_value();
        goOn.get_future().wait();
        reported = true;
    });
    logind.emit({"PrepareForShutdown"});
    entered.get_future().wait();
    std::promise<void> stopping;
    std::thread stopper([&] {
        stopping.set_value();
        source->stop();
        EXPECT_TRUE(reported);
    });
    stopping.get_future().wait();
    goOn.set_value();
    stopper.join();
}

TEST_F(LogindPowerSourceEnd, ComesWithOneLineWhenTheBusGoesAway) {
    listen();
    bus.stop();
    log->waitForLines(2);
    source->stop();
    EXPECT_THAT(log->texts(3), ElementsAre("Power events are watched no more: Connection reset by peer"));
    EXPECT_THAT(events.numbers(), IsEmpty());
}

TEST_F(LogindPowerSourceEnd, ComesWhileTheBusGoesAway) {
    listen();
    std::thread stopper([this] { bus.stop(); });
    source->stop();
    stopper.join();
    EXPECT_LE(log->texts(3).size(), 1U);
}

TEST_F(LogindPowerSourceWithoutABus, SaysThatThereIsNone) {
    EXPECT_THAT(linesOfListeningTo("unix:path=" + directory.path("bus")),
                ElementsAre("3 LogindPowerSource run: Power events are not watched: No such file or directory"));
}

TEST_F(LogindPowerSourceWithoutABus, SaysThatNobodyListens) {
    { const auto socket = silentSocket(directory.path("bus")); }
    EXPECT_THAT(linesOfListeningTo("unix:path=" + directory.path("bus")),
                ElementsAre("3 LogindPowerSource run: Power events are not watched: Connection refused"));
}

TEST_F(LogindPowerSourceWithoutABus, SaysThatTheAddressIsNone) {
    EXPECT_THAT(linesOfListeningTo("somewhere"),
                ElementsAre("3 LogindPowerSource run: Power events are not watched: Connection refused"));
}

TEST_F(LogindPowerSourceWithoutABus, SaysThatTheBusRefusesTheConnection) {
    const support::PrivateBus bus("<deny user=\"*\"/>");
    EXPECT_THAT(linesOfListeningTo(bus.address()),
                ElementsAre("3 LogindPowerSource run: Power events are not watched: Connection reset by peer"));
}

TEST_F(LogindPowerSourceWithoutABus, SaysThatTheBusRefusesTheRules) {
    const support::PrivateBus bus("<deny send_interface=\"org.freedesktop.DBus\" send_member=\"AddMatch\"/>");
    EXPECT_THAT(linesOfListeningTo(bus.address()),
                ElementsAre("3 LogindPowerSource run: Power events are not watched: Permission denied"));
}

TEST_F(LogindPowerSourceWithoutABus, EndsAtOnceWhileTheBusIsSilent) {
    const auto socket = silentSocket(directory.path("bus"));
    Source source(events.recorder(), "unix:path=" + directory.path("bus"));
    source.stop();
    EXPECT_THAT(log->lines(), IsEmpty());
}
