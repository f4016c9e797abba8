#pragma once

#include <atomic>
#include <set>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "LockRanks.h"
#include "chain/ConfigMap.h"
#include "chain/FoldedLookup.h"
#include "chain/KeyedValues.h"
#include "stores/FileStamp.h"
#include "tessel/Mutex.h"
#include "tessel/RWLock.h"

/// A read-only store whose values come from one configuration document, read once, at construction. A file that is
/// missing or broken leaves an empty store; the parser logs why. A later change of the file is not noticed.
///
/// Any thread. "CertificateValidationEnabled" is listed by getKeys() and never answered by getValue(): that key must
/// not be taken from a document.
class XmlConfigStore : public ConfigStore, public FoldedLookup {
public:
    /// @param name, filePath UTF-8. @param readFromFile false: the store starts empty and the file is not touched.
    /// @param former null, or a store whose reading of the file need not be done again, if the file is still the same
    ///        and the store has not been changed since. Where the disk does not let the file be looked at or read,
    ///        although there may be one, the values of a former store of the same file are taken over, which is logged.
    XmlConfigStore(std::string name, std::int32_t priority, bool isLocal, std::string filePath, bool readFromFile,
                   XmlConfigStore* former = nullptr);

    /// Applies the rule for FIPS mode to a hit.
    bool getValue(const std::wstring& key, std::wstring& value) override;
    bool lookUp(const FoldedKey& key, std::wstring& value) override;
    void expect(std::span<const FoldedKey> keys) override;
    const KeyFilter* filter() const override { return &filter_; }

    /// Memory only; nothing reaches the file.
    bool storeValue(const std::wstring& key, const std::wstring& value) override;
    std::vector<std::wstring> getKeys() override;

    /// Memory only.
    bool removeValue(const std::wstring& key) override;

    /// Does nothing.
    void removeAllValues() override;
    bool isReadOnly() override;
    std::string getName() override;
    std::int32_t getPriority() override;

    /// Does nothing.
    void persistValues() override;
    void destroy() override;
    bool isLocal() override;
    bool waitForStoreReady() override;
    bool shouldCacheConfigStore() override;

protected:
    const std::string& getFilePath() const { return filePath_; }

    /// A copy of the values at this moment.
    ConfigMap copyValues() const;

    /// Puts the values, before anyone else has the store.
    void setValues(ConfigMap values);

private:
    bool takeOverReading(const XmlConfigStore& former);
    FileStamp readFile() const;
    KeyedValues::Entries copyEntries() const;
    /// @return false if the disk has refused a file that may be there.
    bool read();
    template <typename Values>
    void exchange(Values values, const FileStamp& file);

    bool isRemoved(const FoldedKey& key) const TESSEL_REQUIRES_SHARED(lock_);

    const std::string filePath_;
    mutable tessel::RWLock lock_{LockRanks::STORE_READERS};
    KeyFilter filter_;
    KeyedValues values_ TESSEL_GUARDED_BY(lock_){filter_};
    /// For what changes while others read: the order of the values, and the following.
    mutable tessel::Mutex changesMutex_{LockRanks::STORE_VALUES};
    /// Keys that removeValue() has taken out with the read lock alone: they leave the values with the next write.
    std::set<std::wstring, caseInsensitiveMapComparator> removed_ TESSEL_GUARDED_BY(changesMutex_);
    std::atomic<bool> hasRemoved_ = false;
    /// The file that holds just these values; nothing if that cannot be told.
    FileStamp readFile_ TESSEL_GUARDED_BY(changesMutex_);
    const bool isLocal_;
    const std::int32_t priority_;
    const std::string name_;
};
