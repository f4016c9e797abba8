#include "ConfigAdapter.h"
#include "ConfigStoreConstants.h"
#include "ServerPolicy.h"
#include "quill/FileUtils.h"
#include "remote/TftpConfigStore.h"
#include "stores/BootstrapConfigStore.h"
#include "stores/CacheConfigStore.h"
#include "stores/InMemoryConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "stores/XmlConfigStore.h"

using QuillCoreUtils::FileUtils;

namespace {

// Places in the chain; the smallest number wins. The in-memory store, at 600, knows its own.
constexpr std::int32_t OVERRIDE_PRIORITY = 10;
constexpr std::int32_t LOCAL_FILE_PRIORITY = 20;
constexpr std::int32_t TFTP_PRIORITY = 40;
constexpr std::int32_t BOOTSTRAP_PRIORITY = 500;
constexpr std::int32_t DEFAULTS_PRIORITY = 2147483647;

}  // namespace

void ConfigAdapter::addInitialConfigStores() {
    addLocalFileStore();
    addOverrideStore();
    configStoreManager_->addStore(std::make_shared<BootstrapConfigStore>(
        ConfigStoreConstants::BOOTSTRAP_STORE_NAME, FileUtils::getBootstrapFilePath(), BOOTSTRAP_PRIORITY));
    InitialiseCachedConfigStores();
    configStoreManager_->addStore(
        std::make_shared<LocalFileConfigStore>(ConfigStoreConstants::DEFAULT_CONFIG_STORE_FILE_NAME, DEFAULTS_PRIORITY,
                                               FileUtils::getInstallationDirectory() + FileUtils::FileSeparator(),
                                               ConfigStoreConstants::DEFAULT_CONFIG_STORE_FILE_NAME, true, true));
    removeCustomServerValuesIfPolicySet();
}

void ConfigAdapter::addInMemoryStore() { configStoreManager_->addStore(std::make_shared<InMemoryConfigStore>()); }

void ConfigAdapter::addLocalFileStore() {
    // The bulk of the writing comes first: nobody is to wait for a disk longer than what is stored meanwhile takes.
    persistLocalFileStore();
    // One step under the chain's lock: a value that is stored meanwhile waits and goes into the new store. The old one
    // is destroyed before the new one reads, since persist tasks of it may still be queued and must not run over what
    // the new one will have written.
    configStoreManager_->atomically([this] {
        const std::shared_ptr<LocalFileConfigStore> replaced = localFileStore_;
        if (replaced != nullptr) {
            persistLocalFileStore();
            replaced->destroy();
        }
        localFileStore_ = std::make_shared<LocalFileConfigStore>(ConfigStoreConstants::LOCAL_FILE_STORE_NAME,
                                                                 LOCAL_FILE_PRIORITY, false, replaced.get());
        if (replaced != nullptr && replaced->hasUnpersistedValues()) {
            localFileStore_->takeOverValues(*replaced);
        }
        // Or has taken over itself what the disk did not let it read.
        if (localFileStore_->hasUnpersistedValues()) {
            configStoreManager_->enqueuePersist(localFileStore_);
        }
        configStoreManager_->addStore(localFileStore_);
    });
}

void ConfigAdapter::persistLocalFileStore() {
    if (localFileStore_ != nullptr && localFileStore_->hasUnpersistedValues()) {
        localFileStore_->persistValues();
    }
}

void ConfigAdapter::persistAgain() {
    // First the link: the user's file holds that it has been taken, and it is not taken again.
    if (const std::shared_ptr<CacheConfigStore> link = findProvisioningStore()) {
        link->persistAgain();
    }
    if (localFileStore_ != nullptr) {
        localFileStore_->persistAgain();
    }
}

void ConfigAdapter::addOverrideStore() {
    // The start follows the constructor at once as a rule, and finds the file as that has read it.
    overrideStore_ = std::make_shared<XmlConfigStore>(
        ConfigStoreConstants::TFTP_OVERRIDE_CONFIG_STORE_NAME, OVERRIDE_PRIORITY, false,
        FileUtils::getConfigDirectory() + FileUtils::FileSeparator() + ConfigStoreConstants::TFTP_OVERRIDE_FILE_NAME,
        true, overrideStore_.get());
    configStoreManager_->addStore(overrideStore_);
}

void ConfigAdapter::removeCustomServerValuesIfPolicySet() {
    if (configStoreManager_ == nullptr) {
        return;
    }
    for (const ServerPolicy& policy : serverPolicies()) {
        std::wstring value;
        std::wstring storeName;
        bool usedOtherKeyName = false;
        if (!configStoreManager_->getValue(policy.policyKey, value, storeName, usedOtherKeyName, false) ||
            !forbidsCustomServers(value)) {
            continue;
        }
        for (const std::wstring& key : policy.erasedKeys) {
            configStoreManager_->eraseKey(key);
        }
    }
}

void ConfigAdapter::startTftpConfigSource() {
    runExclusively("ConfigAdapter::startTftpConfigSource", &ConfigAdapter::switchTftpSourceOn);
}

void ConfigAdapter::switchTftpSourceOn() {
    if (tftpSourceStarted_.load(std::memory_order_relaxed)) {
        return;
    }
    tftpSourceStarted_.store(true, std::memory_order_relaxed);
    initialiseTftpConfigStore();
    checkEdgeReady();
}

void ConfigAdapter::initialiseTftpConfigStore() {
    TftpServerDetails details;
    details.server1 = readConfig(ConfigStoreConstants::TFTP_SERVER_1_KEY);
    details.server2 = readConfig(ConfigStoreConstants::TFTP_SERVER_2_KEY);
    details.server3 = readConfig(ConfigStoreConstants::TFTP_SERVER_3_KEY);
    if (!getConfig(ConfigStoreConstants::CONFIGURATION_FILE_KEY, details.file, false)) {
        details.file = ConfigStoreConstants::DEFAULT_TFTP_CONFIGURATION_FILE_NAME;
    }
    std::shared_ptr<TftpConfigStore> store = tftpConfigStore_.get();
    if (store == nullptr) {
        store = std::make_shared<TftpConfigStore>(factory_, ConfigStoreConstants::TFTP_CONFIG_STORE_NAME, TFTP_PRIORITY,
                                                  details.server1, details.server2, details.server3, details.file,
                                                  downloadJournal_);
        tftpConfigStore_.set(store);
    }
    store->addObserver(this);
    store->attemptDownloadFromCachedAddress();
    configStoreManager_->AddObserver(store.get());
}

void ConfigAdapter::stopTftpConfigSource() {
    runExclusively("ConfigAdapter::stopTftpConfigSource", &ConfigAdapter::switchTftpSourceOff);
}

void ConfigAdapter::switchTftpSourceOff() {
    if (!tftpSourceStarted_.load(std::memory_order_relaxed)) {
        return;
    }
    tftpSourceStarted_.store(false, std::memory_order_relaxed);
    detachTftpConfigStore();
}

void ConfigAdapter::detachTftpConfigStore() {
    const std::shared_ptr<TftpConfigStore> store = tftpConfigStore_.get();
    if (store == nullptr) {
        return;
    }
    configStoreManager_->RemoveObserver(store.get());
    store->removeObserver(this);
    tftpConfigStore_.set(nullptr);
}
