#include <ostream>

#include "commands/Commands.h"
#include "comparing/UserWrite.h"
#include "comparing/UserWriteText.h"
#include "output/ShownPath.h"
#include "output/Text.h"
#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

/// How the outcome is told: what was done, or what would be.
struct Wording {
    const char* stored;
    const char* wins;
    const char* reads;
    const char* takesEffect;
    const char* kept;
    const char* erased;
};

constexpr Wording DONE = {" stored in ",        " still wins, with ",
                          "It still reads as ", "It takes effect, and is kept in ",
                          "It is kept in ",     "The client erases it when it starts: "};

constexpr Wording WOULD_BE = {" would be stored in ",    " would still win, with ",
                              "It would still read as ", "It would take effect, and be kept in ",
                              "It would be kept in ",    "The client would erase it when it starts: "};

bool isUnderOldName(const Invocation& invocation, const UserWriteView& view) {
    return !QuillCoreUtils::caseInsensitiveStringEquals(invocation.arguments[0], view.after.key);
}

void printWinner(const Invocation& invocation, const UserWriteView& view, const Wording& wording, Output& output) {
    const ValueView& after = view.after;
    if (after.valueStoreName != view.storedIn) {
        output.out << escaped(after.valueStoreName) << wording.wins << quoted(after.value) << ".\n";
    } else if (!view.readsAsGiven) {
        output.out << wording.reads << quoted(after.value) << ".\n";
        if (isUnderOldName(invocation, view)) {
            output.out << "What the store holds under " << escaped(after.key) << " comes first.\n";
        }
    }
}

/// What a policy costs the user besides. For scripts beside their answer.
void printErased(const Invocation& invocation, const UserWriteView& view, Output& output) {
    std::string keys;
    for (const std::string& key : view.erases) {
        keys += (keys.empty() ? "" : ", ") + key;
    }
    if (!keys.empty()) {
        const char* const erases = view.dryRun ? "The client would erase " : "The client erases ";
        (isForMachines(invocation.format) ? output.error : output.out)
            << erases << escaped(keys) << " when it starts, since " << escaped(view.after.key) << " is "
            << quoted(view.after.value) << ".\n";
    }
}

void printOutcome(const Invocation& invocation, const UserWriteView& view, Output& output) {
    const Wording& wording = view.dryRun ? WOULD_BE : DONE;
    output.out << escaped(view.after.key) << wording.stored << escaped(view.storedIn)
               << (isUnderOldName(invocation, view) ? ", under its old name " + escaped(invocation.arguments[0]) : "")
               << ".\n";
    printWinner(invocation, view, wording, output);
    if (!view.erasedBy.empty()) {
        output.out << wording.erased << escaped(view.erasedBy) << ".\n";
    }
    printErased(invocation, view, output);
    if (!view.file.empty()) {
        output.out << (view.isEffective ? wording.takesEffect : wording.kept) << escaped(shownPath(view.file)) << ".\n";
    }
    if (view.dryRun) {
        output.out << "Nothing has been stored.\n";
    }
}

/// What the file holds, where it is not what was asked for.
void warnOfReplacedCharacters(const Invocation& invocation, const UserWriteView& view, Output& output) {
    if (!view.isKeyWhole) {
        printError(output, "XML cannot hold every character of the key; on disk it is " + quoted(view.onDiskKey));
    }
    if (!view.isValueWhole) {
        const bool hidden = view.after.isSensitive && !invocation.reveal;
        printError(output, "XML cannot hold every character of the value; on disk " +
                               (hidden ? "U+FFFD stands for them" : "it is " + quoted(view.onDiskValue)));
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
        printNotPersisted(invocation, view, output);
        return Status::AnswerIsNo;
    }
    warnOfReplacedCharacters(invocation, view, output);
    if (isForMachines(invocation.format)) {
        printErased(invocation, view, output);
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
