#pragma once

#include <vector>

#include "cli/Definitions.h"

/// The commands, a source for each group that the help shows together.
namespace corvidctl {

struct DefinitionGroup {
    const char* heading;
    std::vector<CommandDefinition> commands;  ///< in the order of the help
};

DefinitionGroup lookingCommands();
DefinitionGroup comparingCommands();
DefinitionGroup changingCommands();
DefinitionGroup serverCommands();
DefinitionGroup learningCommands();

}  // namespace corvidctl
