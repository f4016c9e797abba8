#include "chain/ConfigStoreManager.h"

#include <algorithm>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "chain/ConfigMap.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"
#include "tessel/TesselLogger.h"

namespace {

bool sameName(const std::string& a, const std::string& b) { return QuillCoreUtils::caseInsensitiveStringEquals(a, b); }

/// The store made from a link has a file, although it says that it is not to be cached.
bool hasCacheFile(ConfigStore& store) {
    return store.shouldCacheConfigStore() ||
           sameName(store.getName(), ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME);
}

/// Whether files of the cache folder may be removed. @param kept for the log if not: what stays.
bool isCacheOwn(const char* function, const std::string& kept) {
    if (!CacheFiles::areStrangers()) {
        return true;
    }
    TesselLog(
        TesselLogger_getLogger("ConfigStoreManager"), 3, __FILE__, __LINE__, function,
        "NOT removed, since somebody else has put a link in the place of the cache folder or the one around it: " +
            kept);
    return false;
}

/// The stores of the installation. The defaults go by the name of their file.
bool survivesDataReset(const std::string& name) {
    return name == ConfigStoreConstants::URL_PROVISIONING_CONFIG_STORE_NAME ||
           name == ConfigStoreConstants::BOOTSTRAP_STORE_NAME ||
           name == ConfigStoreConstants::DEFAULT_CONFIG_STORE_FILE_NAME ||
           name == ConfigStoreConstants::TFTP_OVERRIDE_CONFIG_STORE_NAME;
}

using KeyList = std::vector<const std::wstring*>;

bool precedes(const std::wstring* a, const std::wstring* b) { return caseInsensitiveMapComparator()(*a, *b); }

KeyList inOrder(const std::vector<std::wstring>& keys) {
    KeyList list;
    list.reserve(keys.size());
    for (const std::wstring& key : keys) {
        list.push_back(&key);
    }
    // The module's own stores give their keys in order.
    if (!std::is_sorted(list.begin(), list.end(), precedes)) {
        std::sort(list.begin(), list.end(), precedes);
    }
    return list;
}

/// Those keys, in their order, that are not among the others: one walk along both lists, which may be long.
KeyList missingFrom(const std::vector<std::wstring>& others, const std::vector<std::wstring>& keys) {
    const KeyList present = inOrder(others);
    auto next = present.begin();
    KeyList missing;
    for (const std::wstring* key : inOrder(keys)) {
        while (next != present.end() && precedes(*next, key)) {
            ++next;
        }
        if (next == present.end() || precedes(key, *next)) {
            missing.push_back(key);
        }
    }
    std::sort(missing.begin(), missing.end());  // they lie in memory as they came
    return missing;
}

}  // namespace

void ConfigStoreManager::addStore(const std::shared_ptr<ConfigStore>& store) {
    if (store == nullptr) {
        return;
    }
    const StoreChain::Lock lock(chain_);
    if (containsStore(store->getName())) {
        updateStoreValues(store);
        return;
    }
    chain_.insert(store);
    notifyObservers(store);
}

bool ConfigStoreManager::containsStore(std::string name) { return findStore(name) != nullptr; }

std::shared_ptr<ConfigStore> ConfigStoreManager::findStore(const std::string& name) { return chain_.find(name); }

void ConfigStoreManager::updateStoreValues(const std::shared_ptr<ConfigStore>& store) {
    if (store == nullptr) {
        return;
    }
    const StoreChain::Lock lock(chain_);
    // By place and to the end, over a chain that each match changes: a store that has moved down is met once more.
    std::size_t index = 0;
    while (const std::shared_ptr<ConfigStore> old = chain_.at(index)) {
        if (sameName(store->getName(), old->getName())) {
            updateStoreValues(store, old->getKeys());
        }
        ++index;
    }
}

void ConfigStoreManager::updateStoreValues(const std::shared_ptr<ConfigStore>& store,
                                           const std::vector<std::wstring>& oldKeys) {
    if (store == nullptr) {
        return;
    }
    const StoreChain::Lock lock(chain_);
    const std::shared_ptr<ConfigStore> old = chain_.find(store->getName());
    if (old == nullptr) {
        return;
    }
    removeStoreOnDuplicateAdded(old->getName());
    for (const std::wstring* lostKey : missingFrom(store->getKeys(), oldKeys)) {
        updateKey(*lostKey, false);
    }
    addStore(store);
}

bool ConfigStoreManager::isInMemoryConfigStore(std::string name) {
    return sameName(name, ConfigStoreConstants::IN_MEMORY_CONFIG_STORE_NAME);
}

bool ConfigStoreManager::removeStoreWithSameName(const std::string& name) {
    const StoreChain::Lock lock(chain_);
    const std::shared_ptr<ConfigStore> store = chain_.find(name);
    if (store == nullptr) {
        return false;
    }
    if (hasCacheFile(*store)) {
        // The store's own spelling, not the caller's: the file was written under that.
        removeCacheFile(CacheFiles::nameFor(store->getName()));
    }
    chain_.erase(store);
    notifyObservers(store);
    return true;
}

void ConfigStoreManager::removeStoreOnDuplicateAdded(const std::string& name) {
    const StoreChain::Lock lock(chain_);
    // The place moves on behind a removal too, so the store that has taken the place of the removed one is passed over.
    std::size_t index = 0;
    while (const std::shared_ptr<ConfigStore> store = chain_.at(index)) {
        if (sameName(store->getName(), name)) {
            if (store->shouldCacheConfigStore()) {
                removeStoreOnDuplicateAdded(CacheFiles::nameFor(store->getName()));
            }
            // This very store: the removal of its copy may have moved it to another place.
            chain_.erase(store);
        }
        ++index;
    }
}

bool ConfigStoreManager::removeCacheFile(const std::string& fileName) {
    const StoreChain::Lock lock(chain_);
    const std::string path = CacheFiles::path(fileName);
    const bool exists = QuillCoreUtils::FileUtils::fileExists(path);
    if (exists && isCacheOwn("removeCacheFile", path) && QuillCoreUtils::FileUtils::removeFile(path)) {
        // Or a power cut might bring back what has been acknowledged as gone.
        QuillCoreUtils::FileUtils::syncFolderOf(path);
    }
    return exists;
}

void ConfigStoreManager::removeAllCachedConfigStores() {
    std::vector<std::string> files;
    QuillCoreUtils::FileUtils::getFilesFromDirectory(CacheFiles::directory(), "xml", files);
    const bool filesToo = isCacheOwn("removeAllCachedConfigStores", CacheFiles::directory());
    for (const std::string& file : files) {
        const std::string fileName = QuillCoreUtils::FileUtils::getFileName(file);
        removeStoreWithSameName(fileName);
        if (filesToo) {
            removeCacheFile(fileName);
        }
    }
}

void ConfigStoreManager::destroy() {
    chain_.walk([](const SearchedStore& store) {
        store.store()->destroy();
        return true;
    });
}

void ConfigStoreManager::reset() { clearConfigStores(); }

void ConfigStoreManager::clearConfigStores() {
    chain_.walkBackwards([this](const SearchedStore& store) {
        if (!store.store()->isLocal()) {
            chain_.erase(store.store());
            notifyObservers(store.store());
        }
    });
}

void ConfigStoreManager::resetConfigData() {
    chain_.walkBackwards([this](const SearchedStore& store) {
        if (!survivesDataReset(store.store()->getName())) {
            removeStoreWithSameName(store.store()->getName());
        }
    });
}

bool ConfigStoreManager::waitForStoresReady() {
    bool ready = true;
    chain_.walk([&](const SearchedStore& store) {
        ready = store.store()->waitForStoreReady();
        return ready;
    });
    return ready;
}

void ConfigStoreManager::waitForStoreReady(const std::string& name) {
    // Outside the lock: lookups go on while the store blocks.
    if (const std::shared_ptr<ConfigStore> store = chain_.find(name)) {
        store->waitForStoreReady();
    }
}

void ConfigStoreManager::atomically(const std::function<void()>& change) {
    const StoreChain::Lock lock(chain_);
    change();
}
