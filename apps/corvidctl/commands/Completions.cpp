#include <nlohmann/json.hpp>
#include <ostream>

#include "cli/completions/Completions.h"
#include "commands/Commands.h"
#include "output/MachineText.h"

namespace corvidctl {

namespace {

std::string scriptFor(const std::string& shell) {
    if (shell == "bash") {
        return bashCompletions();
    }
    return shell == "zsh" ? zshCompletions() : fishCompletions();
}

}  // namespace

int runCompletions(const Invocation& invocation, Output& output) {
    const std::string script = scriptFor(invocation.arguments.front());
    output.out << (isForMachines(invocation.format) ? printed({{"completions", script}}, invocation.format) : script);
    return Status::Done;
}

}  // namespace corvidctl
