#include "ChainOracle.h"

#include <algorithm>
#include <sstream>
#include <utility>

namespace simulation {

namespace {

struct Renaming {
    std::wstring oldName;
    std::wstring currentName;
};

const std::vector<Renaming>& renamings() {
    static const std::vector<Renaming> table = {
        {L"Start_Client_On_Start_OS", L"LaunchOnSystemStartup"},
        {L"TftpServer1", L"TFTPPrimaryServer"},
        {L"TftpServer2", L"TFTPBackupServer1"},
        {L"TftpServer3", L"TFTPBackupServer2"},
        {L"CtiServer1", L"CTIPrimaryServer"},
        {L"CtiServer2", L"CTIBackupServer"},
        {L"HubcipServer1", L"DeviceAuthenticationPrimaryServer"},
        {L"HubcipServer2", L"DeviceAuthenticationBackupServer"},
        {L"VVM_Mailstore_Server_0", L"VoicemailPrimaryServer"},
        {L"VVM_Mailstore_PollingInterval", L"VoicmeailPollingInterval"},
        {L"DockedWindowVisible", L"DockedWindow"},
        {L"contactListView", L"ShowContactPictures"},
    };
    return table;
}

/// One name of a renamed key, folded, to the other.
using Names = std::map<std::wstring, std::wstring>;

Names namesBy(std::wstring Renaming::*from, std::wstring Renaming::*to) {
    Names names;
    for (const Renaming& renaming : renamings()) {
        names[folded(renaming.*from)] = renaming.*to;
    }
    return names;
}

const std::wstring* find(const Names& names, const std::wstring& key) {
    const auto found = names.find(folded(key));
    return found == names.end() ? nullptr : &found->second;
}

bool isInMemory(const ModelStore& store) { return folded(store.name) == "inmemoryconfigstore"; }
bool takesUserValues(const ModelStore& store) { return !store.readOnly && !isInMemory(store); }
bool sameName(const std::string& a, const std::string& b) { return folded(a) == folded(b); }
std::wstring wide(const std::string& ascii) { return std::wstring(ascii.begin(), ascii.end()); }

/// Whether the list has an entry for the store: "NAME:PRIORITY", with semicolons between the entries.
bool lists(const std::wstring& list, const std::wstring& name) {
    std::wistringstream entries(list);
    for (std::wstring entry; std::getline(entries, entry, L';');) {
        if (std::count(entry.begin(), entry.end(), L':') == 1 && folded(entry.substr(0, entry.find(L':'))) == name) {
            return true;
        }
    }
    return false;
}

}  // namespace

ChainOracle::ChainOracle(Listener listener) : listener_(std::move(listener)) {}

const std::wstring* ChainOracle::currentNameOf(const std::wstring& key) {
    static const Names names = namesBy(&Renaming::oldName, &Renaming::currentName);
    return find(names, key);
}

const std::wstring* ChainOracle::oldNameOf(const std::wstring& key) {
    static const Names names = namesBy(&Renaming::currentName, &Renaming::oldName);
    return find(names, key);
}

bool ChainOracle::isHidden(const std::wstring& key) const { return fips_ && folded(key) == L"telephony_p2p_enabled"; }

bool ChainOracle::read(const ModelStore& store, const std::wstring& key, std::wstring& text) const {
    const auto found = store.entries.find(folded(key));
    if (found == store.entries.end()) {
        text = store.hidesEvenWhatItLacks && isHidden(key) ? L"false" : L"";
        return false;
    }
    text = store.hidesPeerToPeerOnFips && isHidden(key) ? L"false" : found->second.text;
    return true;
}

ChainOracle::Answer ChainOracle::walk(const std::wstring& key, bool readOnlyStoresOnly) const {
    Answer answer;
    for (const StorePtr& store : chain_) {
        if (readOnlyStoresOnly && !store->readOnly) {
            continue;
        }
        if (read(*store, key, answer.value)) {
            answer.found = true;
            answer.storeName = wide(store->name);
            break;
        }
    }
    if (isHidden(key)) {
        answer.value = L"false";
    }
    return answer;
}

ChainOracle::Answer ChainOracle::lookUp(const std::wstring& key, bool readOnlyStoresOnly) const {
    if (const std::wstring* const current = currentNameOf(key)) {
        Answer answer = walk(*current, readOnlyStoresOnly);
        if (!answer.found) {
            answer = walk(key, readOnlyStoresOnly);
            answer.usedOtherName = answer.found;
        }
        return answer;
    }
    Answer answer = walk(key, readOnlyStoresOnly);
    const std::wstring* const old = oldNameOf(key);
    if (!answer.found && old != nullptr) {
        answer = walk(*old, readOnlyStoresOnly);
        answer.usedOtherName = answer.found;
    }
    return answer;
}

ChainOracle::Original ChainOracle::originalFromStores(const std::wstring& key) const {
    Original original;
    std::wstring written;
    for (const StorePtr& store : chain_) {
        if (!written.empty() && !original.value.empty()) {
            break;
        }
        if (!store->readOnly && written.empty() && read(*store, key, written) && original.value.empty()) {
            original.overridden = true;
        }
        if (store->readOnly && original.value.empty() && read(*store, key, original.value)) {
            original.storeName = wide(store->name);
            original.found = true;
        }
    }
    return original;
}

ChainOracle::Original ChainOracle::originalOf(const std::wstring& key) const {
    if (const std::wstring* const current = currentNameOf(key)) {
        const Original underCurrent = originalFromStores(*current);
        if (underCurrent.overridden) {
            return underCurrent;
        }
        Original underOld = originalFromStores(key);
        underOld.usedOtherName = underOld.overridden;
        if (!underOld.found) {
            underOld.storeName = underCurrent.storeName;
        }
        return underOld;
    }
    const Original own = originalFromStores(key);
    const std::wstring* const old = oldNameOf(key);
    if (own.found || old == nullptr) {
        return own;
    }
    Original underOld = originalFromStores(*old);
    underOld.usedOtherName = underOld.overridden;
    return underOld;
}

Report ChainOracle::stateOf(const std::wstring& key) const {
    const Answer answer = lookUp(key, false);
    const Original original = originalOf(key);
    Report report{key,          answer.value,     original.value,     answer.found && original.overridden,
                  answer.found, answer.storeName, original.storeName, false};
    if (answer.usedOtherName && !original.usedOtherName && original.overridden) {
        report.value = original.value;
        report.isOverridden = false;
    }
    return report;
}

void ChainOracle::recompute(const std::wstring& key, bool silent) {
    Report report = stateOf(key);
    report.silent = silent;
    if (const std::wstring* const current = currentNameOf(key)) {
        if (walk(*current, false).found) {
            return;
        }
        report.key = *current;
    }
    listener_({ChainCall::Kind::Changed, report});
}

void ChainOracle::tellOfBatch(const std::vector<std::wstring>& keys) {
    for (const std::wstring& key : keys) {
        recompute(key, true);
    }
    for (const std::wstring& key : keys) {
        ChainCall call{ChainCall::Kind::Fire, {}};
        call.report.key = key;
        if (const std::wstring* const current = currentNameOf(key)) {
            if (walk(*current, false).found) {
                continue;
            }
            call.report.key = *current;
        }
        listener_(call);
    }
}

bool ChainOracle::write(ModelStore& store, const std::wstring& key, const std::wstring& value) {
    if (store.refusesWrites) {
        return false;
    }
    const bool moves = store.movesOldVoicemailKey && folded(key) == L"vvm_mailstore_server_0";
    store.put(moves ? L"VoicemailPrimaryServer" : key, value);
    return true;
}

bool ChainOracle::store(const std::wstring& key, const std::wstring& value) {
    for (const StorePtr& store : chain_) {
        if (takesUserValues(*store)) {
            const bool stored = write(*store, key, value);
            ++persistTasks_;
            recompute(key, false);
            return stored;
        }
    }
    return false;
}

bool ChainOracle::storeAll(const std::map<std::wstring, std::wstring>& values) {
    bool reached = false;
    const std::vector<StorePtr> stores = chain_;
    for (const StorePtr& store : stores) {
        if (!takesUserValues(*store)) {
            continue;
        }
        for (const auto& [key, value] : values) {
            write(*store, key, value);
        }
        ++persistTasks_;
        for (const auto& [key, value] : values) {
            recompute(key, false);
        }
        reached = true;
    }
    return reached;
}

bool ChainOracle::storeInMemory(const std::wstring& key, const std::wstring& value) {
    for (const StorePtr& store : chain_) {
        if (isInMemory(*store)) {
            const bool stored = write(*store, key, value);
            recompute(key, false);
            return stored;
        }
    }
    return false;
}

bool ChainOracle::removeFrom(ModelStore& store, const std::wstring& key) {
    if (store.entries.erase(folded(key)) == 0) {
        return false;
    }
    ++persistTasks_;
    return true;
}

bool ChainOracle::erase(const std::wstring& key) {
    bool removed = false;
    for (const StorePtr& store : chain_) {
        if (store->readOnly) {
            continue;
        }
        removed |= removeFrom(*store, key);
        for (const std::wstring* const other : {currentNameOf(key), oldNameOf(key)}) {
            removed |= other != nullptr && removeFrom(*store, *other);
        }
    }
    if (removed) {
        recompute(key, false);
    }
    return removed;
}

void ChainOracle::markSensitive(const std::wstring& key) {
    sensitive_.insert(folded(key));
    ChainCall call{ChainCall::Kind::Sensitive, {}};
    call.report.key = key;
    listener_(call);
}

ChainOracle::StorePtr ChainOracle::storeNamed(const std::string& name) const {
    const auto found =
        std::find_if(chain_.begin(), chain_.end(), [&](const StorePtr& store) { return sameName(store->name, name); });
    return found == chain_.end() ? nullptr : *found;
}

void ChainOracle::add(const StorePtr& store) {
    if (storeNamed(store->name) != nullptr) {
        replace(store);
        return;
    }
    chain_.push_back(store);
    std::stable_sort(chain_.begin(), chain_.end(),
                     [](const StorePtr& a, const StorePtr& b) { return a->priority < b->priority; });
    tellOfBatch(store->keys());
}

void ChainOracle::replace(const StorePtr& store) {
    for (std::size_t index = 0; index < chain_.size(); ++index) {
        if (sameName(chain_[index]->name, store->name)) {
            const std::vector<std::wstring> oldKeys = chain_[index]->keys();
            replace(store, oldKeys);
        }
    }
}

void ChainOracle::replace(const StorePtr& store, const std::vector<std::wstring>& oldKeys) {
    if (storeNamed(store->name) == nullptr) {
        return;
    }
    takeOutSilently(store->name);
    for (const std::wstring& oldKey : oldKeys) {
        if (store->entries.count(folded(oldKey)) == 0) {
            recompute(oldKey, false);
        }
    }
    add(store);
}

void ChainOracle::takeOutSilently(const std::string& name) {
    for (std::size_t index = 0; index < chain_.size(); ++index) {
        const StorePtr store = chain_[index];
        if (!sameName(store->name, name)) {
            continue;
        }
        if (store->cached) {
            takeOutSilently("cached" + name + ".xml");
        }
        std::erase(chain_, store);
    }
}

bool ChainOracle::remove(const std::string& name) {
    const StorePtr store = storeNamed(name);
    if (store == nullptr) {
        return false;
    }
    std::erase(chain_, store);
    tellOfBatch(store->keys());
    return true;
}

void ChainOracle::clear() {
    const std::vector<StorePtr> stores = chain_;
    for (auto store = stores.rbegin(); store != stores.rend(); ++store) {
        if (!(*store)->local && std::erase(chain_, *store) != 0) {
            tellOfBatch((*store)->keys());
        }
    }
}

void ChainOracle::resetData() {
    static const std::set<std::string> kept = {"UrlProvisioningConfigStore", "BootstrapConfigStore",
                                               "corvid-config-defaults.xml", "TftpOverrideConfigStore"};
    const std::vector<StorePtr> stores = chain_;
    for (auto store = stores.rbegin(); store != stores.rend(); ++store) {
        if (kept.count((*store)->name) == 0) {
            remove((*store)->name);
        }
    }
}

bool ChainOracle::policyForbids(const std::wstring& policyKey) const {
    const Answer answer = lookUp(policyKey, false);
    return answer.found && folded(answer.value) == L"false";
}

void ChainOracle::applyPolicies() {
    if (policyForbids(L"Customize_Voicemail_Server")) {
        erase(L"VoicemailPrimaryServer");
    }
    if (policyForbids(L"Customize_Phone_Server")) {
        erase(L"TFTPPrimaryServer");
        erase(L"CtiServer1");
        erase(L"HubcipServer1");
    }
}

void ChainOracle::dropPresenceInPhoneMode() {
    static const std::wstring presence = L"presenceconfigstore";
    std::wstring list = lookUp(L"PrimaryConfigStores", false).value;
    if (lists(list, presence) && folded(lookUp(L"ProductMode", false).value) == L"phone_mode") {
        const std::size_t begin = folded(list).find(presence);
        const std::size_t end = list.find(L';', begin);
        list.erase(begin, end == std::wstring::npos ? end : end + 1 - begin);
        store(L"PrimaryConfigStores", list);
    }
}

void ChainOracle::addThroughFeatureSet(const StorePtr& store) {
    add(store);
    applyPolicies();
}

}  // namespace simulation
