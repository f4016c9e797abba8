// The mirror of a scheduled world's chain: what its stores hold, taken over where the module writes by itself, and of
// which keys it keeps silent.

#include <algorithm>

#include "ChainOracle.h"
#include "ScheduledWorld.h"

namespace simulation {

std::vector<ChainOracle::StorePtr> ScheduledWorld::mirror() {
    std::vector<ChainOracle::StorePtr> chain;
    for (const auto& store : host_.manager().getStores()) {
        const std::string name = folded(store->getName());
        if (const auto outside = model_.outside.find(name); outside != model_.outside.end()) {
            chain.push_back(outside->second);
            continue;
        }
        ChainOracle::StorePtr known;
        for (const auto& own : {model_.user, model_.memory, model_.provisioning, model_.defaults}) {
            known = folded(own->name) == name ? own : known;
        }
        chain.push_back(known != nullptr ? known : std::make_shared<ModelStore>(picture(*store)));
    }
    return chain;
}

ModelStore ScheduledWorld::picture(ConfigStore& store) const {
    ModelStore picture;
    picture.name = store.getName();
    picture.priority = store.getPriority();
    picture.readOnly = store.isReadOnly();
    picture.local = store.isLocal();
    for (const std::wstring& key : store.getKeys()) {
        std::wstring text;
        if (store.getValue(key, text)) {
            picture.put(key, text);
        }
    }
    return picture;
}

void ScheduledWorld::takeOver(ModelStore& store, const std::vector<std::wstring>& keys) {
    const auto actual = host_.manager().findStore(store.name);
    for (const std::wstring& key : keys) {
        std::wstring text;
        if (actual != nullptr && actual->getValue(key, text)) {
            store.put(key, text);
        } else if (actual != nullptr) {
            store.entries.erase(folded(key));
        }
    }
}

void ScheduledWorld::takeOverWhatTheModuleWrites() {
    static const std::vector<std::wstring> users = {L"PrimaryConfigStores"};
    static const std::vector<std::wstring> memorys = {L"Telephony_Enabled", L"Voicemail_Enabled", L"Meetings_Enabled",
                                                      L"HomeUdsVersion"};
    takeOver(*model_.user, users);
    takeOver(*model_.memory, memorys);
    for (const auto& [name, store] : model_.outside) {
        if (!store->readOnly) {
            takeOver(*store, users);
        }
    }
}

void ScheduledWorld::applyPolicies() {
    takeOverWhatTheModuleWrites();
    oracle_.adopt(mirror());
    expectedCalls_.clear();
    const std::size_t before = oracle_.persistTasks();
    oracle_.applyPolicies();
    if (oracle_.persistTasks() != before) {
        ++tally_["values that a policy took from the user"];
        calls_ = expectedCalls_;
        noteSilentWrite(L"CtiServer1");
        noteSilentWrite(L"HubcipServer1");
    }
}

void ScheduledWorld::noteSilentWrite(const std::wstring& key) {
    const std::wstring* const current = ChainOracle::currentNameOf(key);
    const bool isTold = current != nullptr && std::any_of(calls_.begin(), calls_.end(), [&](const ChainCall& call) {
                            return folded(call.report.key) == folded(*current);
                        });
    if (!isTold) {
        noteSilence(key);
    }
}

void ScheduledWorld::noteSilence(const std::wstring& key) {
    // The chain says nothing of an old name while a store holds the current one.
    if (const std::wstring* const current = ChainOracle::currentNameOf(key)) {
        silenced_.insert(folded(*current));
    }
}

void ScheduledWorld::keepCopy(const std::string& name, const ModelStore& store) {
    ModelStore kept = store;
    std::erase_if(kept.entries, [&](const auto& entry) {
        const std::wstring* const currentName = ChainOracle::currentNameOf(entry.first);
        const std::wstring* const oldName = ChainOracle::oldNameOf(entry.first);
        return name != ScheduleModel::linkFile &&
               (host_.manager().isKeySensitive(entry.first) ||
                (currentName != nullptr && host_.manager().isKeySensitive(*currentName)) ||
                (oldName != nullptr && host_.manager().isKeySensitive(*oldName)));
    });
    // On a full disk it may be the former file that is still there.
    mayHaveCopied_ = true;
    (disturbed_ ? perhaps_ : model_.copies)[name] = asFileEntries(kept);
}

}  // namespace simulation
