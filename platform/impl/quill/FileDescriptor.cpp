#include "impl/quill/FileDescriptor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace QuillCoreUtils {

// Not repeated when interrupted: on this system the descriptor is gone by then, and its number may be another file's.
FileDescriptor::~FileDescriptor() {
    if (isOpen()) {
        ::close(descriptor_);
    }
}

int refuseIrregular(mode_t mode) {
    if (S_ISREG(mode)) {
        return 0;
    }
    return S_ISDIR(mode) ? EISDIR : EINVAL;
}

int openRegularFile(const std::string& path, int& descriptor, Links links) {
    descriptor = -1;
    const bool isFollowed = links == Links::Follow;
    struct stat status {};
    if (fstatat(AT_FDCWD, path.c_str(), &status, isFollowed ? 0 : AT_SYMLINK_NOFOLLOW) != 0) {
        return errno;
    }
    if (const int error = refuseIrregular(status.st_mode)) {
        return error;
    }
    // Something else may have taken its place since then. Without O_NONBLOCK the opening of a pipe would wait for its
    // other end, without O_NOCTTY a terminal might become the process's own.
    const int flags = O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC | (isFollowed ? 0 : O_NOFOLLOW);
    const int file = uninterrupted([&] { return ::open(path.c_str(), flags); });
    if (file < 0) {
        return errno;
    }
    const int error = fstat(file, &status) != 0 ? errno : refuseIrregular(status.st_mode);
    if (error != 0) {
        ::close(file);
        return error;
    }
    descriptor = file;
    return 0;
}

}  // namespace QuillCoreUtils
