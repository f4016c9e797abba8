#pragma once

#include <chrono>
#include <optional>
#include <string>

/// The transfer that brought what a kept copy holds: a small file of the tool's own beside the copy, since the copy
/// tells neither where its values came from nor when; CacheFiles::noteBeside() names it. The module never reads it. A
/// data reset removes it with the copy, and the next start what is left of one whose writer was killed.
namespace corvidctl {

struct TransferNote {
    std::string url;
    std::string server;
    std::string version;                         ///< of the server, in its own spelling
    std::chrono::system_clock::time_point time;  ///< when the transfer ended
};

/// Writes the note on a copy as it is now, in one step and for its owner alone. @param copy full path.
/// @return false if the copy cannot be read or the note cannot be written; the log says why.
bool leaveNote(const std::string& copy, const TransferNote& note);

/// @return nothing if there is no note that can be read, or if the copy has been written since the note was left.
std::optional<TransferNote> noteOn(const std::string& copy);

}  // namespace corvidctl
