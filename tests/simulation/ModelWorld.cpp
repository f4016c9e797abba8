#include "ModelWorld.h"

#include <algorithm>

#include "SimulatedModule.h"

namespace simulation {

ModelWorld::ModelWorld(const std::vector<ModelStore>& stores)
    : chain_([this](const ChainCall& call) { take(call); }), live_([this](int watcher) { react(watcher); }) {
    for (const ModelStore& store : stores) {
        chain_.add(std::make_shared<ModelStore>(store));
    }
}

void ModelWorld::take(const ChainCall& call) {
    calls_.push_back(call);
    live_.take(call);
}

void ModelWorld::react(int watcher) {
    std::deque<Step>& waiting = reactions_[watcher];
    if (!waiting.empty()) {
        const Step step = waiting.front();
        waiting.pop_front();
        apply(step);
    }
}

void ModelWorld::refill(const ModelStore& description) {
    const auto found = known_.find(folded(description.name));
    const auto& chain = chain_.chain();
    if (found == known_.end() || std::find(chain.begin(), chain.end(), found->second) == chain.end()) {
        return;
    }
    const ChainOracle::StorePtr store = found->second;
    const std::vector<std::wstring> oldKeys = store->keys();
    store->entries = description.entries;
    chain_.replace(store, oldKeys);
}

std::optional<bool> ModelWorld::apply(const Step& step) {
    const auto newStore = [&] { return known_[folded(step.store.name)] = std::make_shared<ModelStore>(step.store); };
    switch (step.kind) {
    case StepKind::AddStore:
        chain_.add(newStore());
        break;
    case StepKind::AddStoreThroughFeatureSet:
        chain_.addThroughFeatureSet(newStore());
        break;
    case StepKind::RefillStore:
        refill(step.store);
        break;
    case StepKind::RemoveStore:
        return chain_.remove(step.store.name);
    case StepKind::ClearStores:
        chain_.clear();
        break;
    case StepKind::ResetData:
        chain_.resetData();
        break;
    case StepKind::Store:
        return chain_.store(step.key, step.text);
    case StepKind::StoreThroughService:
        chain_.store(step.key, step.text);
        break;
    case StepKind::StoreThroughObject:
        chain_.store(keyOfObject(step.key), step.text);
        break;
    case StepKind::StoreMap:
        return chain_.storeAll(step.values);
    case StepKind::StoreInMemory:
        return chain_.storeInMemory(step.key, step.text);
    case StepKind::StoreInMemoryThroughService:
        chain_.storeInMemory(step.key, step.text);
        break;
    case StepKind::Erase:
        return chain_.erase(step.key);
    case StepKind::EraseThroughService:
        chain_.erase(step.key);
        break;
    case StepKind::EraseThroughObject:
        chain_.erase(keyOfObject(step.key));
        break;
    case StepKind::MarkSensitive:
        chain_.markSensitive(step.key);
        break;
    case StepKind::Ask:
        live_.ask(step.key);
        break;
    case StepKind::Watch:
        live_.watch(step.key, step.watcher);
        reactions_[step.watcher].insert(reactions_[step.watcher].end(), step.reactions.begin(), step.reactions.end());
        break;
    case StepKind::Unwatch:
    case StepKind::DropWatcher:
        live_.unwatch(step.key, step.watcher);
        break;
    case StepKind::SwitchFips:
        chain_.setFips(step.on);
        live_.setFips(step.on);
        break;
    }
    return std::nullopt;
}

}  // namespace simulation
