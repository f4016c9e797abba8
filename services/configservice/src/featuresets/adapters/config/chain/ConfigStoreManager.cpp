#include "chain/ConfigStoreManager.h"

#include <utility>

#include "ConfigStoreConstants.h"
#include "chain/ConfigKeyAliasesMapper.h"
#include "quill/StringUtils.h"
#include "tessel/TesselLogger.h"

namespace {

bool findOtherName(const ConfigMap& names, const std::wstring& key, std::wstring& otherName) {
    const auto found = names.find(key);
    otherName = found != names.end() ? found->second : std::wstring();
    return found != names.end();
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

ConfigStoreManager::ConfigStoreManager(std::shared_ptr<UnifiedFactory> factory) : factory_(std::move(factory)) {
    ConfigKeyAliasesMapper::GetConfigKeyAliases(aliasMap_, legacyMap_);
}

bool ConfigStoreManager::getValue(const std::wstring& key, std::wstring& value, bool skipLocal) {
    std::wstring configStoreName;
    bool usedOtherKeyName = false;
    return getValue(key, value, configStoreName, usedOtherKeyName, skipLocal);
}

bool ConfigStoreManager::getValue(const std::wstring& key, std::wstring& value, std::wstring& configStoreName,
                                  bool& usedOtherKeyName, bool skipLocal) {
    const StoreChain::Lock lock(chain_);
    const std::shared_ptr<const StoreList> stores = chain_.stores();
    KeyResolver::Lookup lookup;
    lookup.value = std::move(value);
    lookup.storeName = std::move(configStoreName);
    resolverFor(*stores).lookUp(key, skipLocal, lookup);
    logLookup(key, lookup, skipLocal);
    value = std::move(lookup.value);
    configStoreName = std::move(lookup.storeName);
    usedOtherKeyName = usedOtherKeyName || lookup.usedOtherKeyName();
    return lookup.found;
}

bool ConfigStoreManager::getValueFromStores(const std::wstring& key, std::wstring& value, std::wstring& configStoreName,
                                            bool skipLocal) {
    const StoreChain::Lock lock(chain_);
    const std::shared_ptr<const StoreList> stores = chain_.stores();
    KeyResolver::Answer answer{false, std::move(value), std::move(configStoreName)};
    resolverFor(*stores).lookUpExactly(key, skipLocal, answer);
    value = std::move(answer.value);
    configStoreName = std::move(answer.storeName);
    return answer.found;
}

bool ConfigStoreManager::getOriginalValue(const std::wstring& key, std::wstring& originalValue,
                                          std::wstring& originalStoreName, bool& usedOtherKeyName) {
    const StoreChain::Lock lock(chain_);
    const std::shared_ptr<const StoreList> stores = chain_.stores();
    KeyResolver::Original original;
    original.storeName = std::move(originalStoreName);
    resolverFor(*stores).lookUpOriginal(key, original);
    originalValue = std::move(original.value);
    originalStoreName = std::move(original.storeName);
    usedOtherKeyName = original.usedOtherKeyName;
    return original.isOverridden;
}

bool ConfigStoreManager::getOriginalValueFromStores(const std::wstring& key, std::wstring& originalValue,
                                                    std::wstring& originalStoreName, bool& originalFound) {
    const StoreChain::Lock lock(chain_);
    const std::shared_ptr<const StoreList> stores = chain_.stores();
    KeyResolver::Original original;
    original.storeName = std::move(originalStoreName);
    resolverFor(*stores).lookUpOriginalExactly(key, original);
    originalValue = std::move(original.value);
    originalStoreName = std::move(original.storeName);
    originalFound = original.found;
    return original.isOverridden;
}

bool ConfigStoreManager::isKeyAlias(const std::wstring& key, std::wstring& currentKey) const {
    return findOtherName(aliasMap_, key, currentKey);
}

bool ConfigStoreManager::hasKeyAlias(const std::wstring& key, std::wstring& oldKey) const {
    return findOtherName(legacyMap_, key, oldKey);
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

void ConfigStoreManager::logLookup(const std::wstring& key, const KeyResolver::Lookup& lookup, bool skipLocal) {
    static TesselLogger* const logger = TesselLogger_getLogger("ConfigStoreManager");
    if (!TesselLog_isDebugEnabled(logger)) {
        return;
    }
    const std::wstring& shown = isKeySensitive(key) ? ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT : lookup.value;
    TesselLog(logger, 5, __FILE__, __LINE__, "getValue",
              L"key : [" + key + L"] " + describeRoad(lookup) + L"skipLocal : [" + (skipLocal ? L"1" : L"0") +
                  L"]  value: [" + shown + L"] success: [" + QuillCoreUtils::toWideString(lookup.found) +
                  L"] configStoreName: [" + lookup.storeName + L"]");
}
