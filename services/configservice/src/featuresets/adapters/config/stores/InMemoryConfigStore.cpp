#include "stores/InMemoryConfigStore.h"

#include "ConfigStoreConstants.h"
#include "tessel/TesselLogger.h"

namespace {

constexpr std::int32_t PRIORITY = 600;

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("InMemoryConfigStore");
    return instance;
}

}  // namespace

bool InMemoryConfigStore::getValue(const std::wstring& key, std::wstring& value) {
    return lookUp(FoldedKey(key), value);
}

bool InMemoryConfigStore::lookUp(const FoldedKey& key, std::wstring& value) {
    const tessel::ScopedLock lock(mutex_);
    return answer(values_.find(key), key, value);
}

bool InMemoryConfigStore::storeValue(const std::wstring& key, const std::wstring& value) {
    const tessel::ScopedLock lock(mutex_);
    values_.set(FoldedKey(key), value);
    return true;
}

std::vector<std::wstring> InMemoryConfigStore::getKeys() {
    const tessel::ScopedLock lock(mutex_);
    return values_.keys();
}

bool InMemoryConfigStore::removeValue(const std::wstring& key) {
    const tessel::ScopedLock lock(mutex_);
    return values_.erase(FoldedKey(key));
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
