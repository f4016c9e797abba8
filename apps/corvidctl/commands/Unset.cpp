#include <ostream>

#include "commands/Commands.h"
#include "comparing/UserWrite.h"
#include "comparing/UserWriteText.h"
#include "output/ShownPath.h"
#include "output/Text.h"

namespace corvidctl {

namespace {

/// What the key reads from then on.
void printAnswer(const UserWriteView& view, Output& output) {
    const ValueView& after = view.after;
    const bool isSame = !view.isEffective;
    if (!after.isDefined) {
        const char* const would = view.dryRun ? "It would not be defined any more.\n" : "It is not defined any more.\n";
        output.out << (isSame ? "It is not defined.\n" : would);
        return;
    }
    const char* const wins = isSame ? " still wins, with " : " wins now, with ";
    const char* const wouldWin = isSame ? " would still win, with " : " would win, with ";
    output.out << escaped(after.valueStoreName) << (view.dryRun ? wouldWin : wins) << quoted(after.value) << ".\n";
}

void printOutcome(const UserWriteView& view, Output& output) {
    if (view.removedFrom.empty()) {
        output.out << escaped(view.after.key) << " is in no writable store; nothing to remove.\n";
    }
    for (const std::string& store : view.removedFrom) {
        output.out << escaped(view.after.key) << (view.dryRun ? " would be removed from " : " removed from ")
                   << escaped(store) << ".\n";
    }
    printAnswer(view, output);
    if (!view.file.empty()) {
        output.out << (view.dryRun ? "It would be gone from " : "It is gone from ") << escaped(shownPath(view.file))
                   << ".\n";
    }
    if (view.dryRun) {
        output.out << "Nothing has been removed.\n";
    }
}

int tell(const Invocation& invocation, const UserWriteView& view, Output& output) {
    printBrokenFile(invocation, view, output);
    if (isForMachines(invocation.format)) {
        output.out << answers::userWrite(view, invocation.format);
    }
    if (!view.isPersisted) {
        printError(output, sentenceOnDisk(view, invocation.host.configDirectory));
        return Status::AnswerIsNo;
    }
    if (!isForMachines(invocation.format)) {
        printOutcome(view, output);
    }
    return Status::Done;
}

}  // namespace

int runUnset(const Invocation& invocation, Output& output) {
    return tell(invocation,
                invocation.dryRun ? rehearse(eraseUserValue, invocation, output) : eraseUserValue(invocation), output);
}

}  // namespace corvidctl
