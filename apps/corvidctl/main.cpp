#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iostream>
#include <string>
#include <string_view>

#include "cli/CommandLine.h"
#include "cli/InvocationChecks.h"
#include "cli/WrongUse.h"
#include "commands/Commands.h"
#include "impl/system/CoreDumps.h"
#include "output/DescriptorStream.h"
#include "output/Output.h"
#include "output/ProgressLine.h"
#include "output/ProgressUntilOutput.h"
#include "output/Terminal.h"
#include "session/WritersTurn.h"

namespace {

using namespace corvidctl;

struct Command {
    std::string_view name;
    int (*run)(const Invocation&, Output&);
    const char* activity = "reading the configuration …";  ///< shown on a terminal while it has nothing to say
};

constexpr auto COMMANDS = std::to_array<Command>({
    {"get", runGet},
    {"list", runList},
    {"explain", runExplain},
    {"stores", runStores},
    {"delta", runDelta},
    {"diff", runDiff},
    {"simulate", runSimulate},
    {"set", runSet},
    {"unset", runUnset},
    {"watch", runWatch},
    {"inspect", runInspect},
    {"history", runHistory, "reading the journal …"},
    {"fetch", runFetch},
    {"provision", runProvision},
    {"reset-data", runResetData},
    {"report", runReport},
    {"validate", runValidate, "reading the files …"},
    {"export", runExport},
    {"serve", runServe},
    {"demo", runDemo},
    {"manual", runManual},
    {"completions", runCompletions},
    {"complete", runComplete},
});

/// Where the tool writes.
struct Streams {
    DescriptorStream out{STDOUT_FILENO};
    DescriptorStream error{STDERR_FILENO};
};

int runCommand(const Invocation& invocation, Output& output, Streams& streams) {
    for (const Command& command : COMMANDS) {
        if (invocation.command == command.name) {
            ProgressLine line(std::cerr, ProgressLine::terminalOf(STDERR_FILENO));
            const ProgressUntilOutput progress(line, command.activity, streams.out, streams.error);
            return command.run(invocation, output);
        }
    }
    return Status::WrongUse;
}

int runTool(CommandLine commandLine, Output& output, Streams& streams) {
    output.out << commandLine.output;
    if (!commandLine.invocation) {
        if (!commandLine.error.empty()) {
            printError(output, commandLine.error);
        }
        return commandLine.status;
    }

    Invocation& invocation = *commandLine.invocation;
    if (const std::string problem = checkInvocation(invocation); !problem.empty()) {
        printError(output, problem);
        return Status::WrongUse;
    }
    output.colours = invocation.colours;
    try {
        const WritersTurn turn(invocation, output);
        return turn.isGiven() ? runCommand(invocation, output, streams) : Status::AnswerIsNo;
    } catch (const WrongUse& error) {
        printError(output, error.what());
        return Status::WrongUse;
    } catch (const std::exception& error) {
        printError(output, error.what());
        return Status::AnswerIsNo;
    }
}

}  // namespace

int main(int argc, char** argv) {
    // A reader that goes away ends the output, not the host half-way through its end.
    std::signal(SIGPIPE, SIG_IGN);
    // Values may be secret: they are in no core, and the keys of connections in no file that a variable names.
    platform::forbidCoreDumps();
    unsetenv("SSLKEYLOGFILE");

    Streams streams;
    streams.error.setf(std::ios::unitbuf);
    Output output{
        streams.out, streams.error, false, isatty(STDOUT_FILENO) == 1, &streams.out, terminalColumns(STDOUT_FILENO)};
    const int status = runTool(readCommandLine(argc, argv, output.columns), output, streams);
    const int failure = streams.out.finish();
    // A reader that has had enough is no failure, and neither is an interruption while it took nothing.
    if (failure != 0 && failure != EPIPE && failure != ECANCELED) {
        printError(output, std::string("the output could not be written: ") + std::strerror(failure));
        return status == Status::Done ? Status::AnswerIsNo : status;
    }
    return status;
}
