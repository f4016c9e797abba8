#include "Output.h"

#include <ostream>

#include "Text.h"

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

std::string remarks(const ValueView& view) {
    std::string text;
    const auto add = [&text](const std::string& remark) { text += (text.empty() ? "" : ", ") + remark; };
    if (view.isOverridden) {
        add(view.originalValueStoreName.empty() ? "user only" : "overridden");
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

}  // namespace

void printError(Output& output, const std::string& line) {
    output.error << "corvidctl: " << escaped(line) << std::endl;
}

void printValues(Output& output, const std::vector<ValueView>& views) {
    Table table({{"", 0},
                 {"KEY", 0},
                 {"VALUE", VALUE_COLUMNS},
                 {"STORE", 0},
                 {"ADMINISTRATOR'S VALUE", VALUE_COLUMNS},
                 {"ITS STORE", 0},
                 {"REMARKS", 0}});
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
    table.print(output.out, output.colours);
}

std::string quoted(const std::string& text) { return "\"" + shortened(escaped(text), SENTENCE_COLUMNS) + "\""; }

}  // namespace corvidctl
