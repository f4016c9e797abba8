#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "journal/Cause.h"

/// What a journal holds, as plain UTF-8 data.
namespace corvidctl {

/// One key whose answer has changed: its value, or the store that gives it. A store whose name is empty is none: the
/// key was, or is, not defined.
struct JournalChange {
    std::string key;  ///< under its current name
    std::string oldValue;
    std::string newValue;
    std::string oldStore;
    std::string newStore;
    bool isSensitive = false;

    bool operator==(const JournalChange&) const = default;
};

/// What one piece of work changed, each key once. That of Cause::Start changed nothing: it holds every key that was
/// defined then, as if it had come from nowhere.
struct JournalBatch {
    std::uint64_t number = 0;                    ///< from 1, in the order of happening
    std::chrono::system_clock::time_point time;  ///< of the end of the work; whole milliseconds in files
    Cause cause = Cause::Start;
    std::vector<JournalChange> changes;

    bool operator==(const JournalBatch&) const = default;
};

}  // namespace corvidctl
