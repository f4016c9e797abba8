#include "cli/definitions/DefinitionGroups.h"

namespace corvidctl {

DefinitionGroup lookingCommands() {
    return {
        "See what counts",
        {
            {"get",
             "KEY",
             1,
             1,
             WordKind::Key,
             "Print the winning value of a key",
             "The key is looked up as a client would: without regard to case, and under its old name where it has one. "
             "A "
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
             "An asterisk before a key marks a value that comes before the administrator's. A narrow terminal leaves "
             "out columns and says which; the machine-readable formats always have all of them.",
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
             "Show what each store holds for a key, which one wins, and why",
             "Tells for each store whether it wins, is shadowed by another, does not have the key or failed to load, "
             "with the file and the line of the value, and every rule that makes the key read otherwise than the files "
             "say. A key that no store holds ends with status 1.",
             {{"--all-stores", "",
               "Every key that more than one store holds; KEY may be left out, or any number of GLOBs",
               &Invocation::allStores}},
             {{"explain DockedWindow", "Tell why this key has its value"},
              {"explain --all-stores", "Tell of every key that more than one store holds"},
              {"explain --all-stores '*server*'", "Tell of those whose name speaks of servers"}}},
            {"stores",
             "",
             0,
             0,
             WordKind::None,
             "Print the chain of stores in order",
             "The store at the top is asked first. Read-only stores are the administrator's and the installation's; "
             "user values go to the writable ones. Tells of each store where its values come from, how old they are, "
             "whether they could be read, and how many keys it wins.",
             {},
             {{"stores", "Print every store, with the number of its keys"}}},
            {"delta",
             "[GLOB...]",
             0,
             ANY_NUMBER,
             WordKind::Key,
             "Show where the layers of the chain differ",
             "The stores that hold a key are taken in the order in which they are looked up: first those that hold it "
             "under its current name, then those that hold it under its old one, each in chain order. The first of "
             "them wins. Each holder is one of four types, by what the next holder below it says:\n\n"
             "overridden: the holder below has another value.\n\n"
             "equal: the holder below has the same value, so that this one is redundant.\n\n"
             "extended: there is no holder below; the key comes from this layer.\n\n"
             "shadowed: a writable store holds the key, and another holder wins, whatever lies below.\n\n"
             "Every type but extended is shown unless --type says otherwise.",
             {{"--type",
               "TYPE",
               "Only entries of this type: overridden, shadowed, equal or extended; may be repeated, and be a list "
               "with commas [overridden,shadowed,equal]",
               &Invocation::types,
               WordKind::Choice,
               {"overridden", "shadowed", "equal", "extended"}}},
             {{"delta", "Print everything that a layer says about a key that a layer below knows, too"},
              {"delta --type shadowed", "Print what the user has set without effect"},
              {"delta --type equal -o tsv 'Voicemail*'", "Print redundant entries of some keys for a script"}}},
            {"report",
             "",
             0,
             0,
             WordKind::None,
             "Print the master configuration report",
             "The module's own report of its settings, as one text. Sensitive values stay hidden in it, whatever "
             "--reveal says.",
             {},
             {{"report", "Print the report"}}},
        },
    };
}

}  // namespace corvidctl
