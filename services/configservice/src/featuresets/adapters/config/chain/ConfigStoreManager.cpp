#include "chain/ConfigStoreManager.h"

#include <utility>

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"
#include "tessel/TesselLogger.h"

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("ConfigStoreManager");
    return instance;
}

/// The text stays as it is if no store has answered.
void giveName(const StoreName& name, std::wstring& text) {
    if (name.isGiven()) {
        text = name.text();
    }
}

bool giveOtherName(const std::wstring* name, std::wstring& otherName) {
    otherName = name != nullptr ? *name : std::wstring();
    return name != nullptr;
}

std::wstring describeRoad(const KeyResolver::Lookup& lookup) {
    switch (lookup.road) {
    case KeyResolver::Road::CurrentKey:
        return L"is an alias. Key has been renamed. Actual lookup done on key name: [" + lookup.otherName + L"] - ";
    case KeyResolver::Road::LegacyKey:
        return L"did not exist. actual lookup done on legacy key name : [" + lookup.otherName + L"] - ";
    case KeyResolver::Road::AsAsked:
    case KeyResolver::Road::OwnOldName:
        break;
    }
    return {};
}

}  // namespace

ConfigStoreManager::ConfigStoreManager(std::shared_ptr<UnifiedFactory> factory)
    : factory_(std::move(factory)), renamedKeys_(RenamedKeys::read()) {}

bool ConfigStoreManager::getValue(const std::wstring& key, std::wstring& value, bool skipLocal) {
    const FoldedKey folded(key);  // before the lock, which others wait for
    const StoreChain::Lock lock(chain_);
    KeyResolver::Lookup lookup;
    lookup.value = std::move(value);
    // The name of the store is for the log alone.
    lookup.namesStore = TesselLog_isDebugEnabled(logger());
    resolver(lock).lookUp(folded, skipLocal, lookup);
    if (lookup.namesStore) {
        logLookup(key, lookup, lookup.storeName.text(), skipLocal);
    }
    value = std::move(lookup.value);
    return lookup.found;
}

bool ConfigStoreManager::getValue(const std::wstring& key, std::wstring& value, std::wstring& configStoreName,
                                  bool& usedOtherKeyName, bool skipLocal) {
    const FoldedKey folded(key);  // before the lock, which others wait for
    const StoreChain::Lock lock(chain_);
    KeyResolver::Lookup lookup;
    lookup.value = std::move(value);
    resolver(lock).lookUp(folded, skipLocal, lookup);
    giveName(lookup.storeName, configStoreName);
    logLookup(key, lookup, configStoreName, skipLocal);
    value = std::move(lookup.value);
    usedOtherKeyName = usedOtherKeyName || lookup.usedOtherKeyName();
    return lookup.found;
}

bool ConfigStoreManager::getValueFromStores(const std::wstring& key, std::wstring& value, std::wstring& configStoreName,
                                            bool skipLocal) {
    const FoldedKey folded(key);  // before the lock, which others wait for
    const StoreChain::Lock lock(chain_);
    KeyResolver::Answer answer;
    answer.value = std::move(value);
    resolver(lock).lookUpExactly(folded, skipLocal, answer);
    value = std::move(answer.value);
    giveName(answer.storeName, configStoreName);
    return answer.found;
}

bool ConfigStoreManager::getOriginalValue(const std::wstring& key, std::wstring& originalValue,
                                          std::wstring& originalStoreName, bool& usedOtherKeyName) {
    const FoldedKey folded(key);  // before the lock, which others wait for
    const StoreChain::Lock lock(chain_);
    KeyResolver::Original original;
    resolver(lock).lookUpOriginal(folded, original);
    originalValue = std::move(original.value);
    giveName(original.storeName, originalStoreName);
    usedOtherKeyName = original.usedOtherKeyName;
    return original.isOverridden;
}

bool ConfigStoreManager::getOriginalValueFromStores(const std::wstring& key, std::wstring& originalValue,
                                                    std::wstring& originalStoreName, bool& originalFound) {
    const FoldedKey folded(key);  // before the lock, which others wait for
    const StoreChain::Lock lock(chain_);
    KeyResolver::Original original;
    resolver(lock).lookUpOriginalExactly(folded, original);
    originalValue = std::move(original.value);
    giveName(original.storeName, originalStoreName);
    originalFound = original.found;
    return original.isOverridden;
}

bool ConfigStoreManager::isKeyAlias(const std::wstring& key, std::wstring& currentKey) const {
    return giveOtherName(renamedKeys_.currentNameOf(FoldedKey(key)), currentKey);
}

bool ConfigStoreManager::hasKeyAlias(const std::wstring& key, std::wstring& oldKey) const {
    return giveOtherName(renamedKeys_.oldNameOf(FoldedKey(key)), oldKey);
}

bool ConfigStoreManager::isKeySensitive(const std::wstring& key) {
    const tessel::ScopedLock lock(sensitiveKeysMutex_);
    return sensitiveKeys_.count(key) > 0;
}

bool ConfigStoreManager::ConfigStorePriorityComparer(const std::shared_ptr<ConfigStore>& a,
                                                     const std::shared_ptr<ConfigStore>& b) {
    return StoreChain::precedes(a, b);
}

std::vector<std::shared_ptr<ConfigStore>> ConfigStoreManager::getStores() { return *chain_.stores(); }

void ConfigStoreManager::logLookup(const std::wstring& key, const KeyResolver::Lookup& lookup,
                                   const std::wstring& storeName, bool skipLocal) {
    if (!TesselLog_isDebugEnabled(logger())) {
        return;
    }
    const std::wstring& shown = isKeySensitive(key) ? ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT : lookup.value;
    TesselLog(logger(), 5, __FILE__, __LINE__, "getValue",
              L"key : [" + key + L"] " + describeRoad(lookup) + L"skipLocal : [" + (skipLocal ? L"1" : L"0") +
                  L"]  value: [" + shown + L"] success: [" + QuillCoreUtils::toWideString(lookup.found) +
                  L"] configStoreName: [" + storeName + L"]");
}
