#include <algorithm>
#include <utility>

#include "ConfigAdapter.h"
#include "ConfigStoreConstants.h"
#include "PriorityList.h"
#include "chain/CacheFiles.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "remote/TftpConfigStore.h"
#include "stores/CacheConfigStore.h"

using QuillCoreUtils::FileUtils;

namespace {

constexpr std::int32_t DEFAULT_CACHED_PRIORITY = 240;

/// Kept apart from the one above: addCachedConfigStores() has always had this number.
constexpr std::int32_t DEFAULT_LISTED_PRIORITY = 40;

bool beginsWith(const std::string& name, const std::wstring& prefix) {
    return QuillCoreUtils::caseInsensitiveFind(QuillCoreUtils::toWideString(name), prefix) == 0;
}

bool isPresenceName(const std::wstring& name) {
    return QuillCoreUtils::caseInsensitiveStringEquals(name, ConfigStoreConstants::PRESENCE_CONFIG_STORE_NAME);
}

/// Of a longer list only the entries that have a file make stores: a server may name any number of them, and each
/// lookup asks every store.
constexpr std::size_t MOST_STORES_WITHOUT_A_FILE = 256;

/// The entries of a list that make stores.
ConfigMap listedStores(ConfigMap entries) {
    const std::size_t count = entries.size();
    if (count > MOST_STORES_WITHOUT_A_FILE) {
        std::erase_if(entries, [](const auto& entry) {
            return !FileUtils::fileExists(CacheFiles::path(CacheFiles::nameFor(QuillCoreUtils::toString(entry.first))));
        });
        TesselLog(TesselLogger_getLogger("ConfigAdapter"), 3, __FILE__, __LINE__, "listedStores",
                  "PrimaryConfigStores names " + std::to_string(count) + " stores: only the " +
                      std::to_string(entries.size()) + " that have a file are added");
    }
    return entries;
}

/// Asks the manager itself, so that nothing is logged before the start.
std::wstring readQuietly(ConfigStoreManager& manager, const std::wstring& key) {
    std::wstring value;
    std::wstring storeName;
    bool usedOtherKeyName = false;
    return manager.getValue(key, value, storeName, usedOtherKeyName, false) ? value : std::wstring();
}

}  // namespace

bool ConfigAdapter::isHcmConfigStore(std::string name) { return beginsWith(name, ConfigStoreConstants::HCM_PREFIX); }

bool ConfigAdapter::isPresenceConfigStore(std::string name) {
    return beginsWith(name, ConfigStoreConstants::PRESENCE_CONFIG_STORE_NAME);
}

bool ConfigAdapter::isTftpConfigStore(std::string name) { return beginsWith(name, ConfigStoreConstants::TFTP_PREFIX); }

bool ConfigAdapter::isAUCILyncRegistryConfigStore(std::string name) {
    return beginsWith(name, ConfigStoreConstants::AUCILYNC_REGISTRY_CONFIG_STORE_NAME);
}

ConfigMap ConfigAdapter::getCachedConfigStorePrioityMap(const std::wstring& list) {
    return PriorityList::parse(list).entries();
}

int ConfigAdapter::getNumCacheStores() {
    std::vector<std::string> files;
    FileUtils::getFilesFromDirectory(CacheFiles::directory(), ".xml", files);
    return static_cast<int>(files.size());
}

void ConfigAdapter::InitialiseCachedConfigStores() {
    if (configStoreManager_ == nullptr) {
        return;
    }
    const std::wstring list = readQuietly(*configStoreManager_, ConfigStoreConstants::PRIMARY_CONFIG_STORES_KEY);
    const ConfigMap entries = listedStores(getCachedConfigStorePrioityMap(list));
    for (const auto& [storeName, priority] : entries) {
        if (!isPresenceName(storeName)) {
            addCachedConfigStore(QuillCoreUtils::toString(storeName),
                                 QuillCoreUtils::toInt(priority, DEFAULT_CACHED_PRIORITY));
        }
    }
    const auto presence = entries.find(ConfigStoreConstants::PRESENCE_CONFIG_STORE_NAME);
    if (presence != entries.end()) {
        initialiseCachedPresenceStore(presence->first, presence->second);
    }
    initialiseProvisioningStore();
}

void ConfigAdapter::initialiseProvisioningStore() {
    // In one step: a link that is taken meanwhile writes its file before it adds its store, and must not have the store
    // replaced by what was in the file before.
    configStoreManager_->atomically([this] {
        std::shared_ptr<CacheConfigStore> store = findProvisioningStore();
        // What a link has set and no disk would take is good for this run, which a refresh does not end.
        if (store == nullptr || !store->hasUnwrittenValues()) {
            store = std::make_shared<CacheConfigStore>(ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME,
                                                       CacheFiles::PROVISIONING_PRIORITY,
                                                       CacheFiles::provisioningPath(), store.get());
        }
        configStoreManager_->addStore(store);
    });
}

std::shared_ptr<CacheConfigStore> ConfigAdapter::findProvisioningStore() {
    return std::dynamic_pointer_cast<CacheConfigStore>(
        configStoreManager_->findStore(ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME));
}

void ConfigAdapter::initialiseCachedPresenceStore(const std::wstring& storeName, const std::wstring& priority) {
    const std::wstring productMode = readQuietly(*configStoreManager_, ConfigStoreConstants::PRODUCT_MODE_KEY);
    if (QuillCoreUtils::caseInsensitiveStringEquals(productMode, ConfigStoreConstants::PHONE_MODE)) {
        removeFromCachedStorePriorityMap(ConfigStoreConstants::PRESENCE_CONFIG_STORE_NAME);
        return;
    }
    addCachedConfigStore(QuillCoreUtils::toString(storeName), QuillCoreUtils::toInt(priority, DEFAULT_CACHED_PRIORITY));
}

void ConfigAdapter::addCachedConfigStore(std::string storeName, int priority) {
    const std::string name = CacheFiles::nameFor(storeName);
    const auto replaced = std::dynamic_pointer_cast<CacheConfigStore>(configStoreManager_->findStore(name));
    configStoreManager_->addStore(
        std::make_shared<CacheConfigStore>(name, priority, CacheFiles::path(name), replaced.get()));
}

void ConfigAdapter::addCachedConfigStores(const std::wstring& list) {
    for (const auto& [storeName, priority] : listedStores(getCachedConfigStorePrioityMap(list))) {
        addCachedConfigStore(QuillCoreUtils::toString(storeName),
                             QuillCoreUtils::toInt(priority, DEFAULT_LISTED_PRIORITY));
    }
}

void ConfigAdapter::removeOldCacheConfigStores(const std::shared_ptr<std::vector<std::string>>& /*names*/,
                                               const ConfigMap& /*map*/) {}

void ConfigAdapter::addConfigStore(std::shared_ptr<ConfigStore> store) {
    if (store != nullptr) {
        reportGate_->toTheEnd([&] { addStoreAndItsCopy(store); });
    }
}

void ConfigAdapter::addStoreAndItsCopy(const std::shared_ptr<ConfigStore>& store) {
    const std::string name = store->getName();
    if (!isStarted()) {
        logNotStarted("addConfigStore", ", failed to add ConfigStore with name: [" + name + "]");
        return;
    }
    if (configStoreManager_ == nullptr) {
        return;
    }
    const auto permit = join(store, [&] { configStoreManager_->addStore(store); });
    const auto chained = chainedStores_.find(name);
    if (chained != chainedStores_.end()) {
        waitForChainedStoresReady(name, chained->second);
    }
    if (store->shouldCacheConfigStore()) {
        cacheStoreOnConfigStoreAdded(store, *permit);
    }
    removeCustomServerValuesIfPolicySet();
    if (isHcmConfigStore(name) || isPresenceConfigStore(name) || isTftpConfigStore(name) ||
        isAUCILyncRegistryConfigStore(name)) {
        SetEnabledServices();
    }
}

void ConfigAdapter::waitForChainedStoresReady(const std::string& /*storeName*/,
                                              const std::set<std::string>& dependencies) {
    for (const std::string& dependency : dependencies) {
        if (configStoreManager_->containsStore(dependency)) {
            configStoreManager_->waitForStoreReady(dependency);
            continue;
        }
        // Before its first download the remote store exists without being in the chain.
        const std::shared_ptr<TftpConfigStore> remote = tftpConfigStore_.get();
        if (remote == nullptr || !QuillCoreUtils::caseInsensitiveStringEquals(dependency, remote->getName())) {
            continue;
        }
        if (remote->isTftpConfigured()) {
            remote->waitForStoreReady();
        }
        SetEnabledServices();
    }
}

std::shared_ptr<const CachingPermit> ConfigAdapter::join(const std::shared_ptr<ConfigStore>& store,
                                                         const std::function<void()>& change) {
    std::shared_ptr<const CachingPermit> permit;
    configStoreManager_->atomically([&] {
        permit = cachingGate_.noteJoin(store);
        change();
    });
    return permit;
}

bool ConfigAdapter::isInChain(const std::shared_ptr<ConfigStore>& store) {
    const StoreList stores = configStoreManager_->getStores();
    return std::find(stores.begin(), stores.end(), store) != stores.end();
}

void ConfigAdapter::cacheStoreOnConfigStoreAdded(const std::shared_ptr<ConfigStore>& store,
                                                 const CachingPermit& permit) {
    ConfigMap values;
    copyAllStoreValues(store, values);
    configStoreManager_->atomically([&] {
        if (permit.isGiven()) {
            updateCacheStorePriority(store->getName(), store->getCachedPriority());
        }
    });
    writeCacheFile(*store, values, permit);
    configStoreManager_->atomically([&] {
        // A refresh or a stop may have taken the store out of the chain since it joined: the copy speaks for it then.
        if (isInChain(store)) {
            configStoreManager_->removeStoreWithSameName(CacheFiles::nameFor(store->getName()));
        }
    });
}

void ConfigAdapter::writeCacheFile(ConfigStore& store, const ConfigMap& values, const CachingPermit& permit) {
    // Asked for ahead of the lock: a store may read the chain to answer, and a removal waits for the lock with the
    // chain.
    const std::string name = CacheFiles::nameFor(store.getName());
    const int priority = ConfigStore::twoHundredBehind(store.getCachedPriority());
    const tessel::ScopedLock lock(cacheFileMutex_);
    if (!permit.isGiven()) {
        return;
    }
    // Made for the file that its constructor writes; it never joins the chain, so its priority has no effect.
    const CacheConfigStore writer(name, priority, CacheFiles::path(name), values);
}

void ConfigAdapter::waitForCacheFileThatIsBegun() { const tessel::ScopedLock untilItIsWritten(cacheFileMutex_); }

void ConfigAdapter::copyAllStoreValues(const std::shared_ptr<ConfigStore>& store, ConfigMap& values) {
    for (const std::wstring& key : store->getKeys()) {
        std::wstring value;
        // A secret must not lie in a cache file; after a restart it is missing until the next download.
        if (store->getValue(key, value) && !isSensitiveUnderAnyName(key)) {
            values[key] = value;
        }
    }
}

bool ConfigAdapter::isSensitiveUnderAnyName(const std::wstring& key) {
    std::wstring otherName;
    return isKeySensitive(key) ||
           ((configStoreManager_->isKeyAlias(key, otherName) || configStoreManager_->hasKeyAlias(key, otherName)) &&
            isKeySensitive(otherName));
}

void ConfigAdapter::updateCacheStorePriority(const std::string& storeName, int priority) {
    if (configStoreManager_ == nullptr) {
        return;
    }
    // In one step: another thread may be adding a store of its own to the list.
    configStoreManager_->atomically([&] {
        PriorityList list = PriorityList::parse(readConfig(ConfigStoreConstants::PRIMARY_CONFIG_STORES_KEY));
        list.set(QuillCoreUtils::toWideString(storeName), priority);
        configStoreManager_->storeValue(ConfigStoreConstants::PRIMARY_CONFIG_STORES_KEY, list.toText());
    });
}

void ConfigAdapter::removeFromCachedStorePriorityMap(const std::wstring& storeName) {
    // In one step, or a data reset in between would find the user's list stored again behind it.
    configStoreManager_->atomically([&] {
        const std::wstring text = readConfig(ConfigStoreConstants::PRIMARY_CONFIG_STORES_KEY);
        setConfig(ConfigStoreConstants::PRIMARY_CONFIG_STORES_KEY, PriorityList::textWithout(text, storeName));
    });
}

bool ConfigAdapter::removeConfigStore(const std::string& name) {
    if (!isStarted()) {
        logNotStarted("removeConfigStore", ", failed to remove ConfigStore with name: [" + name + "]");
        return false;
    }
    if (configStoreManager_ == nullptr) {
        return false;
    }
    bool removed = false;
    reportGate_->toTheEnd([&] { removed = removeStoreAndItsCopy(name); });
    return removed;
}

bool ConfigAdapter::removeStoreAndItsCopy(const std::string& name) {
    bool removed = false;
    // In one step: what is under way of a store that has joined before is not to write it back, and one that joins
    // meanwhile comes before all this or after it.
    configStoreManager_->atomically([&] {
        cachingGate_.noteRemoval(name);
        waitForCacheFileThatIsBegun();
        const std::shared_ptr<ConfigStore> copy = configStoreManager_->findStore(CacheFiles::nameFor(name));
        if (copy != nullptr && configStoreManager_->removeStoreWithSameName(copy->getName())) {
            removed = true;
            // The store's own spelling, not the caller's: the file was written under that.
            configStoreManager_->removeCacheFile(copy->getName());
        }
        if (configStoreManager_->containsStore(name) && configStoreManager_->removeStoreWithSameName(name)) {
            removed = true;
        }
        removeFromCachedStorePriorityMap(QuillCoreUtils::toWideString(name));
    });
    return removed;
}

void ConfigAdapter::onTftpConfigDownloaded(std::vector<std::wstring> keys) {
    // A client that is told of the new values may drop the last reference to this object. Where another thread has
    // dropped it already, the destructor has begun and waits for this report: there is nobody left to tell.
    const std::shared_ptr<ConfigAdapter> self = weak_from_this().lock();
    if (self == nullptr) {
        return;
    }
    const std::shared_ptr<TftpConfigStore> store = tftpConfigStore_.get();
    if (store == nullptr || configStoreManager_ == nullptr) {
        return;
    }
    if (keys.empty()) {
        addConfigStore(store);
    } else {
        updateExistingConfigStore(store, keys);
    }
}

void ConfigAdapter::updateExistingConfigStore(const std::shared_ptr<ConfigStore>& store,
                                              const std::vector<std::wstring>& keys) {
    if (!isStarted() || configStoreManager_ == nullptr) {
        return;
    }
    reportGate_->toTheEnd([&] {
        const auto permit = join(store, [&] { configStoreManager_->updateStoreValues(store, keys); });
        if (store->shouldCacheConfigStore()) {
            cacheStoreOnConfigStoreAdded(store, *permit);
        }
    });
}
