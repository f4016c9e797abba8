#include "ConfigAdapter.h"

namespace {

std::shared_ptr<ResetDataProvider> resetDataProvider(const std::shared_ptr<SystemService>& service) {
    return service == nullptr ? nullptr : service->getResetDataProvider();
}

}  // namespace

void ConfigAdapter::registerResetDataCallback() {
    const auto service = findSystemService("registerResetDataCallback", "the reset data callback is not registered");
    if (const auto provider = resetDataProvider(service)) {
        provider->registerResetDataCallback(shared_from_this());
    }
}

void ConfigAdapter::unRegisterResetDataCallback() {
    const auto service = findSystemService("unRegisterResetDataCallback", "the reset data callback is not removed");
    if (const auto provider = resetDataProvider(service)) {
        provider->removeResetDataCallback(shared_from_this());
    }
}

void ConfigAdapter::InvokeResetData() {
    // What a reset spares and what it deletes comes with the data reset itself; until then nothing is deleted.
}

void ConfigAdapter::onPowerEvent(TesselSystemMonitor::PowerEventTypeEnum::PowerEventType type) {
    if (type == TesselSystemMonitor::PowerEventTypeEnum::PowerDown) {
        TesselLog(logger(), 4, __FILE__, __LINE__, "onPowerEvent",
                  std::string("Config adapter received a power down event. Calling destroy on configAdapter"));
        Destroy();
    }
}
