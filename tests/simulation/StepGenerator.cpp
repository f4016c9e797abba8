#include "StepGenerator.h"

#include <array>
#include <utility>

namespace simulation {

namespace {

/// Groups that belong together: a key in two spellings, or the two names of a renamed key.
const std::vector<std::vector<std::wstring>>& keyGroups() {
    static const std::vector<std::vector<std::wstring>> groups = {
        {L"Theme", L"THEME"},
        {L"language", L"Language"},
        {L"Beta_Feature"},
        {L"Gr\u00fc\u00dfe"},
        {L"TftpServer1", L"TFTPPrimaryServer", L"tftpprimaryserver"},
        {L"CtiServer1", L"CTIPrimaryServer"},
        {L"HubcipServer1", L"deviceauthenticationprimaryserver"},
        {L"VVM_Mailstore_Server_0", L"VoicemailPrimaryServer", L"vvm_mailstore_SERVER_0"},
        {L"VVM_Mailstore_PollingInterval", L"VoicmeailPollingInterval"},
        {L"telephony_p2p_enabled", L"Telephony_P2P_Enabled"},
        {L"connectionpassword", L"ConnectionPassword"},
        {L"Customize_Phone_Server"},
        {L"Customize_Voicemail_Server"},
        {L"configurationfile"},
    };
    return groups;
}

const std::vector<std::wstring>& values() {
    static const std::vector<std::wstring> texts = {L"",
                                                    L"one",
                                                    L"two",
                                                    L"ONE",
                                                    L"false",
                                                    L"FALSE",
                                                    L"true",
                                                    L"telephony_p2p_enabled",
                                                    L"\u00e9t\u00e9 \U0001F600"};
    return texts;
}

/// Read-only, writable and cached stores ahead of, between and behind the module's own; two pairs meet at one place.
const std::vector<ModelStore>& storeShapes() {
    static const std::vector<ModelStore> shapes = [] {
        const auto shape = [](const char* name, bool cached) {
            ModelStore store;
            store.name = name;
            store.cached = cached;
            return store;
        };
        return std::vector<ModelStore>{shape("Alpha", false),
                                       shape("ALPHA", false),
                                       shape("Beta", false),
                                       shape("Gamma", false),
                                       shape("Delta", false),
                                       shape("RemoteStore", true),
                                       shape("remotestore", true),
                                       shape("cachedRemoteStore.xml", false),
                                       shape("inmemoryCONFIGstore", false),
                                       shape("LocalFileConfigStore", false)};
    }();
    return shapes;
}

constexpr std::array<int, 10> priorities = {-5, 5, 10, 15, 20, 30, 450, 500, 600, 700};

}  // namespace

StepGenerator::StepGenerator(std::uint64_t seed) : StepGenerator(std::mt19937_64(seed)) {}

StepGenerator::StepGenerator(Numbers numbers) : numbers_(std::move(numbers)) {
    for (int group = 0; group < 3; ++group) {
        const auto& spellings = anyOf(keyGroups());
        keys_.insert(keys_.end(), spellings.begin(), spellings.end());
    }
}

StepGenerator::StepGenerator(std::uint64_t seed, std::vector<std::wstring> keys)
    : numbers_(std::mt19937_64(seed)), keys_(std::move(keys)) {}

void StepGenerator::letWatchersAct() {
    reactions_ = {
        {StepKind::Store, 4},
        {StepKind::StoreThroughService, 4},
        {StepKind::StoreThroughObject, 2},
        {StepKind::StoreMap, 3},
        {StepKind::StoreInMemoryThroughService, 3},
        {StepKind::EraseThroughService, 4},
        {StepKind::EraseThroughObject, 2},
        {StepKind::MarkSensitive, 1},
        {StepKind::Ask, 2},
        {StepKind::Unwatch, 2},
    };
}

void StepGenerator::letWatchersChangeTheChain() {
    letWatchersAct();
    const std::vector<Choice> more = {
        {StepKind::DropWatcher, 2}, {StepKind::AddStore, 8},    {StepKind::AddStoreThroughFeatureSet, 4},
        {StepKind::RemoveStore, 6}, {StepKind::RefillStore, 4}, {StepKind::ClearStores, 1},
        {StepKind::ResetData, 1}};
    reactions_.insert(reactions_.end(), more.begin(), more.end());
}

const std::vector<std::wstring>& StepGenerator::alphabet() {
    static const std::vector<std::wstring> all = [] {
        std::vector<std::wstring> keys;
        for (const auto& group : keyGroups()) {
            keys.insert(keys.end(), group.begin(), group.end());
        }
        return keys;
    }();
    return all;
}

StepKind StepGenerator::pick(const std::vector<Choice>& choices) {
    unsigned total = 0;
    for (const Choice& choice : choices) {
        total += choice.weight;
    }
    std::size_t point = below(total);
    for (const Choice& choice : choices) {
        if (point < choice.weight) {
            return choice.kind;
        }
        point -= choice.weight;
    }
    return choices.front().kind;
}

std::vector<Step> StepGenerator::sequence(std::size_t length) {
    std::vector<Step> steps;
    while (steps.size() < length) {
        steps.push_back(next());
    }
    return steps;
}

Step StepGenerator::next() {
    static const std::vector<Choice> choices = {
        {StepKind::AddStore, 12},
        {StepKind::AddStoreThroughFeatureSet, 6},
        {StepKind::RefillStore, 8},
        {StepKind::RemoveStore, 6},
        {StepKind::ClearStores, 1},
        {StepKind::ResetData, 1},
        {StepKind::Store, 8},
        {StepKind::StoreThroughService, 6},
        {StepKind::StoreThroughObject, 4},
        {StepKind::StoreMap, 6},
        {StepKind::StoreInMemory, 4},
        {StepKind::StoreInMemoryThroughService, 4},
        {StepKind::Erase, 5},
        {StepKind::EraseThroughService, 4},
        {StepKind::EraseThroughObject, 3},
        {StepKind::MarkSensitive, 2},
        {StepKind::Ask, 4},
        {StepKind::Watch, 10},
        {StepKind::Unwatch, 2},
        {StepKind::DropWatcher, 2},
        {StepKind::SwitchFips, 2},
    };
    return make(pick(choices));
}

Step StepGenerator::nextWrite() {
    static const std::vector<Choice> choices = {
        {StepKind::Store, 10}, {StepKind::StoreMap, 5}, {StepKind::StoreInMemory, 5}, {StepKind::Erase, 5}};
    return make(pick(choices));
}

Step StepGenerator::nextMembership() {
    static const std::vector<Choice> choices = {{StepKind::AddStore, 10},
                                                {StepKind::AddStoreThroughFeatureSet, 5},
                                                {StepKind::RemoveStore, 6},
                                                {StepKind::ClearStores, 1}};
    return make(pick(choices));
}

ModelEntries StepGenerator::anyEntries() {
    ModelStore store;
    for (std::size_t count = below(6); count > 0; --count) {
        store.put(anyOf(keys_), anyOf(values()));
    }
    return store.entries;
}

ModelStore StepGenerator::anyStore() {
    ModelStore store = anyOf(storeShapes());
    store.priority = anyOf(priorities);
    store.readOnly = !oneIn(3);
    store.local = oneIn(3);
    store.refusesWrites = oneIn(6);
    store.entries = anyEntries();
    return store;
}

std::map<std::wstring, std::wstring> StepGenerator::anyValues() {
    std::map<std::wstring, std::wstring> map;
    for (std::size_t count = below(5); count > 0; --count) {
        map[anyOf(keys_)] = anyOf(values());
    }
    return map;
}

void StepGenerator::fillWatch(Step& step) {
    if (!watched_.empty() && oneIn(5)) {
        fillKnownWatcher(step);
        return;
    }
    step.watcher = static_cast<int>(watched_.size()) + 1;
    watched_.push_back({step.watcher, step.key});
    if (reactions_.empty()) {
        return;
    }
    for (std::size_t count = below(4); count > 0; --count) {
        step.reactions.push_back(make(pick(reactions_)));
    }
}

void StepGenerator::fillKnownWatcher(Step& step) {
    if (watched_.empty()) {
        step.kind = StepKind::Ask;
        return;
    }
    const Watched& known = anyOf(watched_);
    step.watcher = known.watcher;
    step.key = known.key;
}

Step StepGenerator::make(StepKind kind) {
    Step step;
    step.kind = kind;
    step.key = anyOf(keys_);
    step.text = anyOf(values());
    switch (kind) {
    case StepKind::AddStore:
    case StepKind::RefillStore:
    case StepKind::RemoveStore:
        step.store = anyStore();
        break;
    case StepKind::AddStoreThroughFeatureSet:
        // The feature set would keep a copy on disk; that is another test's subject.
        step.store = anyStore();
        step.store.cached = false;
        break;
    case StepKind::StoreMap:
        step.values = anyValues();
        break;
    case StepKind::Watch:
        fillWatch(step);
        break;
    case StepKind::Unwatch:
    case StepKind::DropWatcher:
        fillKnownWatcher(step);
        break;
    case StepKind::SwitchFips:
        step.on = fips_ = !fips_;
        break;
    default:
        break;
    }
    return step;
}

}  // namespace simulation
