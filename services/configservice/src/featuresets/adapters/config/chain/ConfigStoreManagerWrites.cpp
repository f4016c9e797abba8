#include "chain/ConfigStoreManager.h"

#include <utility>

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"
#include "tessel/Task.h"
#include "tessel/TesselLogger.h"

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("ConfigStoreManager");
    return instance;
}

class PersistTask : public tessel::Task {
public:
    explicit PersistTask(const SearchedStore& store)
        : store_(store.store()),
          requests_(store.persistRequests()),
          request_(requests_ != nullptr ? requests_->requestPersist() : 0) {}

    void run() override {
        if (requests_ != nullptr) {
            requests_->persistRequested(request_);
        } else {
            store_->persistValues();
        }
    }

    const std::string& getName() const override {
        static const std::string name = "ConfigStore::persistValues";
        return name;
    }

private:
    const std::shared_ptr<ConfigStore> store_;
    PersistRequests* const requests_;
    const std::uint64_t request_;
};

bool takesUserValues(const SearchedStore& store) { return !store.isReadOnly() && !store.isInMemory(); }

void storeAll(ConfigStore& store, const std::map<std::wstring, std::wstring>& values) {
    for (const auto& [key, value] : values) {
        if (!store.storeValue(key, value)) {
            TesselLog(logger(), 3, __FILE__, __LINE__, "storeValue",
                      L"Unable to store the value with key: " + key.substr(0, 1));
        }
    }
}

}  // namespace

bool ConfigStoreManager::storeValue(const std::wstring& key, const std::wstring& value) {
    const std::wstring own = key;  // an observer may take the caller's away
    const FoldedKey folded(own);
    bool stored = false;
    const StoreChain::Lock lock(chain_);
    chain_.walk(lock, [&](const SearchedStore& store) {
        if (!takesUserValues(store)) {
            return true;
        }
        stored = store.storeValue(folded, value);
        enqueuePersist(store);
        report(lock, folded, false);
        return false;
    });
    return stored;
}

bool ConfigStoreManager::storeValue(const std::map<std::wstring, std::wstring>& values) {
    bool reachedOne = false;
    const StoreChain::Lock lock(chain_);
    chain_.walk(lock, [&](const SearchedStore& store) {
        if (takesUserValues(store)) {
            storeAll(*store.store(), values);
            enqueuePersist(store);
            for (const auto& entry : values) {
                report(lock, FoldedKey(entry.first), false);
            }
            reachedOne = true;
        }
        return true;
    });
    return reachedOne;
}

bool ConfigStoreManager::storeInMemoryValue(const std::wstring& key, const std::wstring& value) {
    const StoreChain::Lock lock(chain_);
    const std::shared_ptr<ConfigStore> store = chain_.find(ConfigStoreConstants::IN_MEMORY_CONFIG_STORE_NAME);
    if (store == nullptr) {
        return false;
    }
    const bool stored = store->storeValue(key, value);
    updateKey(key, false);
    return stored;
}

bool ConfigStoreManager::eraseKey(const std::wstring& key) {
    const StoreChain::Lock lock(chain_);
    std::vector<std::wstring> names = {key};
    std::wstring otherName;
    if (isKeyAlias(key, otherName)) {
        names.push_back(otherName);
    }
    if (hasKeyAlias(key, otherName)) {
        names.push_back(otherName);
    }
    bool removed = false;
    chain_.walk([&](const SearchedStore& store) {
        if (store.isReadOnly()) {
            return true;
        }
        for (const std::wstring& name : names) {
            if (store.store()->removeValue(name)) {
                enqueuePersist(store);
                removed = true;
            }
        }
        return true;
    });
    if (removed) {
        updateKey(key, false);
    }
    return removed;
}

void ConfigStoreManager::setKeySensitive(const std::wstring& key) {
    {
        const tessel::ScopedLock lock(sensitiveKeysMutex_);
        sensitiveKeys_.insert(key);
    }
    forEachObserver([&](ConfigStoreManager_Observer& observer, KeyReportReceiver* /*receiver*/) {
        observer.onSensitiveKeyAddedOrUpdated(key);
    });
}

void ConfigStoreManager::enqueuePersist(const std::shared_ptr<ConfigStore>& store) {
    enqueuePersist(SearchedStore(store));
}

void ConfigStoreManager::enqueuePersist(const SearchedStore& store) {
    Processing::TaskDispatcher* const dispatcher = factory_ != nullptr ? factory_->getTaskDispatcher().get() : nullptr;
    if (dispatcher == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "enqueuePersist",
                  "No task dispatcher, the values are not persisted of store: " + store.store()->getName());
        return;
    }
    dispatcher->enqueue(std::make_shared<PersistTask>(store));
}
