#pragma once

#include <string>

#include "session/TemporaryFolder.h"

namespace corvidctl {

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
