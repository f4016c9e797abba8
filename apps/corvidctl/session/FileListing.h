#pragma once

#include <set>
#include <string>

namespace corvidctl {

/// What lies below a folder at one moment.
struct FileListing {
    /// Everything but folders, by its path below the folder; links are named and not followed. In the order of the
    /// bytes.
    std::set<std::string> files;

    /// Paths of folders that could not be listed.
    std::set<std::string> unreadable;
};

/// Lists a folder with its sub-folders; one that is missing is empty. The folder itself may be a link. Any thread.
FileListing listFiles(const std::string& directory);

}  // namespace corvidctl
