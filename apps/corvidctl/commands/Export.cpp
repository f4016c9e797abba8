#include <algorithm>
#include <ostream>

#include "commands/Commands.h"
#include "exporting/Export.h"
#include "exporting/ExportAnswers.h"
#include "exporting/TargetFile.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "session/StoreFailures.h"

namespace corvidctl {

namespace {

/// What there is to export, and why some of it may be missing.
struct Collected {
    std::vector<ExportedValue> values;
    std::vector<std::string> failures;  ///< a sentence for each store that should be in it and failed to load
    std::string problem;                ///< why there is nothing to export at all; empty if there is something
};

Collected collect(const Invocation& invocation) {
    Collected collected;
    StoreFailures failures(invocation);
    Session session(invocation);
    session.work([&](Session::Inside& inside) {
        const std::vector<std::string> names = namesOfStores(inside.reader);
        for (const std::string& name : names) {
            const bool counts =
                !invocation.store || QuillCoreUtils::caseInsensitiveStringEquals(*invocation.store, name);
            if (const std::string text = failures.textOf(name); counts && !text.empty()) {
                collected.failures.push_back(text);
            }
        }
        collected.problem = invocation.store ? whyNoStore(*invocation.store, names) : "";
        if (collected.problem.empty()) {
            collected.values =
                invocation.store ? *valuesOfStore(inside, *invocation.store) : effectiveValues(inside.reader);
        }
    });
    session.finish();
    if (invocation.store && !collected.failures.empty()) {
        collected.problem = collected.failures.front();
    }
    return collected;
}

void printRemarks(const ExportView& view, Output& output) {
    if (!view.hidden.empty()) {
        const bool isOne = view.hidden.size() == 1;
        printError(output, std::to_string(view.hidden.size()) + " sensitive " + (isOne ? "value is" : "values are") +
                               " left out, --reveal exports " + (isOne ? "it" : "them") + " too");
    }
    for (const std::string& failure : view.failed) {
        printError(output, failure);
    }
    for (const LeftOutValue& value : view.leftOut) {
        printError(output, quoted(value.key) + " is left out, since " + value.reason);
    }
}

void printExport(const ExportView& view, Output& output) {
    if (!view.file) {
        // A script gets the very bytes; a terminal must not be spoken to by a file.
        output.out << (output.terminal ? escaped(view.document, true) : view.document);
    } else {
        output.out << escaped(*view.file) << ": " << view.keys << (view.keys == 1 ? " key" : " keys") << " of "
                   << (view.store ? escaped(*view.store) : "the effective configuration") << '\n';
    }
}

}  // namespace

int runExport(const Invocation& invocation, Output& output) {
    const Collected collected = collect(invocation);
    if (!collected.problem.empty()) {
        printError(output, collected.problem);
        return Status::AnswerIsNo;
    }
    ExportView view = exported(collected.values, *exportForm(invocation.exportFormat), invocation.reveal);
    view.failed = collected.failures;
    view.store = invocation.store;
    view.format = invocation.exportFormat;
    view.file = invocation.to;
    if (view.file) {
        TargetFile(*view.file).write(view.document, invocation.reveal, invocation.force);
    }

    if (isForMachines(invocation.format)) {
        output.out << answers::exportation(view, invocation.format);
    } else {
        printExport(view, output);
    }
    printRemarks(view, output);
    const bool isWhole =
        view.failed.empty() && std::all_of(view.leftOut.begin(), view.leftOut.end(),
                                           [](const LeftOutValue& value) { return value.isClientState; });
    return isWhole ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
