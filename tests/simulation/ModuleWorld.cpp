#include "ModuleWorld.h"

#include <algorithm>
#include <utility>

#include "ConfigValueObserver.h"

namespace simulation {

/// An observer of one live value.
class Watcher : public ConfigValueObserver {
public:
    Watcher(ModuleWorld& world, int number, std::shared_ptr<ConfigValue> value)
        : world_(world), number_(number), value_(std::move(value)) {}

    const std::shared_ptr<ConfigValue>& value() const { return value_; }

    void OnValueChanged() override { hear(Property::Value); }
    void OnOriginalValueChanged() override { hear(Property::OriginalValue); }
    void OnisOverriddenChanged() override { hear(Property::isOverridden); }
    void OnisDefinedChanged() override { hear(Property::isDefined); }
    void OnValueStoreNameChanged() override { hear(Property::ValueStoreName); }
    void OnOriginalValueStoreNameChanged() override { hear(Property::OriginalValueStoreName); }

private:
    void hear(Property property) { world_.hear(number_, property, *value_); }

    ModuleWorld& world_;
    const int number_;
    const std::shared_ptr<ConfigValue> value_;
};

void ChainRecorder::onFireIfRequired(std::wstring key) {
    ChainCall call{ChainCall::Kind::Fire, {}};
    call.report.key = std::move(key);
    calls_.push_back(std::move(call));
}

void ChainRecorder::onSensitiveKeyAddedOrUpdated(std::wstring key) {
    ChainCall call{ChainCall::Kind::Sensitive, {}};
    call.report.key = std::move(key);
    calls_.push_back(std::move(call));
}

void ChainRecorder::onConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue,
                                           bool isOverridden, bool isDefined, std::wstring valueStoreName,
                                           std::wstring originalValueStoreName, bool silent) {
    calls_.push_back({ChainCall::Kind::Changed,
                      {std::move(key), std::move(value), std::move(originalValue), isOverridden, isDefined,
                       std::move(valueStoreName), std::move(originalValueStoreName), silent}});
}

ModuleWorld::ModuleWorld(std::shared_ptr<ServicesDispatcher> dispatcher,
                         const std::function<void(fakes::ScopedWorld&)>& prepare)
    : module_(std::move(dispatcher), prepare) {
    module_.manager().AddObserver(&recorder_);
}

ModuleWorld::~ModuleWorld() { module_.manager().RemoveObserver(&recorder_); }

void ModuleWorld::hear(int watcher, Property property, const ConfigValue& value) {
    heard_.push_back({watcher, property, stateOf(value)});
    std::deque<Step>& waiting = reactions_[watcher];
    if (!waiting.empty()) {
        const Step step = std::move(waiting.front());
        waiting.pop_front();
        apply(step);
    }
}

std::shared_ptr<SimulatedStore> ModuleWorld::makeStore(const ModelStore& description) {
    const std::lock_guard<std::mutex> lock(knownMutex_);
    return known_[folded(description.name)] = std::make_shared<SimulatedStore>(description);
}

void ModuleWorld::refill(const ModelStore& description) {
    std::shared_ptr<SimulatedStore> store;
    {
        const std::lock_guard<std::mutex> lock(knownMutex_);
        const auto found = known_.find(folded(description.name));
        store = found == known_.end() ? nullptr : found->second;
    }
    const auto chain = module_.manager().getStores();
    // Another of the same name may have taken its place; the keys of this one say nothing about that one.
    if (std::find(chain.begin(), chain.end(), store) != chain.end()) {
        const std::vector<std::wstring> oldKeys = store->refill(description.entries);
        module_.manager().updateStoreValues(store, oldKeys);
    }
}

void ModuleWorld::watch(const Step& step) {
    const std::shared_ptr<ConfigValue> value = module_.service().getConfig(step.key);
    std::shared_ptr<Watcher>& watcher = watchers_[step.watcher];
    if (watcher == nullptr) {
        watcher = std::make_shared<Watcher>(*this, step.watcher, value);
    }
    value->addObserver(std::weak_ptr<ConfigValueObserver>(watcher));
    std::deque<Step>& waiting = reactions_[step.watcher];
    waiting.insert(waiting.end(), step.reactions.begin(), step.reactions.end());
}

std::optional<bool> ModuleWorld::apply(const Step& step) {
    ConfigStoreManager& manager = module_.manager();
    ConfigService& service = module_.service();
    switch (step.kind) {
    case StepKind::AddStore:
        manager.addStore(makeStore(step.store));
        break;
    case StepKind::AddStoreThroughFeatureSet:
        module_.featureSet().addConfigStore(makeStore(step.store));
        break;
    case StepKind::RefillStore:
        refill(step.store);
        break;
    case StepKind::RemoveStore:
        return manager.removeStoreWithSameName(step.store.name);
    case StepKind::ClearStores:
        manager.clearConfigStores();
        break;
    case StepKind::ResetData:
        manager.resetConfigData();
        break;
    case StepKind::Store:
        return module_.featureSet().setConfig(step.key, step.text);
    case StepKind::StoreThroughService:
        service.setConfig(step.key, step.text);
        break;
    case StepKind::StoreThroughObject:
        service.getConfig(step.key)->setConfig(step.text);
        break;
    case StepKind::StoreMap:
        return module_.featureSet().setConfig(step.values);
    case StepKind::StoreInMemory:
        return module_.featureSet().setInMemoryConfig(step.key, step.text);
    case StepKind::StoreInMemoryThroughService:
        service.setInMemoryConfig(step.key, step.text);
        break;
    case StepKind::Erase:
        return manager.eraseKey(step.key);
    case StepKind::EraseThroughService:
        service.resetConfig(step.key);
        break;
    case StepKind::EraseThroughObject:
        service.getConfig(step.key)->reset();
        break;
    case StepKind::MarkSensitive:
        module_.featureSet().setKeySensitive(step.key);
        break;
    case StepKind::Ask:
        service.getConfig(step.key);
        break;
    case StepKind::Watch:
        watch(step);
        break;
    case StepKind::Unwatch:
        service.getConfig(step.key);
        if (const auto found = watchers_.find(step.watcher); found != watchers_.end()) {
            found->second->value()->removeObserver(std::weak_ptr<ConfigValueObserver>(found->second));
        }
        break;
    case StepKind::DropWatcher:
        service.getConfig(step.key);
        watchers_.erase(step.watcher);
        break;
    case StepKind::SwitchFips:
        module_.world().setFips(step.on);
        break;
    }
    return std::nullopt;
}

}  // namespace simulation
