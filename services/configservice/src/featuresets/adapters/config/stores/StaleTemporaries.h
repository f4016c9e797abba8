#pragma once

/// What processes leave behind that are killed while they write: temporary siblings of the user's file, of the cache
/// files, and of the notes that the command-line tool leaves beside those that are there.
class StaleTemporaries {
public:
    /// Removes them: those that stand beside the user's file and in the cache folder itself, under the very names that
    /// writers give them; where one of these files is a link of the user's own, those beside what it leads to as well.
    /// What a stranger's link leads to is left alone, in the place of a file, of the cache folder and of the
    /// configuration folder. A sibling that another process is just writing is left to it: its end is waited for. A
    /// failure is logged, as FileUtils::removeFile does. Any thread; hold no lock.
    static void remove();
};
