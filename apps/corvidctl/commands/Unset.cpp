#include "ConfigFeatureSet.h"
#include "commands/Commands.h"
#include "output/Answers.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "session/Session.h"

#include <ostream>

namespace corvidctl {

namespace {

struct Outcome {
    std::vector<std::string> removedFrom;
    ValueView after;
};

Outcome erase(const Invocation& invocation, Session::Inside& inside) {
    const std::wstring key = QuillCoreUtils::toWideString(invocation.arguments[0]);
    Outcome outcome;
    outcome.removedFrom = inside.reader.writableHolders(key);
    inside.featureSet.resetConfig(key);
    outcome.after = inside.reader.describe(key);
    return outcome;
}

void printOutcome(const Outcome& outcome, Output& output) {
    if (outcome.removedFrom.empty()) {
        output.out << escaped(outcome.after.key) << " is in no writable store; nothing to remove.\n";
    }
    for (const std::string& store : outcome.removedFrom) {
        output.out << escaped(outcome.after.key) << " removed from " << escaped(store) << ".\n";
    }
    if (outcome.after.isDefined) {
        output.out << escaped(outcome.after.valueStoreName) << " wins now, with " << quoted(outcome.after.value)
                   << ".\n";
    } else {
        output.out << (outcome.removedFrom.empty() ? "It is not defined.\n" : "It is not defined any more.\n");
    }
}

}  // namespace

int runUnset(const Invocation& invocation, Output& output) {
    Outcome outcome;
    Session session(invocation);
    session.work([&](Session::Inside& inside) { outcome = erase(invocation, inside); });
    const bool onDisk = session.finish();

    if (isForMachines(invocation.format)) {
        output.out << answers::value(outcome.after, invocation.format);
    }
    if (!onDisk) {
        printError(output, outcome.after.key + " could not be removed from " + invocation.host.configDirectory);
        return Status::AnswerIsNo;
    }
    if (!isForMachines(invocation.format)) {
        printOutcome(outcome, output);
    }
    return Status::Done;
}

}  // namespace corvidctl
