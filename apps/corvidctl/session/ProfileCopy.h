#pragma once

#include <string>

#include "session/TemporaryFolder.h"

namespace corvidctl {

/// A copy of a configuration directory in a fresh temporary place, removed at the end: the files in it that the module
/// reads, be they links, an empty one in the place of one that it only removes, and nothing else that lies there. One
/// that is missing counts as an empty one.
class ProfileCopy {
public:
    /// Nothing stays behind if it throws.
    /// @throws WrongUse if one of the files, or the folder of the kept copies, cannot be read.
    /// @throws std::system_error with one line if the copy cannot be written.
    explicit ProfileCopy(const std::string& profile);

    const std::string& path() const { return folder_.path(); }

private:
    const TemporaryFolder folder_;
};

}  // namespace corvidctl
