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
    Load begun{std::this_thread::get_id()};
    {
        const tessel::ScopedLock lock(mutex_);
        begun.number = ++lastLoad_;
        if (!loads.try_emplace(typeName, begun).second) {
            return false;
        }
    }
    try {
        (moduleLoader_.get()->*operation)(typeName, self);
    } catch (...) {
        forgetFrom(begun);
        throw;
    }
    return true;
}

void UnifiedFactory::forgetFrom(const Load& first) {
    // A module that throws half-way may have asked for types that it would have brought itself.
    const auto isForgotten = [&first](const Loads::value_type& load) {
        return load.second.thread == first.thread && load.second.number >= first.number;
    };
    const tessel::ScopedLock lock(mutex_);
    std::erase_if(serviceLoads_, isForgotten);
    std::erase_if(featureSetLoads_, isForgotten);
}
