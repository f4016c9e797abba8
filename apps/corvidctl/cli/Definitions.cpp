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
        {"explain", "KEY", 1, 1, WordKind::Key, "Show what each store holds for a key, and which one wins", ""},
        {"stores", "", 0, 0, WordKind::None, "Print the chain of stores in order", ""},
        {"set", "KEY VALUE", 2, 2, WordKind::Key, "Store a user value", ""},
        {"unset", "KEY", 1, 1, WordKind::Key, "Erase a key from the writable stores", ""},
        {"watch",
         "[GLOB...]",
         0,
         ANY_NUMBER,
         WordKind::Key,
         "Start the remote source and print every change, until interrupted",
         "A batch is all that one piece of work changed: a download, a file that was read, a value that was set. It "
         "has "
         "the time, the cause and, for each key, the value and the store before and afterwards. What changes only "
         "behind the answer, as the administrator's value of a key that the user overrides, is in no batch.\n\n"
         "A journal is a file with a line of JSON for each batch, whichever keys are watched. Each watch adds to it, "
         "beginning with all keys that are defined; corvidctl history reads it. At 8 MiB it becomes FILE.1, and a new "
         "one begins.",
         {{"--batch", "", "Print batch by batch: the time and the cause, and below them the changes",
           &Invocation::batch},
          {"--journal", "FILE", "Add every batch to a journal, too", &Invocation::journal, WordKind::File}},
         {{"watch", "Fetches the server's file and prints each change of a key as it comes"},
          {"watch --batch 'Voicemail*'", "Prints what happens to some keys, with the time and the cause"},
          {"watch --batch --journal changes.jsonl", "Keeps a journal of all changes besides"}}},
        {"history",
         "[KEY|GLOB...]",
         0,
         ANY_NUMBER,
         WordKind::Key,
         "Print what a journal knows of the changes of keys: when, why, from what to what",
         "Reads FILE.1 and FILE, which corvidctl watch --journal FILE has written, oldest change first; a watch may be "
         "writing meanwhile. What changed while nobody watched is told with the cause start, at the time of the next "
         "watch. A store and its cached copy count as one. A line that cannot be read is named on standard error and left out.",
         {{"--journal", "FILE", "The journal to read; needed", &Invocation::journal, WordKind::File},
          {"--batch", "", "Print batch by batch", &Invocation::batch}},
         {{"history --journal changes.jsonl", "Prints every change in the journal"},
          {"history VoicemailPrimaryServer --journal changes.jsonl", "Prints what one key was, and when"},
          {"-o jsonl history --batch --journal changes.jsonl", "Gives each batch as an object on a line"}}},
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
