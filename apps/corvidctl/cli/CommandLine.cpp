#include "cli/CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>
#include <string_view>
#include <utility>
#include <variant>

#include "cli/Definitions.h"
#include "cli/WordSorter.h"

namespace corvidctl {

namespace {

/// The parser's own messages may have several lines; the tool promises one.
std::string oneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::string namesOfCommands() {
    std::string names;
    for (const CommandDefinition& shape : commandDefinitions()) {
        names += (names.empty() ? "" : ", ") + std::string(shape.name);
    }
    return names;
}

/// The help, with each command's arguments as they are called in its messages.
class HelpFormatter : public CLI::Formatter {
public:
    std::string make_usage(const CLI::App* app, std::string) const override {
        const std::string usage = app->get_parent() == nullptr ? "COMMAND [arguments]" : usageWords(app->get_name());
        return "Usage: corvidctl [global options] " + usage + "\n";
    }

    std::string make_positionals(const CLI::App*) const override { return {}; }

private:
    static std::string usageWords(const std::string& command) {
        const std::string usage = usageOf(commandDefinition(command));
        return usage.substr(usage.find(' ') + 1);
    }
};

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

/// An option that was given an empty text, most likely an unset variable of a script; empty if there is none.
std::string emptyOption(const CLI::App& app) {
    for (const char* const name : {"--config-dir", "--install-dir", "--bootstrap", "--ca-file", "--log-file"}) {
        if (app.count(name) > 0 && app[name]->as<std::string>().empty()) {
            return std::string(name) + " is empty, expected a path";
        }
    }
    return {};
}

/// What to say about a word that no option and no command took.
CommandLine unknownWord(const std::string& word) {
    const bool isOption = word.size() > 1 && word.front() == '-';
    return wrongUse(isOption ? "unknown option '" + word + "', expected one that --help lists"
                             : "unknown command '" + word + "', expected one of: " + namesOfCommands());
}

CommandLine fromParsed(const CLI::App& app, Invocation invocation) {
    const std::vector<CLI::App*> commands = app.get_subcommands();
    if (const std::vector<std::string> words = app.remaining(true); !words.empty()) {
        return unknownWord(words.front());
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
    if (const std::string problem = mismatch(shape, invocation.arguments); !problem.empty()) {
        return wrongUse(problem);
    }

    CommandLine result;
    result.invocation = std::move(invocation);
    return result;
}

}  // namespace

CommandLine readCommandLine(int argc, const char* const* argv) {
    Invocation invocation;
    CLI::App app("Looks into, tries out and drives the configuration service.", "corvidctl");
    app.formatter(std::make_shared<HelpFormatter>());
    app.set_version_flag("--version", "corvidctl " CORVID_VERSION);
    app.require_subcommand(0, 1);
    addOptions(app, globalOptions(), invocation);
    for (const CommandDefinition& shape : commandDefinitions()) {
        CLI::App* const command = app.add_subcommand(shape.name, shape.summary);
        command->group("Commands")->fallthrough();
        command->footer("corvidctl --help lists the global options.");
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
        return printed(commands.empty() ? app.help() : commands.front()->help());
    } catch (const CLI::CallForVersion& version) {
        return printed(std::string(version.what()) + "\n");
    } catch (const CLI::ParseError& error) {
        return wrongUse(error.what());
    }
    invocation.arguments = std::move(words.arguments);
    return fromParsed(app, std::move(invocation));
}

}  // namespace corvidctl
