#pragma once

/// What processes leave behind that are killed while they write: temporary siblings of the user's file and of the cache
/// files.
class StaleTemporaries {
public:
    /// Removes them. A sibling that another process is just writing is left to it: its end is waited for. A failure is
    /// logged, as FileUtils::removeFile does. Any thread; hold no lock.
    static void remove();
};
