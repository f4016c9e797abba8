#pragma once

#include <cerrno>

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

/// 0 if a system call went well, else errno.
inline int errorOf(int result) { return result == 0 ? 0 : errno; }

}  // namespace QuillCoreUtils
