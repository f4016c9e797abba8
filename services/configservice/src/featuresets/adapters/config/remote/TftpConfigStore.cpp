#include "remote/TftpConfigStore.h"

#include <utility>

#include "ConfigFeatureSet.h"
#include "ConfigStoreConstants.h"
#include "chain/RenamedKeys.h"
#include "quill/FileUtils.h"
#include "quill/StringUtils.h"

using QuillCoreUtils::FileUtils;

TftpConfigStore::TftpConfigStore(std::shared_ptr<UnifiedFactory> factory, std::string name, std::int32_t priority,
                                 std::wstring server1, std::wstring server2, std::wstring server3, std::wstring file,
                                 std::shared_ptr<DownloadJournal> journal)
    : priority_(priority),
      name_(std::move(name)),
      lastServerDetails_({std::move(server1), std::move(server2), std::move(server3), std::move(file)}),
      downloader_(std::make_shared<HttpDownloader::HttpDownloader>()),
      factory_(std::move(factory)),
      journal_(journal == nullptr ? std::make_shared<DownloadJournal>() : std::move(journal)),
      udsVersionQuery_(std::make_shared<UdsVersionQuery>(factory_, journal_)) {
    removeLegacyTftpCachedFile();
}

TesselLogger* TftpConfigStore::logger() {
    static TesselLogger* const logger = TesselLogger_getLogger("TftpConfigStore");
    return logger;
}

std::shared_ptr<ConfigFeatureSet> TftpConfigStore::featureSetFor(const char* step) const {
    std::shared_ptr<ConfigFeatureSet> featureSet = factory_->getFeatureSet<ConfigFeatureSet>();
    if (featureSet == nullptr) {
        TesselLog(logger(), 3, __FILE__, __LINE__, step, std::string("There is no feature set, skipped: ") + step);
    }
    return featureSet;
}

void TftpConfigStore::removeLegacyTftpCachedFile() {
    const std::string path = FileUtils::getConfigDirectory() + FileUtils::FileSeparator() +
                             ConfigStoreConstants::LEGACY_TFTP_CACHE_FILE_NAME;
    const bool exists = FileUtils::fileExists(path);
    if (exists && FileUtils::isStrangersLink(FileUtils::getConfigDirectory())) {
        TesselLog(logger(), 3, __FILE__, __LINE__, "removeLegacyTftpCachedFile",
                  "NOT removed, since somebody else has put a link in the place of its folder: [" + path + "]");
        return;
    }
    if (exists) {
        TesselLog(logger(), 4, __FILE__, __LINE__, "removeLegacyTftpCachedFile",
                  "Removing file cached file : [" + path + "]");
        FileUtils::removeFile(path);
        return;
    }
    TesselLog(logger(), 4, __FILE__, __LINE__, "removeLegacyTftpCachedFile",
              "Failed to remove legacy cached file: [" + path + "] file does not exist");
}

bool TftpConfigStore::getValue(const std::wstring& key, std::wstring& value) { return lookUp(FoldedKey(key), value); }

bool TftpConfigStore::lookUp(const FoldedKey& key, std::wstring& value) {
    const QueryState state = currentQueryState_.load(std::memory_order_relaxed);
    if (state != FINISHED) {
        TesselLog(logger(), 4, __FILE__, __LINE__, "getValue",
                  "TftpConfigStore::getValue() currentQueryState is not FINISHED - Current State: " +
                      std::to_string(state));
    }
    if (!filter_.mayHold(key.mark()) || key.equals(ConfigStoreConstants::certificateValidationEnabled)) {
        return answer(nullptr, key, value);
    }
    const tessel::ScopedLock lock(valuesMutex_);
    return answer(configValues_.find(key), key, value);
}

void TftpConfigStore::expect(std::span<const FoldedKey> keys) {
    const tessel::ScopedLock lock(valuesMutex_);
    configValues_.fetchAhead(keys);
}

bool TftpConfigStore::storeValue(const std::wstring& key, const std::wstring& value) {
    const tessel::ScopedLock lock(valuesMutex_);
    configValues_.set(FoldedKey(key), value);
    return true;
}

std::vector<std::wstring> TftpConfigStore::getKeys() {
    const tessel::ScopedLock lock(valuesMutex_);
    return configValues_.keys();
}

bool TftpConfigStore::removeValue(const std::wstring& key) {
    const tessel::ScopedLock lock(valuesMutex_);
    return configValues_.erase(FoldedKey(key));
}

void TftpConfigStore::removeAllValues() {
    TesselLog(logger(), 3, __FILE__, __LINE__, "removeAllValues",
              std::string("TftpConfigStore::removeAllValues() should not be called on read only store"));
}

bool TftpConfigStore::isReadOnly() { return true; }

std::string TftpConfigStore::getName() { return name_; }

std::int32_t TftpConfigStore::getPriority() { return priority_; }

void TftpConfigStore::persistValues() {
    TesselLog(logger(), 3, __FILE__, __LINE__, "persistValues",
              std::string("TftpConfigStore::persistValues() ignoring for TftpConfigStore"));
}

void TftpConfigStore::destroy() {}

bool TftpConfigStore::isLocal() { return false; }

bool TftpConfigStore::waitForStoreReady() {
    if (TesselLog_isDebugEnabled(logger())) {
        TesselLog(logger(), 5, __FILE__, __LINE__, "waitForStoreReady",
                  std::string("TftpConfigStore::waitForStoreReady() - Starting timed wait. Timeout of 20 seconds"));
    }
    // From inside an observer's call the wait could only be ended by the stack that it stands on.
    if (tellingThread_.load(std::memory_order_relaxed) != std::this_thread::get_id()) {
        storeReady_.timedWait(readyTimeoutMilliseconds_);
    }
    if (TesselLog_isDebugEnabled(logger())) {
        TesselLog(logger(), 5, __FILE__, __LINE__, "waitForStoreReady",
                  std::string("TftpConfigStore::waitForStoreReady() - Finished timed wait"));
    }
    return true;
}

bool TftpConfigStore::shouldCacheConfigStore() { return true; }

bool TftpConfigStore::getConfigStoreValue(const std::wstring& key, std::wstring& value, std::wstring& storeName,
                                          bool /*flag*/) {
    const std::shared_ptr<ConfigFeatureSet> featureSet = featureSetFor("getConfigStoreValue");
    if (featureSet == nullptr) {
        return false;
    }
    bool usedOtherKeyName = false;
    featureSet->getConfig(key, value, storeName, usedOtherKeyName, false);
    return !value.empty();
}

void TftpConfigStore::onFireIfRequired(std::wstring) {}

void TftpConfigStore::onSensitiveKeyAddedOrUpdated(std::wstring) {}

bool TftpConfigStore::isTftpConfigured() const { return tftpConfigured_.load(std::memory_order_relaxed); }

void TftpConfigStore::clearCachedAddresses() { lastServerDetails_.set({}); }

TftpServerDetails TftpConfigStore::lastServerDetails() const { return lastServerDetails_.get(); }

void TftpConfigStore::addObserver(TftpConfigStoreObserver* observer) {
    if (observer != nullptr) {
        observers_.update([observer](auto& all) { all.insert(observer); });
    }
}

void TftpConfigStore::removeObserver(TftpConfigStoreObserver* observer) {
    if (observer == nullptr) {
        return;
    }
    observers_.update([observer](auto& all) { all.erase(observer); });
    // Somebody who stops the source from inside a notification comes here with the locks of the chain, which a report
    // takes. That is on the thread of the reports themselves, so there is none to wait for.
    const std::thread::id telling = tellingThread_.load(std::memory_order_acquire);
    if (telling != std::thread::id() && telling != std::this_thread::get_id()) {
        const tessel::ScopedLock untilTheReportHasEnded(observerMutex_);
    }
}

void TftpConfigStore::setSensitiveKeys(const SensitiveKeySet& keys) {
    const std::shared_ptr<ConfigFeatureSet> featureSet = featureSetFor("setSensitiveKeys");
    if (featureSet == nullptr) {
        return;
    }
    // Whatever name the document has it under: the value is one, and is reported under the other name.
    const RenamedKeys names = RenamedKeys::read();
    for (const std::wstring& key : keys) {
        featureSet->setKeySensitive(key);
        const FoldedKey folded(key);
        const std::wstring* const currentName = names.currentNameOf(folded);
        const std::wstring* const otherName = currentName != nullptr ? currentName : names.oldNameOf(folded);
        if (otherName != nullptr) {
            featureSet->setKeySensitive(*otherName);
        }
    }
}

void TftpConfigStore::logConfigMap(const SensitiveKeySet& sensitiveKeys) {
    const std::shared_ptr<ConfigFeatureSet> featureSet = factory_->getFeatureSet<ConfigFeatureSet>();
    ConfigMap values;
    {
        // The feature set must not be asked with a lock of the store's held: it takes the locks of the chain.
        const tessel::ScopedLock lock(valuesMutex_);
        values = configValues_.map();
    }
    std::wstring text;
    for (const auto& [key, value] : values) {
        const bool sensitive =
            sensitiveKeys.count(key) != 0 || (featureSet != nullptr && featureSet->isKeySensitive(key));
        text += L"\n" + key + L": " + (sensitive ? ConfigStoreConstants::SENSITIVE_VALUE_REPLACEMENT : value);
    }
    TesselLog(logger(), 4, __FILE__, __LINE__, "logConfigMap", text);
}
