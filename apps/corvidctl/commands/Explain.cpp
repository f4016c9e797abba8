#include "commands/Commands.h"
#include "output/Answers.h"
#include "output/Text.h"
#include "quill/StringUtils.h"
#include "session/Session.h"

#include <algorithm>
#include <ostream>
#include <sstream>

namespace corvidctl {

namespace {

constexpr std::size_t VALUE_COLUMNS = 60;

std::string kindOf(const LayerView& layer) {
    return std::string(layer.isReadOnly ? "read-only" : "writable") + (layer.isLocal ? ", local" : "");
}

void printLayers(const ExplanationView& view, Output& output) {
    Table table({{"", 0},
                 {"PRIORITY", 0, true},
                 {"STORE", 0, false, 23},
                 {"KIND", 0, false, 9, 2},
                 {"NAME", 0, false, 12, 1},
                 {"VALUE", VALUE_COLUMNS, false, 16}});
    for (const LayerView& layer : view.layers) {
        const Style style = layer.wins ? Style::Good : Style::Plain;
        const std::string value = layer.value.empty() ? "(empty)" : layer.value;
        table.addRow({{layer.wins ? "wins" : "", Style::Good},
                      std::to_string(layer.priority),
                      {layer.store, style},
                      {kindOf(layer), Style::Faint},
                      layer.key,
                      layer.holdsKey ? Table::Cell(value, style) : Table::Cell("-", Style::Faint)});
    }
    table.print(output.out, output.colours, output.columns);
}

void printNames(const ExplanationView& view, std::ostream& out) {
    const bool renamed = !QuillCoreUtils::caseInsensitiveStringEquals(view.asked, view.value.key);
    if (renamed) {
        out << escaped(view.asked) << " is the old name of " << escaped(view.value.key) << ".\n";
    }
    if (view.lookedUp.size() > 1) {
        out << "No store holds " << escaped(view.lookedUp.front()) << ", so its old name "
            << escaped(view.lookedUp.back()) << " was looked up too.\n";
    }
}

bool userWins(const ExplanationView& view) {
    return std::any_of(view.layers.begin(), view.layers.end(),
                       [](const LayerView& layer) { return layer.wins && !layer.isReadOnly; });
}

void printAdministratorsPart(const ExplanationView& view, std::ostream& out) {
    const ValueView& value = view.value;
    const bool isOriginalKnown = !value.originalValueStoreName.empty();
    const std::string original = quoted(value.originalValue) + ", from " + escaped(value.originalValueStoreName);
    if (value.isOverridden && userWins(view)) {
        out << (isOriginalKnown ? "The user overrides the administrator's " + original + ".\n"
                                : "Only the user has set it; the administrator has not.\n");
    } else if (value.isOverridden) {
        out << "It counts as overridden, although it is not the user's value that wins.\n";
    } else if (isOriginalKnown && value.originalValueStoreName == value.valueStoreName) {
        out << "That is the administrator's value.\n";
    }
    const bool isToldAlready =
        value.isOverridden ? userWins(view) : value.originalValueStoreName == value.valueStoreName;
    if (isOriginalKnown && !isToldAlready) {
        out << "The administrator's value is " << original << ".\n";
    }
    if (value.shadowsUser) {
        out << "The user's value waits behind it.\n";
    }
}

void printVerdict(const ExplanationView& view, std::ostream& out) {
    const ValueView& value = view.value;
    if (!value.isDefined) {
        out << escaped(value.key) << " is not defined: no store holds it.\n";
    } else {
        out << escaped(value.key) << " is " << quoted(value.value) << ", from " << escaped(value.valueStoreName)
            << ": it has the smallest priority number of the stores that hold the key.\n";
    }
    printAdministratorsPart(view, out);
    if (view.fipsRuleSpoke) {
        out << "FIPS mode is on: peer-to-peer calling reads as \"false\" whatever the stores hold.\n";
    }
}

}  // namespace

int runExplain(const Invocation& invocation, Output& output) {
    ExplanationView view;
    Session session(invocation);
    session.work([&](Session::Inside& inside) {
        view = inside.reader.explain(QuillCoreUtils::toWideString(invocation.arguments[0]));
    });
    session.finish();

    if (isForMachines(invocation.format)) {
        output.out << answers::explanation(view, invocation.format);
    } else {
        std::ostringstream names;
        printNames(view, names);
        printSentences(output, names.str());
        printLayers(view, output);
        std::ostringstream verdict;
        printVerdict(view, verdict);
        printSentences(output, verdict.str());
    }
    return view.value.isDefined ? Status::Done : Status::AnswerIsNo;
}

}  // namespace corvidctl
