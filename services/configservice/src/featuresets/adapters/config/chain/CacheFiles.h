#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Where the cached copies of stores lie and what they are called. Any thread.
class CacheFiles {
public:
    /// Place in the chain of what a provisioning link has set: one ahead of the installer's file.
    static constexpr std::int32_t PROVISIONING_PRIORITY = 499;

    /// The cache directory, without a trailing separator.
    static std::string directory();

    /// True if the cache directory or the configuration directory is a link that somebody else has made, as
    /// FileUtils::isStrangersLink() says: nothing is written or removed there then.
    static bool areStrangers();

    /// The name of a store's cached copy: of its file, and of the store that reads it back into the chain.
    static std::string nameFor(const std::string& storeName);

    /// Whether there may be a store for which nameFor() gives this name.
    static bool isName(std::string_view name);

    /// Full path of a file in the cache directory.
    static std::string path(const std::string& fileName);

    /// Full path of the note that the command-line tool may leave on a store's cached copy. @param copy its full path.
    static std::string noteBeside(const std::string& copy);

    /// The file of what a provisioning link has set.
    static std::string provisioningPath();
};
