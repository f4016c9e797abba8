#pragma once

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "chain/ConfigMap.h"
#include "chain/ConfigStoreManager_Observer.h"
#include "tessel/Mutex.h"
#include "unified/UnifiedFactory.h"

/// The chain: an ordered list of stores, the answer to a key, the writes, and the reports of every change.
///
/// Any thread. Lock order: chain lock, then sensitive-key lock or observer lock, then a store's own. Observers run
/// under these locks, on the calling thread.
class ConfigStoreManager {
public:
    explicit ConfigStoreManager(std::shared_ptr<UnifiedFactory> factory);

    ConfigStoreManager(const ConfigStoreManager&) = delete;
    ConfigStoreManager& operator=(const ConfigStoreManager&) = delete;

    // Reading.

    bool getValue(const std::wstring& key, std::wstring& value, bool skipLocal);
    bool getValue(const std::wstring& key, std::wstring& value, std::wstring& configStoreName, bool& usedOtherKeyName,
                  bool skipLocal);
    bool getValueFromStores(const std::wstring& key, std::wstring& value, std::wstring& configStoreName,
                            bool skipLocal);
    bool getOriginalValue(const std::wstring& key, std::wstring& originalValue, std::wstring& originalStoreName,
                          bool& usedOtherKeyName);
    bool getOriginalValueFromStores(const std::wstring& key, std::wstring& originalValue,
                                    std::wstring& originalStoreName, bool& originalFound);
    bool isKeyAlias(const std::wstring& key, std::wstring& currentKey) const;
    bool hasKeyAlias(const std::wstring& key, std::wstring& oldKey) const;
    bool isKeySensitive(const std::wstring& key);
    static bool ConfigStorePriorityComparer(const std::shared_ptr<ConfigStore>& a,
                                            const std::shared_ptr<ConfigStore>& b);

    /// The alias table: old key to current key.
    const ConfigMap& getAliasMap() const { return aliasMap_; }

    /// The stores in chain order at this moment.
    std::vector<std::shared_ptr<ConfigStore>> getStores();

    // Writing.

    bool storeValue(const std::wstring& key, const std::wstring& value);
    bool storeValue(const std::map<std::wstring, std::wstring>& values);
    bool storeInMemoryValue(const std::wstring& key, const std::wstring& value);
    bool eraseKey(const std::wstring& key);
    void setKeySensitive(const std::wstring& key);

    // Reporting.

    void updateKey(std::wstring key, bool silent);
    void notifyObservers(const std::shared_ptr<ConfigStore>& store);
    void notifyObservers(const std::vector<std::wstring>& keys);
    void NotifyConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue,
                                    bool isOverridden, bool isDefined, std::wstring valueStoreName,
                                    std::wstring originalValueStoreName, bool silent);
    void NotifyFireIfRequired(std::wstring key);
    void AddObserver(ConfigStoreManager_Observer* observer);
    void RemoveObserver(ConfigStoreManager_Observer* observer);

    // Membership.

    void addStore(const std::shared_ptr<ConfigStore>& store);
    bool containsStore(std::string name);
    void updateStoreValues(const std::shared_ptr<ConfigStore>& store);
    void updateStoreValues(const std::shared_ptr<ConfigStore>& store, const std::vector<std::wstring>& oldKeys);
    static bool isInMemoryConfigStore(std::string name);
    bool removeStoreWithSameName(const std::string& name);
    void removeStoreOnDuplicateAdded(const std::string& name);
    bool removeCacheFile(const std::string& fileName);
    void removeAllCachedConfigStores();
    void destroy();
    void reset();
    void clearConfigStores();
    void resetConfigData();
    bool waitForStoresReady();
    void waitForStoreReady(const std::string& name);

    /// Runs a change of several steps under the chain lock, so that nobody reads or writes in between. The change must
    /// not wait for another thread.
    void atomically(const std::function<void()>& change);

    // Provisioning by link.

    bool setUrlProvisioningData(const std::wstring& url);
    bool resetAllowUriProvisioningData();
    static bool parseUrlProvisioningData(const std::wstring& url, ConfigMap& values);

private:
    tessel::Mutex chainMutex_;
    tessel::Mutex sensitiveKeysMutex_;
    tessel::Mutex observersMutex_;
    std::vector<std::shared_ptr<ConfigStore>> chain_ TESSEL_GUARDED_BY(chainMutex_);
    SensitiveKeySet sensitiveKeys_ TESSEL_GUARDED_BY(sensitiveKeysMutex_);
    std::set<ConfigStoreManager_Observer*> observers_ TESSEL_GUARDED_BY(observersMutex_);
    const std::shared_ptr<UnifiedFactory> factory_;
    ConfigMap aliasMap_;
    ConfigMap legacyMap_;
};
