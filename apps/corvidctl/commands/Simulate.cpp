#include <ostream>

#include "commands/Commands.h"
#include "comparing/ComparingAnswers.h"
#include "comparing/ComparingText.h"
#include "comparing/Simulation.h"
#include "output/InterruptibleOutput.h"

namespace corvidctl {

int runSimulate(const Invocation& invocation, Output& output) {
    Rehearsal rehearsal(output);
    const InterruptibleOutput interruptibly(output, rehearsal.interruption());
    SimulationView view;
    {
        const ExitOnInterruption exit = rehearsal.endingOnTheSpot();
        view = simulate(invocation, readPlan(invocation), rehearsal);
    }
    printRemarks(view.remarks, invocation.format, output);
    if (isForMachines(invocation.format)) {
        output.out << answers::changes(view.changes, invocation.format);
    } else {
        printKeyChanges(view.changes, view.fromKeptCopies, output);
    }
    return Status::Done;
}

}  // namespace corvidctl
