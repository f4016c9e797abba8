#include <nlohmann/json.hpp>
#include <ostream>

#include "cli/ManualPage.h"
#include "commands/Commands.h"
#include "output/MachineText.h"

namespace corvidctl {

int runManual(const Invocation& invocation, Output& output) {
    const std::string page = manualPage();
    output.out << (isForMachines(invocation.format) ? printed({{"manual", page}}, invocation.format) : page);
    return Status::Done;
}

}  // namespace corvidctl
