#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "cli/Invocation.h"

namespace corvidctl {

/// What came of reading the command line: an invocation, or the end of the program.
struct CommandLine {
    std::optional<Invocation> invocation;
    int status = Status::Done;
    std::string output;  ///< for standard output: help, version
    std::string error;   ///< for standard error: one line, without the program's name
};

/// Reads the command line. Looks at nothing but the words: what they name is checkInvocation()'s business.
/// @param columns of the terminal that the help is for; 0: unknown.
CommandLine readCommandLine(int argc, const char* const* argv, std::size_t columns = 0);

}  // namespace corvidctl
