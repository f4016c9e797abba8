#include "CommandLine.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <array>
#include <sstream>
#include <string_view>
#include <utility>

#include "WordSorter.h"

namespace corvidctl {

namespace {

constexpr std::size_t ANY_NUMBER = static_cast<std::size_t>(-1);

/// What a command takes, in the order of its arguments.
struct CommandShape {
    const char* name;
    const char* arguments;  ///< as the help shows them
    std::size_t least;
    std::size_t most;
    const char* summary;
};

constexpr auto COMMANDS = std::to_array<CommandShape>({
    {"get", "KEY", 1, 1, "Print the winning value of a key"},
    {"list", "[GLOB...]", 0, ANY_NUMBER, "Print every defined key with its value, its store and the administrator's"},
    {"explain", "KEY", 1, 1, "Show what each store holds for a key, and which one wins"},
    {"stores", "", 0, 0, "Print the chain of stores in order"},
    {"set", "KEY VALUE", 2, 2, "Store a user value"},
    {"unset", "KEY", 1, 1, "Erase a key from the writable stores"},
    {"watch", "[GLOB...]", 0, ANY_NUMBER, "Start the remote source and print every change, until interrupted"},
    {"fetch", "", 0, 0, "Fetch the server's file and tell what came of it"},
    {"provision", "LINK", 1, 1, "Apply a provisioning link"},
    {"reset-data", "--yes", 0, 0, "Forget the user's data, as the host's data reset does"},
    {"report", "", 0, 0, "Print the master configuration report"},
    {"validate", "FILE...", 1, ANY_NUMBER, "Tell what a configuration document or a local file means"},
    {"serve", "FILE", 1, 1, "Be a call-control server with a configuration file, until interrupted"},
    {"demo", "", 0, 0, "Show the main job on the sample profile: serve, fetch, list, live changes"},
});

/// The parser's own messages may have several lines; the tool promises one.
std::string oneLine(std::string text) {
    std::replace(text.begin(), text.end(), '\n', ' ');
    return text;
}

std::string namesOfCommands() {
    std::string names;
    for (const CommandShape& shape : COMMANDS) {
        names += (names.empty() ? "" : ", ") + std::string(shape.name);
    }
    return names;
}

const CommandShape& shapeOf(std::string_view name) {
    return *std::find_if(COMMANDS.begin(), COMMANDS.end(),
                         [name](const CommandShape& shape) { return name == shape.name; });
}

std::string usageOf(const CommandShape& shape) {
    return "corvidctl " + std::string(shape.name) + (*shape.arguments == '\0' ? "" : " ") + shape.arguments;
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
        const std::string usage = usageOf(shapeOf(command));
        return usage.substr(usage.find(' ') + 1);
    }
};

void addGlobalOptions(CLI::App& app, Invocation& invocation) {
    app.add_option("--config-dir", invocation.configDirectory,
                   "The user's configuration directory [$XDG_CONFIG_HOME/corvid, else ~/.config/corvid]")
        ->type_name("DIR");
    app.add_option("--install-dir", invocation.installDirectory,
                   "Where corvid-config-defaults.xml lies [the installed data directory]")
        ->type_name("DIR");
    app.add_option("--bootstrap", invocation.bootstrapFile,
                   "The bootstrap properties file [bootstrap.properties in the installation directory]")
        ->type_name("FILE");
    app.add_option("--ca-file", invocation.caFile, "Further trusted certificates (PEM) for HTTPS")->type_name("FILE");
    app.add_option("--fips", invocation.fips, "FIPS mode: auto (the system's own), on or off")->type_name("MODE");
    app.add_option("--log-level", invocation.logLevel,
                   "2 failures, 3 warnings, 4 information, 5 debug, to standard error [3]")
        ->type_name("N");
    app.add_option("--log-file", invocation.logFile, "The log goes there instead")->type_name("FILE");
    app.add_flag("--json", invocation.json, "Machine-readable output")->take_last();
    app.add_flag("--reveal", invocation.reveal, "Show sensitive values")->take_last();
}

void addCommandOptions(CLI::App& command, std::string_view name, Invocation& invocation) {
    if (name == "get") {
        command.add_flag("--show-origin", invocation.showOrigin, "Put the store's name and a tab before the value")
            ->take_last();
        command.add_flag("--original", invocation.original, "Print the administrator's value")->take_last();
    } else if (name == "list") {
        command.add_flag("--all", invocation.all, "Add undefined keys")->take_last();
        command.add_option("--store", invocation.store, "Only keys that this store wins")->type_name("NAME");
    } else if (name == "provision") {
        command.add_flag("--reopen", invocation.reopen, "Reset the latch first; LINK may be left out")->take_last();
    } else if (name == "reset-data") {
        command.add_flag("--yes", invocation.yes, "Needed, since the user's data is gone afterwards")->take_last();
    } else if (name == "serve") {
        command.add_option("--address", invocation.address, "The IPv4 address to listen on [127.0.0.1]")
            ->type_name("A");
        command.add_option("--server-version", invocation.serverVersion, "What the server says of itself [12.5]")
            ->type_name("V");
        command
            .add_option("--write-ca", invocation.writeCa,
                        "Where to write the throw-away certificate (PEM) that clients need to trust")
            ->type_name("FILE");
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
std::string nameOfArgument(const CommandShape& shape, std::size_t index) {
    std::istringstream words(shape.arguments);
    std::string name;
    for (std::size_t i = 0; i <= index; ++i) {
        words >> name;
    }
    return name.substr(0, name.find('.'));
}

/// What does not fit about the number of the arguments; empty if all does.
std::string mismatch(const CommandShape& shape, const std::vector<std::string>& arguments) {
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
    invocation.storeGiven = invocation.command == "list" && command.count("--store") > 0;
    invocation.writeCaGiven = invocation.command == "serve" && command.count("--write-ca") > 0;
    CommandShape shape = shapeOf(invocation.command);
    shape.least = invocation.reopen ? 0 : shape.least;
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
    addGlobalOptions(app, invocation);
    for (const CommandShape& shape : COMMANDS) {
        CLI::App* const command = app.add_subcommand(shape.name, shape.summary);
        command->group("Commands")->fallthrough();
        command->footer("corvidctl --help lists the global options.");
        addCommandOptions(*command, shape.name, invocation);
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
