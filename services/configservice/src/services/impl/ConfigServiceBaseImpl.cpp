#include "ConfigServiceBaseImpl.h"

#include "ConfigServiceNotifiersImpl.h"

const char* const ConfigServiceBaseImpl::className = "ConfigServiceBaseImpl";

ConfigServiceBaseImpl::ConfigServiceBaseImpl(const std::shared_ptr<UnifiedFactory>& factory)
    : UnifiedServiceImpl(factory, className) {}

ConfigServiceBaseImpl::ConfigServiceBaseImpl(const std::shared_ptr<UnifiedFactory>& factory, bool checksAccess)
    : UnifiedServiceImpl(factory, checksAccess, className) {}

TesselLogger* ConfigServiceBaseImpl::logger() {
    static TesselLogger* const logger = TesselLogger_getLogger("ConfigService-Base-Impl");
    return logger;
}

void ConfigServiceBaseImpl::initNotifiers() {
    if (notifiers_ != nullptr) {
        return;
    }
    const auto notifiers = std::make_shared<ConfigServiceNotifiersImpl>();
    notifiers_ = notifiers;
    addObserver(std::weak_ptr<ConfigServiceObserver>(notifiers));
}

bool ConfigServiceBaseImpl::getConfigReady() const {
    EnsureUpdateAccess(true);
    return configReady_;
}

void ConfigServiceBaseImpl::setConfigReady(bool configReady) {
    EnsureUpdateAccess(true);
    configReady_ = configReady;
}

void ConfigServiceBaseImpl::addObserver(std::weak_ptr<ConfigServiceObserver> observer) {
    UnifiedBusinessObjectImpl::addObserver(observer);
}

void ConfigServiceBaseImpl::removeObserver(std::weak_ptr<ConfigServiceObserver> observer) {
    UnifiedBusinessObjectImpl::removeObserver(observer);
}

std::shared_ptr<ConfigServiceNotifiers> ConfigServiceBaseImpl::getConfigServiceNotifiers() {
    initNotifiers();
    return std::dynamic_pointer_cast<ConfigServiceNotifiers>(notifiers_);
}

void ConfigServiceBaseImpl::fireConfigReady() {
    EnsureUpdateAccess(true);
    for (const auto& observer : lockObservers()) {
        if (auto* const serviceObserver = dynamic_cast<ConfigServiceObserver*>(observer.get())) {
            serviceObserver->OnConfigReadyChanged();
        }
    }
}
