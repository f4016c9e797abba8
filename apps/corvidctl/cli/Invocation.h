#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "host/ReferenceHost.h"
#include "output/Format.h"

namespace corvidctl {

/// Exit statuses of the tool.
namespace Status {
inline constexpr int Done = 0;
inline constexpr int AnswerIsNo = 1;  ///< not defined, refused, invalid
inline constexpr int WrongUse = 2;    ///< nothing has been changed
}  // namespace Status

/// What the user asked for, as the command line said it. Texts are UTF-8.
struct Invocation {
    // Global options.
    std::string configDirectory;  ///< empty: the default place
    std::string installDirectory;
    std::string bootstrapFile;
    std::string caFile;
    std::string fips = "auto";
    std::string logLevel = "3";
    std::string logFile;
    std::optional<std::string> output;  ///< a name of a format; see format
    bool json = false;
    bool reveal = false;

    // The command and what belongs to it.
    std::string command;
    std::vector<std::string> arguments;  ///< KEY, VALUE, GLOB, FILE, LINK
    bool showOrigin = false;
    bool original = false;
    bool all = false;
    std::optional<std::string> store;
    bool allStores = false;               ///< of `explain`
    bool batch = false;                   ///< of `watch` and `history`
    std::optional<std::string> journal;   ///< of `watch`, `inspect` and `history`
    std::string port = "0";               ///< of `inspect`
    bool open = false;                    ///< of `inspect`
    bool reopen = false;                  ///< of `provision`
    bool yes = false;                     ///< of `reset-data`
    std::string address = "127.0.0.1";    ///< of `serve`
    std::string serverVersion = "12.5";   ///< of `serve`
    std::optional<std::string> writeCa;   ///< of `serve`
    bool strict = false;                  ///< of `validate`
    std::string exportFormat = "server";  ///< of `export`
    std::optional<std::string> to;        ///< of `export`
    bool force = false;                   ///< of the commands that write where it may be unwelcome
    std::vector<std::string> types;       ///< of `delta`, each a list with commas
    std::vector<std::string> replaced;    ///< of `simulate`, "STORE=FILE"
    std::vector<std::string> without;     ///< of `simulate`, names of stores
    std::vector<std::string> setKeys;     ///< of `simulate`, "KEY=VALUE"
    std::vector<std::string> unsetKeys;   ///< of `simulate`
    bool dryRun = false;                  ///< of `set`, `unset` and `fetch`
    bool requireEffective = false;        ///< of `set`

    // Worked out by checkInvocation().
    Format format = Format::Table;
    host::ReferenceHost::Options host;
    std::uint16_t webPort = 0;  ///< 0: a free one
    bool colours = false;       ///< on standard output
};

}  // namespace corvidctl
