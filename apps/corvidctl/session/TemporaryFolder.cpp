#include "session/TemporaryFolder.h"

#include <dirent.h>
#include <fcntl.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <mutex>
#include <set>
#include <string_view>
#include <system_error>
#include <vector>

#include "cli/WrongUse.h"

namespace corvidctl {

namespace fs = std::filesystem;

namespace {

constexpr std::string_view PREFIX = "corvidctl-temporary-";
constexpr std::string_view PLACES = "XXXXXX";  // of what mkdtemp() chooses
constexpr int REMOVALS = 100;

/// The temporary folders of this program.
struct Existing {
    static Existing& instance() {
        static Existing existing;
        return existing;
    }

    std::mutex mutex;
    std::set<std::string> paths;  ///< of the outer ones; under mutex
};

bool isName(std::string_view name) {
    const auto isChosen = [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
    };
    return name.size() == PREFIX.size() + PLACES.size() && name.starts_with(PREFIX) &&
           std::all_of(name.begin() + PREFIX.size(), name.end(), isChosen);
}

/// Opens a folder, and not what a link leads to. @return -1 if it is none.
int openFolder(int at, const std::string& name) {
    return openat(at, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
}

std::vector<std::string> namesIn(int folder) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(fdopendir(openFolder(folder, ".")), &closedir);
    if (listing != nullptr) {
        while (const dirent* const entry = readdir(listing.get())) {
            const std::string name = entry->d_name;
            if (name != "." && name != "..") {
                names.push_back(name);
            }
        }
    }
    return names;
}

/// Removes what is in a folder, as far as it lets itself be removed: links, and not what they lead to.
void empty(int folder) {
    for (const std::string& name : namesIn(folder)) {
        if (unlinkat(folder, name.c_str(), 0) == 0) {
            continue;
        }
        const QuillCoreUtils::FileDescriptor inner(openFolder(folder, name));
        if (inner.isOpen()) {
            empty(inner.get());
            unlinkat(folder, name.c_str(), AT_REMOVEDIR);
        }
    }
}

/// Whether mkdtemp() has made it for this user.
bool isOurs(int folder) {
    struct stat status {};
    return fstat(folder, &status) == 0 && status.st_uid == geteuid() && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

bool tryLock(int folder) {
    return QuillCoreUtils::uninterrupted([&] { return flock(folder, LOCK_EX | LOCK_NB); }) == 0;
}

/// In a place that others may write to as well, everything may be replaced between two looks: it is the opened folder
/// that is looked at and emptied.
void removeWhatIsLeftIn(const std::string& place) {
    const QuillCoreUtils::FileDescriptor parent(open(place.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!parent.isOpen()) {
        return;
    }
    for (const std::string& name : namesIn(parent.get())) {
        if (!isName(name)) {
            continue;
        }
        const QuillCoreUtils::FileDescriptor folder(openFolder(parent.get(), name));
        if (folder.isOpen() && isOurs(folder.get()) && tryLock(folder.get())) {
            empty(folder.get());
            unlinkat(parent.get(), name.c_str(), AT_REMOVEDIR);
        }
    }
}

/// What TMPDIR names, else /tmp; an empty text names nothing.
std::string placeOfAll() {
    const char* const named = std::getenv("TMPDIR");
    const std::string place = named == nullptr || *named == '\0' ? "/tmp" : named;
    std::error_code error;
    if (!fs::is_directory(place, error) || access(place.c_str(), W_OK | X_OK) != 0) {
        throw WrongUse("TMPDIR '" + place + "': expected a folder that can be written");
    }
    return place;
}

}  // namespace

TemporaryFolder::TemporaryFolder() {
    const fs::path place = placeOfAll();
    removeWhatIsLeftIn(place);
    Existing& existing = Existing::instance();
    const std::lock_guard<std::mutex> lock(existing.mutex);
    while (!makeOuter(place / PREFIX)) {
    }
    path_ = outer_ + "/in";
    if (mkdir(path_.c_str(), S_IRWXU) != 0) {
        const int error = errno;
        rmdir(outer_.c_str());
        throw std::system_error(error, std::generic_category(), path_);
    }
    existing.paths.insert(outer_);
}

TemporaryFolder::~TemporaryFolder() {
    Existing& existing = Existing::instance();
    const std::lock_guard<std::mutex> lock(existing.mutex);
    std::error_code ignored;  // a temporary folder that stays behind is removed by the next one that is made
    fs::remove_all(outer_, ignored);
    existing.paths.erase(outer_);
}

void TemporaryFolder::removeAll() {
    Existing& existing = Existing::instance();
    const std::lock_guard<std::mutex> lock(existing.mutex);
    for (const std::string& path : existing.paths) {
        std::error_code error;
        // A file that comes while the others go makes a removal fail.
        for (int i = 0; i < REMOVALS && (fs::remove_all(path, error), error); ++i) {
        }
    }
}

/// @return false if another program has taken it for left behind, in the instant before it was locked. Where nothing
/// can be locked nothing is ever taken for that.
bool TemporaryFolder::makeOuter(const std::string& prefix) {
    outer_ = prefix + std::string(PLACES);
    if (mkdtemp(outer_.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), outer_);
    }
    locked_.emplace(openFolder(AT_FDCWD, outer_));
    if (!tryLock(locked_->get()) && errno == EWOULDBLOCK) {
        return false;
    }
    return access(outer_.c_str(), F_OK) == 0;
}

}  // namespace corvidctl
