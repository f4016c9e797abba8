#include "session/ProfileCopy.h"

#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <system_error>

#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "cli/WrongUse.h"

namespace corvidctl {

namespace fs = std::filesystem;

namespace {

/// Nothing else is a file of the module's: not a pipe, and no link that leads nowhere.
bool isFile(const fs::path& path) {
    std::error_code broken;
    return fs::is_regular_file(path, broken);
}

void copyFile(const fs::path& from, const fs::path& to) {
    if (access(from.c_str(), R_OK) != 0) {
        throw WrongUse("'" + from.string() + "': expected a file that can be read");
    }
    fs::copy_file(from, to);
}

void copyCache(const fs::path& from, const fs::path& to) {
    std::error_code unreadable;
    if (!fs::is_directory(from, unreadable)) {
        return;
    }
    fs::directory_iterator entry(from, unreadable);
    if (unreadable || access(from.c_str(), X_OK) != 0) {
        throw WrongUse("'" + from.string() + "': expected a folder that can be read");
    }
    fs::create_directory(to);
    for (; entry != fs::end(entry); ++entry) {
        const fs::path name = entry->path().filename();
        if (CacheFiles::isName(name.string()) && isFile(entry->path())) {
            copyFile(entry->path(), to / name);
        }
    }
}

}  // namespace

ProfileCopy::ProfileCopy(const std::string& profile) {
    using namespace ConfigStoreConstants;
    const fs::path from = profile;
    const fs::path to = path();
    for (const std::string& name : {LOCAL_FILE_CONFIG_STORE_FILE_NAME, TFTP_OVERRIDE_FILE_NAME}) {
        if (isFile(from / name)) {
            copyFile(from / name, to / name);
        }
    }
    if (isFile(from / LEGACY_TFTP_CACHE_FILE_NAME)) {
        std::ofstream(to / LEGACY_TFTP_CACHE_FILE_NAME);
    }
    copyCache(from / CACHE_STORE_DIRECTORY_STRING, to / CACHE_STORE_DIRECTORY_STRING);
}

}  // namespace corvidctl
