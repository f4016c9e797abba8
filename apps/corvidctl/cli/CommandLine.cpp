#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>
#include <variant>

#include "cli/Definitions.h"
#include "cli/Help.h"
#include "cli/WordSorter.h"
#include "reading/Similar.h"

namespace corvidctl {

namespace {

/// The parser's own messages may have several lines; the tool promises one.
std::string oneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::vector<std::string> commandNames() {
    std::vector<std::string> names;
    for (const CommandDefinition& shape : commandDefinitions()) {
        if (!shape.isHidden) {
            names.emplace_back(shape.name);
        }
    }
    return names;
}

std::string namesOfCommands() {
    std::string names;
    for (const std::string& name : commandNames()) {
        names += (names.empty() ? "" : ", ") + name;
    }
    return names;
}

/// What somebody may have meant who typed a word in the place of a command.
std::vector<std::string> possibleFirstWords() {
    std::vector<std::string> words = commandNames();
    for (const OptionDefinition& option : answeringOptions()) {
        words.push_back(namesOf(option).back());
    }
    return words;
}

/// The long names of the options that stand before any command, or with one.
std::vector<std::string> optionNames(const CommandDefinition* command) {
    std::vector<std::string> names;
    const auto add = [&names](const std::vector<OptionDefinition>& options) {
        for (const OptionDefinition& option : options) {
            names.push_back(namesOf(option).back());
        }
    };
    if (command != nullptr) {
        add(command->options);
    }
    add(globalOptions());
    add(answeringOptions());
    return names;
}

/// What the parser does with an option, by where its value goes.
struct Adder {
    CLI::App& app;
    const OptionDefinition& option;
    Invocation& invocation;

    void operator()(bool Invocation::*target) const {
        app.add_flag(option.names, invocation.*target, option.help)->take_last();
    }

    template <class Value>
    void operator()(Value Invocation::*target) const {
        app.add_option(option.names, invocation.*target, option.help)->type_name(option.valueName);
    }

    void operator()(std::vector<std::string> Invocation::*target) const {
        // One value each time; the words behind it are the command's.
        app.add_option(option.names, invocation.*target, option.help)
            ->type_name(option.valueName)
            ->expected(1)
            ->take_all();
    }
};

void addOptions(CLI::App& app, const std::vector<OptionDefinition>& options, Invocation& invocation) {
    for (const OptionDefinition& option : options) {
        std::visit(Adder{app, option, invocation}, option.target);
    }
}

CommandLine wrongUse(const std::string& error) {
    CommandLine result;
    result.status = Status::WrongUse;
    result.error = oneLine(error);
    return result;
}

CommandLine printed(const std::string& output) {
    CommandLine result;
    result.output = output;
    return result;
}

/// The name of an argument that a command needs, as the help shows it.
std::string nameOfArgument(const CommandDefinition& shape, std::size_t index) {
    std::istringstream words(shape.arguments);
    std::string name;
    for (std::size_t i = 0; i <= index; ++i) {
        words >> name;
    }
    return name.substr(0, name.find('.'));
}

/// What does not fit about the number of the arguments; empty if all does.
std::string mismatch(const CommandDefinition& shape, const std::vector<std::string>& arguments) {
    if (arguments.size() < shape.least) {
        return std::string(shape.name) + ": " + nameOfArgument(shape, arguments.size()) +
               " is missing, expected: " + usageOf(shape);
    }
    if (arguments.size() > shape.most) {
        return std::string(shape.name) + ": unexpected argument '" + arguments[shape.most] +
               "', expected: " + usageOf(shape);
    }
    return {};
}

/// "bash, zsh or fish".
std::string alternatives(const std::vector<const char*>& choices) {
    std::string text;
    for (std::size_t i = 0; i < choices.size(); ++i) {
        const char* const between = i == 0 ? "" : i + 1 == choices.size() ? " or " : ", ";
        text += between + std::string(choices[i]);
    }
    return text;
}

/// An argument that is none of the words that a command takes; empty if there is none.
std::string unknownChoice(const CommandDefinition& shape, const std::vector<std::string>& arguments) {
    if (shape.choices.empty()) {
        return {};
    }
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (std::find(shape.choices.begin(), shape.choices.end(), arguments[i]) == shape.choices.end()) {
            return std::string(shape.name) + ": " + nameOfArgument(shape, i) + " '" + arguments[i] + "': expected " +
                   alternatives(shape.choices);
        }
    }
    return {};
}

/// An option that was given an empty text, most likely an unset variable of a script; empty if there is none.
std::string emptyOption(const CLI::App& app) {
    for (const char* const name : {"--config-dir", "--install-dir", "--bootstrap", "--ca-file", "--log-file"}) {
        if (app.count(name) > 0 && app[name]->as<std::string>().empty()) {
            return std::string(name) + " is empty, expected a path";
        }
    }
    return {};
}

/// What to say about a word that no option and no command took. @param command nullptr if there is none.
CommandLine unknownWord(const std::string& word, const CommandDefinition* command) {
    const bool isOption = word.size() > 1 && word.front() == '-';
    const std::string what = std::string("unknown ") + (isOption ? "option" : "command") + " '" + word + "'";
    const std::string name = word.substr(0, word.find('='));
    if (const auto meant = closest(name, isOption ? optionNames(command) : possibleFirstWords())) {
        return wrongUse(what + ", did you mean '" + *meant + "'?");
    }
    if (!isOption) {
        return wrongUse(what + ", expected one of: " + namesOfCommands());
    }
    const bool mayBeAnArgument = command != nullptr && command->most > 0 && !word.starts_with("--");
    return wrongUse(what + ", expected one that --help lists" +
                    (mayBeAnArgument ? ", or -- before an argument that begins with a dash" : ""));
}

/// Answers `help`, as --help is answered.
CommandLine helpAskedFor(const std::vector<std::string>& arguments, std::size_t columns) {
    if (arguments.empty()) {
        return printed(helpOfTheTool(columns));
    }
    const std::vector<std::string> names = commandNames();
    const bool isKnown = std::find(names.begin(), names.end(), arguments.front()) != names.end();
    return isKnown ? printed(helpOf(commandDefinition(arguments.front()), columns))
                   : unknownWord(arguments.front(), nullptr);
}

CommandLine fromParsed(const CLI::App& app, Invocation invocation, std::size_t columns) {
    const std::vector<CLI::App*> commands = app.get_subcommands();
    if (const std::vector<std::string> words = app.remaining(true); !words.empty()) {
        return unknownWord(words.front(),
                           commands.empty() ? nullptr : &commandDefinition(commands.front()->get_name()));
    }
    if (commands.empty()) {
        return wrongUse("COMMAND is missing, expected one of: " + namesOfCommands());
    }
    if (const std::string problem = emptyOption(app); !problem.empty()) {
        return wrongUse(problem);
    }

    const CLI::App& command = *commands.front();
    invocation.command = command.get_name();
    CommandDefinition shape = commandDefinition(invocation.command);
    shape.least = invocation.reopen || invocation.allStores ? 0 : shape.least;
    shape.most = invocation.allStores ? ANY_NUMBER : shape.most;
    if (invocation.command == "help" && invocation.arguments.size() <= shape.most) {
        return helpAskedFor(invocation.arguments, columns);
    }
    for (const std::string& problem :
         {mismatch(shape, invocation.arguments), unknownChoice(shape, invocation.arguments)}) {
        if (!problem.empty()) {
            return wrongUse(problem);
        }
    }

    CommandLine result;
    result.invocation = std::move(invocation);
    return result;
}

}  // namespace

CommandLine readCommandLine(int argc, const char* const* argv, std::size_t columns) {
    Invocation invocation;
    CLI::App app("", "corvidctl");
    app.set_version_flag("--version", "corvidctl " CORVID_VERSION);
    app.require_subcommand(0, 1);
    addOptions(app, globalOptions(), invocation);
    for (const CommandDefinition& shape : commandDefinitions()) {
        CLI::App* const command = app.add_subcommand(shape.name, shape.summary);
        command->fallthrough();
        addOptions(*command, shape.options, invocation);
    }
    app.allow_extras();

    Words words = WordSorter(app).sort({argv + std::min(argc, 1), argv + argc});
    if (!words.problem.empty()) {
        return wrongUse(words.problem);
    }
    try {
        std::reverse(words.parsed.begin(), words.parsed.end());  // as the parser wants them
        app.parse(std::move(words.parsed));
    } catch (const CLI::CallForHelp&) {
        const std::vector<CLI::App*> commands = app.get_subcommands();
        return printed(commands.empty() ? helpOfTheTool(columns)
                                        : helpOf(commandDefinition(commands.front()->get_name()), columns));
    } catch (const CLI::CallForVersion& version) {
        return printed(std::string(version.what()) + "\n");
    } catch (const CLI::ParseError& error) {
        return wrongUse(error.what());
    }
    invocation.arguments = std::move(words.arguments);
    return fromParsed(app, std::move(invocation), columns);
}

}  // namespace corvidctl
