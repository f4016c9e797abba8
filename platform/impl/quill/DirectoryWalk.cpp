#include "impl/quill/DirectoryWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "impl/quill/FileDescriptor.h"

namespace QuillCoreUtils {
namespace {

using Listing = std::unique_ptr<DIR, int (*)(DIR*)>;

Listing openListing(const std::string& path, int extraFlags) {
    const int descriptor =
        uninterrupted([&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC | extraFlags); });
    Listing listing(descriptor >= 0 ? fdopendir(descriptor) : nullptr, &closedir);
    if (descriptor >= 0 && listing == nullptr) {
        const int error = errno;
        ::close(descriptor);
        errno = error;
    }
    return listing;
}

/// Depth does not cost open files: a folder is read to its end before those in it are opened.
class Walk {
public:
    explicit Walk(const UnreadableFolder& onUnreadable) : onUnreadable_(onUnreadable) {}

    std::vector<std::string> run(const std::string& directory) {
        visit(directory, 0);
        while (!folders_.empty()) {
            const std::string folder = std::move(folders_.back());
            folders_.pop_back();
            visit(folder, O_NOFOLLOW);
        }
        std::sort(files_.begin(), files_.end());
        return std::move(files_);
    }

private:
    void visit(const std::string& path, int extraFlags) {
        const Listing listing = openListing(path, extraFlags);
        if (listing == nullptr) {
            onUnreadable_(path, errno);
            return;
        }
        const std::string before = path.ends_with('/') ? path : path + "/";
        for (;;) {
            errno = 0;
            const dirent* const entry = readdir(listing.get());
            if (entry == nullptr) {
                break;
            }
            take(dirfd(listing.get()), before, entry->d_name);
        }
        if (errno != 0) {
            onUnreadable_(path, errno);
        }
    }

    /// An entry that vanished meanwhile is no entry.
    void take(int directory, const std::string& before, const char* name) {
        struct stat status {};
        const std::string_view text(name);
        if (text == "." || text == ".." || fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return;
        }
        if (S_ISDIR(status.st_mode)) {
            folders_.push_back(before + name);
        } else if (S_ISREG(status.st_mode) || S_ISLNK(status.st_mode)) {
            files_.push_back(before + name);
        }
    }

    const UnreadableFolder& onUnreadable_;
    std::vector<std::string> folders_;
    std::vector<std::string> files_;
};

}  // namespace

std::vector<std::string> filesBelow(const std::string& directory, const UnreadableFolder& onUnreadable) {
    return Walk(onUnreadable).run(directory);
}

}  // namespace QuillCoreUtils
