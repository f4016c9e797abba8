#pragma once

#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

#include "SimulatedModule.h"
#include "SimulatedStore.h"
#include "Step.h"
#include "chain/ConfigStoreManager_Observer.h"

namespace simulation {

class Watcher;

/// Keeps every call that the chain makes.
class ChainRecorder : public ConfigStoreManager_Observer {
public:
    void onFireIfRequired(std::wstring key) override;
    void onSensitiveKeyAddedOrUpdated(std::wstring key) override;
    void onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                                bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName,
                                bool silent) override;

    /// To be read when nobody changes the chain.
    const std::vector<ChainCall>& calls() const { return calls_; }

private:
    std::vector<ChainCall> calls_;
};

/// The module as it is, taking the same steps as the model.
class ModuleWorld {
public:
    /// @param prepare changes the world before the module sees it.
    explicit ModuleWorld(std::shared_ptr<ServicesDispatcher> dispatcher,
                         const std::function<void(fakes::ScopedWorld&)>& prepare = {});
    ~ModuleWorld();

    ModuleWorld(const ModuleWorld&) = delete;
    ModuleWorld& operator=(const ModuleWorld&) = delete;

    /// Steps that touch the service or its objects belong to the dispatcher thread, the others may come from any.
    /// @return what the operation answers, for steps that answer.
    std::optional<bool> apply(const Step& step);

    SimulatedModule& module() { return module_; }
    const std::vector<ChainCall>& calls() const { return recorder_.calls(); }
    const std::vector<Heard>& heard() const { return heard_; }

    /// For a watcher: it heard something.
    void hear(int watcher, Property property, const ConfigValue& value);

private:
    std::shared_ptr<SimulatedStore> makeStore(const ModelStore& description);
    void refill(const ModelStore& description);
    void watch(const Step& step);

    SimulatedModule module_;
    ChainRecorder recorder_;
    std::mutex knownMutex_;
    std::map<std::string, std::shared_ptr<SimulatedStore>> known_;  ///< guarded by knownMutex_
    std::map<int, std::shared_ptr<Watcher>> watchers_;
    std::map<int, std::deque<Step>> reactions_;
    std::vector<Heard> heard_;
};

}  // namespace simulation
