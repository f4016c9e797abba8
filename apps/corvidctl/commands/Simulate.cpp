#include <ostream>

#include "commands/Commands.h"
#include "comparing/ComparingAnswers.h"
#include "comparing/ComparingText.h"
#include "comparing/Simulation.h"
#include "output/InterruptibleOutput.h"
#include "output/Text.h"

namespace corvidctl {

int runSimulate(const Invocation& invocation, Output& output) {
    Rehearsal rehearsal(output);
    const InterruptibleOutput interruptibly(output, rehearsal.interruption());
    SimulationView view;
    try {
        view = simulate(invocation, readPlan(invocation), rehearsal);
    } catch (const WrongUse& error) {
        printError(output, error.what());
        return Status::WrongUse;
    }
    const bool forMachines = isForMachines(invocation.format);
    for (const std::string& remark : view.remarks) {
        if (forMachines) {
            output.error << escaped(remark) + "\n";
        } else {
            printSentences(output, escaped(remark) + "\n");
        }
    }
    if (forMachines) {
        output.out << answers::changes(view.changes, invocation.format);
    } else {
        printKeyChanges(view.changes, output);
    }
    return Status::Done;
}

}  // namespace corvidctl
