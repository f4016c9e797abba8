#include "comparing/Rehearsal.h"

#include <unistd.h>

#include "output/SteadyProgress.h"

namespace corvidctl {

namespace {

constexpr int SILENCE = 0;
constexpr int WARNINGS = 3;

}  // namespace

Rehearsal::Rehearsal(Output& output)
    : output_(output), progress_(output.error, ProgressLine::terminalOf(STDERR_FILENO)) {}

Invocation Rehearsal::onCopy(Invocation invocation, const std::string& directory) {
    invocation.host.configDirectory = directory;
    invocation.host.powerEvents = false;
    if (invocation.host.logLevel <= WARNINGS) {
        invocation.host.logLevel = SILENCE;
    }
    return invocation;
}

ExitOnInterruption Rehearsal::endingOnTheSpot() {
    return {interruption_, Status::AnswerIsNo,
            [this] { progress_.aside([this] { printError(output_, Interrupted().what()); }); }};
}

void Rehearsal::throwIfInterrupted() {
    if (interruption_.waitForNews(std::chrono::milliseconds(0))) {
        throw Interrupted();
    }
}

void Rehearsal::showing(const std::string& text, const std::function<void()>& step) {
    const SteadyProgress steady(progress_, text);
    step();
}

}  // namespace corvidctl
