#pragma once

#include <sys/types.h>

#include <cerrno>
#include <string>

namespace QuillCoreUtils {

/// An open file, closed at the end of a scope.
class FileDescriptor {
public:
    /// @param descriptor what open() gave; -1 if it failed.
    explicit FileDescriptor(int descriptor) : descriptor_(descriptor) {}
    ~FileDescriptor();

    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;

    bool isOpen() const { return descriptor_ >= 0; }
    int get() const { return descriptor_; }

private:
    const int descriptor_;
};

/// Repeats a system call for as long as signals interrupt it. @return what the call gave at last.
template <typename Call>
auto uninterrupted(const Call& call) {
    auto result = call();
    while (result == -1 && errno == EINTR) {
        result = call();
    }
    return result;
}

/// 0 for a regular file, EISDIR for a folder, EINVAL for a device, a pipe, a link and the like.
int refuseIrregular(mode_t mode);

enum class Links { Follow, Refuse };

/// Opens what a path names for reading if it is a regular file. Anything else is not even opened: an open alone winds a
/// tape back, starts a watchdog, or makes a terminal the process's own.
/// @param descriptor receives it, for the caller to close; -1 on failure.
/// @param links what to do where the path itself is one. @return 0 or an errno.
int openRegularFile(const std::string& path, int& descriptor, Links links = Links::Follow);

/// 0 if a system call went well, else errno.
inline int errorOf(int result) { return result == 0 ? 0 : errno; }

}  // namespace QuillCoreUtils
