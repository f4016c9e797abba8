#include "session/FileListing.h"

#include <cerrno>

#include "impl/quill/DirectoryWalk.h"

namespace corvidctl {

FileListing listFiles(const std::string& directory) {
    FileListing listing;
    const std::string before = directory.ends_with('/') ? directory : directory + "/";
    const auto onUnreadable = [&listing](const std::string& folder, int error) {
        // A folder that has vanished meanwhile holds nothing.
        if (error != ENOENT) {
            listing.unreadable.insert(folder);
        }
    };
    using QuillCoreUtils::Listed;
    for (const std::string& file : QuillCoreUtils::filesBelow(directory, Listed::EverythingElseToo, onUnreadable)) {
        listing.files.insert(file.substr(before.size()));
    }
    return listing;
}

}  // namespace corvidctl
