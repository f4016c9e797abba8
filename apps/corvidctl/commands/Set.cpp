#include <ostream>
#include <string>

#include "commands/Commands.h"
#include "comparing/UserWrite.h"
#include "comparing/UserWriteText.h"
#include "output/ShownPath.h"
#include "output/Text.h"

namespace corvidctl {

namespace {

/// How the outcome is told: what was done, or what would be.
struct Wording {
    const char* stored;
    const char* takesEffect;
    const char* kept;
};

constexpr Wording DONE = {" stored in ", "It takes effect, and is kept in ", "It is kept in "};

constexpr Wording WOULD_BE = {" would be stored in ", "It would take effect, and be kept in ", "It would be kept in "};

void printLine(const std::string& sentence, std::ostream& out) {
    if (!sentence.empty()) {
        out << escaped(sentence) << '\n';
    }
}

void printOutcome(const Invocation& invocation, const UserWriteView& view, Output& output) {
    const Wording& wording = view.dryRun ? WOULD_BE : DONE;
    output.out << escaped(view.after.key) << wording.stored << escaped(view.storedIn)
               << (view.isUnderOldName ? ", under its old name " + escaped(invocation.arguments[0]) : "") << ".\n";
    for (const std::string& sentence : sentencesOnWinner(view)) {
        printLine(sentence, output.out);
    }
    printLine(sentenceOnEndangered(view), output.out);
    printLine(sentenceOnErased(view), output.out);
    if (!view.file.empty()) {
        output.out << (view.isEffective ? wording.takesEffect : wording.kept) << escaped(shownPath(view.file)) << ".\n";
    }
    if (view.dryRun) {
        output.out << "Nothing has been stored.\n";
    }
}

/// Why a value would not be what the key reads, in one line.
std::string whyNotEffective(const UserWriteView& view) {
    if (!view.isTaken) {
        return "no writable store takes " + view.after.key;
    }
    if (view.after.valueStoreName != view.storedIn) {
        return view.after.valueStoreName + " wins " + view.after.key + ", with " + quoted(view.after.value);
    }
    if (!view.erasedBy.empty()) {
        return "the client would erase " + view.after.key + " when it starts: " + view.erasedBy;
    }
    return view.readsAsGiven ? "XML cannot hold every character of it"
                             : view.after.key + " would read as " + quoted(view.after.value);
}

int refuse(const Invocation& invocation, UserWriteView view, Output& output) {
    printBrokenFile(invocation, view, output);
    printError(output, "nothing stored: " + whyNotEffective(view) +
                           "; to store it all the same, leave out --require-effective");
    if (isForMachines(invocation.format)) {
        view.after = view.before;
        view.storedIn.clear();
        view.isPersisted = false;
        view.file.clear();
        view.dryRun = invocation.dryRun;
        output.out << answers::userWrite(view, invocation.format);
    }
    return Status::AnswerIsNo;
}

int tell(const Invocation& invocation, const UserWriteView& view, Output& output) {
    printBrokenFile(invocation, view, output);
    if (isForMachines(invocation.format)) {
        output.out << answers::userWrite(view, invocation.format);
    }
    if (!view.isTaken) {
        printError(output, "no writable store took " + view.after.key);
        return Status::AnswerIsNo;
    }
    if (!view.isPersisted) {
        printError(output, sentenceOnDisk(view, invocation.host.configDirectory));
        return Status::AnswerIsNo;
    }
    for (const std::string& sentence : sentencesOnReplacedCharacters(view, invocation.reveal)) {
        printError(output, sentence);
    }
    if (isForMachines(invocation.format)) {
        printLine(sentenceOnErased(view), output.error);
    } else {
        printOutcome(invocation, view, output);
    }
    return Status::Done;
}

}  // namespace

int runSet(const Invocation& invocation, Output& output) {
    if (invocation.dryRun || invocation.requireEffective) {
        const UserWriteView view = rehearse(storeUserValue, invocation, output);
        if (invocation.requireEffective && !view.isEffective) {
            return refuse(invocation, view, output);
        }
        if (invocation.dryRun) {
            return tell(invocation, view, output);
        }
    }
    return tell(invocation, storeUserValue(invocation), output);
}

}  // namespace corvidctl
