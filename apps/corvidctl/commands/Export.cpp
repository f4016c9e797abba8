#include <ostream>

#include "commands/Commands.h"
#include "exporting/Export.h"
#include "exporting/ExportAnswers.h"
#include "exporting/TargetFile.h"
#include "output/Text.h"

namespace corvidctl {

namespace {

/// What there is to export; nothing, and an error printed, if no store has the name.
std::optional<std::vector<ExportedValue>> collect(const Invocation& invocation, Output& output) {
    std::optional<std::vector<ExportedValue>> values;
    std::string names;
    Session session(invocation);
    session.work([&](Session::Inside& inside) {
        values = invocation.store ? valuesOfStore(inside, *invocation.store) : effectiveValues(inside.reader);
        for (const StoreView& store : inside.reader.stores()) {
            names += (names.empty() ? "" : ", ") + store.name;
        }
    });
    session.finish();
    if (!values) {
        printError(output, "no store has the name " + quoted(*invocation.store) + ", expected one of " + names);
    }
    return values;
}

void printRemarks(const ExportView& view, Output& output) {
    if (!view.hidden.empty()) {
        const bool isOne = view.hidden.size() == 1;
        printError(output, std::to_string(view.hidden.size()) + " sensitive " + (isOne ? "value is" : "values are") +
                               " left out, --reveal exports " + (isOne ? "it" : "them") + " too");
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
    const std::optional<std::vector<ExportedValue>> values = collect(invocation, output);
    if (!values) {
        return Status::AnswerIsNo;
    }
    ExportView view = exported(*values, *exportForm(invocation.exportFormat), invocation.reveal);
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
    return view.leftOut.empty() ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
