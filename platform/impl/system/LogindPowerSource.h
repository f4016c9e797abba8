#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "impl/quill/FileDescriptor.h"
#include "system/SystemMonitor.h"

namespace TesselSystemMonitor {

/// Hears on the system bus what the machine's login manager (logind) announces, on a thread of its own, from
/// construction to stop().
///
/// `PrepareForShutdown(true)` is a power down, and `false` after it one that is called off; `PrepareForSleep` is a
/// sleep (true) or a resume (false). What is announced twice in a row counts once, and a `false` that follows
/// no `true` is nothing. Only what the owner of the name "org.freedesktop.login1" tells everybody counts.
///
/// From the start on a delay lock is held, so that a shutdown waits until the report of it has returned; logind's own
/// limit (five seconds, usually) holds all the same. Where logind gives none, a level 4 line says why, and the reports
/// come as ever. A sleep is not held up. When a shutdown is called off, a lock is asked for anew, before that is
/// reported.
///
/// A machine without a bus, or a bus that refuses, costs one level 3 line, and so does a bus that goes away later:
/// nothing is reported from then on, and nothing is tried again.
class LogindPowerSource {
public:
    using Report = std::function<void(PowerEventTypeEnum::PowerEventType)>;

    /// Returns at once; "Listening for power events" at level 4 says when nothing is missed any more.
    /// @param report told of each event, on the thread of this object, with no lock held. What it throws is logged at
    ///        level 2, and the next event is told all the same. While it runs, later events wait.
    /// @param busAddress as D-Bus writes addresses ("unix:path=..."); empty: the machine's own system bus.
    explicit LogindPowerSource(Report report, std::string busAddress = {});

    /// Stops.
    ~LogindPowerSource();

    LogindPowerSource(const LogindPowerSource&) = delete;
    LogindPowerSource& operator=(const LogindPowerSource&) = delete;

    /// Nothing is reported any more when this returns. Waits for a report that is under way, and for nothing on the
    /// bus. One thread at a time, and not from a report. Does nothing the second time.
    void stop();

private:
    void run();

    const Report report_;
    const std::string busAddress_;
    const QuillCoreUtils::FileDescriptor stopEvent_;
    std::atomic<bool> stopping_ = false;
    std::thread thread_;  ///< last: it uses all of the above
};

}  // namespace TesselSystemMonitor
