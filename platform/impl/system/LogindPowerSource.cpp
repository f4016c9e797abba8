#include "impl/system/LogindPowerSource.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>
#include <utility>

#include "impl/system/LogindWatch.h"
#include "impl/unified/TaskGuard.h"
#include "tessel/TesselLogger.h"

namespace TesselSystemMonitor {

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("LogindPowerSource");
    return instance;
}

void warn(const std::string& what, int error) {
    TesselLog(logger(), 3, __FILE__, __LINE__, "run", what + ": " + std::generic_category().message(error));
}

constexpr const char* NOT_WATCHED = "Power events are not watched";
constexpr const char* NO_MORE_WATCHED = "Power events are watched no more";

}  // namespace

LogindPowerSource::LogindPowerSource(Report report, std::string busAddress)
    : report_(std::move(report)), busAddress_(std::move(busAddress)), stopEvent_(eventfd(0, EFD_CLOEXEC)) {
    if (!stopEvent_.isOpen()) {
        warn(NOT_WATCHED, errno);
        return;
    }
    thread_ = std::thread([this] { run(); });
}

LogindPowerSource::~LogindPowerSource() { stop(); }

void LogindPowerSource::stop() {
    if (!thread_.joinable()) {
        return;
    }
    stopping_.store(true, std::memory_order_release);
    eventfd_write(stopEvent_.get(), 1);
    thread_.join();
}

void LogindPowerSource::run() {
    const auto guarded = [this](PowerEventTypeEnum::PowerEventType type) {
        platform::runGuarded(logger(), "report of power event " + std::to_string(type), [&] { report_(type); });
    };
    LogindWatch watch(guarded, stopEvent_.get(), stopping_);
    const int result = watch.run(busAddress_);
    if (result < 0) {
        warn(watch.hasListened() ? NO_MORE_WATCHED : NOT_WATCHED, -result);
    }
}

}  // namespace TesselSystemMonitor
