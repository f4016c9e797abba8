#include "cli/Definitions.h"

#include <algorithm>

namespace corvidctl {

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

const std::vector<CommandDefinition>& commandDefinitions() {
    static const std::vector<CommandDefinition> commands = {
        {"get",
         "KEY",
         1,
         1,
         WordKind::Key,
         "Print the winning value of a key",
         "",
         {{"--show-origin", "", "Put the store's name and a tab before the value", &Invocation::showOrigin},
          {"--original", "", "Print the administrator's value", &Invocation::original}}},
        {"list",
         "[GLOB...]",
         0,
         ANY_NUMBER,
         WordKind::Key,
         "Print every defined key with its value, its store and the administrator's",
         "",
         {{"--all", "", "Add undefined keys", &Invocation::all},
          {"--store", "NAME", "Only keys that this store wins", &Invocation::store, WordKind::Store}}},
        {"explain",
         "KEY",
         1,
         1,
         WordKind::Key,
         "Show what each store holds for a key, and which one wins",
         "Tells for each store whether it wins, is shadowed by another, does not have the key or failed to load, with "
         "the file and the line of the value, and every rule that makes the key read otherwise than the files say.",
         {{"--all-stores", "", "Every key that more than one store holds; KEY may be left out, or any number of GLOBs",
           &Invocation::allStores}},
         {{"explain DockedWindow", "Why the key has its value"},
          {"explain --all-stores", "Every key that more than one store holds"},
          {"explain --all-stores '*server*'", "Those whose name speaks of servers"}}},
        {"stores",
         "",
         0,
         0,
         WordKind::None,
         "Print the chain of stores in order",
         "Tells of each store where its values come from, how old they are, whether they could be read, and how many "
         "keys it wins.",
         {},
         {{"stores", "The stores, the first of which wins"}}},
        {"set", "KEY VALUE", 2, 2, WordKind::Key, "Store a user value", ""},
        {"unset", "KEY", 1, 1, WordKind::Key, "Erase a key from the writable stores", ""},
        {"watch", "[GLOB...]", 0, ANY_NUMBER, WordKind::Key,
         "Start the remote source and print every change, until interrupted", ""},
        {"fetch", "", 0, 0, WordKind::None, "Fetch the server's file and tell what came of it", ""},
        {"provision",
         "LINK",
         1,
         1,
         WordKind::Text,
         "Apply a provisioning link",
         "",
         {{"--reopen", "", "Reset the latch first; LINK may be left out", &Invocation::reopen}}},
        {"reset-data",
         "--yes",
         0,
         0,
         WordKind::None,
         "Forget the user's data, as the host's data reset does",
         "",
         {{"--yes", "", "Needed, since the user's data is gone afterwards", &Invocation::yes}}},
        {"report", "", 0, 0, WordKind::None, "Print the master configuration report", ""},
        {"validate", "FILE...", 1, ANY_NUMBER, WordKind::File,
         "Tell what a configuration document or a local file means", ""},
        {"serve",
         "FILE",
         1,
         1,
         WordKind::File,
         "Be a call-control server with a configuration file, until interrupted",
         "",
         {{"--address", "A", "The IPv4 address to listen on [127.0.0.1]", &Invocation::address, WordKind::Text},
          {"--server-version", "V", "What the server says of itself [12.5]", &Invocation::serverVersion,
           WordKind::Text},
          {"--write-ca", "FILE", "Where to write the throw-away certificate (PEM) that clients need to trust",
           &Invocation::writeCa, WordKind::File}}},
        {"demo", "", 0, 0, WordKind::None, "Show the main job on the sample profile: serve, fetch, list, live changes",
         ""},
    };
    return commands;
}

const CommandDefinition& commandDefinition(std::string_view name) {
    const std::vector<CommandDefinition>& commands = commandDefinitions();
    return *std::find_if(commands.begin(), commands.end(),
                         [name](const CommandDefinition& command) { return name == command.name; });
}

std::string usageOf(const CommandDefinition& command) {
    return "corvidctl " + std::string(command.name) + (*command.arguments == '\0' ? "" : " ") + command.arguments;
}

}  // namespace corvidctl
