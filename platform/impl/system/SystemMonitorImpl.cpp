#include "impl/system/SystemMonitorImpl.h"

#include <algorithm>

#include "impl/unified/TaskGuard.h"
#include "impl/unified/WeakObservers.h"
#include "tessel/TesselLogger.h"

namespace TesselSystemMonitor {

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("SystemMonitor");
    return instance;
}

}  // namespace

void SystemMonitorImpl::addPowerEventObserver(std::weak_ptr<PowerEventObserver> observer) {
    const std::shared_ptr<PowerEventObserver> added = observer.lock();
    std::vector<std::shared_ptr<PowerEventObserver>> outlivesLock;
    const tessel::ScopedLock lock(mutex_);
    outlivesLock = platform::addAlive(observers_, added);
}

void SystemMonitorImpl::removePowerEventObserver(std::weak_ptr<PowerEventObserver> observer) {
    const std::shared_ptr<PowerEventObserver> removed = observer.lock();
    std::vector<std::shared_ptr<PowerEventObserver>> outlivesLock;
    const tessel::ScopedLock lock(mutex_);
    outlivesLock = platform::removeAlive(observers_, removed);
}

void SystemMonitorImpl::report(PowerEventTypeEnum::PowerEventType type) {
    std::vector<std::weak_ptr<PowerEventObserver>> observers;
    {
        const tessel::ScopedLock lock(mutex_);
        observers = observers_;
    }
    for (const std::weak_ptr<PowerEventObserver>& observer : observers) {
        // Locked one by one: an observer whose last reference an earlier one drops is not kept alive for its turn.
        const std::shared_ptr<PowerEventObserver> alive = observer.lock();
        if (alive != nullptr && isRegistered(alive)) {
            platform::runGuarded(logger(), "onPowerEvent", [&] { alive->onPowerEvent(type); });
        }
    }
}

bool SystemMonitorImpl::isRegistered(const std::shared_ptr<PowerEventObserver>& observer) {
    const tessel::ScopedLock lock(mutex_);
    return std::any_of(observers_.begin(), observers_.end(), [&](const std::weak_ptr<PowerEventObserver>& registered) {
        // The caller holds a reference, so equal control blocks mean an observer that is alive.
        return !registered.owner_before(observer) && !observer.owner_before(registered);
    });
}

}  // namespace TesselSystemMonitor
