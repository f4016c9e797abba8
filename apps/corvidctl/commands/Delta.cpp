#include "comparing/Delta.h"

#include <algorithm>
#include <ostream>
#include <set>

#include "commands/Commands.h"
#include "comparing/ComparingAnswers.h"
#include "comparing/ComparingText.h"
#include "comparing/DeltaTypes.h"
#include "comparing/Rehearsal.h"
#include "output/InterruptibleOutput.h"
#include "reading/KeySelection.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

/// The rows of the keys that the user has chosen.
std::vector<DeltaRow> collect(const Invocation& invocation, Session::Inside& inside) {
    const KeySelection selection(invocation.arguments, inside.reader);
    std::vector<DeltaRow> rows = deltaOf(takeLayers(inside.chain));
    std::erase_if(rows, [&selection](const DeltaRow& row) { return !selection.contains(row.key); });
    return rows;
}

void printLeftOut(std::size_t extended, Output& output) {
    if (extended != 0) {
        output.out << extended << (extended == 1 ? " entry has" : " entries have")
                   << " no layer below that knows the key; --type extended shows "
                   << (extended == 1 ? "it.\n" : "them.\n");
    }
}

}  // namespace

int runDelta(const Invocation& invocation, Output& output) {
    const std::set<DeltaType> types = chosenDeltaTypes(invocation.types);
    std::vector<DeltaRow> rows;
    Rehearsal rehearsal(output);
    const InterruptibleOutput interruptibly(output, rehearsal.interruption());
    rehearsal.run("reading the configuration …", [&] {
        Session session(invocation);
        session.work([&](Session::Inside& inside) { rows = collect(invocation, inside); });
        session.finish();
    });

    const auto extended = static_cast<std::size_t>(
        std::count_if(rows.begin(), rows.end(), [](const DeltaRow& row) { return row.type == DeltaType::Extended; }));
    std::erase_if(rows, [&types](const DeltaRow& row) { return types.count(row.type) == 0; });
    if (isForMachines(invocation.format)) {
        output.out << answers::delta(rows, invocation.reveal, invocation.format);
        return Status::Done;
    }
    if (rows.empty()) {
        output.out << "No entry of these types.\n";
    } else {
        printDelta(rows, invocation.reveal, output);
    }
    if (invocation.types.empty()) {
        printLeftOut(extended, output);
    }
    return Status::Done;
}

}  // namespace corvidctl
