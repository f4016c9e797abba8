#include "support/NoFolderSyncs.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>

namespace {

std::atomic<bool> refuses = false;

bool isFolder(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

extern "C" int fsync(int file) noexcept(noexcept(::fsync(0))) {
    if (refuses && isFolder(file)) {
        errno = EIO;
        return -1;
    }
    return static_cast<int>(syscall(SYS_fsync, file));
}

namespace support {

NoFolderSyncs::NoFolderSyncs() { refuses = true; }

NoFolderSyncs::~NoFolderSyncs() { refuses = false; }

}  // namespace support
