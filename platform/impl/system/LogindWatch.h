#pragma once

#include <systemd/sd-bus.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>

#include "impl/quill/FileDescriptor.h"
#include "system/SystemMonitor.h"

namespace TesselSystemMonitor {

/// One connection to a bus, from its opening to its end, and the delay lock that goes with it: as long as logind's
/// descriptor is open here, a shutdown that has been announced waits. All of it on one thread.
class LogindWatch {
public:
    using Report = std::function<void(PowerEventTypeEnum::PowerEventType)>;

    /// @param report must not throw: it is called through libsystemd, which is C.
    /// @param stopEvent becomes readable when stopping turns true.
    LogindWatch(Report report, int stopEvent, const std::atomic<bool>& stopping);

    LogindWatch(const LogindWatch&) = delete;
    LogindWatch& operator=(const LogindWatch&) = delete;

    /// Connects, listens and reports until it is told to stop, or until the bus refuses or goes away.
    /// @param busAddress empty: the machine's own system bus.
    /// @return 0 when told to stop, else the negative errno.
    int run(const std::string& busAddress);

    /// Whether the bus has ever taken the watch.
    bool hasListened() const { return rulesTaken_ == RULES; }

private:
    static constexpr int RULES = 2;

    int connect(const std::string& busAddress);
    int listenTo(const char* signal, sd_bus_message_handler_t handler);
    int askForDelay();
    void takeDelay(sd_bus_message* answer);
    void letGoOfDelay();
    int serve();
    int wait();
    void tell(PowerEventTypeEnum::PowerEventType type);

    // Called by libsystemd, with this object.
    static int onRuleAnswered(sd_bus_message* answer, void* watch, sd_bus_error* error);
    static int onDelayAnswered(sd_bus_message* answer, void* watch, sd_bus_error* error);
    static int onPrepareForShutdown(sd_bus_message* signal, void* watch, sd_bus_error* error);
    static int onPrepareForSleep(sd_bus_message* signal, void* watch, sd_bus_error* error);

    const Report report_;
    const int stopEvent_;
    const std::atomic<bool>& stopping_;
    int rulesTaken_ = 0;
    int refusal_ = 0;                                        ///< negative errno
    std::unique_ptr<QuillCoreUtils::FileDescriptor> delay_;  ///< null while no shutdown is held up
    bool isPoweringDown_ = false;
    std::unique_ptr<sd_bus, sd_bus* (*)(sd_bus*)> bus_{nullptr, sd_bus_close_unref};
};

}  // namespace TesselSystemMonitor
