#pragma once

#include <sys/stat.h>

#include <optional>
#include <string>

namespace corvidctl {

/// What a file looks like from outside: enough to tell that it has not been written since. Any thread.
class FileState {
public:
    FileState() = default;

    /// Of a file as it is, or of what a link leads to. To be taken before the file is read.
    explicit FileState(const std::string& file);

    /// True if both are of the same contents for sure. Never of files that are missing, which cost nothing to read; nor
    /// if the file had just been written when this state was noted: file times are too coarse to show another writing.
    bool isStill(const FileState& now) const;

    bool isMissing() const { return !status_; }

private:
    std::optional<struct stat> status_;  ///< nothing: there is no such file
    bool isFresh_ = false;
};

}  // namespace corvidctl
