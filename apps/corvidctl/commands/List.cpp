#include "ConfigService.h"
#include "ConfigValue.h"
#include "chain/ConfigMap.h"
#include "commands/Commands.h"
#include "output/Answers.h"
#include "quill/StringUtils.h"
#include "reading/KeySelection.h"
#include "session/Session.h"
#include "session/StoreFailures.h"

#include <ostream>

namespace corvidctl {

namespace {

/// Every key to look at, in key order; keys of stores first, so that their spelling counts.
SensitiveKeySet keysToList(const Invocation& invocation, Session::Inside& inside) {
    const std::vector<std::wstring> defined = inside.reader.definedKeys();
    SensitiveKeySet keys(defined.begin(), defined.end());
    if (invocation.all) {
        const auto objects = inside.service.getAllConfig();
        for (const std::shared_ptr<ConfigValue>& object : *objects) {
            keys.insert(object->getKey());
        }
    }
    return keys;
}

std::vector<ValueView> collect(const Invocation& invocation, Session::Inside& inside) {
    const KeySelection selection(invocation.arguments, inside.reader);
    std::vector<ValueView> views;
    for (const std::wstring& key : keysToList(invocation, inside)) {
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
