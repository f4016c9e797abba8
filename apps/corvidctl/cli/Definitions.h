#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "cli/Invocation.h"

/// What the tool can be told on its command line, written down once: the parser, the help, the manual page and the
/// completions of the shells are all made from this.
namespace corvidctl {

/// What a word of the command line names, so that a shell can complete it.
enum class WordKind {
    None,         ///< no word at all
    Text,         ///< anything
    Key,          ///< a configuration key
    Store,        ///< the name of a store
    Side,         ///< of a comparison: the name of a store, "live", or a path to a file or a folder
    Replacement,  ///< "STORE=FILE", where the store may be one that no chain has yet
    File,         ///< a path to a file
    Directory,    ///< a path to a folder
    Choice,       ///< one of a few words
};

/// Where the parser puts what an option says: a switch, a text, a text that may be missing, or one text for each time
/// that the option is given.
using OptionTarget = std::variant<bool Invocation::*, std::string Invocation::*,
                                  std::optional<std::string> Invocation::*, std::vector<std::string> Invocation::*>;

struct OptionDefinition {
    const char* names;      ///< "--store", or "-o,--output"
    const char* valueName;  ///< as the help shows it; empty for a switch
    const char* help;       ///< one sentence without its full stop; the default stands in brackets at its end
    OptionTarget target;
    WordKind kind = WordKind::None;
    std::vector<const char*> choices = {};  ///< of a WordKind::Choice
};

struct ExampleDefinition {
    const char* words;  ///< behind "corvidctl ", as typed in a shell
    const char* what;   ///< what it shows or does, one sentence without its full stop
};

struct CommandDefinition {
    const char* name;
    const char* arguments;  ///< as the help shows them
    std::size_t least;
    std::size_t most;
    WordKind argumentKind;
    const char* summary;      ///< one sentence without its full stop
    const char* description;  ///< what a user should know besides, in whole sentences; paragraphs part at empty lines
    std::vector<OptionDefinition> options = {};
    std::vector<ExampleDefinition> examples = {};
    std::vector<const char*> choices = {};  ///< of arguments of WordKind::Choice
    bool isHidden = false;                  ///< for scripts; in no help and in no list of commands
};

/// Commands that the help shows together.
struct CommandGroup {
    const char* heading;
    std::vector<const CommandDefinition*> commands;
};

inline constexpr std::size_t ANY_NUMBER = static_cast<std::size_t>(-1);

const std::vector<OptionDefinition>& globalOptions();

/// --help and --version, which the parser answers by itself: they have no target.
const std::vector<OptionDefinition>& answeringOptions();

/// Everything that the tool can do, hidden commands included.
const std::vector<CommandDefinition>& commandDefinitions();

/// The commands that are not hidden, in the order in which the help lists them.
std::vector<CommandGroup> commandGroups();

/// Command lines that show what the tool is for.
const std::vector<ExampleDefinition>& examplesOfTheTool();

/// @param name one of commandDefinitions().
const CommandDefinition& commandDefinition(std::string_view name);

/// The single names of an option: "-o" and "--output".
std::vector<std::string> namesOf(const OptionDefinition& option);

/// How many of a command's arguments, from the first one on, are of its WordKind: a VALUE is nothing that a shell could
/// know.
std::size_t argumentsOfKind(const CommandDefinition& command);

/// The command with its arguments, as the help and the messages show it: "corvidctl get KEY".
std::string usageOf(const CommandDefinition& command);

}  // namespace corvidctl
