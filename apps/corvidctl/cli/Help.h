#pragma once

#include <cstddef>
#include <string>

#include "cli/Definitions.h"

/// The help, made from the definitions of the command line.
namespace corvidctl {

/// @param columns of the terminal; 0: unknown. Lines grow no longer than is comfortable to read.
std::string helpOfTheTool(std::size_t columns);
std::string helpOf(const CommandDefinition& command, std::size_t columns);

}  // namespace corvidctl
