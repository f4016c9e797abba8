#pragma once

#include <string>

#include "host/ReferenceHost.h"

namespace corvidctl {

/// The file that an export goes to.
class TargetFile {
public:
    /// @param path UTF-8. Links are followed.
    explicit TargetFile(const std::string& path);

    /// Whether something is there, be it a link that leads nowhere.
    bool isThere() const;

    /// Whether an export can be written there: in a folder that can be written, and no folder or device.
    bool isWritable() const;

    /// Whether another path leads to the file, be it there now or not.
    bool isSameAs(const std::string& path) const;

    /// Whether the file is the module's own, on a host with these paths: one that it reads, writes, moves
    /// aside or removes, or the note beside a kept copy, be it there now or not.
    bool belongsToModule(const host::ReferenceHost::Options& host) const;

    /// Writes the file in one step: it is the old one or the new one, whole, at every instant. What a process left that
    /// was killed meanwhile goes with the next write.
    /// @param isPrivate the file is for its owner alone (0600) from the first instant on; otherwise one that is there
    ///        keeps its permissions, and a new one gets what the process gives files.
    /// @param replaces false: it is a failure if the file is there.
    /// @throws std::runtime_error with one line if that fails.
    void write(const std::string& contents, bool isPrivate, bool replaces) const;

private:
    bool isIn(const std::string& folder) const;
    void writeAnew(const std::string& contents, bool isPrivate, bool replaces) const;

    const std::string path_;      ///< as it was given
    const std::string resolved_;  ///< absolute, without links
};

}  // namespace corvidctl
