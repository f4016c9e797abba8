#include <system_error>

#include "ConfigAdapter.h"
#include "DataReset.h"
#include "chain/CacheFiles.h"
#include "quill/FileRemover.h"
#include "quill/FileUtils.h"
#include "quill/FirstException.h"
#include "quill/FunctionTask.h"
#include "quill/StringUtils.h"
#include "remote/TftpConfigStore.h"
#include "stores/CacheConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "xml/SiblingLock.h"

using QuillCoreUtils::FileRemover;
using QuillCoreUtils::FileUtils;
using QuillCoreUtils::FirstException;

namespace {

void removeFile(FileRemover& remover, const std::string& file) {
    int error = 0;
    {
        // A link that is taken meanwhile may be writing its file, which stays: the temporary sibling must stay until it
        // has become that file. No line is written before the release, since a client's log may not come under it.
        const SiblingLock betweenTwoWrites(CacheFiles::directory());
        error = remover.remove(file);
    }
    FileUtils::logRemoval(file, error);
}

/// What was acknowledged as forgotten stands in the files in clear.
void makeRemovalsLast(FileRemover& remover, TesselLogger* logger) {
    if (const int error = remover.syncFolders()) {
        TesselLog(logger, 3, __FILE__, __LINE__, "removeFilesFromDirectory",
                  "removed files may come back after a power cut, since a folder could not be synced: " +
                      std::generic_category().message(error));
    }
}

}  // namespace

std::shared_ptr<ResetDataProvider> ConfigAdapter::findResetDataProvider(const char* function,
                                                                        const std::string& consequence) {
    const std::shared_ptr<SystemService> service = findSystemService(function, consequence);
    std::shared_ptr<ResetDataProvider> provider = service == nullptr ? nullptr : service->getResetDataProvider();
    if (service != nullptr && provider == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, function, "No reset data provider: " + consequence);
    }
    return provider;
}

void ConfigAdapter::registerResetDataCallback() {
    const auto provider =
        findResetDataProvider("registerResetDataCallback", "the reset data callback is not registered");
    if (provider == nullptr) {
        // The flag stays down, so that the next start tries again.
        return;
    }
    provider->registerResetDataCallback(shared_from_this());
    resetDataCallbackRegistered_.store(true, std::memory_order_relaxed);
}

void ConfigAdapter::unRegisterResetDataCallback() {
    const auto provider =
        findResetDataProvider("unRegisterResetDataCallback", "the reset data callback is not removed");
    if (provider != nullptr) {
        provider->removeResetDataCallback(shared_from_this());
    }
}

void ConfigAdapter::InvokeResetData() {
    if (reportGate_->isInsideNotification()) {
        // Too early, even if no operation is under way: whoever makes the notification may be about to put a store into
        // the chain, or its copy on the disk, and would do so behind the reset.
        factory_->getServicesDispatcher()->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(
            weakly(&ConfigAdapter::InvokeResetData), "ConfigAdapter::InvokeResetData"));
        return;
    }
    runExclusively("ConfigAdapter::InvokeResetData", &ConfigAdapter::resetData);
}

void ConfigAdapter::resetData() {
    // A store from outside may throw. Stores that are added from now on are to be cached all the same.
    FirstException thrown("ConfigAdapter");
    thrown.keepOf([this] { forgetUsersData(); }, "A further step of the data reset threw");
    for (const std::shared_ptr<ConfigStore>& store : endDataReset()) {
        thrown.keepOf(
            [&] {
                if (store->shouldCacheConfigStore()) {
                    cacheIfStillThere(store);
                }
            },
            "A further step of the data reset threw");
    }
    thrown.rethrow();
}

void ConfigAdapter::forgetUsersData() {
    resetUserStores();
    if (const std::shared_ptr<TftpConfigStore> remote = tftpConfigStore_.get()) {
        remote->clearCachedAddresses();
    }
    voidWhatIsUnderWay();
    removeFiles();
    refresh();
}

void ConfigAdapter::resetUserStores() {
    if (configStoreManager_ == nullptr) {
        return;
    }
    configStoreManager_->atomically([this] {
        cachingGate_.beginReset();
        configStoreManager_->resetConfigData();
    });
}

void ConfigAdapter::voidWhatIsUnderWay() {
    // A write that has begun ends first, and its file is removed with the others; whatever comes later writes nothing.
    if (localFileStore_ != nullptr) {
        localFileStore_->destroy();
        // The store to come must not take its values over.
        localFileStore_ = nullptr;
    }
    switchTftpSourceOff();
    waitForCacheFileThatIsBegun();
}

void ConfigAdapter::removeFiles() {
    const bool hadProvisioningFile = FileUtils::fileExists(CacheFiles::provisioningPath());
    removeFilesFromDirectory(FileUtils::getConfigDirectory());
    // Where the cache folder was a link it has gone with the user's files, and what a provisioning link had set with
    // it.
    if (hadProvisioningFile && configStoreManager_ != nullptr) {
        if (const std::shared_ptr<CacheConfigStore> store = findProvisioningStore()) {
            store->restoreFile();
        }
    }
}

void ConfigAdapter::removeFilesFromDirectory(const std::string& directory) {
    const auto log = [](const std::string& text) {
        TesselLog(logger(), 4, __FILE__, __LINE__, "removeFilesFromDirectory", text);
    };
    if (FileUtils::isStrangersLink(directory)) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "removeFilesFromDirectory",
                  "NOT removed, since somebody else has put a link in the place of the folder: [" +
                      QuillCoreUtils::inOneLine(directory) + "]");
        return;
    }
    std::vector<std::string> files;
    FileUtils::getFilesFromDirectory(directory, "", files);
    FileRemover remover(directory);
    for (const std::string& file : files) {
        const std::string name = FileUtils::getFileName(file);
        if (DataReset::keeps(name)) {
            log("file will be excluded from reset deletion: [" + QuillCoreUtils::inOneLine(name) + "]");
            continue;
        }
        removeFile(remover, file);
        log("file with name: [" + QuillCoreUtils::inOneLine(name) + "] deleted");
    }
    makeRemovalsLast(remover, logger());
}

std::vector<std::shared_ptr<ConfigStore>> ConfigAdapter::endDataReset() {
    std::vector<std::shared_ptr<ConfigStore>> joined;
    if (configStoreManager_ == nullptr) {
        return joined;
    }
    configStoreManager_->atomically([&] { joined = cachingGate_.endReset(); });
    return joined;
}

void ConfigAdapter::cacheIfStillThere(const std::shared_ptr<ConfigStore>& store) {
    std::shared_ptr<const CachingPermit> permit;
    configStoreManager_->atomically([&] {
        if (isInChain(store)) {
            permit = cachingGate_.noteJoin(store);
        }
    });
    if (permit != nullptr) {
        cacheStoreOnConfigStoreAdded(store, *permit);
    }
}

void ConfigAdapter::onPowerEvent(TesselSystemMonitor::PowerEventTypeEnum::PowerEventType type) {
    if (type == TesselSystemMonitor::PowerEventTypeEnum::PowerDown) {
        TesselLog(logger(), 4, __FILE__, __LINE__, "onPowerEvent",
                  std::string("Config adapter received a power down event. Calling destroy on configAdapter"));
        Destroy();
    }
}
