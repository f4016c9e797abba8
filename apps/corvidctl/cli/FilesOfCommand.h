#pragma once

#include <string>

#include "cli/Invocation.h"

namespace corvidctl {

/// Whether a file is one of those that a command itself reads or writes: one that its arguments or options name, or a
/// file of the module's in a folder that they name. What the module reads and writes of Invocation::host is not meant.
/// It may be there or not. A device is none, since nothing that is written there comes back.
bool isFileOfCommand(const std::string& path, const Invocation& invocation);

}  // namespace corvidctl
