#include "support/AtLocks.h"

#include <sys/file.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace {

std::function<int()>& actionAtLocks() {
    static std::function<int()> action;
    return action;
}

}  // namespace

extern "C" int flock(int file, int operation) noexcept(noexcept(::flock(0, 0))) {
    if (const int error = actionAtLocks() ? actionAtLocks()() : 0) {
        errno = error;
        return -1;
    }
    return static_cast<int>(syscall(SYS_flock, file, operation));
}

namespace support {

AtLocks::AtLocks(std::function<int()> action) { actionAtLocks() = std::move(action); }

AtLocks::~AtLocks() { actionAtLocks() = nullptr; }

}  // namespace support
