#include <utility>

#include "ConfigAdapter.h"
#include "ConfigStoreConstants.h"
#include "chain/WipedAtEnd.h"
#include "quill/StringUtils.h"

// What clients ask of the feature set and the chain answers. Before the start most of these only say so in the log: the
// stores of the constructor answer, and the log tells a puzzled reader why the answer may be thin.

namespace {

bool refusesUrlProvisioning(ConfigStoreManager& manager) {
    std::wstring value;
    return manager.getValue(ConfigStoreConstants::ALLOW_URL_PROVISIONING_KEY, value, false) &&
           QuillCoreUtils::caseInsensitiveStringEquals(value, L"false");
}

}  // namespace

void ConfigAdapter::logNotStarted(const char* function, const std::string& consequence) const {
    TesselLog(logger(), 2, __FILE__, __LINE__, function, "Config FeatureSet Not Started" + consequence);
}

void ConfigAdapter::removeAllCachedConfigStores() {
    if (!isStarted()) {
        logNotStarted("removeAllCachedConfigStores", ", failed to remove cached ConfigStores");
    }
    if (configStoreManager_ != nullptr) {
        configStoreManager_->removeAllCachedConfigStores();
    }
}

bool ConfigAdapter::getConfig(const std::wstring& key, std::wstring& value, bool skipLocal) {
    std::wstring storeName;
    bool usedOtherKeyName = false;
    return getConfig(key, value, storeName, usedOtherKeyName, skipLocal);
}

bool ConfigAdapter::getConfig(const std::wstring& key, std::wstring& value, std::wstring& storeName,
                              bool& usedOtherKeyName, bool skipLocal) {
    if (!isStarted()) {
        logNotStarted("getConfig", "");
    }
    return configStoreManager_ != nullptr &&
           configStoreManager_->getValue(key, value, storeName, usedOtherKeyName, skipLocal);
}

std::wstring ConfigAdapter::readConfig(const std::wstring& key) {
    std::wstring value;
    return getConfig(key, value, false) ? value : std::wstring();
}

bool ConfigAdapter::setConfig(const std::wstring& key, const std::wstring& value) {
    return configStoreManager_ != nullptr && configStoreManager_->storeValue(key, value);
}

bool ConfigAdapter::setConfig(std::map<std::wstring, std::wstring> values) {
    return configStoreManager_ != nullptr && configStoreManager_->storeValue(values);
}

bool ConfigAdapter::setInMemoryConfig(const std::wstring& key, const std::wstring& value) {
    if (!isStarted()) {
        logNotStarted("setInMemoryConfig", "");
    }
    return configStoreManager_ != nullptr && configStoreManager_->storeInMemoryValue(key, value);
}

void ConfigAdapter::resetConfig(const std::wstring& key) {
    if (configStoreManager_ != nullptr) {
        configStoreManager_->eraseKey(key);
    }
}

bool ConfigAdapter::isKeySensitive(const std::wstring& key) {
    return configStoreManager_ != nullptr && configStoreManager_->isKeySensitive(key);
}

void ConfigAdapter::setKeySensitive(const std::wstring& key) {
    if (configStoreManager_ != nullptr) {
        configStoreManager_->setKeySensitive(key);
    }
}

bool ConfigAdapter::setUrlProvisioningData(std::wstring data) {
    const WipedAtEnd wiped(data);
    return configStoreManager_ != nullptr && !refusesUrlProvisioning(*configStoreManager_) &&
           configStoreManager_->setUrlProvisioningData(data);
}

bool ConfigAdapter::resetAllowUriProvisioningData() {
    return configStoreManager_ != nullptr && refusesUrlProvisioning(*configStoreManager_) &&
           configStoreManager_->resetAllowUriProvisioningData();
}
