#include "cli/completions/ShellWords.h"

#include <algorithm>

namespace corvidctl {

namespace {

constexpr std::size_t MORE_THAN_ANYBODY_TYPES = 1000;

}  // namespace

bool takesValue(const OptionDefinition& option) { return *option.valueName != '\0'; }

std::string listed(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : " ") + word;
    }
    return text;
}

std::string listed(const std::vector<const char*>& words) {
    return listed(std::vector<std::string>(words.begin(), words.end()));
}

std::string listedNames(const std::vector<OptionDefinition>& options) {
    std::vector<std::string> names;
    for (const OptionDefinition& option : options) {
        const std::vector<std::string> own = namesOf(option);
        names.insert(names.end(), own.begin(), own.end());
    }
    return listed(names);
}

std::vector<OptionDefinition> optionsEverywhere() {
    std::vector<OptionDefinition> options = globalOptions();
    options.insert(options.end(), answeringOptions().begin(), answeringOptions().end());
    return options;
}

std::vector<const CommandDefinition*> shownCommands() {
    std::vector<const CommandDefinition*> commands;
    for (const CommandGroup& group : commandGroups()) {
        commands.insert(commands.end(), group.commands.begin(), group.commands.end());
    }
    return commands;
}

std::size_t completableArguments(const CommandDefinition& command) {
    return std::min(argumentsOfKind(command), MORE_THAN_ANYBODY_TYPES);
}

}  // namespace corvidctl
