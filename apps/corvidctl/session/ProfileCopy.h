#pragma once

#include <string>

namespace corvidctl {

/// A fresh temporary folder, removed at the end with everything in it.
class TemporaryFolder {
public:
    /// @throws std::system_error with one line if it cannot be made.
    TemporaryFolder();
    ~TemporaryFolder();

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }

    /// Removes all that there are, for an end of the program that leaves no scope. Any thread, while others may still
    /// write there.
    static void removeAll();

private:
    std::string path_;
};

/// A copy of a configuration directory in a fresh temporary place, removed at the end: its files and folders, as deep
/// as the module looks, and what links lead to. One that is missing counts as an empty one.
class ProfileCopy {
public:
    /// @throws std::system_error with one line if it cannot be copied; nothing stays behind.
    explicit ProfileCopy(const std::string& profile);

    const std::string& path() const { return folder_.path(); }

private:
    const TemporaryFolder folder_;
};

}  // namespace corvidctl
