#include "cli/Definitions.h"

#include <algorithm>
#include <sstream>
#include <string_view>

#include "cli/definitions/DefinitionGroups.h"

namespace corvidctl {

namespace {

const std::vector<DefinitionGroup>& definitionGroups() {
    static const std::vector<DefinitionGroup> groups = {lookingCommands(), comparingCommands(), changingCommands(),
                                                        serverCommands(), learningCommands()};
    return groups;
}

std::vector<CommandDefinition> allCommands() {
    std::vector<CommandDefinition> commands;
    for (const DefinitionGroup& group : definitionGroups()) {
        commands.insert(commands.end(), group.commands.begin(), group.commands.end());
    }
    const auto help = std::find_if(commands.begin(), commands.end(), [](const CommandDefinition& command) {
        return std::string_view(command.name) == "help";
    });
    for (const CommandDefinition& command : commands) {
        if (!command.isHidden) {
            help->choices.push_back(command.name);
        }
    }
    return commands;
}

}  // namespace

const std::vector<OptionDefinition>& globalOptions() {
    static const std::vector<OptionDefinition> options = {
        {"--config-dir", "DIR", "The user's configuration directory [$XDG_CONFIG_HOME/corvid, else ~/.config/corvid]",
         &Invocation::configDirectory, WordKind::Directory},
        {"--install-dir", "DIR", "Where corvid-config-defaults.xml lies [the installed data directory]",
         &Invocation::installDirectory, WordKind::Directory},
        {"--bootstrap", "FILE",
         "The bootstrap properties file; a pipe where it is read once [bootstrap.properties in the installation "
         "directory]",
         &Invocation::bootstrapFile, WordKind::File},
        {"--ca-file", "FILE", "Further trusted certificates (PEM) for HTTPS", &Invocation::caFile, WordKind::File},
        {"--fips",
         "MODE",
         "FIPS mode: auto (the system's own), on or off [auto]",
         &Invocation::fips,
         WordKind::Choice,
         {"auto", "on", "off"}},
        {"--log-level",
         "N",
         "2 failures, 3 warnings, 4 information, 5 debug, to standard error [3]",
         &Invocation::logLevel,
         WordKind::Choice,
         {"2", "3", "4", "5"}},
        {"--log-file", "FILE", "The log goes there instead", &Invocation::logFile, WordKind::File},
        {"-o,--output",
         "FORMAT",
         "How to print: table, json, jsonl (an object a line) or tsv [table]",
         &Invocation::output,
         WordKind::Choice,
         {"table", "json", "jsonl", "tsv"}},
        {"--json", "", "The same as -o json", &Invocation::json},
        {"--reveal", "", "Show sensitive values", &Invocation::reveal},
    };
    return options;
}

const std::vector<OptionDefinition>& answeringOptions() {
    constexpr bool Invocation::*none = nullptr;
    static const std::vector<OptionDefinition> options = {
        {"-h,--help", "", "Tell about the tool, or about the command that is named", none},
        {"--version", "", "Tell the tool's version", none},
    };
    return options;
}

const std::vector<CommandDefinition>& commandDefinitions() {
    static const std::vector<CommandDefinition> commands = allCommands();
    return commands;
}

std::vector<CommandGroup> commandGroups() {
    std::vector<CommandGroup> groups;
    for (const DefinitionGroup& definition : definitionGroups()) {
        CommandGroup& group = groups.emplace_back(CommandGroup{definition.heading, {}});
        for (const CommandDefinition& command : definition.commands) {
            if (!command.isHidden) {
                group.commands.push_back(&commandDefinition(command.name));
            }
        }
    }
    return groups;
}

const std::vector<ExampleDefinition>& examplesOfTheTool() {
    static const std::vector<ExampleDefinition> examples = {
        {"explain DockedWindow", "Tell why a key has its value"},
        {"list '*voicemail*'", "Print what is set for voicemail"},
        {"validate corvid-config.xml", "Check a file before it is rolled out"},
        {"-o json --config-dir ./profile list", "Print somebody else's profile for a script"},
    };
    return examples;
}

const CommandDefinition& commandDefinition(std::string_view name) {
    const std::vector<CommandDefinition>& commands = commandDefinitions();
    return *std::find_if(commands.begin(), commands.end(),
                         [name](const CommandDefinition& command) { return name == command.name; });
}

std::vector<std::string> namesOf(const OptionDefinition& option) {
    std::vector<std::string> names;
    std::istringstream text(option.names);
    for (std::string name; std::getline(text, name, ',');) {
        names.push_back(name);
    }
    return names;
}

std::size_t argumentsOfKind(const CommandDefinition& command) {
    std::istringstream words(command.arguments);
    std::size_t count = 0;
    for (std::string word; words >> word; ++count) {
        if (word == "VALUE") {
            return count;
        }
    }
    return command.argumentKind == WordKind::None ? 0 : command.most;
}

std::string usageOf(const CommandDefinition& command) {
    return "corvidctl " + std::string(command.name) + (*command.arguments == '\0' ? "" : " ") + command.arguments;
}

}  // namespace corvidctl
