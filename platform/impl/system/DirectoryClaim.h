#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "impl/quill/FileDescriptor.h"

namespace platform {

/// A process that works on a directory.
struct DirectoryUser {
    pid_t process = 0;  ///< 0: not known
    std::string name;   ///< what the system calls its program, at most 15 bytes; empty if that is not known
};

/// Tells the processes that work on one directory of each other. Advisory: it keeps nobody out who does not ask.
///
/// There are two kinds of them. A resident keeps in memory what it has read and writes it again later: a client that
/// runs. Residents do not hinder each other. A writer reads, changes and writes in one go; writers do so one after
/// another, so that each of them finds what the one before has written. Who only reads claims nothing.
///
/// A claim is a lock on the directory itself: it needs no file, works where nothing may be written, and goes with its
/// process, however that ends. The locks are record locks that belong to this object's open file, a kind which leaves
/// alone whoever takes the directory with flock(), as stores do while they replace a file. Since a directory is open
/// for reading only, all of them are shared, and it is their place that speaks: the byte is the number of the process,
/// which is how others know whom to name. Two claims of one process see each other as those of two do.
///
/// On a file system without such locks nobody is seen and nobody is hindered. The same is true of a directory that is
/// missing or may not be listed. For one thread.
class DirectoryClaim {
public:
    /// Claims nothing yet. @param directory in UTF-8; is not created.
    explicit DirectoryClaim(const std::string& directory);

    DirectoryClaim(const DirectoryClaim&) = delete;
    DirectoryClaim& operator=(const DirectoryClaim&) = delete;

    /// False if the directory could not be opened: nothing can be claimed.
    bool isOpen() const { return directory_.isOpen(); }

    /// True if a path leads to the claimed directory still; not if that was removed or replaced meanwhile.
    bool isOf(const std::string& path) const;

    /// Is a resident from now until the end of this object. Whoever looks for others afterwards misses none: of two
    /// that come at the same time, at least one sees the other.
    void becomeResident();

    /// Becomes the writer, unless somebody else is, or has been waiting for it and comes first. Does not wait: whoever
    /// wants the turn asks again and again, and stands in the line from the first time until the end of this object.
    /// Who stands in the line is let in by process number.
    /// @return who is in the way; nobody: the turn is this object's, until its end.
    std::optional<DirectoryUser> takeTurn();

    /// Another resident, if there is one.
    std::optional<DirectoryUser> resident() const;

    /// Another writer, if there is one.
    std::optional<DirectoryUser> writer() const;

private:
    const QuillCoreUtils::FileDescriptor directory_;
};

}  // namespace platform
