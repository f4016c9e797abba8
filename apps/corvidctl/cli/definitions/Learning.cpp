#include "cli/definitions/DefinitionGroups.h"

namespace corvidctl {

DefinitionGroup learningCommands() {
    return {
        "Learn",
        {
            {"demo",
             "",
             0,
             0,
             WordKind::None,
             "Show the main job on the sample profile: serve, fetch, list, live changes",
             "Everything happens on a copy in a temporary folder. With --config-dir the copy is of that profile, and "
             "the "
             "servers that it names are not asked.",
             {},
             {{"demo", "See the service at work"}}},
            {"help",
             "[COMMAND]",
             0,
             1,
             WordKind::Choice,
             "Tell about the tool, or about a command",
             "Says the same as --help does, without a command or with one.",
             {},
             {{"help set", "Tell how values are stored"}}},
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
             {"keys", "stores", "sides", "replacements"},
             true},
        },
    };
}

}  // namespace corvidctl
