#include "impl/system/LogindWatch.h"

#include <fcntl.h>
#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <optional>
#include <system_error>
#include <utility>

#include "tessel/TesselLogger.h"

using namespace TesselSystemMonitor::PowerEventTypeEnum;

namespace TesselSystemMonitor {

namespace {

constexpr const char* LOGIND_NAME = "org.freedesktop.login1";
constexpr const char* LOGIND_PATH = "/org/freedesktop/login1";
constexpr const char* LOGIND_INTERFACE = "org.freedesktop.login1.Manager";

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("LogindPowerSource");
    return instance;
}

void logAtFour(const char* function, const std::string& text) {
    TesselLog(logger(), 4, __FILE__, __LINE__, function, text);
}

void logThatNothingWaits(int error) {
    logAtFour("onDelayAnswered",
              "A shutdown does not wait for this program: " + std::generic_category().message(error));
}

/// What a signal says: whether it begins (true) or is over (false). Nothing if it is not logind's.
std::optional<bool> announced(sd_bus_message* signal) {
    // What is sent to everybody reaches this process by its rules alone, and so from the name's owner. A signal that
    // is addressed to one process passes the bus without them, and libsystemd does not look at its sender.
    if (sd_bus_message_get_destination(signal) != nullptr || sd_bus_message_has_signature(signal, "b") <= 0) {
        return std::nullopt;
    }
    int begins = 0;
    if (sd_bus_message_read_basic(signal, SD_BUS_TYPE_BOOLEAN, &begins) <= 0) {
        return std::nullopt;
    }
    return begins != 0;
}

/// How long until a moment of the monotonic clock, in microseconds.
timespec timeUntil(std::uint64_t moment) {
    using namespace std::chrono;
    const nanoseconds left = microseconds(moment) - steady_clock::now().time_since_epoch();
    if (left <= nanoseconds::zero()) {
        return {0, 0};
    }
    const seconds whole = duration_cast<seconds>(left);
    return {whole.count(), (left - whole).count()};
}

}  // namespace

LogindWatch::LogindWatch(Report report, int stopEvent, const std::atomic<bool>& stopping)
    : report_(std::move(report)), stopEvent_(stopEvent), stopping_(stopping) {}

int LogindWatch::run(const std::string& busAddress) {
    int result = connect(busAddress);
    if (result >= 0) {
        result = listenTo("PrepareForShutdown", onPrepareForShutdown);
    }
    if (result >= 0) {
        result = listenTo("PrepareForSleep", onPrepareForSleep);
    }
    if (result >= 0) {
        result = askForDelay();
    }
    if (result >= 0) {
        result = serve();
    }
    letGoOfDelay();
    return result;
}

int LogindWatch::connect(const std::string& busAddress) {
    sd_bus* bus = nullptr;
    if (busAddress.empty()) {
        const int result = sd_bus_open_system(&bus);
        bus_.reset(bus);
        return result;
    }
    int result = sd_bus_new(&bus);
    bus_.reset(bus);
    if (result >= 0) {
        result = sd_bus_set_address(bus, busAddress.c_str());
    }
    if (result >= 0) {
        result = sd_bus_set_bus_client(bus, 1);
    }
    return result < 0 ? result : sd_bus_start(bus);
}

int LogindWatch::listenTo(const char* signal, sd_bus_message_handler_t handler) {
    // Without waiting for the answer, since a bus that does not answer must not hold up the end.
    return sd_bus_match_signal_async(bus_.get(), nullptr, LOGIND_NAME, LOGIND_PATH, LOGIND_INTERFACE, signal, handler,
                                     onRuleAnswered, this);
}

int LogindWatch::askForDelay() {
    return sd_bus_call_method_async(bus_.get(), nullptr, LOGIND_NAME, LOGIND_PATH, LOGIND_INTERFACE, "Inhibit",
                                    onDelayAnswered, this, "ssss", "shutdown", "Corvid",
                                    "What was set is being written to the disk", "delay");
}

void LogindWatch::takeDelay(sd_bus_message* answer) {
    int lent = -1;
    // The message closes the descriptor that came with it.
    if (sd_bus_message_read_basic(answer, SD_BUS_TYPE_UNIX_FD, &lent) <= 0) {
        logThatNothingWaits(EBADMSG);
        return;
    }
    auto kept = std::make_unique<QuillCoreUtils::FileDescriptor>(fcntl(lent, F_DUPFD_CLOEXEC, 0));
    if (!kept->isOpen()) {
        logThatNothingWaits(errno);
    } else if (!isPoweringDown_) {
        delay_ = std::move(kept);
        logAtFour("onDelayAnswered", "A shutdown waits until everything is on disk");
    }
}

void LogindWatch::letGoOfDelay() { delay_.reset(); }

int LogindWatch::serve() {
    while (!stopping_.load(std::memory_order_acquire)) {
        int result = sd_bus_process(bus_.get(), nullptr);
        if (result >= 0 && refusal_ < 0) {
            result = refusal_;
        }
        if (result == 0) {
            result = wait();
        }
        if (result < 0) {
            return result;
        }
    }
    return 0;
}

int LogindWatch::wait() {
    const int descriptor = sd_bus_get_fd(bus_.get());
    const int events = sd_bus_get_events(bus_.get());
    std::uint64_t moment = 0;
    const int timed = sd_bus_get_timeout(bus_.get(), &moment);
    for (const int result : {descriptor, events, timed}) {
        if (result < 0) {
            return result;
        }
    }
    const bool isLimited = moment != UINT64_MAX;
    const timespec limit = isLimited ? timeUntil(moment) : timespec{};
    pollfd polled[] = {{descriptor, static_cast<short>(events), 0}, {stopEvent_, POLLIN, 0}};
    const int ready = ppoll(polled, 2, isLimited ? &limit : nullptr, nullptr);
    return ready < 0 && errno != EINTR ? -errno : 0;
}

void LogindWatch::tell(PowerEventType type) {
    logAtFour("onSignal", "Power event [" + std::to_string(type) + "]");
    report_(type);
}

int LogindWatch::onRuleAnswered(sd_bus_message* answer, void* watch, sd_bus_error* /*error*/) {
    LogindWatch& self = *static_cast<LogindWatch*>(watch);
    if (sd_bus_message_is_method_error(answer, nullptr) > 0) {
        // A connection that ends answers what is still open by itself; the reason comes with its end.
        if (sd_bus_is_open(self.bus_.get()) > 0) {
            self.refusal_ = -sd_bus_message_get_errno(answer);
        }
    } else if (++self.rulesTaken_ == RULES) {
        logAtFour("listen", "Listening for power events");
    }
    return 0;
}

int LogindWatch::onDelayAnswered(sd_bus_message* answer, void* watch, sd_bus_error* /*error*/) {
    LogindWatch& self = *static_cast<LogindWatch*>(watch);
    if (sd_bus_message_is_method_error(answer, nullptr) <= 0) {
        self.takeDelay(answer);
    } else if (sd_bus_is_open(self.bus_.get()) > 0) {
        logThatNothingWaits(sd_bus_message_get_errno(answer));
    }
    return 0;
}

int LogindWatch::onPrepareForShutdown(sd_bus_message* signal, void* watch, sd_bus_error* /*error*/) {
    LogindWatch& self = *static_cast<LogindWatch*>(watch);
    const std::optional<bool> begins = announced(signal);
    if (!begins || *begins == self.isPoweringDown_) {
        return 0;
    }
    self.isPoweringDown_ = *begins;
    if (*begins) {
        self.tell(PowerDown);
        self.letGoOfDelay();
        return 0;
    }
    // First, since the next shutdown may follow at once, and whatever is reported takes its time.
    const int asked = self.askForDelay();
    self.tell(PowerDownCalledOff);
    return std::min(asked, 0);
}

int LogindWatch::onPrepareForSleep(sd_bus_message* signal, void* watch, sd_bus_error* /*error*/) {
    if (const std::optional<bool> begins = announced(signal)) {
        static_cast<LogindWatch*>(watch)->tell(*begins ? Sleep : Resume);
    }
    return 0;
}

}  // namespace TesselSystemMonitor
