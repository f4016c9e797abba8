#include "commands/Commands.h"
#include "output/Answers.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "session/Session.h"
#include "validating/MeantKey.h"

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
    std::optional<std::string> meant;
    Session session(invocation);
    session.work([&](Session::Inside& inside) {
        const std::wstring key = QuillCoreUtils::toWideString(invocation.arguments[0]);
        view = inside.reader.describe(key);
        meant = view.isDefined ? std::nullopt : keyMeantBy(key, inside.reader);
    });
    session.finish();

    if (isForMachines(invocation.format)) {
        output.out << answers::value(view, invocation.format);
    } else if (view.isDefined) {
        printPlain(invocation, view, output);
    } else {
        printError(output, view.key + " is not defined" + (meant ? "; did you mean " + *meant + "?" : ""));
    }
    return view.isDefined ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
