#pragma once

#include <memory>
#include <vector>

#include "system/SystemMonitor.h"
#include "tessel/Mutex.h"

namespace TesselSystemMonitor {

/// Passes on the power events that it is told of. Any thread.
class SystemMonitorImpl : public SystemMonitor {
public:
    void addPowerEventObserver(std::weak_ptr<PowerEventObserver> observer) override;
    void removePowerEventObserver(std::weak_ptr<PowerEventObserver> observer) override;

    /// Tells every observer that is alive, in the order of registration, on the calling thread and with no lock held;
    /// returns when all have been told. One that is removed while a report is under way is told no more, unless its
    /// turn has come already. What one throws is logged at level 2, and the others are told all the same.
    void report(PowerEventTypeEnum::PowerEventType type);

private:
    bool isRegistered(const std::shared_ptr<PowerEventObserver>& observer);

    tessel::Mutex mutex_;
    std::vector<std::weak_ptr<PowerEventObserver>> observers_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace TesselSystemMonitor
