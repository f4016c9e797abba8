#include "cli/DataDirectory.h"
#include "commands/Commands.h"
#include "demo/Demonstration.h"
#include "demo/DemonstrationText.h"
#include "output/Answers.h"
#include "output/InterruptibleOutput.h"
#include "output/ProgressLine.h"
#include "session/Interruption.h"

#include <unistd.h>

#include <filesystem>
#include <ostream>
#include <stdexcept>

namespace corvidctl {

namespace {

std::string profileToShow(const Invocation& invocation) {
    if (!invocation.configDirectory.empty()) {
        return invocation.host.configDirectory;
    }
    const std::string sample = dataDirectory() + "/sample";
    if (!std::filesystem::is_directory(sample)) {
        throw std::runtime_error("the sample profile is missing: " + sample);
    }
    return sample;
}

}  // namespace

int runDemo(const Invocation& invocation, Output& output) {
    Interruption interruption;
    const InterruptibleOutput interruptibly(output, interruption);
    ProgressLine progress(output.error, ProgressLine::terminalOf(STDERR_FILENO));
    const auto lastWords = [&] { progress.aside([&] { printError(output, "interrupted"); }); };
    const DemonstrationView view =
        demonstrate(invocation, profileToShow(invocation), interruption, progress, lastWords);
    if (isForMachines(invocation.format)) {
        output.out << answers::demonstration(view, invocation.format);
    } else {
        printDemonstration(view, output);
    }
    return Status::Done;
}

}  // namespace corvidctl
