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
    return load(serviceLoads_, &ModuleLoader::loadService, typeName);
}

bool UnifiedFactory::loadFeatureSet(const std::string& typeName) {
    return load(featureSetLoads_, &ModuleLoader::loadFeatureSet, typeName);
}

bool UnifiedFactory::load(Loads& loads, LoaderOperation operation, const std::string& typeName) {
    // A factory that is being destroyed can no longer be shared with a module, and loads none.
    const std::shared_ptr<UnifiedFactory> self = weak_from_this().lock();
    if (moduleLoader_ == nullptr || self == nullptr) {
        return false;
    }
    std::uint64_t begun = 0;
    {
        const tessel::ScopedLock lock(mutex_);
        if (!loads.try_emplace(typeName, 0).second) {
            return false;
        }
        begun = ++loadSteps_;
    }
    try {
        (moduleLoader_.get()->*operation)(typeName, self);
    } catch (...) {
        forgetLoad(loads, typeName, begun);
        throw;
    }
    endLoad(loads, typeName, begun);
    return true;
}

void UnifiedFactory::endLoad(Loads& loads, const std::string& typeName, std::uint64_t begun) {
    const tessel::ScopedLock lock(mutex_);
    if (lastThrow_ > begun) {
        loads.erase(typeName);
    } else {
        loads[typeName] = ++loadSteps_;
    }
}

void UnifiedFactory::forgetLoad(Loads& loads, const std::string& typeName, std::uint64_t begun) {
    // Until a module throws half-way, it and others may have asked for types that it would have brought itself.
    const auto isForgotten = [begun](const Loads::value_type& load) { return load.second > begun; };
    const tessel::ScopedLock lock(mutex_);
    lastThrow_ = ++loadSteps_;
    loads.erase(typeName);
    std::erase_if(serviceLoads_, isForgotten);
    std::erase_if(featureSetLoads_, isForgotten);
}
