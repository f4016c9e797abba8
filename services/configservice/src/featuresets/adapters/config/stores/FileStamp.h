#pragma once

#include <sys/types.h>

#include <ctime>
#include <string>

/// Tells whether a file is still the one that was last looked at: a replaced or rewritten file has another stamp.
struct FileStamp {
    dev_t device = 0;
    ino_t number = 0;
    off_t size = -1;
    std::time_t seconds = 0;
    long nanoseconds = 0;

    bool operator==(const FileStamp&) const = default;

    /// True if there was a file.
    bool exists() const { return size >= 0; }

    /// The stamp of what is there now; one for which exists() is false if nothing is.
    static FileStamp of(const std::string& path);

    /// The same for a file that is about to be read: as long as of() equals it, the file holds what was read. One for
    /// which exists() is false if that could not be told: for all but regular files, and for a file that has just been
    /// changed, since another change may bear the same time.
    static FileStamp beforeReading(const std::string& path);
};
