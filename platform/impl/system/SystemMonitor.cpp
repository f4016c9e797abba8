#include "system/SystemMonitor.h"

#include "system/World.h"

namespace TesselSystemMonitor {

namespace {

/// The monitor of a host that watches nothing.
class QuietMonitor : public SystemMonitor {
public:
    void addPowerEventObserver(std::weak_ptr<PowerEventObserver>) override {}
    void removePowerEventObserver(std::weak_ptr<PowerEventObserver>) override {}
};

}  // namespace

std::shared_ptr<SystemMonitor> SystemMonitorFactory::getInstance() {
    if (std::shared_ptr<SystemMonitor> monitor = platform::getWorld()->systemMonitor) {
        return monitor;
    }
    return std::make_shared<QuietMonitor>();
}

}  // namespace TesselSystemMonitor
