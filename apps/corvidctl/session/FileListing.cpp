#include "session/FileListing.h"

#include <filesystem>
#include <system_error>

namespace corvidctl {

namespace {

namespace fs = std::filesystem;

void addFilesBelow(const fs::path& top, const fs::path& relative, FileListing& listing) {
    std::error_code error;
    fs::directory_iterator entry(top / relative, error);
    if (error == std::errc::no_such_file_or_directory) {
        return;
    }
    for (const fs::directory_iterator end; !error && entry != end; entry.increment(error)) {
        const fs::path path = relative / entry->path().filename();
        std::error_code unknown;  // what cannot be looked at is named with the files
        if (entry->symlink_status(unknown).type() == fs::file_type::directory) {
            addFilesBelow(top, path, listing);
        } else {
            listing.files.insert(path.string());
        }
    }
    if (error) {
        listing.unreadable.insert((top / relative).string());
    }
}

}  // namespace

FileListing listFiles(const std::string& directory) {
    FileListing listing;
    addFilesBelow(directory, fs::path(), listing);
    return listing;
}

}  // namespace corvidctl
