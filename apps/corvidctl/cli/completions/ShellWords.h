#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "cli/Definitions.h"

/// What the scripts for all shells have in common.
namespace corvidctl {

/// True for an option that takes a value.
bool takesValue(const OptionDefinition& option);

/// The words with blanks between them.
std::string listed(const std::vector<std::string>& words);
std::string listed(const std::vector<const char*>& words);

/// The names of options in the order of the definitions, with blanks between them.
std::string listedNames(const std::vector<OptionDefinition>& options);

/// The global options, and those that the parser answers by itself.
std::vector<OptionDefinition> optionsEverywhere();

/// The commands that the help tells of.
std::vector<const CommandDefinition*> shownCommands();

/// How many arguments of a command a shell can complete; where there is no end to them, a number that nobody types.
std::size_t completableArguments(const CommandDefinition& command);

}  // namespace corvidctl
