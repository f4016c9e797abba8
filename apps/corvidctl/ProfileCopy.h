#pragma once

#include <string>

namespace corvidctl {

/// A copy of a configuration directory in a fresh temporary place, removed at the end. One that is missing counts as an
/// empty one.
class ProfileCopy {
public:
    /// @throws std::system_error with one line if it cannot be copied.
    explicit ProfileCopy(const std::string& profile);
    ~ProfileCopy();

    ProfileCopy(const ProfileCopy&) = delete;
    ProfileCopy& operator=(const ProfileCopy&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

}  // namespace corvidctl
