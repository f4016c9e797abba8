#pragma once

#include <memory>

namespace TesselSystemMonitor {

namespace PowerEventTypeEnum {
/// What the machine is about to do, or has done. A monitor may report numbers beyond these; they mean nothing here.
enum PowerEventType : int {
    None = 0,
    Sleep = 1,               ///< the machine is about to sleep
    Resume = 2,              ///< the machine has woken up
    PowerDown = 3,           ///< the machine is about to power down
    PowerDownCalledOff = 4,  ///< the machine goes on, although a power down was told
};
}  // namespace PowerEventTypeEnum

/// Told of power events, on a thread of the host's: by a reference host of a power down, and of one that is called off,
/// on its dispatcher thread.
class PowerEventObserver {
public:
    /// A machine that powers down may be waiting for the return of this call.
    virtual void onPowerEvent(PowerEventTypeEnum::PowerEventType type) = 0;

protected:
    ~PowerEventObserver() = default;
};

/// Watches the machine's power state. Any thread.
class SystemMonitor {
public:
    virtual ~SystemMonitor() = default;

    /// Observers are held weakly; the same observer counts once.
    virtual void addPowerEventObserver(std::weak_ptr<PowerEventObserver> observer) = 0;

    /// One that is not registered is no error.
    virtual void removePowerEventObserver(std::weak_ptr<PowerEventObserver> observer) = 0;
};

/// Where modules find the monitor.
class SystemMonitorFactory {
public:
    /// The monitor of the host's World; one that never reports anything if the world has none. Never null. Any thread.
    static std::shared_ptr<SystemMonitor> getInstance();
};

}  // namespace TesselSystemMonitor
