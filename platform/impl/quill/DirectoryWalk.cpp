#include "impl/quill/DirectoryWalk.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "impl/quill/FileDescriptor.h"
#include "impl/quill/FolderCursor.h"

namespace QuillCoreUtils {
namespace {

using Listing = std::unique_ptr<DIR, int (*)(DIR*)>;

Listing openListing(int folder) {
    const int descriptor =
        uninterrupted([&] { return ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); });
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
    Walk(const std::string& directory, Listed listed, const UnreadableFolder& onUnreadable)
        : directory_(directory),
          before_(directory.ends_with('/') ? directory : directory + "/"),
          listed_(listed),
          onUnreadable_(onUnreadable),
          cursor_(directory) {}

    std::vector<std::string> run() {
        visit("");
        while (!folders_.empty()) {
            const std::string folder = std::move(folders_.back());
            folders_.pop_back();
            visit(folder);
        }
        std::sort(files_.begin(), files_.end());
        return std::move(files_);
    }

private:
    /// @param folder below the directory; empty for the directory itself.
    void visit(const std::string& folder) {
        if (const int error = read(folder)) {
            onUnreadable_(folder.empty() ? directory_ : before_ + folder, error);
        }
    }

    int read(const std::string& folder) {
        if (const int error = cursor_.moveTo(folder)) {
            return error;
        }
        const Listing listing = openListing(cursor_.descriptor());
        if (listing == nullptr) {
            return errno;
        }
        const std::string inside = folder.empty() ? folder : folder + "/";
        for (;;) {
            errno = 0;
            const dirent* const entry = readdir(listing.get());
            if (entry == nullptr) {
                return errno;
            }
            take(dirfd(listing.get()), inside, entry->d_name);
        }
    }

    /// An entry that vanished meanwhile is no entry.
    void take(int directory, const std::string& inside, const char* name) {
        const std::string_view text(name);
        if (text == "." || text == "..") {
            return;
        }
        struct stat status {};
        if (fstatat(directory, name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT) {
                onUnreadable_(before_ + inside + name, errno);
            }
            return;
        }
        if (S_ISDIR(status.st_mode)) {
            folders_.push_back(inside + name);
        } else if (isListed(status.st_mode)) {
            files_.push_back(before_ + inside + name);
        }
    }

    bool isListed(mode_t mode) const { return listed_ == Listed::EverythingElseToo || S_ISREG(mode) || S_ISLNK(mode); }

    const std::string directory_;
    const std::string before_;
    const Listed listed_;
    const UnreadableFolder& onUnreadable_;
    FolderCursor cursor_;
    std::vector<std::string> folders_;
    std::vector<std::string> files_;
};

}  // namespace

std::vector<std::string> filesBelow(const std::string& directory, Listed listed, const UnreadableFolder& onUnreadable) {
    return Walk(directory, listed, onUnreadable).run();
}

}  // namespace QuillCoreUtils
