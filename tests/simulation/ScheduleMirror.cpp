// The mirror of a scheduled world's chain: what its stores ought to hold, and of which keys it keeps silent.

#include <algorithm>
#include <sstream>

#include "ChainOracle.h"
#include "DownloadScripts.h"
#include "ScheduledWorld.h"
#include "remote/TftpConfigStore.h"
#include "tessel/StringEncryptionFacility.h"

namespace simulation {

std::vector<ChainOracle::StorePtr> ScheduledWorld::mirror() {
    std::vector<ChainOracle::StorePtr> chain;
    for (const auto& store : host_.manager().getStores()) {
        const std::string name = folded(store->getName());
        if (const auto outside = model_.outside.find(name); outside != model_.outside.end()) {
            chain.push_back(outside->second);
            continue;
        }
        if (const auto copy = model_.cached.find(name); copy != model_.cached.end()) {
            chain.push_back(copy->second);
            continue;
        }
        ChainOracle::StorePtr known;
        for (const auto& own : {model_.user, model_.memory, model_.provisioning, model_.defaults}) {
            known = folded(own->name) == name ? own : known;
        }
        // No file overrides anything here, and the installer's is not there: what else holds a value is the server's.
        chain.push_back(known != nullptr ? known : serversStore(*store));
    }
    return chain;
}

ChainOracle::StorePtr ScheduledWorld::serversStore(ConfigStore& store) const {
    const auto served = std::make_shared<ModelStore>();
    served->name = store.getName();
    served->priority = store.getPriority();
    served->readOnly = store.isReadOnly();
    served->local = store.isLocal();
    if (const auto entries = served_.find(&store); entries != served_.end()) {
        served->entries = entries->second;
    }
    return served;
}

void ScheduledWorld::serve(TftpConfigStore& store, const DownloadDocument& document) {
    ModelStore taken;
    for (const DownloadDocument::Entry& entry : document.entries) {
        if (entry.sensitive) {
            model_.markSensitive(entry.key);
        }
        if (entry.key == L"certificatevalidationenabled") {
            continue;  // never a server's to say
        }
        std::wstring text = entry.text;
        std::wstring enciphered;
        if (entry.secret && store.getValue(entry.key, enciphered)) {
            // No two are alike: the one that is there has to stand for this very text.
            const tessel::SecureString secret = tessel::StringEncryptionFacility::decodeEncryptedString(
                std::string(enciphered.begin(), enciphered.end()));
            const std::string clear(text.begin(), text.end());
            text = secret.isValid() && secret.reveal().value() == clear ? enciphered : L"enciphered " + text;
        }
        taken.put(entry.key, text);
    }
    served_[&store] = taken.entries;
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

void ScheduledWorld::takeOverWhatTheModuleWrites() {
    const auto memory = host_.manager().findStore(model_.memory->name);
    if (memory == nullptr) {
        return;
    }
    for (const wchar_t* const key :
         {L"Telephony_Enabled", L"Voicemail_Enabled", L"Meetings_Enabled", L"HomeUdsVersion"}) {
        std::wstring text;
        if (memory->getValue(key, text)) {
            model_.memory->put(key, text);
        } else {
            model_.memory->entries.erase(folded(key));
        }
    }
}

std::wstring ScheduledWorld::listOfCopies() {
    oracle_.adopt(mirror());
    return oracle_.lookUp(ScheduleModel::copiesKey, false).value;
}

void ScheduledWorld::listCopy(const std::string& storeName, int priority) {
    std::map<std::string, std::string> listed = {{storeName, std::to_string(priority)}};
    const std::wstring wide = listOfCopies();
    std::istringstream list(std::string(wide.begin(), wide.end()));
    for (std::string entry; std::getline(list, entry, ';');) {
        listed.try_emplace(entry.substr(0, entry.find(':')), entry.substr(entry.find(':') + 1));
    }
    std::wstring text;
    for (const auto& [name, place] : listed) {
        text += std::wstring(name.begin(), name.end()) + L":" + std::wstring(place.begin(), place.end()) + L";";
    }
    oracle_.store(ScheduleModel::copiesKey, text);
    model_.cached.erase(folded(ScheduleModel::copyOf(storeName)));
}

void ScheduledWorld::unlistCopy(const std::string& storeName) {
    std::wstring list = listOfCopies();
    const std::size_t begin = list.find(std::wstring(storeName.begin(), storeName.end()));
    if (begin != std::wstring::npos) {
        list.erase(begin, list.find(L';', begin) - begin + 1);
    }
    oracle_.store(ScheduleModel::copiesKey, list);
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
    if (name != ScheduleModel::linkFile) {
        std::erase_if(kept.entries, [this](const auto& entry) { return model_.isSensitive(entry.first); });
    }
    // On a full disk it may be the former file that is still there.
    mayHaveCopied_ = true;
    (disturbed_ ? perhaps_ : model_.copies)[name] = asFileEntries(kept);
}

}  // namespace simulation
