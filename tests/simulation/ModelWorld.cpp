#include "ModelWorld.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "quill/StringUtils.h"

namespace simulation {

namespace {

constexpr const char* usersStore = "LocalFileConfigStore";
constexpr const char* overrideStore = "TftpOverrideConfigStore";
constexpr const char* memoryStore = "InMemoryConfigStore";

/// One of the module's own stores, with what it has found.
ChainOracle::StorePtr storeOf(const std::vector<ModelStore>& stores, const std::string& name) {
    ModelStore own;
    own.name = name;
    for (const ModelStore& store : stores) {
        own = store.name == name ? store : own;
    }
    return std::make_shared<ModelStore>(own);
}

/// The copies of stores in the order of the stores' names, with that of the presence store behind the others.
std::vector<ModelStore> copiesOf(const std::vector<ModelStore>& stores) {
    std::map<std::pair<bool, std::wstring>, ModelStore> copies;
    for (const ModelStore& store : stores) {
        if (store.name.starts_with("cached")) {
            const std::string name = store.name.substr(6, store.name.size() - 6 - std::strlen(".xml"));
            // Letters beyond ASCII are folded as well: the list that names the stores is a text of wide characters.
            const std::wstring place = folded(QuillCoreUtils::toWideString(name));
            copies[{place == L"presenceconfigstore", place}] = store;
        }
    }
    std::vector<ModelStore> inOrder;
    for (const auto& [name, copy] : copies) {
        inOrder.push_back(copy);
    }
    return inOrder;
}

/// What comes back of a text that was written to a document: XML 1.0 has no character for most control codes.
std::wstring throughDocument(std::wstring text) {
    for (wchar_t& unit : text) {
        const bool isCharacter = unit == L'\t' || unit == L'\n' || unit == L'\r' || (unit >= 0x20 && unit < 0xD800) ||
                                 (unit >= 0xE000 && unit < 0xFFFE) || (unit >= 0x10000 && unit < 0x110000);
        unit = isCharacter ? unit : L'\xFFFD';
    }
    return text;
}

}  // namespace

ModelWorld::ModelWorld(const std::vector<ModelStore>& stores)
    : chain_([this](const ChainCall& call) { take(call); }), live_([this](int watcher) { react(watcher); }) {
    makeStores(stores);
    makeSomeAnew(stores);
}

void ModelWorld::makeStores(const std::vector<ModelStore>& stores) {
    chain_.add(storeOf(stores, usersStore));
    chain_.add(storeOf(stores, overrideStore));
    chain_.add(storeOf(stores, "BootstrapConfigStore"));
    for (const ModelStore& copy : copiesOf(stores)) {
        chain_.add(std::make_shared<ModelStore>(copy));
    }
    chain_.dropPresenceInPhoneMode();
    chain_.add(storeOf(stores, "UrlProvisioningConfigStore"));
    chain_.add(storeOf(stores, "corvid-config-defaults.xml"));
    chain_.applyPolicies();
    // The flags that may be worked out here are gone when the store is made anew, and so is all trace of them.
    chain_.add(storeOf(stores, memoryStore));
}

void ModelWorld::makeSomeAnew(const std::vector<ModelStore>& stores) {
    chain_.add(storeOf(stores, memoryStore));
    const ChainOracle::StorePtr users = storeOf(stores, usersStore);
    const ModelEntries left = chain_.storeNamed(usersStore)->entries;
    if (left != users->entries) {
        users->entries.clear();
        // It has been written meanwhile, and gives its keys in small letters.
        for (const auto& [key, entry] : left) {
            users->put(key, throughDocument(entry.text));
        }
    }
    chain_.add(users);
    chain_.add(storeOf(stores, overrideStore));
    chain_.applyPolicies();
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
