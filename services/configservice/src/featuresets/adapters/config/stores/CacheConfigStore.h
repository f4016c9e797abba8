#pragma once

#include <functional>
#include <optional>

#include "LockRanks.h"
#include "stores/FileStamp.h"
#include "stores/XmlConfigStore.h"
#include "tessel/Mutex.h"
#include "xml/XmlConfigParser.h"

/// The copy of a remote store that survives a restart: an XmlConfigStore that can also write its file.
class CacheConfigStore : public XmlConfigStore {
public:
    /// Reads an existing cache file; one that is missing or broken gives an empty store.
    /// @param former as of XmlConfigStore: the store that this one is to replace, or null.
    CacheConfigStore(std::string name, std::int32_t priority, std::string filePath, CacheConfigStore* former = nullptr);

    /// Takes the values and writes the file at once. A file that cannot be written leaves the store working in memory.
    CacheConfigStore(std::string name, std::int32_t priority, std::string filePath, const ConfigMap& values);

    /// Writes the values to the file. If that fails the old file stays whole; or the new one is in place, where only
    /// its folder could not be synced. Any thread; readers do not wait.
    void persistValues() override;

    /// Writes the values if there is no file; one that is there may be another store's, with later values.
    void restoreFile();

    /// Writes the values if hasUnwrittenValues() says so.
    void persistAgain();

    /// True if the last write failed and nobody is known to have written the file since: these values are nowhere but
    /// in memory, and what a new store would read is older, or may become so again by a power cut.
    bool hasUnwrittenValues();

private:
    void write(const std::function<bool()>& isWanted) TESSEL_REQUIRES(fileMutex_);

    // Held for a whole write, so that of two writes the later one holds the later values.
    tessel::Mutex fileMutex_{LockRanks::STORE_FILE};
    /// The file that a failed write has left in place, be it an older one or its own, or that there was none; nothing
    /// after a write that went well.
    std::optional<FileStamp> fileLeft_ TESSEL_GUARDED_BY(fileMutex_);
};
