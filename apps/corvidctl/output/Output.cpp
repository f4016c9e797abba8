#include "output/Output.h"

#include <ostream>
#include <sstream>

#include "ConfigStoreConstants.h"
#include "output/Text.h"
#include "output/Wrapping.h"
#include "reading/ClientKeys.h"

namespace corvidctl {

namespace {

constexpr std::size_t VALUE_COLUMNS = 36;
constexpr std::size_t SENTENCE_COLUMNS = 60;

/// A value in a table: an empty one that exists is told from one that does not.
Table::Cell valueCell(const std::string& value, const std::string& store, Style style) {
    if (value.empty() && store.empty()) {
        return {"-", Style::Faint};
    }
    return value.empty() ? Table::Cell("(empty)", Style::Faint) : Table::Cell(value, style);
}

/// Who set the value that comes before the administrator's.
const char* remarkOnOverride(const ValueView& view) {
    const bool onlyOne = view.originalValueStoreName.empty() && !view.hasUntoldOriginal;
    if (view.valueStoreName == ConfigStoreConstants::IN_MEMORY_CONFIG_STORE_NAME) {
        return onlyOne ? "set for this run" : "overridden for this run";
    }
    if (isKeptByClient(view.key)) {
        return "kept by the client";
    }
    return onlyOne ? "user only" : "overridden";
}

std::string remarks(const ValueView& view) {
    std::string text;
    const auto add = [&text](const std::string& remark) { text += (text.empty() ? "" : ", ") + remark; };
    if (view.isOverridden) {
        add(remarkOnOverride(view));
    }
    if (view.shadowsUser) {
        add("the user's value waits behind it");
    }
    if (!view.isDefined) {
        add("undefined");
    }
    if (view.isSensitive) {
        add("sensitive");
    }
    if (!view.foundUnder.empty()) {
        add("found as " + view.foundUnder);
    }
    return text;
}

std::string joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : ", ") + word;
    }
    return text;
}

}  // namespace

void printError(Output& output, const std::string& line) {
    output.out.flush();  // what was printed before stands before it on a terminal
    // In one piece: the log writes to the same place from another thread.
    output.error << "corvidctl: " + escaped(line) + "\n" << std::flush;
}

void printValues(Output& output, const std::vector<ValueView>& views) {
    Table table({{"", 0},
                 {"KEY", 0, false, 32},
                 {"VALUE", VALUE_COLUMNS, false, 16},
                 {"STORE", 0, false, 20},
                 {"ADMINISTRATOR'S VALUE", VALUE_COLUMNS, false, 16, 2},
                 {"ITS STORE", 0, false, 20, 3},
                 {"REMARKS", 0, false, 10, 1}});
    for (const ValueView& view : views) {
        const Style style = view.isOverridden ? Style::Warning : Style::Strong;
        table.addRow({{view.isOverridden ? "*" : "", Style::Warning},
                      view.key,
                      valueCell(view.value, view.valueStoreName, style),
                      view.valueStoreName,
                      valueCell(view.originalValue, view.originalValueStoreName, Style::Plain),
                      view.originalValueStoreName,
                      {remarks(view), Style::Faint}});
    }
    table.print(output.out, output.colours, output.columns);
}

void printChange(Output& output, const ChangeView& change) {
    const ValueView& view = change.value;
    const bool gone = view.valueStoreName.empty();
    output.out << styled(escaped(view.key), Style::Strong, output.colours) << " = "
               << (gone ? "not defined" : quoted(view.value) + ", from " + escaped(view.valueStoreName)) << "  "
               << styled("(changed: " + joined(change.changed) + ")", Style::Faint, output.colours) << '\n';
}

void printSentences(Output& output, const std::string& sentences) {
    if (output.columns == 0) {
        output.out << sentences;
        return;
    }
    std::istringstream lines(sentences);
    for (std::string line; std::getline(lines, line);) {
        output.out << indented(line, 0, output.columns);
    }
}

std::string quoted(const std::string& text) { return "\"" + shortened(escaped(text), SENTENCE_COLUMNS) + "\""; }

}  // namespace corvidctl
