#pragma once

#include <libxml/tree.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "chain/ConfigMap.h"
#include "tessel/Mutex.h"

/// Name and value pairs in a small XML file of its own: the user's writable store, and the read-only defaults file of
/// the installation. Reads its file at construction; writes it only in persistValues(), the whole map each time.
class LocalFileConfigStore : public ConfigStore {
public:
    /// The user's file, "corvidLocalConfig.xml" in the configuration directory; writable.
    LocalFileConfigStore(std::string name, std::int32_t priority, bool isLocal);

    /// @param directory used unchanged with a separator appended, unless empty. @param fileName the file in it.
    LocalFileConfigStore(std::string name, std::int32_t priority, std::string directory, std::string fileName,
                         bool isLocal, bool readOnly);

    bool getValue(const std::wstring& key, std::wstring& value) override;
    bool storeValue(const std::wstring& key, const std::wstring& value) override;
    std::vector<std::wstring> getKeys() override;
    bool removeValue(const std::wstring& key) override;
    void removeAllValues() override;
    bool isReadOnly() override;
    std::string getName() override;
    std::int32_t getPriority() override;

    /// Writes the file, atomically and durably, unless the store is read-only or destroyed. A failure is logged and
    /// leaves the old file whole; the values stay in memory and the next call that can writes them. Skipped when the
    /// file already holds these very bytes by this store's own hand.
    void persistValues() override;
    void destroy() override;
    bool isLocal() override;
    bool waitForStoreReady() override;
    bool shouldCacheConfigStore() override;

    /// True if a change has not reached the file.
    bool hasUnpersistedValues();

    /// Takes over all values of a store that this one replaces, when they could not be written to the file that this
    /// one has read. They count as not persisted.
    void takeOverValues(LocalFileConfigStore& replaced);

    bool readFromFile();

private:
    void processXml(xmlNode* node);
    void processUserConfigXml(xmlNode* node);
    void createConfigDirectory();

    const std::string name_;
    const std::int32_t priority_;
    const bool isLocal_;
    const bool readOnly_;
    bool destroyed_ = false;
    tessel::Mutex mutex_;
    ConfigMap values_ TESSEL_GUARDED_BY(mutex_);
    const std::string directory_;
    const std::string fileName_;
};
