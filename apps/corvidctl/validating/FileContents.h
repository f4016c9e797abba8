#pragma once

#include <string>

#include "impl/quill/FileDescriptor.h"

namespace corvidctl {

/// Reads a file to its end, once: it may be a pipe, of which nothing is left then.
/// @param path UTF-8. What is no regular file may be endless, and may have 64 MiB.
/// @throws WrongUse with one line if it cannot be opened, be read to its end, or has more.
std::string readToEnd(const std::string& path);

/// The same, and keeps nothing of it: what is left is that it can be read.
void readThrough(const std::string& path);

/// A text that stands nowhere on disk and can be read as a file again and again. Any thread.
class FileInMemory {
public:
    /// @throws std::system_error with one line if it cannot be made.
    explicit FileInMemory(const std::string& contents);

    /// Good while this lives, in this process.
    std::string path() const { return "/proc/self/fd/" + std::to_string(file_.get()); }

private:
    const QuillCoreUtils::FileDescriptor file_;
};

}  // namespace corvidctl
