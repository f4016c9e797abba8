#pragma once

#include <cstdint>
#include <string>

/// Where the cached copies of stores lie and what they are called. Any thread.
class CacheFiles {
public:
    /// Place in the chain of what a provisioning link has set: one ahead of the installer's file.
    static constexpr std::int32_t PROVISIONING_PRIORITY = 499;

    /// The cache directory, without a trailing separator.
    static std::string directory();

    /// The name of a store's cached copy: of its file, and of the store that reads it back into the chain.
    static std::string nameFor(const std::string& storeName);

    /// Full path of a file in the cache directory.
    static std::string path(const std::string& fileName);

    /// The file of what a provisioning link has set.
    static std::string provisioningPath();
};
