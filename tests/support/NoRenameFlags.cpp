#include "support/NoRenameFlags.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>

namespace {

std::atomic<int> errorOfRenames = 0;

}  // namespace

extern "C" int renameat2(int fromFolder, const char* from, int toFolder, const char* to,
                         unsigned flags) noexcept(noexcept(::renameat2(0, "", 0, "", 0))) {
    if (errorOfRenames != 0) {
        errno = errorOfRenames;
        return -1;
    }
    return static_cast<int>(syscall(SYS_renameat2, fromFolder, from, toFolder, to, flags));
}

namespace support {

NoRenameFlags::NoRenameFlags(int error) { errorOfRenames = error; }

NoRenameFlags::~NoRenameFlags() { errorOfRenames = 0; }

}  // namespace support
