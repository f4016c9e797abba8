#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "journal/JournalBatch.h"

namespace corvidctl {

/// What the files of a journal hold.
struct JournalReading {
    /// A line that could not be read.
    struct Damage {
        std::string file;
        std::size_t line;  ///< from 1
        bool isTorn;       ///< the file ends in the midst of it
    };

    std::vector<JournalBatch> batches;  ///< in the order of happening
    std::vector<Damage> damages;
};

/// Reads a journal, the older of its two files first, as far as they are there. Empty lines count for nothing. A last
/// line without its line feed counts if it is whole.
/// @param path of the newer file. @throws std::runtime_error with one line if a file is there and cannot be read.
JournalReading readJournal(const std::string& path);

}  // namespace corvidctl
