#include "cli/definitions/DefinitionGroups.h"

namespace corvidctl {

DefinitionGroup changingCommands() {
    const OptionDefinition force = {"--force", "", "Go on although a client is running on the configuration directory",
                                    &Invocation::force};
    return {
        "Change it",
        {
            {"set",
             "KEY VALUE",
             2,
             2,
             WordKind::Key,
             "Store a user value",
             "Tells which store took the value, whether it takes effect or which other store still wins, and in which "
             "file it is kept; it is on disk when the command ends. Put two dashes before a value that begins with "
             "one.",
             {{"--dry-run", "", "Tell all that, and store nothing", &Invocation::dryRun},
              {"--require-effective", "", "Store nothing, with status 1, if the value would not be what the key reads",
               &Invocation::requireEffective},
              force},
             {{"set DockedWindow false", "Store a value in the user's file"},
              {"set --require-effective Telephony_Enabled false", "Store it only if no administrator's value wins"},
              {"set Offset -- -5", "Store a value that looks like an option"}}},
            {"unset",
             "KEY",
             1,
             1,
             WordKind::Key,
             "Erase a key from the writable stores",
             "The key is erased under all its names. Tells which stores held it, and what the key reads from then on. "
             "Finding nothing to erase is no failure.",
             {{"--dry-run", "", "Tell all that, and erase nothing", &Invocation::dryRun}, force},
             {{"unset DockedWindow", "Go back to what the administrator or the installation says"}}},
            {"provision",
             "LINK",
             1,
             1,
             WordKind::Text,
             "Apply a provisioning link",
             "A link is taken once: afterwards a latch refuses further ones. The answer tells what the link set, what "
             "was dropped and why.",
             {{"--reopen", "", "Reset the latch first; LINK may be left out", &Invocation::reopen}, force},
             {{"provision --reopen", "Let the next link in"}}},
            {"reset-data",
             "--yes",
             0,
             0,
             WordKind::None,
             "Forget the user's data, as the host's data reset does",
             "Names the files that went and those that stayed. Nothing brings them back.",
             {{"--yes", "", "Needed, since the user's data is gone afterwards", &Invocation::yes}, force},
             {{"reset-data --yes", "Remove the user's files"}}},
        },
    };
}

}  // namespace corvidctl
