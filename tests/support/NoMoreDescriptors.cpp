#include "support/NoMoreDescriptors.h"

#include <fcntl.h>
#include <libxml/xmlerror.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>

namespace {

std::atomic<bool> refuses = false;

void ignore(void*, const char*, ...) {}

void end(void*, const char*, ...) { refuses = false; }

int openUnlessRefused(int folder, const char* path, int flags, mode_t mode) {
    if (refuses) {
        errno = EMFILE;
        return -1;
    }
    return static_cast<int>(syscall(SYS_openat, folder, path, flags, mode));
}

/// The mode is there only where a file may be made.
bool takesMode(int flags) { return (flags & (O_CREAT | O_TMPFILE)) != 0; }

}  // namespace

extern "C" int open(const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = takesMode(flags) ? va_arg(more, mode_t) : 0;
    va_end(more);
    return openUnlessRefused(AT_FDCWD, path, flags, mode);
}

extern "C" int openat(int folder, const char* path, int flags, ...) {
    va_list more;
    va_start(more, flags);
    const mode_t mode = takesMode(flags) ? va_arg(more, mode_t) : 0;
    va_end(more);
    return openUnlessRefused(folder, path, flags, mode);
}

namespace support {

NoMoreDescriptors::NoMoreDescriptors(Until until) {
    xmlSetGenericErrorFunc(nullptr, until == Until::ItIsTold ? end : ignore);
    refuses = true;
}

NoMoreDescriptors::~NoMoreDescriptors() {
    refuses = false;
    xmlSetGenericErrorFunc(nullptr, nullptr);
}

}  // namespace support
