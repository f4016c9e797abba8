#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "LockRanks.h"
#include "chain/ConfigMap.h"
#include "chain/ConfigStoreManager_Observer.h"
#include "chain/KeyReport.h"
#include "chain/KeyResolver.h"
#include "chain/StoreChain.h"
#include "tessel/Mutex.h"
#include "unified/UnifiedFactory.h"

/// The chain: an ordered list of stores, the answer to a key, the writes, and the reports of every change.
///
/// A write never reports what was written: after any change the key is worked out anew over the whole chain, and that
/// is what the observers hear.
///
/// Any thread. Lock order: chain lock, then sensitive-key lock or observer lock, then a store's own; all are reentrant.
/// The chain lock is held across the calls into stores and observers, on the calling thread. From inside such a call
/// anything here may be called on that same thread: walks go on with what the chain has become. Waiting there for
/// another thread that calls the manager never ends. A store that leaves the chain is released once the chain lock is
/// free.
class ConfigStoreManager {
public:
    /// Starts with an empty chain. @param factory source of the task queue for persisting; null, or one without that
    /// queue, is survived: nothing is persisted, and a level 3 line says so.
    explicit ConfigStoreManager(std::shared_ptr<UnifiedFactory> factory);

    /// Lets go of the stores; does not call their destroy(). No observer may be registered any more.
    ~ConfigStoreManager() = default;

    ConfigStoreManager(const ConfigStoreManager&) = delete;
    ConfigStoreManager& operator=(const ConfigStoreManager&) = delete;

    // Reading.

    /// The value of a key under its current name, or else under its old one, whichever of the two is given. Logged at
    /// level 5, with the value of a sensitive key hidden.
    /// @param value on a miss, what the last store that was asked has left there; untouched with no store to ask.
    /// @param skipLocal true: only the read-only stores are asked.
    /// @return true if a store has the key.
    bool getValue(const std::wstring& key, std::wstring& value, bool skipLocal);

    /// @param configStoreName receives the name of the store that answered; untouched on a miss.
    /// @param usedOtherKeyName becomes true if the value lies under the old name while the current one has none; never
    ///                         becomes false, so set it before.
    bool getValue(const std::wstring& key, std::wstring& value, std::wstring& configStoreName, bool& usedOtherKeyName,
                  bool skipLocal);

    /// The same for exactly this key: no other name is tried, nothing is logged.
    bool getValueFromStores(const std::wstring& key, std::wstring& value, std::wstring& configStoreName,
                            bool skipLocal);

    /// The value that the read-only stores have, ignoring the user's own, under both names of the key.
    /// @param originalValue empty if none has it. @param originalStoreName untouched if none has it.
    /// @param usedOtherKeyName receives whether the answer is that of the other name.
    /// @return whether a writable store with the key stands ahead of the read-only ones, or there are none that have
    /// it.
    bool getOriginalValue(const std::wstring& key, std::wstring& originalValue, std::wstring& originalStoreName,
                          bool& usedOtherKeyName);

    /// The same for exactly this key. @param originalFound receives whether a read-only store has it.
    bool getOriginalValueFromStores(const std::wstring& key, std::wstring& originalValue,
                                    std::wstring& originalStoreName, bool& originalFound);

    /// True if the key is an old name; currentKey receives the current one, or the empty text. No lock.
    bool isKeyAlias(const std::wstring& key, std::wstring& currentKey) const;

    /// True if the key is the current name of a renamed one; oldKey receives the old name, or the empty text. No lock.
    bool hasKeyAlias(const std::wstring& key, std::wstring& oldKey) const;

    /// True if the key was marked by setKeySensitive(), in any case.
    bool isKeySensitive(const std::wstring& key);

    /// The order of the chain: a has the smaller priority number.
    static bool ConfigStorePriorityComparer(const std::shared_ptr<ConfigStore>& a,
                                            const std::shared_ptr<ConfigStore>& b);

    /// The alias table: old key to current key. Constant.
    const ConfigMap& getAliasMap() const { return renamedKeys_.currentNames(); }

    /// The stores in chain order at this moment.
    std::vector<std::shared_ptr<ConfigStore>> getStores();

    // Writing.

    /// Writes to the first writable store that is not the in-memory one, queues the persisting of that store and
    /// reports the key, whether the store took the value or not.
    /// @return whether the store took the value; false if there is no such store, and then nothing is reported.
    bool storeValue(const std::wstring& key, const std::wstring& value);

    /// Writes all entries to every writable store that is not the in-memory one; queues one persisting and reports
    /// every key for each of those stores. A refused entry is logged at level 3 by the first character of its key.
    /// @return whether there was such a store, not whether it took the values.
    bool storeValue(const std::map<std::wstring, std::wstring>& values);

    /// Writes to the in-memory store only and reports the key. @return the store's answer; false if there is none, and
    /// then nothing is reported.
    bool storeInMemoryValue(const std::wstring& key, const std::wstring& value);

    /// Removes the key, under both of its names, from every writable store, the in-memory one included. Each removal
    /// queues a persisting of its own; one report follows if anything was removed.
    /// @return whether anything was removed.
    bool eraseKey(const std::wstring& key);

    /// Keeps the key's values out of the logs from now on and tells the observers.
    void setKeySensitive(const std::wstring& key);

    /// Queues the persisting of a store. Without a task queue a level 3 line says that nothing is persisted.
    void enqueuePersist(const std::shared_ptr<ConfigStore>& store);

    // Reporting.

    /// Works out the key over the chain and reports it under its current name; says nothing if the key is an old name
    /// and the current one has a value of its own. Holds the chain lock, so that the reports of a key come in the order
    /// of the states that they tell.
    void updateKey(std::wstring key, bool silent);

    /// Reports all keys of the store; null is ignored.
    void notifyObservers(const std::shared_ptr<ConfigStore>& store);

    /// Reports the keys silently, one and all, before the first of them is fired.
    void notifyObservers(const std::vector<std::wstring>& keys);

    /// Hands a report to every observer, in ascending order of their addresses, under the observer lock.
    void NotifyConfigAddedOrUpdated(std::wstring key, std::wstring value, std::wstring originalValue, bool isOverridden,
                                    bool isDefined, std::wstring valueStoreName, std::wstring originalValueStoreName,
                                    bool silent);
    void NotifyFireIfRequired(std::wstring key);

    /// Observers are not owned. Null is ignored, and so is a second registration.
    void AddObserver(ConfigStoreManager_Observer* observer);

    /// When it returns, no call into the observer is under way on another thread and none will come. Null is ignored.
    void RemoveObserver(ConfigStoreManager_Observer* observer);

    // Membership.

    /// Puts a store into its place and reports its keys; one of the same name is replaced, see updateStoreValues().
    /// Null is ignored.
    void addStore(const std::shared_ptr<ConfigStore>& store);

    /// Names are compared without regard to case, here and below, but in resetConfigData().
    bool containsStore(std::string name);

    /// The first store of that name; null if there is none.
    std::shared_ptr<ConfigStore> findStore(const std::string& name);

    /// Replaces the store of the same name, with the keys that it has now; see below. The walk goes on behind a match
    /// over the changed chain, so a new store that has moved further down is met, and reported, once more.
    void updateStoreValues(const std::shared_ptr<ConfigStore>& store);

    /// Replaces the store of the same name, and its cached copy: reports the old keys that the new store lacks, fired
    /// at once, then the keys of the new store. Nothing happens if the chain has no store of the name.
    void updateStoreValues(const std::shared_ptr<ConfigStore>& store, const std::vector<std::wstring>& oldKeys);

    static bool isInMemoryConfigStore(std::string name);

    /// Removes the store and reports its keys; the cache file of a cached store, or of the one made from a link, goes
    /// too. @return false if there is no such store.
    bool removeStoreWithSameName(const std::string& name);

    /// Removes the store, and the cached copy of a cached one, without a report: its caller reports. Files stay.
    void removeStoreOnDuplicateAdded(const std::string& name);

    /// Removes a file of the cache folder, unless CacheFiles::areStrangers(), and waits until the disk has that.
    /// @return whether it was there.
    bool removeCacheFile(const std::string& fileName);

    /// Removes every file of the cache folder, and the store that bears its name; only the stores if
    /// CacheFiles::areStrangers().
    void removeAllCachedConfigStores();

    /// Calls destroy() of every store. The stores stay in the chain.
    void destroy();

    /// clearConfigStores() under another name.
    void reset();

    /// Removes and reports every store that is not local, from the last to the first.
    void clearConfigStores();

    /// Removes what belongs to the user, by removeStoreWithSameName() from the last store to the first: every store but
    /// those of the link, the installer's file, the defaults and the override, whose names are compared exactly.
    void resetConfigData();

    /// Waits for each store in turn, with the chain lock held all the time: nobody can read meanwhile.
    /// @return false as soon as one store is not ready.
    bool waitForStoresReady();

    /// Waits for the store of that name with no lock held. An unknown name returns at once.
    void waitForStoreReady(const std::string& name);

    /// Runs a change of several steps under the chain lock, so that nobody reads or writes in between. The change must
    /// not wait for another thread.
    void atomically(const std::function<void()>& change);

    // Provisioning by link.

    /// Makes a store, with a file, from the known keys in a link, puts it into the chain, and then stores "False" under
    /// "AllowUrlProvisioning". Whether links are allowed is for the caller to find out. Of several at once, each of
    /// which may be allowed, the one that writes its file last is the one that stays in the chain.
    /// @return false, with nothing changed, if the link holds no known key.
    bool setUrlProvisioningData(const std::wstring& url);

    /// Erases "AllowUrlProvisioning". @return whether it was there to be erased.
    bool resetAllowUriProvisioningData();

    /// @param url any text, "?", then key=value parts joined by "&"; 1 to 999 units. There is no escaping.
    /// @param values receives the entries whose keys are known, spelt as in the link.
    /// @return whether values has any entry then.
    static bool parseUrlProvisioningData(const std::wstring& url, ConfigMap& values);

private:
    void enqueuePersist(const SearchedStore& store);

    /// updateKey() without a copy of the key, which must stay as it is whatever the observers do.
    void report(const StoreChain::Lock& lock, const FoldedKey& key, bool silent);

    /// Over the chain as it stands, for the life of the lock.
    KeyResolver resolver(const StoreChain::Lock& lock) { return KeyResolver(chain_.searchList(lock), renamedKeys_); }
    void logLookup(const std::wstring& key, const KeyResolver::Lookup& lookup, const std::wstring& storeName,
                   bool skipLocal);

    /// Hands a report over to every observer, as NotifyConfigAddedOrUpdated() does.
    void tell(const KeyReport& report);

    /// The same for NotifyFireIfRequired().
    void fire(const FoldedKey& key);

    /// Fires a key whose state was reported silently.
    void fireReported(const StoreChain::Lock& lock, const FoldedKey& key);

    /// Tells the module's own observers what comes next.
    void expect(std::span<const FoldedKey> keys);

    /// Calls tell(observer, receiver); the receiver is null for an observer from outside. Observers may come and go
    /// from inside a report: each step goes to the next greater address.
    template <typename Tell>
    void forEachObserver(const Tell& tell) {
        const tessel::ScopedLock lock(observersMutex_);
        for (auto next = observers_.begin(); next != observers_.end();) {
            const auto [observer, receiver] = *next;
            tell(*observer, receiver);
            next = observers_.upper_bound(observer);
        }
    }

    // Held while the file of a link is written and the link gets its number.
    tessel::Mutex linkFileMutex_{LockRanks::CACHE_FILES};
    std::atomic<std::uint64_t> lastLink_ = 0;
    tessel::Mutex sensitiveKeysMutex_{LockRanks::SENSITIVE_KEYS};
    tessel::Mutex observersMutex_{LockRanks::CHAIN_OBSERVERS};
    StoreChain chain_;
    SensitiveKeySet sensitiveKeys_ TESSEL_GUARDED_BY(sensitiveKeysMutex_);
    std::map<ConfigStoreManager_Observer*, KeyReportReceiver*> observers_ TESSEL_GUARDED_BY(observersMutex_);
    const std::shared_ptr<UnifiedFactory> factory_;
    const RenamedKeys renamedKeys_;
};
