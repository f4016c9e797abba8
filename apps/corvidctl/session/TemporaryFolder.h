#pragma once

#include <optional>
#include <string>

#include "impl/quill/FileDescriptor.h"

namespace corvidctl {

/// A fresh temporary folder, removed at the end with everything in it. It lies in another one, which is locked (flock)
/// for as long as it is in use, so that the next one that is made can remove those of this user's that a killed program
/// has left. A configuration directory is locked by those who write there, and so is no place for that lock.
class TemporaryFolder {
public:
    /// It is made in the folder that TMPDIR names, else in /tmp.
    /// @throws WrongUse with one line if that is no folder that can be written; std::system_error if this one cannot be
    ///         made there all the same.
    TemporaryFolder();
    ~TemporaryFolder();

    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }

    /// Removes all that there are, for an end of the program that leaves no scope. Any thread, while others may still
    /// write there.
    static void removeAll();

private:
    bool makeOuter(const std::string& prefix);

    std::string outer_;
    std::optional<QuillCoreUtils::FileDescriptor> locked_;  ///< the outer folder
    std::string path_;
};

}  // namespace corvidctl
