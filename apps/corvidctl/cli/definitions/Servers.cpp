#include "cli/definitions/DefinitionGroups.h"

namespace corvidctl {

DefinitionGroup serverCommands() {
    return {
        "Ask the servers",
        {
            {"fetch",
             "",
             0,
             0,
             WordKind::None,
             "Fetch the server's file and tell what came of it",
             "Asks the configured servers in their order, keeps a copy for the next start, without the sensitive "
             "values, and tells who delivered the file or why nobody did. Ends with status 1 if nothing was fetched. "
             "With --dry-run the servers are asked all the same, but for a throw-away copy of the configuration.",
             {{"--dry-run", "", "Show which keys would change, and change nothing", &Invocation::dryRun}},
             {{"fetch", "Fetch the file from the configured servers"},
              {"fetch --dry-run", "Look at what the next fetch would change"},
              {"--ca-file ca.pem fetch", "Trust a certificate authority of one's own"}}},
            {"watch",
             "[GLOB...]",
             0,
             ANY_NUMBER,
             WordKind::Key,
             "Start the remote source and print every change, until interrupted",
             "The servers are asked for their file as a client does it, and every change of a key that a GLOB chooses "
             "is printed as it comes. Ctrl-C ends it with status 0.\n\n"
             "A batch is all that one piece of work of this client changed, as the file of a download. What other "
             "programs store meanwhile is not noticed; the next watch tells it, with the cause start. A batch has the "
             "time, the cause and, for each key, the value and the store before and afterwards. What "
             "changes only behind the answer, as the administrator's value of a key that the user overrides, is in no "
             "batch.\n\n"
             "A journal is a file with a line of JSON for each batch, whichever keys are watched. Each watch adds to "
             "it, beginning with all keys that are defined; corvidctl history reads it. At 8 MiB it becomes FILE.1, "
             "and a new one begins.",
             {{"--batch", "", "Print batch by batch: the time and the cause, and below them the changes",
               &Invocation::batch},
              {"--journal", "FILE", "Add every batch to a journal, too", &Invocation::journal, WordKind::File}},
             {{"watch", "Print every change"},
              {"-o jsonl watch 'Tele*'", "Print changes of some keys for a script, an object a line"},
              {"watch --batch --journal changes.jsonl", "Print what happens, when and why, and keep a journal of it"}}},
            {"inspect",
             "",
             0,
             0,
             WordKind::None,
             "Start the remote source and show the client in a browser, until interrupted",
             "Serves a page to browsers of this machine: every key with its value and why it has it, the stores, the "
             "servers, the changes as they come and what is wrong; values can be set and unset there. It prints one "
             "link, which only this user should see, since whoever has it may read and change the configuration; "
             "while --open starts the browser, others of this machine may see it in the list of processes. "
             "Sensitive values are masked unless --reveal is given. Ctrl-C ends it with status 0.",
             {{"--port", "N", "The port to listen on, at 127.0.0.1; 0 is a free one [0]", &Invocation::port,
               WordKind::Text},
              {"--open", "", "Open the page in the browser, too", &Invocation::open},
              {"--journal", "FILE", "Add every batch of changes to a journal, as watch does", &Invocation::journal,
               WordKind::File}},
             {{"inspect --open", "Look at the configuration in the browser"},
              {"--json inspect --port 8400", "Print the link for a script, on a port of one's own choice"}}},
            {"history",
             "[KEY|GLOB...]",
             0,
             ANY_NUMBER,
             WordKind::Key,
             "Print what a journal knows of the changes of keys: when, why, from what to what",
             "Reads FILE.1 and FILE, which corvidctl watch --journal FILE has written, oldest change first; a watch "
             "may be writing meanwhile. What changed while nobody watched is told with the cause start, at the time of "
             "the next watch. A store and its cached copy count as one. A line that cannot be read is named on "
             "standard error and left out.",
             {{"--journal", "FILE", "The journal to read; needed", &Invocation::journal, WordKind::File},
              {"--batch", "", "Print batch by batch", &Invocation::batch}},
             {{"history --journal changes.jsonl", "Print every change in the journal"},
              {"history VoicemailPrimaryServer --journal changes.jsonl", "Print what one key was, and when"},
              {"-o jsonl history --batch --journal changes.jsonl", "Print each batch as an object on a line"}}},
            {"serve",
             "FILE",
             1,
             1,
             WordKind::File,
             "Be a call-control server with a configuration file, until interrupted",
             "For trying things on one machine: the file goes out over HTTP on port 6970 and over HTTPS on port 6972, "
             "the version over HTTPS on port 8443. Each request is printed on a line. Ctrl-C ends it with status 0.",
             {{"--address", "A", "The IPv4 address to listen on [127.0.0.1]", &Invocation::address, WordKind::Text},
              {"--server-version", "V", "What the server says of itself [12.5]", &Invocation::serverVersion,
               WordKind::Text},
              {"--write-ca", "FILE", "Where to write the throw-away certificate (PEM) that clients need to trust",
               &Invocation::writeCa, WordKind::File}},
             {{"serve corvid-config.xml --address 127.0.0.42 --write-ca ca.pem",
               "Serve a file to clients of this machine that are given --ca-file ca.pem"}}},
        },
    };
}

}  // namespace corvidctl
