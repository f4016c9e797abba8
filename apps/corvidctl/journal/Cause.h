#pragma once

#include <optional>
#include <string_view>
#include <vector>

namespace corvidctl {

struct JournalChange;

/// Why values changed.
enum class Cause {
    Start,         ///< nothing changed: all that was defined when somebody began to look
    File,          ///< a file on this machine was read
    Download,      ///< the server's file, or what was learned on the way to it
    Set,           ///< somebody stored a value
    Reset,         ///< values were given up
    Provisioning,  ///< a provisioning link
};

/// One small word, as outputs and files have it: "download".
const char* textOf(Cause cause);

/// The other way round; none if no cause is called so.
std::optional<Cause> causeCalled(std::string_view text);

/// What the stores that the values came from and went to tell about the cause of the changes. They are a guess where
/// several pieces of work ended as one; whoever starts an operation knows better, and says so with a CauseScope.
Cause workedOutCause(const std::vector<JournalChange>& changes);

}  // namespace corvidctl
