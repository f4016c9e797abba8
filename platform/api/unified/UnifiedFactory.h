#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>

#include "tessel/Mutex.h"
#include "unified/FeatureSetAdapter.h"
#include "unified/ModuleLoader.h"
#include "unified/ServicesDispatcher.h"
#include "unified/TaskDispatcher.h"
#include "unified/TypeMap.h"

/// The registry through which the modules of a host find one another, and the host's two queues.
///
/// Owns what is registered. Registered objects usually hold the factory in turn; clear() breaks those cycles.
/// Any thread. No lock is held while a module is loaded or an object is destroyed.
class UnifiedFactory : public std::enable_shared_from_this<UnifiedFactory> {
public:
    /// @param servicesDispatcher, taskDispatcher may be null: modules survive that, with what needs them skipped.
    /// @param moduleLoader null: nothing is loaded on a miss.
    UnifiedFactory(std::shared_ptr<ServicesDispatcher> servicesDispatcher,
                   std::shared_ptr<Processing::TaskDispatcher> taskDispatcher,
                   std::shared_ptr<ModuleLoader> moduleLoader = nullptr);
    ~UnifiedFactory();

    UnifiedFactory(const UnifiedFactory&) = delete;
    UnifiedFactory& operator=(const UnifiedFactory&) = delete;

    /// Registers a service under the type T and the number, over any earlier one under either.
    template <typename T>
    void setService(unsigned number, const std::shared_ptr<T>& service) {
        TypeMap::Displaced displaced;  // ends after the lock
        const tessel::ScopedLock lock(mutex_);
        displaced = services_.setItem<T>(number, service);
    }

    /// The service of type T. The first miss loads its module and looks again, a later one only if that has thrown, or
    /// another load that was under way at the same time, on whichever thread: the two may be of one module.
    template <typename T>
    std::shared_ptr<T> getService() {
        return find<T>(services_, [this](const std::string& name) { return loadService(name); });
    }

    /// Registers a feature set: its T side (a checked down-cast; an adapter that is no T is not registered) for
    /// getFeatureSet(), and its FeatureSetAdapter side for the host that starts and stops it.
    template <typename T>
    void setFeatureSetAdapter(unsigned number, const std::shared_ptr<FeatureSetAdapter>& adapter) {
        const std::shared_ptr<T> featureSet = std::dynamic_pointer_cast<T>(adapter);
        if (featureSet == nullptr) {
            return;
        }
        TypeMap::Displaced displaced;  // both end after the lock
        std::shared_ptr<FeatureSetAdapter> displacedAdapter;
        const tessel::ScopedLock lock(mutex_);
        displaced = featureSets_.setItem<T>(number, featureSet);
        displacedAdapter = std::exchange(adapters_[number], adapter);
    }

    /// The feature set of type T, which a miss loads as that of a service does.
    template <typename T>
    std::shared_ptr<T> getFeatureSet() {
        return find<T>(featureSets_, [this](const std::string& name) { return loadFeatureSet(name); });
    }

    /// True if a service is registered under the number.
    bool hasService(unsigned number) const;

    /// The adapter registered under the number, for the host; null if there is none.
    std::shared_ptr<FeatureSetAdapter> getFeatureSetAdapter(unsigned number) const;

    /// The queue of the dispatcher thread; null if the host has none. The same for the factory's life.
    const std::shared_ptr<ServicesDispatcher>& getServicesDispatcher() const { return servicesDispatcher_; }

    /// The queue for work that waits for a disk; null if the host has none. The same for the factory's life.
    const std::shared_ptr<Processing::TaskDispatcher>& getTaskDispatcher() const { return taskDispatcher_; }

    /// Drops everything that is registered: adapters and feature sets first, then services. The queues stay.
    void clear();

private:
    template <typename T, typename Load>
    std::shared_ptr<T> find(const TypeMap& items, const Load& load) {
        {
            const tessel::ScopedLock lock(mutex_);
            if (std::shared_ptr<T> found = items.getItem<T>()) {
                return found;
            }
        }
        if (!load(typeMapName(typeid(T)))) {
            return nullptr;
        }
        const tessel::ScopedLock lock(mutex_);
        return items.getItem<T>();
    }

    /// The loads that need not be made again: when each has ended, under the name of its type; 0 while it is under way.
    /// They are the factory's own: a flag in a template would exist once in each module that names the type.
    using Loads = std::map<std::string, std::uint64_t>;

    using LoaderOperation = void (ModuleLoader::*)(const std::string&, const std::shared_ptr<UnifiedFactory>&);

    /// False if the type's module has been asked for before.
    bool loadService(const std::string& typeName);
    bool loadFeatureSet(const std::string& typeName);
    bool load(Loads& loads, LoaderOperation operation, const std::string& typeName);

    /// Notes that a load has ended, or forgets it if one has thrown since it began.
    void endLoad(Loads& loads, const std::string& typeName, std::uint64_t begun);

    /// Forgets a load that has thrown, and those that have ended since it began.
    void forgetLoad(Loads& loads, const std::string& typeName, std::uint64_t begun);

    mutable tessel::Mutex mutex_;
    TypeMap services_;
    TypeMap featureSets_;
    std::map<unsigned, std::shared_ptr<FeatureSetAdapter>> adapters_;
    Loads serviceLoads_;
    Loads featureSetLoads_;
    std::uint64_t loadSteps_ = 0;  ///< how many times a load has begun or ended
    std::uint64_t lastThrow_ = 0;  ///< which of those was the latest that has thrown
    const std::shared_ptr<ServicesDispatcher> servicesDispatcher_;
    const std::shared_ptr<Processing::TaskDispatcher> taskDispatcher_;
    const std::shared_ptr<ModuleLoader> moduleLoader_;
};
