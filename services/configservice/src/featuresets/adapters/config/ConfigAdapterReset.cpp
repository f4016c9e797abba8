#include "ConfigAdapter.h"

std::shared_ptr<ResetDataProvider> ConfigAdapter::findResetDataProvider(const char* function,
                                                                        const std::string& consequence) {
    const std::shared_ptr<SystemService> service = findSystemService(function, consequence);
    std::shared_ptr<ResetDataProvider> provider = service == nullptr ? nullptr : service->getResetDataProvider();
    if (service != nullptr && provider == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, function, "No reset data provider: " + consequence);
    }
    return provider;
}

void ConfigAdapter::registerResetDataCallback() {
    const auto provider =
        findResetDataProvider("registerResetDataCallback", "the reset data callback is not registered");
    if (provider == nullptr) {
        // The flag stays down, so that the next start tries again.
        return;
    }
    provider->registerResetDataCallback(shared_from_this());
    resetDataCallbackRegistered_.store(true, std::memory_order_relaxed);
}

void ConfigAdapter::unRegisterResetDataCallback() {
    const auto provider =
        findResetDataProvider("unRegisterResetDataCallback", "the reset data callback is not removed");
    if (provider != nullptr) {
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
