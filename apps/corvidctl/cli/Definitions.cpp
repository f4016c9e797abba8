#include "cli/Definitions.h"

#include <algorithm>
#include <sstream>

namespace corvidctl {

namespace {

struct GroupDefinition {
    const char* heading;
    std::vector<std::string_view> commands;
};

const std::vector<GroupDefinition>& groupDefinitions() {
    static const std::vector<GroupDefinition> groups = {
        {"See what counts", {"get", "list", "explain", "stores", "report"}},
        {"Change it", {"set", "unset", "provision", "reset-data"}},
        {"Ask the servers", {"fetch", "watch"}},
        {"Try things", {"validate", "serve", "demo"}},
        {"Learn", {"manual", "completions"}},
    };
    return groups;
}

}  // namespace

const std::vector<OptionDefinition>& globalOptions() {
    static const std::vector<OptionDefinition> options = {
        {"--config-dir", "DIR", "The user's configuration directory [$XDG_CONFIG_HOME/corvid, else ~/.config/corvid]",
         &Invocation::configDirectory, WordKind::Directory},
        {"--install-dir", "DIR", "Where corvid-config-defaults.xml lies [the installed data directory]",
         &Invocation::installDirectory, WordKind::Directory},
        {"--bootstrap", "FILE", "The bootstrap properties file [bootstrap.properties in the installation directory]",
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
    static const std::vector<CommandDefinition> commands = {
        {"get",
         "KEY",
         1,
         1,
         WordKind::Key,
         "Print the winning value of a key",
         "The key is looked up as a client would: without regard to case, and under its old name where it has one. A "
         "key that no store holds ends with status 1.\n\n"
         "On a terminal, control characters in the value are made visible; a script gets the very bytes.",
         {{"--show-origin", "", "Put the store's name and a tab before the value", &Invocation::showOrigin},
          {"--original", "", "Print the administrator's value", &Invocation::original}},
         {{"get DockedWindow", "Print the value that counts"},
          {"get --show-origin TFTPPrimaryServer", "Print the store that the value comes from, too"}}},
        {"list",
         "[GLOB...]",
         0,
         ANY_NUMBER,
         WordKind::Key,
         "Print every defined key with its value, its store and the administrator's",
         "A GLOB chooses keys: * stands for any text and ? for one character, without regard to case. Quote it, so "
         "that the shell leaves it alone.\n\n"
         "An asterisk before a key marks a value that comes before the administrator's. A narrow terminal leaves out "
         "columns and says which; the machine-readable formats always have all of them.",
         {{"--all", "", "Add undefined keys", &Invocation::all},
          {"--store", "NAME", "Only keys that this store wins", &Invocation::store, WordKind::Store}},
         {{"list '*voicemail*'", "Print what is set for voicemail"},
          {"list --store LocalFileConfigStore", "Print what the user's own file decides"},
          {"-o tsv list", "Print it for a script, one key a line"}}},
        {"explain",
         "KEY",
         1,
         1,
         WordKind::Key,
         "Show what each store holds for a key, and which one wins",
         "Each store is shown in the order of the chain, with what it holds under each name that was looked up. The "
         "store with the smallest priority number that holds the key wins. A key that no store holds ends with "
         "status 1.",
         {},
         {{"explain DockedWindow", "Tell why this key has its value"}}},
        {"stores",
         "",
         0,
         0,
         WordKind::None,
         "Print the chain of stores in order",
         "The store at the top is asked first. Read-only stores are the administrator's and the installation's; user "
         "values go to the writable ones.",
         {},
         {{"stores", "Print every store with its priority and the number of its keys"}}},
        {"set",
         "KEY VALUE",
         2,
         2,
         WordKind::Key,
         "Store a user value",
         "The value is on disk when the command ends. The answer says which store took it and, where another store "
         "still wins, which. Put two dashes before a value that begins with one.",
         {},
         {{"set DockedWindow false", "Store a value in the user's file"},
          {"set Offset -- -5", "Store a value that looks like an option"}}},
        {"unset",
         "KEY",
         1,
         1,
         WordKind::Key,
         "Erase a key from the writable stores",
         "Afterwards the administrator's value counts again, if there is one. Finding nothing to erase is no failure.",
         {},
         {{"unset DockedWindow", "Go back to the administrator's value"}}},
        {"watch",
         "[GLOB...]",
         0,
         ANY_NUMBER,
         WordKind::Key,
         "Start the remote source and print every change, until interrupted",
         "The servers are asked for their file as a client does it, and every change of a key that a "
         "GLOB chooses is printed as it comes. Ctrl-C ends it with status 0.",
         {},
         {{"watch", "Print every change"},
          {"-o jsonl watch 'Tele*'", "Print changes of some keys for a script, an object a line"}}},
        {"fetch",
         "",
         0,
         0,
         WordKind::None,
         "Fetch the server's file and tell what came of it",
         "Asks the configured servers in their order, keeps a copy for the next start, and tells who delivered the "
         "file or why nobody did. Ends with status 1 if nothing was fetched.",
         {},
         {{"fetch", "Fetch the file from the configured servers"},
          {"--ca-file ca.pem fetch", "Trust a certificate authority of one's own"}}},
        {"provision",
         "LINK",
         1,
         1,
         WordKind::Text,
         "Apply a provisioning link",
         "A link is taken once: afterwards a latch refuses further ones. The answer tells what the link set, what was "
         "dropped and why.",
         {{"--reopen", "", "Reset the latch first; LINK may be left out", &Invocation::reopen}},
         {{"provision --reopen", "Let the next link in"}}},
        {"reset-data",
         "--yes",
         0,
         0,
         WordKind::None,
         "Forget the user's data, as the host's data reset does",
         "Names the files that went and those that stayed. Nothing brings them back.",
         {{"--yes", "", "Needed, since the user's data is gone afterwards", &Invocation::yes}},
         {{"reset-data --yes", "Remove the user's files"}}},
        {"report",
         "",
         0,
         0,
         WordKind::None,
         "Print the master configuration report",
         "The module's own report of its settings, as one text. Sensitive values stay hidden in it, whatever --reveal "
         "says.",
         {},
         {{"report", "Print the report"}}},
        {"validate",
         "FILE...",
         1,
         ANY_NUMBER,
         WordKind::File,
         "Tell what a configuration document or a local file means",
         "Shows the keys and values that the module would take from the file, what it would ignore, and the lines of "
         "its mistakes. The file is only read. Ends with status 1 if one of the files is not valid.",
         {},
         {{"validate corvid-config.xml", "Check a file before it is rolled out"}}},
        {"serve",
         "FILE",
         1,
         1,
         WordKind::File,
         "Be a call-control server with a configuration file, until interrupted",
         "For trying things on one machine: the file goes out over HTTP on port 6970 and over HTTPS on port 6972, the "
         "version over HTTPS on port 8443. Each request is printed on a line. Ctrl-C ends it with status 0.",
         {{"--address", "A", "The IPv4 address to listen on [127.0.0.1]", &Invocation::address, WordKind::Text},
          {"--server-version", "V", "What the server says of itself [12.5]", &Invocation::serverVersion,
           WordKind::Text},
          {"--write-ca", "FILE", "Where to write the throw-away certificate (PEM) that clients need to trust",
           &Invocation::writeCa, WordKind::File}},
         {{"serve corvid-config.xml --address 127.0.0.42 --write-ca ca.pem",
           "Serve a file to clients of this machine that are given --ca-file ca.pem"}}},
        {"demo",
         "",
         0,
         0,
         WordKind::None,
         "Show the main job on the sample profile: serve, fetch, list, live changes",
         "Everything happens on a copy in a temporary folder. With --config-dir the copy is of that profile, and the "
         "servers that it names are not asked.",
         {},
         {{"demo", "See the service at work"}}},
        {"manual",
         "",
         0,
         0,
         WordKind::None,
         "Print this tool's manual page",
         "The page is in the form that man reads.",
         {},
         {{"manual | man -l -", "Read the manual"}, {"manual > corvidctl.1", "Keep the page in a file"}}},
        {"completions",
         "SHELL",
         1,
         1,
         WordKind::Choice,
         "Print the script that completes command lines in a shell",
         "Commands, options, their values, keys, stores and files are completed. An installation puts the scripts "
         "where the shells find them.",
         {},
         {{"completions bash > corvidctl.bash", "Write a script that bash can source"},
          {"completions fish > ~/.config/fish/completions/corvidctl.fish", "Complete command lines in fish"}},
         {"bash", "zsh", "fish"}},
        {"complete",
         "WHAT",
         1,
         1,
         WordKind::Choice,
         "Print the words that a shell may complete a command line with",
         "",
         {},
         {},
         {"keys", "stores"},
         true},
    };
    return commands;
}

std::vector<CommandGroup> commandGroups() {
    std::vector<CommandGroup> groups;
    std::vector<std::string_view> named;
    for (const GroupDefinition& definition : groupDefinitions()) {
        CommandGroup& group = groups.emplace_back(CommandGroup{definition.heading, {}});
        for (const std::string_view name : definition.commands) {
            group.commands.push_back(&commandDefinition(name));
            named.push_back(name);
        }
    }
    CommandGroup rest{"More", {}};
    for (const CommandDefinition& command : commandDefinitions()) {
        const bool isNamed = std::find(named.begin(), named.end(), command.name) != named.end();
        if (!command.isHidden && !isNamed) {
            rest.commands.push_back(&command);
        }
    }
    if (!rest.commands.empty()) {
        groups.push_back(std::move(rest));
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
