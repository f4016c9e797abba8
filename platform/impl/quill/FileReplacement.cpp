#include "impl/quill/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <functional>
#include <optional>

#include "impl/quill/FileDescriptor.h"
#include "impl/quill/SiblingFile.h"
#include "quill/FileUtils.h"

namespace QuillCoreUtils {
namespace {

constexpr int longestChainOfLinks = 40;
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

using Existing = std::optional<struct stat>;

/// Writes the new file, knowing what stood at the destination.
using Fill = std::function<int(SiblingFile&, const Existing&)>;

/// A hard link may be somebody else's way to have a file of this user's written to.
int refuseToGrow(const struct stat& status, Growing accepted) {
    if (S_ISREG(status.st_mode)) {
        return status.st_nlink > 1 ? EMLINK : 0;
    }
    const bool isStream = S_ISFIFO(status.st_mode) || S_ISCHR(status.st_mode);
    return isStream && accepted == Growing::Streams ? 0 : refuseIrregular(status.st_mode);
}

int refuseToGrow(int file, Growing accepted) {
    struct stat status {};
    return fstat(file, &status) != 0 ? errno : refuseToGrow(status, accepted);
}

/// What stands at the destination. Nothing, a file or a link are fine; the rest is refused: to put a file in the place
/// of a device would do harm far beyond this process.
int examineDestination(const std::string& path, Existing& existing) {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? 0 : errno;
    }
    existing = status;
    return S_ISLNK(status.st_mode) ? 0 : refuseIrregular(status.st_mode);
}

/// Whether a link may be followed by a program that writes: its own user, the system's administrator or the owner of
/// the folder has made it. In a folder that others may write to, a link of theirs would choose what is overwritten.
bool isOfTheHouse(const std::string& link, const std::string& folder) {
    struct stat ofLink {};
    struct stat ofFolder {};
    if (lstat(link.c_str(), &ofLink) != 0 || ::stat(folder.empty() ? "." : folder.c_str(), &ofFolder) != 0) {
        return false;
    }
    return ofLink.st_uid == geteuid() || ofLink.st_uid == 0 || ofLink.st_uid == ofFolder.st_uid;
}

int fillAndReplace(const std::string& destination, bool failIfExists, const Fill& fill) {
    Existing existing;
    if (const int error = examineDestination(destination, existing)) {
        return error;
    }
    if (existing && failIfExists) {
        return EEXIST;
    }
    SiblingFile sibling(destination);
    if (const int error = sibling.create()) {
        return error;
    }
    if (const int error = fill(sibling, existing)) {
        return error;
    }
    return sibling.becomeDestination(failIfExists);
}

/// A link at the path stays and what it leads to is replaced, with the permissions that it had.
int replaceThroughLinks(const std::string& path, bool failIfExists, const std::function<int(SiblingFile&)>& fill) {
    std::string destination;
    if (const int error = resolveLinks(path, destination)) {
        return error;
    }
    return fillAndReplace(destination, failIfExists, [&](SiblingFile& sibling, const Existing& existing) {
        const int error = fill(sibling);
        return error == 0 && existing ? adoptPermissions(sibling.get(), *existing) : error;
    });
}

/// A move keeps the file's own permissions, as a rename would.
int moveAcross(const std::string& from, const std::string& to, bool failIfExists) {
    int descriptor = -1;
    if (const int error = openRegularFile(from, descriptor)) {
        return error;
    }
    const FileDescriptor source(descriptor);
    const Fill fill = [&](SiblingFile& sibling, const Existing&) {
        const int error = sibling.appendAllOf(source.get());
        struct stat status {};
        if (error != 0 || fstat(source.get(), &status) != 0) {
            return error != 0 ? error : errno;
        }
        return adoptPermissions(sibling.get(), status);
    };
    if (const int error = fillAndReplace(to, failIfExists, fill)) {
        return error;
    }
    return errorOf(::unlink(from.c_str()));
}

/// A file that is moved on top of the name that another has just left would be all that a power cut leaves of the two.
/// Where the folder cannot be synced the file has been moved all the same.
void makeNamesDurable(const std::string& from, const std::string& to) {
    syncDirectoryOf(to);
    if (FileUtils::getParentDirectory(from) != FileUtils::getParentDirectory(to)) {
        syncDirectoryOf(from);
    }
}

/// Gives a finished sibling the destination's permissions and makes its contents durable.
int finishSibling(const std::string& sibling, const Existing& existing) {
    int descriptor = -1;
    if (const int error = openRegularFile(sibling, descriptor, Links::Refuse)) {
        return error;
    }
    const FileDescriptor file(descriptor);
    const int error = existing ? adoptPermissions(file.get(), *existing) : errorOf(fchmod(file.get(), ownerOnly));
    return error != 0 ? error : errorOf(uninterrupted([&] { return fsync(file.get()); }));
}

int finishAndRename(const std::string& sibling, const std::string& to) {
    std::string destination;
    if (const int error = resolveLinks(to, destination)) {
        return error;
    }
    Existing existing;
    if (const int error = examineDestination(destination, existing)) {
        return error;
    }
    if (const int error = finishSibling(sibling, existing)) {
        return error;
    }
    const int error = renameFile(sibling, destination, false);
    return error != 0 ? error : syncDirectoryOf(destination);
}

}  // namespace

int resolveLinks(const std::string& path, std::string& resolved) {
    resolved = path;
    for (int links = 0; links < longestChainOfLinks; ++links) {
        char target[PATH_MAX];
        const ssize_t length = readlink(resolved.c_str(), target, sizeof target);
        if (length < 0) {
            // No link, or nothing there yet: this is the end of the chain.
            return errno == EINVAL || errno == ENOENT ? 0 : errno;
        }
        const std::string next(target, static_cast<std::size_t>(length));
        const std::string parent = FileUtils::getParentDirectory(resolved);
        if (!isOfTheHouse(resolved, parent)) {
            return EPERM;
        }
        resolved = next.starts_with('/') || parent.empty() ? next : parent + "/" + next;
    }
    return ELOOP;
}

int openForAppending(const std::string& path, int access, int& descriptor, Growing accepted) {
    descriptor = -1;
    std::string resolved;
    if (const int error = resolveLinks(path, resolved)) {
        return error;
    }
    const int flags = access | O_APPEND | O_CREAT | O_CLOEXEC | O_NONBLOCK | O_NOCTTY;
    int file = uninterrupted([&] { return ::open(path.c_str(), flags | O_EXCL, ownerOnly); });
    const bool isNew = file >= 0;
    if (!isNew && errno == EEXIST && (access & O_EXCL) == 0) {
        // By its own name: what a descriptor's name in /proc leads to need not have another.
        struct stat status {};
        if (::stat(path.c_str(), &status) == 0) {
            if (const int error = refuseToGrow(status, accepted)) {
                return error;
            }
        }
        file = uninterrupted([&] { return ::open(path.c_str(), flags, ownerOnly); });
    }
    if (file < 0) {
        return errno;
    }
    // Some umasks take the owner's rights too. What was there may have been replaced since the look at it.
    const int error = isNew ? errorOf(fchmod(file, ownerOnly)) : refuseToGrow(file, accepted);
    if (error != 0) {
        ::close(file);
        return error;
    }
    descriptor = file;
    return 0;
}

int copyOver(const std::string& from, const std::string& to, bool failIfExists) {
    int descriptor = -1;
    if (const int error = openRegularFile(from, descriptor)) {
        return error;
    }
    const FileDescriptor source(descriptor);
    return replaceThroughLinks(to, failIfExists,
                               [&](SiblingFile& sibling) { return sibling.appendAllOf(source.get()); });
}

int writeOver(const std::string& to, const std::string& contents) {
    return replaceThroughLinks(to, false, [&](SiblingFile& sibling) { return sibling.append(contents); });
}

int putInPlace(const std::string& sibling, const std::string& to) {
    int error = finishAndRename(sibling, to);
    if (error == EXDEV) {
        // The destination is a link to another file system.
        error = copyOver(sibling, to, false);
        ::unlink(sibling.c_str());
    } else if (error != 0) {
        ::unlink(sibling.c_str());
    }
    return error;
}

void removeSiblingsLeftBeside(const std::string& to) {
    std::string destination;
    if (resolveLinks(to, destination) == 0) {
        SiblingFile(destination).removeStaleSiblings();
    }
}

int moveOver(const std::string& from, const std::string& to, bool failIfExists) {
    struct stat status {};
    if (lstat(from.c_str(), &status) != 0) {
        return errno;
    }
    if (S_ISDIR(status.st_mode)) {
        return EISDIR;
    }
    const int error = renameFile(from, to, failIfExists);
    if (error == 0) {
        makeNamesDurable(from, to);
    }
    return error == EXDEV ? moveAcross(from, to, failIfExists) : error;
}

}  // namespace QuillCoreUtils
