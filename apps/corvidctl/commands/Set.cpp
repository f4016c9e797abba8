#include "ConfigFeatureSet.h"
#include "commands/Commands.h"
#include "output/Answers.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "session/Session.h"
#include "xml/XmlCharacters.h"

#include <algorithm>
#include <ostream>

namespace corvidctl {

namespace {

struct Outcome {
    bool stored = false;
    std::string storedIn;
    ValueView after;
    bool answers = false;  ///< the chain's answer is the value that was stored
};

Outcome store(const Invocation& invocation, Session::Inside& inside) {
    const std::wstring key = QuillCoreUtils::toWideString(invocation.arguments[0]);
    const std::vector<std::string> userStores = inside.reader.userStores();
    Outcome outcome;
    outcome.stored = inside.featureSet.setConfig(key, QuillCoreUtils::toWideString(invocation.arguments[1]));
    outcome.storedIn = userStores.empty() ? std::string() : userStores.front();
    outcome.after = inside.reader.describe(key);
    const ValueView unmasked = ChainReader(inside.chain, true).describe(key);
    outcome.answers = unmasked.value == QuillCoreUtils::toString(QuillCoreUtils::toWideString(invocation.arguments[1]));
    return outcome;
}

void printOutcome(const Invocation& invocation, const Outcome& outcome, Output& output) {
    output.out << escaped(outcome.after.key) << " stored in " << escaped(outcome.storedIn) << ".\n";
    if (outcome.after.valueStoreName != outcome.storedIn) {
        output.out << escaped(outcome.after.valueStoreName) << " still wins, with " << quoted(outcome.after.value)
                   << ".\n";
    } else if (!outcome.answers) {
        output.out << "It still reads as " << quoted(outcome.after.value) << ".\n";
        if (!QuillCoreUtils::caseInsensitiveStringEquals(invocation.arguments[0], outcome.after.key)) {
            output.out << "The value stands under the old name " << escaped(invocation.arguments[0])
                       << "; what the store holds under " << escaped(outcome.after.key) << " comes first.\n";
        }
    }
}

/// What the file holds, where it is not what was asked for.
void warnOfReplacedCharacters(const Invocation& invocation, const Outcome& outcome, Output& output) {
    const auto onDisk = [](const std::string& text) { return toXmlText(QuillCoreUtils::toWideString(text)).text; };
    const std::string& key = invocation.arguments[0];
    const std::string& value = invocation.arguments[1];
    if (onDisk(key) != key) {
        printError(output, "XML cannot hold every character of the key; on disk it is " + quoted(onDisk(key)));
    }
    if (onDisk(value) != value) {
        const bool hidden = outcome.after.isSensitive && !invocation.reveal;
        printError(output, "XML cannot hold every character of the value; on disk " +
                               (hidden ? "U+FFFD stands for them" : "it is " + quoted(onDisk(value))));
    }
}

}  // namespace

int runSet(const Invocation& invocation, Output& output) {
    Outcome outcome;
    Session session(invocation);
    session.work([&](Session::Inside& inside) { outcome = store(invocation, inside); });
    const bool onDisk = session.finish();

    if (isForMachines(invocation.format)) {
        output.out << answers::value(outcome.after, invocation.format);
    }
    if (!outcome.stored) {
        printError(output, "no writable store took " + outcome.after.key);
        return Status::AnswerIsNo;
    }
    if (!onDisk) {
        printError(output, outcome.after.key + " could not be written to " + invocation.host.configDirectory);
        return Status::AnswerIsNo;
    }
    warnOfReplacedCharacters(invocation, outcome, output);
    if (!isForMachines(invocation.format)) {
        printOutcome(invocation, outcome, output);
    }
    return Status::Done;
}

}  // namespace corvidctl
