#include "ConfigFeatureSet.h"
#include "Json.h"
#include "Session.h"
#include "Text.h"
#include "commands/Commands.h"
#include "quill/StringUtils.h"

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

    if (invocation.json) {
        output.out << json::value(outcome.after) << '\n';
    }
    if (!onDisk) {
        printError(output, outcome.after.key + " could not be removed from " + invocation.host.configDirectory);
        return Status::AnswerIsNo;
    }
    if (!invocation.json) {
        printOutcome(outcome, output);
    }
    return Status::Done;
}

}  // namespace corvidctl
