#pragma once

#include "cli/Invocation.h"
#include "output/Output.h"

namespace corvidctl {

/// Asks the configured servers for their file on behalf of a throw-away copy of the configuration, and tells what
/// would change. Nothing of the configuration itself is touched.
/// @return the exit status. @throws std::runtime_error with one line if the copy cannot be made or read.
int rehearseFetch(const Invocation& invocation, Output& output);

}  // namespace corvidctl
