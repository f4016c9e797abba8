#include "commands/Commands.h"
#include "output/Answers.h"
#include "quill/StringUtils.h"
#include "reading/KeySelection.h"
#include "session/AllKeys.h"
#include "session/Session.h"
#include "session/StoreFailures.h"

#include <ostream>

namespace corvidctl {

namespace {

std::vector<ValueView> collect(const Invocation& invocation, Session::Inside& inside) {
    const KeySelection selection(invocation.arguments, inside.reader);
    std::vector<ValueView> views;
    for (const std::wstring& key : (invocation.all ? allKeys(inside) : inside.reader.definedKeys())) {
        if (!selection.contains(key)) {
            continue;
        }
        ValueView view = inside.reader.describe(key);
        const bool wanted =
            !invocation.store || QuillCoreUtils::caseInsensitiveStringEquals(*invocation.store, view.valueStoreName);
        if (wanted && (view.isDefined || invocation.all)) {
            views.push_back(std::move(view));
        }
    }
    return views;
}

}  // namespace

int runList(const Invocation& invocation, Output& output) {
    std::vector<ValueView> views;
    std::string problem;
    Session session(invocation);
    session.work([&](Session::Inside& inside) {
        problem = invocation.store ? whyNoStore(*invocation.store, namesOfStores(inside.reader)) : "";
        views = collect(invocation, inside);
    });
    session.finish();

    if (!problem.empty()) {
        printError(output, problem);
        return Status::AnswerIsNo;
    }
    if (isForMachines(invocation.format)) {
        output.out << answers::values(views, invocation.format);
    } else if (views.empty()) {
        output.out << "No key matches.\n";
    } else {
        printValues(output, views);
    }
    return Status::Done;
}

}  // namespace corvidctl
