#include "ConfigFeatureSet.h"
#include "Json.h"
#include "Session.h"
#include "Text.h"
#include "commands/Commands.h"
#include "quill/StringUtils.h"

#include <algorithm>
#include <ostream>

namespace corvidctl {

namespace {

struct Outcome {
    bool stored = false;
    std::string storedIn;
    ValueView after;
};

Outcome store(const Invocation& invocation, Session::Inside& inside) {
    const std::wstring key = QuillCoreUtils::toWideString(invocation.arguments[0]);
    const std::vector<std::string> userStores = inside.reader.userStores();
    Outcome outcome;
    outcome.stored = inside.featureSet.setConfig(key, QuillCoreUtils::toWideString(invocation.arguments[1]));
    outcome.storedIn = userStores.empty() ? std::string() : userStores.front();
    outcome.after = inside.reader.describe(key);
    return outcome;
}

void printOutcome(const Outcome& outcome, Output& output) {
    output.out << escaped(outcome.after.key) << " stored in " << escaped(outcome.storedIn) << ".\n";
    if (outcome.after.valueStoreName != outcome.storedIn) {
        output.out << escaped(outcome.after.valueStoreName) << " still wins, with " << quoted(outcome.after.value)
                   << ".\n";
    }
}

}  // namespace

int runSet(const Invocation& invocation, Output& output) {
    Outcome outcome;
    Session session(invocation);
    session.work([&](Session::Inside& inside) { outcome = store(invocation, inside); });
    const bool onDisk = session.finish();

    if (invocation.json) {
        output.out << json::value(outcome.after) << '\n';
    }
    if (!outcome.stored) {
        printError(output, "no writable store took " + outcome.after.key);
        return Status::AnswerIsNo;
    }
    if (!onDisk) {
        printError(output, outcome.after.key + " could not be written to " + invocation.host.configDirectory);
        return Status::AnswerIsNo;
    }
    if (!invocation.json) {
        printOutcome(outcome, output);
    }
    return Status::Done;
}

}  // namespace corvidctl
