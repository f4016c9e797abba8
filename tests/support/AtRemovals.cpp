#include "support/AtRemovals.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <utility>

namespace {

std::function<void()>& actionAtRemovals() {
    static std::function<void()> action;
    return action;
}

}  // namespace

extern "C" int unlink(const char* path) noexcept(noexcept(::unlink(""))) {
    if (actionAtRemovals()) {
        actionAtRemovals()();
    }
    return static_cast<int>(syscall(SYS_unlinkat, AT_FDCWD, path, 0));
}

namespace support {

AtRemovals::AtRemovals(std::function<void()> action) { actionAtRemovals() = std::move(action); }

AtRemovals::~AtRemovals() { actionAtRemovals() = nullptr; }

}  // namespace support
