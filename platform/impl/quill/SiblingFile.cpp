#include "impl/quill/SiblingFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <cstdio>
#include <utility>
#include <vector>

#include "quill/FileUtils.h"
#include "tessel/SecureStringUtils.h"

namespace QuillCoreUtils {
namespace {

constexpr std::string_view suffix = ".new";
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;
constexpr mode_t permissionBits = 07777;

/// Leaves room for the dots, the process, the number and the suffix in the 255 bytes of a file name. Long names that
/// share their beginning share their prefix; that is harmless, since a lock tells the dead siblings.
constexpr std::size_t longestPrefix = 200;

std::string directoryOf(const std::string& path) {
    const std::string parent = FileUtils::getParentDirectory(path);
    return parent.empty() ? "." : parent;
}

std::string prefixFor(const std::string& destination) {
    std::string prefix(1, '.');
    prefix.append(FileUtils::getFileName(destination), 0, longestPrefix);
    return prefix.append(1, '.');
}

bool isNumber(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

/// True for the prefix, two numbers joined by a dot, and the suffix.
bool isSiblingName(std::string_view name, std::string_view prefix) {
    if (name.size() <= prefix.size() + suffix.size() || !name.starts_with(prefix) || !name.ends_with(suffix)) {
        return false;
    }
    const std::string_view numbers = name.substr(prefix.size(), name.size() - prefix.size() - suffix.size());
    const std::size_t dot = numbers.find('.');
    return dot != std::string_view::npos && isNumber(numbers.substr(0, dot)) && isNumber(numbers.substr(dot + 1));
}

std::vector<std::string> siblingNames(const std::string& directory, std::string_view prefix) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, int (*)(DIR*)> listing(opendir(directory.c_str()), &closedir);
    if (listing != nullptr) {
        while (const dirent* const entry = readdir(listing.get())) {
            if (isSiblingName(entry->d_name, prefix)) {
                names.emplace_back(entry->d_name);
            }
        }
    }
    return names;
}

/// False if another one holds the lock. A file system without locks counts as locked for the one that makes a file, and
/// as not locked for the one that would remove it.
bool tryLock(int file, bool withoutLocks) {
    if (uninterrupted([&] { return flock(file, LOCK_EX | LOCK_NB); }) == 0) {
        return true;
    }
    return errno != EWOULDBLOCK && withoutLocks;
}

/// False if the file was removed since it was opened. One that cannot be looked at counts as there: whoever takes it
/// for removed makes another, and another, as long as that lasts.
bool hasName(int file) {
    struct stat status {};
    return fstat(file, &status) != 0 || status.st_nlink > 0;
}

/// Gives the owner's rights to a file of this user's own that nobody may open: whoever made it under such an umask has
/// died before it could. No link is followed, and what has another name as well stays as it is. @return false if not.
bool makeReadable(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_nlink == 1 &&
           status.st_uid == geteuid() && fchmodat(AT_FDCWD, path.c_str(), ownerOnly, AT_SYMLINK_NOFOLLOW) == 0;
}

std::string nextNumbers() {
    static std::atomic<unsigned> counter{0};
    return std::to_string(getpid()) + "." + std::to_string(++counter);
}

}  // namespace

SiblingFile::SiblingFile(std::string destination)
    : destination_(std::move(destination)), directory_(directoryOf(destination_)), prefix_(prefixFor(destination_)) {}

SiblingFile::~SiblingFile() {
    if (!path_.empty()) {
        ::unlink(path_.c_str());
    }
}

void SiblingFile::removeStaleSiblings() const {
    for (const std::string& name : siblingNames(directory_, prefix_)) {
        const std::string path = directory_ + "/" + name;
        int descriptor = -1;
        int error = openRegularFile(path, descriptor, Links::Refuse);
        if (error == EACCES && makeReadable(path)) {
            error = openRegularFile(path, descriptor, Links::Refuse);
        }
        if (error != 0) {
            continue;
        }
        const FileDescriptor file(descriptor);
        if (tryLock(file.get(), false)) {
            ::unlink(path.c_str());
        }
    }
}

int SiblingFile::createUnder(const std::string& path) {
    file_ = std::make_unique<FileDescriptor>(uninterrupted(
        [&] { return ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, ownerOnly); }));
    if (!file_->isOpen()) {
        return errno;
    }
    path_ = path;
    // Some umasks take the owner's rights too.
    if (const int error = errorOf(fchmod(file_->get(), ownerOnly))) {
        return error;
    }
    // Another process that sweeps here may have met the file in the instant before it was locked, and removed it.
    if (!tryLock(file_->get(), true) || !hasName(file_->get())) {
        path_.clear();
        return EEXIST;
    }
    return 0;
}

int SiblingFile::create() {
    removeStaleSiblings();
    int error = EEXIST;
    while (error == EEXIST) {
        error = createUnder(directory_ + "/" + prefix_ + nextNumbers() + std::string(suffix));
    }
    return error;
}

int SiblingFile::append(std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t written = uninterrupted([&] { return ::write(get(), bytes.data(), bytes.size()); });
        if (written < 0) {
            return errno;
        }
        bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return 0;
}

int SiblingFile::appendAllOf(int source) {
    std::array<char, 65536> buffer;
    for (;;) {
        const ssize_t length = uninterrupted([&] { return ::read(source, buffer.data(), buffer.size()); });
        if (length <= 0) {
            return length == 0 ? 0 : errno;
        }
        const int error = append({buffer.data(), static_cast<std::size_t>(length)});
        tessel::SecureStringUtils::TesselZeroMemory(buffer.data(), static_cast<std::size_t>(length));
        if (error != 0) {
            return error;
        }
    }
}

int SiblingFile::becomeDestination(bool keepExisting) {
    if (const int error = errorOf(uninterrupted([&] { return fsync(get()); }))) {
        return error;
    }
    if (const int error = renameFile(path_, destination_, keepExisting)) {
        return error;
    }
    path_.clear();
    return syncDirectoryOf(destination_);
}

int adoptPermissions(int file, const struct stat& model) {
    struct stat own {};
    if (fstat(file, &own) != 0) {
        return errno;
    }
    mode_t mode = model.st_mode & permissionBits;
    const bool sameOwner = own.st_uid == model.st_uid && own.st_gid == model.st_gid;
    if (!sameOwner && fchown(file, model.st_uid, model.st_gid) != 0) {
        mode &= S_IRWXU;
    }
    return errorOf(fchmod(file, mode));
}

int renameFile(const std::string& from, const std::string& to, bool keepExisting) {
    if (!keepExisting) {
        return errorOf(::rename(from.c_str(), to.c_str()));
    }
    const int error = errorOf(renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE));
    if (error != EINVAL && error != ENOSYS) {
        return error;
    }
    // The file system cannot rename in this way; a second link refuses an existing name just as well.
    if (::link(from.c_str(), to.c_str()) != 0) {
        return errno;
    }
    return errorOf(::unlink(from.c_str()));
}

int syncDirectoryOf(const std::string& path) {
    return syncDirectory(
        uninterrupted([&] { return ::open(directoryOf(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC); }));
}

int syncDirectory(int descriptor) {
    const FileDescriptor directory(descriptor);
    if (!directory.isOpen()) {
        return errno;
    }
    const int error = errorOf(uninterrupted([&] { return fsync(directory.get()); }));
    // Some file systems cannot sync a folder; their renames are as durable as they get.
    return error == EINVAL ? 0 : error;
}

}  // namespace QuillCoreUtils
