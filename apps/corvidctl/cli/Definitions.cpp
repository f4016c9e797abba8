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
        {"delta",
         "[GLOB...]",
         0,
         ANY_NUMBER,
         WordKind::Key,
         "Show where the layers of the chain differ",
         "The stores that hold a key are taken in the order in which they are looked up: first those that hold it "
         "under "
         "its current name, then those that hold it under its old one, each in chain order. The first of them wins. "
         "Each holder is one of four types, by what the next holder below it says:\n\n"
         "overridden: the holder below has another value.\n"
         "equal: the holder below has the same value, so that this one is redundant.\n"
         "extended: there is no holder below; the key comes from this layer.\n"
         "shadowed: a writable store holds the key, and another holder wins, whatever lies below.\n\n"
         "Every type but extended is shown unless --type says otherwise.",
         {{"--type",
           "TYPE",
           "Only entries of this type: overridden, shadowed, equal or extended; may be repeated, and be a list with "
           "commas [overridden,shadowed,equal]",
           &Invocation::types,
           WordKind::Choice,
           {"overridden", "shadowed", "equal", "extended"}}},
         {{"delta", "Everything that a layer says about a key that a layer below knows, too"},
          {"delta --type shadowed", "What the user has set without effect"},
          {"delta --type equal -o tsv 'Voicemail*'", "Redundant entries for some keys, for a script"}}},
        {"diff",
         "A B",
         2,
         2,
         WordKind::Store,
         "Compare two stores, files or configurations key by key",
         "A and B are each the name of a store, a file (a configuration document, a local file, or a properties file "
         "whose name ends in .properties), a configuration directory, or the word live for the configuration in "
         "--config-dir. Of a directory and of live the values that win are compared; the module runs on a copy, and "
         "nothing of the original changes. Where a word fits a store and a file, say store:NAME, file:PATH or "
         "dir:PATH.\n\n"
         "Keys are compared without regard to case, old names as their current ones, values letter by letter. The "
         "status is 0 if nothing differs, 1 if something does, and 2 if the two cannot be compared.",
         {{"--all", "", "Show keys with equal values, too", &Invocation::all}},
         {{"diff LocalFileConfigStore corvid-config-defaults.xml", "What the user has set beyond the defaults"},
          {"diff live new-config.xml", "How a new file of the administrator's differs from what holds now"},
          {"diff live dir:/home/other/.config/corvid", "Why another user's client behaves otherwise"}}},
        {"simulate",
         "",
         0,
         0,
         WordKind::None,
         "Show which keys a change would change, without changing anything",
         "The module runs twice on throw-away copies of the configuration, once as it is and once with the change, and "
         "what the keys read is compared, so that every rule of the module has its say. No network is used.\n\n"
         "A store's file is replaced by another one, which must be valid in its place: TftpOverrideConfigStore, "
         "LocalFileConfigStore, a cached copy such as cachedTFTPConfigStore.xml, UrlProvisioningConfigStore, "
         "BootstrapConfigStore or corvid-config-defaults.xml. For TFTPConfigStore the file is delivered as a server's "
         "new file would be. User values are erased and set after that, and before a delivery.\n\n"
         "A key is added, removed, changed, moved (the same value comes from another store) or original (only the "
         "administrator's value changes, or whether the user overrides it).",
         {{"--replace", "STORE=FILE", "Take the store's values from this file; may be repeated", &Invocation::replaced,
           WordKind::Store},
          {"--without", "STORE", "Leave out the store's file; may be repeated", &Invocation::without, WordKind::Store},
          {"--set", "KEY=VALUE", "Store a user value; may be repeated", &Invocation::setKeys, WordKind::Key},
          {"--unset", "KEY", "Erase a key from the writable stores; may be repeated", &Invocation::unsetKeys,
           WordKind::Key}},
         {{"simulate --replace TFTPConfigStore=new-config.xml",
           "What a new file on the server would do to this client"},
          {"simulate --without LocalFileConfigStore", "What a client without the user's values would read"},
          {"simulate --set Telephony_Enabled=false", "Whether a user value would have an effect"}}},
        {"set",
         "KEY VALUE",
         2,
         2,
         WordKind::Key,
         "Store a user value",
         "Tells which store took the value, whether it takes effect or which other store still wins, and in which file "
         "it is kept.",
         {{"--dry-run", "", "Tell all that, and store nothing", &Invocation::dryRun},
          {"--require-effective", "", "Store nothing, with status 1, if the value would not be what the key reads",
           &Invocation::requireEffective}},
         {{"set LaunchOnSystemStartup true", "Store a value in the user's file"},
          {"set --require-effective Telephony_Enabled false", "Store it only if no administrator's value wins"}}},
        {"unset",
         "KEY",
         1,
         1,
         WordKind::Key,
         "Erase a key from the writable stores",
         "The key is erased under all its names. Tells which stores held it, and what the key reads from then on.",
         {{"--dry-run", "", "Tell all that, and erase nothing", &Invocation::dryRun}},
         {{"unset LaunchOnSystemStartup", "Go back to what the administrator or the installation says"}}},
        {"watch", "[GLOB...]", 0, ANY_NUMBER, WordKind::Key,
         "Start the remote source and print every change, until interrupted", ""},
        {"fetch",
         "",
         0,
         0,
         WordKind::None,
         "Fetch the server's file and tell what came of it",
         "The configured servers are asked, and a copy of the file is kept for the next start, without the sensitive "
         "values. With --dry-run the servers are asked all the same, but for a throw-away copy of the configuration.",
         {{"--dry-run", "", "Show which keys would change, and change nothing", &Invocation::dryRun}},
         {{"fetch", "Fetch the file"}, {"fetch --dry-run", "Look at what the next fetch would change"}}},
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
