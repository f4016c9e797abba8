#include "stores/InMemoryConfigStore.h"

#include "ConfigStoreConstants.h"
#include "chain/DisableP2PCallOnFips.h"
#include "tessel/TesselLogger.h"

namespace {

constexpr std::int32_t PRIORITY = 600;

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("InMemoryConfigStore");
    return instance;
}

}  // namespace

bool InMemoryConfigStore::getValue(const std::wstring& key, std::wstring& value) {
    const tessel::ScopedLock lock(mutex_);
    const auto found = values_.find(key);
    if (found == values_.end()) {
        value.clear();
        return false;
    }
    value = found->second;
    DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(key, value);
    return true;
}

bool InMemoryConfigStore::storeValue(const std::wstring& key, const std::wstring& value) {
    const tessel::ScopedLock lock(mutex_);
    values_[key] = value;
    return true;
}

std::vector<std::wstring> InMemoryConfigStore::getKeys() {
    const tessel::ScopedLock lock(mutex_);
    std::vector<std::wstring> keys;
    keys.reserve(values_.size());
    for (const auto& entry : values_) {
        keys.push_back(entry.first);
    }
    return keys;
}

bool InMemoryConfigStore::removeValue(const std::wstring& key) {
    const tessel::ScopedLock lock(mutex_);
    return values_.erase(key) > 0;
}

void InMemoryConfigStore::removeAllValues() {
    const tessel::ScopedLock lock(mutex_);
    values_.clear();
}

bool InMemoryConfigStore::isReadOnly() { return false; }

std::string InMemoryConfigStore::getName() { return ConfigStoreConstants::IN_MEMORY_CONFIG_STORE_NAME; }

std::int32_t InMemoryConfigStore::getPriority() { return PRIORITY; }

void InMemoryConfigStore::persistValues() {
    if (TesselLog_isDebugEnabled(logger())) {
        TesselLog(logger(), 5, __FILE__, __LINE__, "persistValues",
                  std::string("PersistValues() is not implemented for InMemoryConfigStore ignoring"));
    }
}

void InMemoryConfigStore::destroy() {}

bool InMemoryConfigStore::isLocal() { return true; }

bool InMemoryConfigStore::waitForStoreReady() { return true; }
