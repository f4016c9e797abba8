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
        reportGate_->toTheEnd([this] { configStoreManager_->removeAllCachedConfigStores(); });
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

template <typename Change>
bool ConfigAdapter::change(const Change& change) {
    bool done = false;
    if (configStoreManager_ != nullptr) {
        reportGate_->toTheEnd([&] { done = change(*configStoreManager_); });
    }
    return done;
}

bool ConfigAdapter::setConfig(const std::wstring& key, const std::wstring& value) {
    return change([&](ConfigStoreManager& manager) { return manager.storeValue(key, value); });
}

bool ConfigAdapter::setConfig(std::map<std::wstring, std::wstring> values) {
    return change([&](ConfigStoreManager& manager) { return manager.storeValue(values); });
}

bool ConfigAdapter::setInMemoryConfig(const std::wstring& key, const std::wstring& value) {
    if (!isStarted()) {
        logNotStarted("setInMemoryConfig", "");
    }
    return change([&](ConfigStoreManager& manager) { return manager.storeInMemoryValue(key, value); });
}

void ConfigAdapter::resetConfig(const std::wstring& key) {
    change([&](ConfigStoreManager& manager) { return manager.eraseKey(key); });
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
    return change([&](ConfigStoreManager& manager) {
        return !refusesUrlProvisioning(manager) && manager.setUrlProvisioningData(data);
    });
}

bool ConfigAdapter::resetAllowUriProvisioningData() {
    return change([](ConfigStoreManager& manager) {
        return refusesUrlProvisioning(manager) && manager.resetAllowUriProvisioningData();
    });
}
