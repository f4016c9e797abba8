#pragma once

#include <string>

/// The user's own file, as a command that writes it sees it.
namespace corvidctl {

/// Its path, and that of what the module makes of a broken one.
std::string localFileOf(const std::string& configDirectory);
std::string brokenLocalFileOf(const std::string& configDirectory);

/// Why the module could not read it and will set it aside, in one line; empty if it can, or if there is no file. No
/// session may run meanwhile.
std::string whyBroken(const std::string& configDirectory);

/// Why nothing can be written in a directory, in the system's words; empty if it can. One that is missing counts as it
/// could be made. Leaves nothing behind.
std::string whyNotWritable(const std::string& directory);

}  // namespace corvidctl
