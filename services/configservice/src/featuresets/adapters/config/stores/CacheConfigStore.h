#pragma once

#include "stores/XmlConfigStore.h"
#include "tessel/Mutex.h"

/// The copy of a remote store that survives a restart: an XmlConfigStore that can also write its file.
class CacheConfigStore : public XmlConfigStore {
public:
    /// Reads an existing cache file; one that is missing or broken gives an empty store.
    CacheConfigStore(std::string name, std::int32_t priority, std::string filePath);

    /// Takes the values and writes the file at once. A file that cannot be written leaves the store working in memory.
    CacheConfigStore(std::string name, std::int32_t priority, std::string filePath, const ConfigMap& values);

    /// Writes the values to the file; the old file stays whole if that fails. Any thread; readers do not wait.
    void persistValues() override;

private:
    // Held for a whole write, so that of two writes the later one holds the later values.
    tessel::Mutex fileMutex_;
};
