#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "ModelTypes.h"
#include "chain/ConfigStoreManager.h"
#include "fakes/HandSteppedTaskDispatcher.h"
#include "fakes/ScopedWorld.h"
#include "unified/UnifiedFactory.h"

namespace simulation {

/// The whole module as a host starts it: injected into a factory, its feature set started, in a world of its own.
/// Made and destroyed on the dispatcher thread. The persistence queue is stepped by hand, so nothing is written.
class SimulatedModule {
public:
    /// @param prepare changes the world before the module sees it.
    explicit SimulatedModule(std::shared_ptr<ServicesDispatcher> dispatcher,
                             const std::function<void(fakes::ScopedWorld&)>& prepare = {});

    /// Stops and destroys the feature set and clears the factory.
    ~SimulatedModule();

    SimulatedModule(const SimulatedModule&) = delete;
    SimulatedModule& operator=(const SimulatedModule&) = delete;

    fakes::ScopedWorld& world() { return world_; }
    const std::shared_ptr<UnifiedFactory>& factory() const { return factory_; }
    ConfigService& service() { return *service_; }
    ConfigFeatureSet& featureSet() { return *featureSet_; }
    FeatureSetAdapter& adapter() { return *adapter_; }
    ConfigStoreManager& manager() { return *manager_; }
    fakes::HandSteppedTaskDispatcher& persistence() { return *persistence_; }

private:
    fakes::ScopedWorld world_;
    const std::shared_ptr<fakes::HandSteppedTaskDispatcher> persistence_;
    const std::shared_ptr<UnifiedFactory> factory_;
    std::shared_ptr<ConfigService> service_;
    std::shared_ptr<ConfigFeatureSet> featureSet_;
    std::shared_ptr<FeatureSetAdapter> adapter_;
    std::shared_ptr<ConfigStoreManager> manager_;
};

/// The stores that the module's chain holds after a start over empty directories, in chain order.
std::vector<ModelStore> storesAfterStart();

/// The stores of a chain after a start, all of them the module's own, with what they hold, in chain order.
std::vector<ModelStore> storesOf(ConfigStoreManager& manager);

/// What a store holds.
ModelEntries entriesOf(ConfigStore& store);

/// What a client reads from a live value. Dispatcher thread.
ValueState stateOf(const ConfigValue& value);

}  // namespace simulation
