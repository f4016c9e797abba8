#include "comparing/Delta.h"

#include <algorithm>
#include <ostream>
#include <set>

#include "commands/Commands.h"
#include "comparing/ComparingAnswers.h"
#include "comparing/ComparingText.h"
#include "comparing/DeltaTypes.h"
#include "comparing/LoadFailures.h"
#include "comparing/Rehearsal.h"
#include "output/InterruptibleOutput.h"
#include "reading/KeySelection.h"
#include "session/Session.h"

namespace corvidctl {

namespace {

std::string noMatch(const std::vector<std::string>& globs) {
    std::string list;
    for (const std::string& glob : globs) {
        list += (list.empty() ? "" : " or ") + glob;
    }
    return "No key matches " + list + ".";
}

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

/// @param extended how many entries have no layer below.
void printForPeople(const std::vector<DeltaRow>& rows, bool matchesNothing, std::size_t extended,
                    const Invocation& invocation, Output& output) {
    if (!rows.empty()) {
        printDelta(rows, invocation.reveal, output);
    } else if (!matchesNothing) {
        output.out << "No entry of these types.\n";
    }
    if (invocation.types.empty()) {
        printLeftOut(extended, output);
    }
}

}  // namespace

int runDelta(const Invocation& invocation, Output& output) {
    const std::set<DeltaType> types = chosenDeltaTypes(invocation.types);
    std::vector<DeltaRow> rows;
    std::vector<LoadFailure> failures;
    Rehearsal rehearsal(output);
    const InterruptibleOutput interruptibly(output, rehearsal.interruption());
    rehearsal.run("reading the configuration …", [&] {
        const ExitOnInterruption exit = rehearsal.endingOnTheSpot();
        failures = loadFailuresOf(invocation.host);
        Session session(invocation);
        session.work([&](Session::Inside& inside) {
            rows = collect(invocation, inside);
            keepThoseOf(inside.chain, failures);
        });
        session.finish();
    });

    std::vector<std::string> remarks = sentencesOf(failures);
    const bool matchesNothing = rows.empty() && !invocation.arguments.empty();
    if (matchesNothing) {
        remarks.insert(remarks.begin(), noMatch(invocation.arguments));
    }
    const auto extended = static_cast<std::size_t>(
        std::count_if(rows.begin(), rows.end(), [](const DeltaRow& row) { return row.type == DeltaType::Extended; }));
    std::erase_if(rows, [&types](const DeltaRow& row) { return types.count(row.type) == 0; });
    if (isForMachines(invocation.format)) {
        output.out << answers::delta(rows, invocation.reveal, invocation.format);
    } else {
        printForPeople(rows, matchesNothing, extended, invocation, output);
    }
    printRemarks(remarks, invocation.format, output);
    return Status::Done;
}

}  // namespace corvidctl
