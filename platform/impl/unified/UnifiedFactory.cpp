#include "unified/UnifiedFactory.h"

#include <utility>

UnifiedFactory::UnifiedFactory(std::shared_ptr<ServicesDispatcher> servicesDispatcher,
                               std::shared_ptr<Processing::TaskDispatcher> taskDispatcher,
                               std::shared_ptr<ModuleLoader> moduleLoader)
    : servicesDispatcher_(std::move(servicesDispatcher)),
      taskDispatcher_(std::move(taskDispatcher)),
      moduleLoader_(std::move(moduleLoader)) {}

UnifiedFactory::~UnifiedFactory() { clear(); }

bool UnifiedFactory::hasService(unsigned number) const {
    const tessel::ScopedLock lock(mutex_);
    return services_.hasNumber(number);
}

std::shared_ptr<FeatureSetAdapter> UnifiedFactory::getFeatureSetAdapter(unsigned number) const {
    const tessel::ScopedLock lock(mutex_);
    const auto found = adapters_.find(number);
    return found == adapters_.end() ? nullptr : found->second;
}

void UnifiedFactory::clear() {
    {
        std::map<unsigned, std::shared_ptr<FeatureSetAdapter>> adapters;
        TypeMap featureSets;
        const tessel::ScopedLock lock(mutex_);
        std::swap(adapters, adapters_);
        std::swap(featureSets, featureSets_);
    }
    TypeMap services;
    const tessel::ScopedLock lock(mutex_);
    std::swap(services, services_);
}

bool UnifiedFactory::loadService(const std::string& typeName) {
    // A factory that is being destroyed can no longer be shared with a module, and loads none.
    const std::shared_ptr<UnifiedFactory> self = weak_from_this().lock();
    if (moduleLoader_ == nullptr || self == nullptr) {
        return false;
    }
    {
        const tessel::ScopedLock lock(mutex_);
        if (!servicesLoaded_.insert(typeName).second) {
            return false;
        }
    }
    try {
        moduleLoader_->loadService(typeName, self);
    } catch (...) {
        const tessel::ScopedLock lock(mutex_);
        servicesLoaded_.erase(typeName);
        throw;
    }
    return true;
}

bool UnifiedFactory::loadFeatureSet(const std::string& typeName) {
    const std::shared_ptr<UnifiedFactory> self = weak_from_this().lock();
    if (moduleLoader_ == nullptr || self == nullptr) {
        return false;
    }
    {
        const tessel::ScopedLock lock(mutex_);
        if (!featureSetsLoaded_.insert(typeName).second) {
            return false;
        }
    }
    try {
        moduleLoader_->loadFeatureSet(typeName, self);
    } catch (...) {
        const tessel::ScopedLock lock(mutex_);
        featureSetsLoaded_.erase(typeName);
        throw;
    }
    return true;
}
