#include "cli/definitions/DefinitionGroups.h"

namespace corvidctl {

DefinitionGroup comparingCommands() {
    return {
        "Try and compare",
        {
            {"validate",
             "FILE...",
             1,
             ANY_NUMBER,
             WordKind::File,
             "Tell what a configuration document, a local file or a properties file means",
             "A file is read in the form of its name, or else of its content, as the module would read it in its "
             "place. Each finding has a line of its own, as compilers print them: the place, how grave it is, what it "
             "is, and in brackets a word for its kind that scripts can rely on. Nothing is moved or changed.\n\n"
             "The status is 1 if a file is not valid, and with --strict also if there is a warning. Infos never count: "
             "they tell of old names, of hidden values and of what the module's rules do.",
             {{"--strict", "", "Let a warning be status 1 too", &Invocation::strict}},
             {{"validate corvid-config.xml", "Tell what a document means before it is rolled out"},
              {"validate --strict *.xml bootstrap.properties", "Check several files, as a build does"},
              {"--json validate corvid-config.xml",
               "Get the findings in their parts: severity, kind, line, key, text"}}},
            {"simulate",
             "",
             0,
             0,
             WordKind::None,
             "Show which keys a change would change, without changing anything",
             "The module runs twice on throw-away copies of the configuration, once as it is and once with the change, "
             "and what the keys read is compared, so that every rule of the module has its say. No network is used.\n\n"
             "A store's file is replaced by another one, which must be valid in its place: TftpOverrideConfigStore, "
             "LocalFileConfigStore, a cached copy such as cachedTFTPConfigStore.xml, UrlProvisioningConfigStore, "
             "BootstrapConfigStore or corvid-config-defaults.xml. For TFTPConfigStore the file is delivered as a "
             "server's new file would be. User values are erased and set after that and before a delivery, and the "
             "client "
             "starts once more, so that what the administrator's policies erase is gone.\n\n"
             "A key is added, removed, changed, moved (the same value comes from another store) or original (only the "
             "administrator's value changes, or whether the user overrides it). A store and its kept copy count as one "
             "place.",
             {{"--replace", "STORE=FILE", "Take the store's values from this file; may be repeated",
               &Invocation::replaced, WordKind::Replacement},
              {"--without", "STORE", "Leave out the store's file; may be repeated", &Invocation::without,
               WordKind::Store},
              {"--set", "KEY=VALUE", "Store a user value; may be repeated", &Invocation::setKeys, WordKind::Key},
              {"--unset", "KEY", "Erase a key from the writable stores; may be repeated", &Invocation::unsetKeys,
               WordKind::Key}},
             {{"simulate --replace TFTPConfigStore=new-config.xml",
               "Show what a new file on the server would do to this client"},
              {"simulate --without LocalFileConfigStore", "Show what a client without the user's values would read"},
              {"simulate --set Telephony_Enabled=false", "Show whether a user value would have an effect"}}},
            {"diff",
             "A B",
             2,
             2,
             WordKind::Side,
             "Compare two stores, files or configurations key by key",
             "A and B are each the name of a store, a file (a configuration document, a local file, or a properties "
             "file whose name ends in .properties), a configuration directory, or the word live for the configuration "
             "in --config-dir. Of a directory and of live the values that win are compared; the module runs on a copy, "
             "and nothing of the original changes. Where a word fits a store and a file, say store:NAME, file:PATH or "
             "dir:PATH.\n\n"
             "Keys are compared without regard to case, old names as their current ones, values letter by letter. The "
             "status is 0 if nothing differs, 1 if something does, and 2 if the two cannot be compared.",
             {{"--all", "", "Show keys with equal values, too", &Invocation::all}},
             {{"diff LocalFileConfigStore corvid-config-defaults.xml",
               "Show what the user has set beyond the defaults"},
              {"diff live new-config.xml", "Show how an administrator's new file differs from what holds now"},
              {"diff live dir:/home/other/.config/corvid", "Show why another user's client behaves otherwise"}}},
            {"export",
             "",
             0,
             0,
             WordKind::None,
             "Write the effective configuration, or one store, as a document",
             "The document goes to the standard output, or with --to in one step to a file. As \"server\" it is what a "
             "call-control server would send, and as \"properties\" what an installer would write; the module reads "
             "both back to the same values, but for ConnectionPassword and BDIConnectionPassword, which it enciphers "
             "when a server sends them. A value that the format cannot hold is left out and told, and the status "
             "is 1. Of the effective configuration, what the client keeps for itself is left out and told, too; the "
             "status stays 0.\n\n"
             "Sensitive values are left out, and their number is told, unless --reveal is given; a file that is "
             "written with --reveal is for its owner alone. A file that is there already, or is the module's own, is "
             "written with --force only.",
             {{"--store", "NAME", "What this store holds, whoever wins", &Invocation::store, WordKind::Store},
              {"--format",
               "FORMAT",
               "How the document is written: server, json or properties [server]",
               &Invocation::exportFormat,
               WordKind::Choice,
               {"server", "json", "properties"}},
              {"--to", "FILE", "Where the document goes", &Invocation::to, WordKind::File},
              {"--force", "", "Replace a file, be it the module's own", &Invocation::force}},
             {{"export", "Print the effective configuration as a server's file"},
              {"export --store LocalFileConfigStore --format json", "Print the user's own values as JSON"},
              {"export --to corvid-config.xml", "Write a file to try with corvidctl serve"}}},
        },
    };
}

}  // namespace corvidctl
