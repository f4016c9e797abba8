#include "support/NoFolderSyncs.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>

namespace {

std::atomic<int> errorOfSyncs = 0;

bool isFolder(int file) {
    struct stat status {};
    return ::fstat(file, &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

extern "C" int fsync(int file) noexcept(noexcept(::fsync(0))) {
    if (errorOfSyncs != 0 && isFolder(file)) {
        errno = errorOfSyncs;
        return -1;
    }
    return static_cast<int>(syscall(SYS_fsync, file));
}

namespace support {

NoFolderSyncs::NoFolderSyncs(int error) { errorOfSyncs = error; }

NoFolderSyncs::~NoFolderSyncs() { errorOfSyncs = 0; }

}  // namespace support
