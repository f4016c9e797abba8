#include "commands/Commands.h"
#include "output/Answers.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "session/Session.h"

#include <ostream>

namespace corvidctl {

namespace {

void printPlain(const Invocation& invocation, const ValueView& view, Output& output) {
    const std::string& value = invocation.original ? view.originalValue : view.value;
    const std::string& store = invocation.original ? view.originalValueStoreName : view.valueStoreName;
    if (invocation.showOrigin) {
        output.out << escaped(store) << '\t';  // nor may a store forge its end
    }
    // A script gets the very bytes; a terminal must not be spoken to by a file.
    output.out << (output.terminal ? escaped(value, true) : value) << '\n';
}

}  // namespace

int runGet(const Invocation& invocation, Output& output) {
    ValueView view;
    Session session(invocation);
    session.work([&](Session::Inside& inside) {
        view = inside.reader.describe(QuillCoreUtils::toWideString(invocation.arguments[0]));
    });
    session.finish();

    if (isForMachines(invocation.format)) {
        output.out << answers::value(view, invocation.format);
    } else if (view.isDefined) {
        printPlain(invocation, view, output);
    } else {
        printError(output, view.key + " is not defined");
    }
    return view.isDefined ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
