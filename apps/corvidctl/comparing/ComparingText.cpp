#include "comparing/ComparingText.h"

#include <algorithm>
#include <ostream>

#include "output/Text.h"
#include "quill/StringUtils.h"
#include "validating/ShownKey.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::toString;

constexpr std::size_t VALUE_COLUMNS = 40;

Table::Cell valueCell(const std::string& value, Style style = Style::Plain) {
    return value.empty() ? Table::Cell("(empty)", Style::Faint) : Table::Cell(value, style);
}

Table::Cell absent() { return {"-", Style::Faint}; }

Style styleOf(DeltaType type) {
    switch (type) {
    case DeltaType::Shadowed:
        return Style::Bad;
    case DeltaType::Overridden:
        return Style::Warning;
    case DeltaType::Equal:
    case DeltaType::Extended:
        break;
    }
    return Style::Faint;
}

std::string remarkOn(const DeltaRow& row, bool reveal) {
    std::string remark;
    if (row.type == DeltaType::Shadowed) {
        remark = row.winningStore + " wins, with " + quoted(shownText(row.winningValue, row.isSensitive, reveal));
    }
    const bool isUnderOtherName = !QuillCoreUtils::caseInsensitiveStringEquals(row.name, toString(row.key));
    if (isUnderOtherName) {
        remark +=
            (remark.empty() ? "held as " : "; held as ") + shownKey(QuillCoreUtils::toWideString(row.name), reveal);
    }
    return remark;
}

struct Mark {
    const char* text;
    Style style;
};

Mark markOf(ContentsDifference::Kind kind) {
    switch (kind) {
    case ContentsDifference::Kind::OnlyInA:
        return {"-", Style::Bad};
    case ContentsDifference::Kind::OnlyInB:
        return {"+", Style::Good};
    case ContentsDifference::Kind::Different:
        return {"~", Style::Warning};
    case ContentsDifference::Kind::Equal:
        break;
    }
    return {"=", Style::Faint};
}

Style styleOf(KeyChange::Kind kind) {
    switch (kind) {
    case KeyChange::Kind::Added:
        return Style::Good;
    case KeyChange::Kind::Removed:
        return Style::Bad;
    case KeyChange::Kind::Changed:
        return Style::Warning;
    case KeyChange::Kind::Moved:
    case KeyChange::Kind::Original:
        break;
    }
    return Style::Faint;
}

std::string originalOf(const ValueView& view) {
    return view.originalValueStoreName.empty() ? "none"
                                               : quoted(view.originalValue) + ", from " + view.originalValueStoreName;
}

/// True if the administrator's value is what the key reads, or if there is neither.
bool isOriginal(const ValueView& view) { return view.valueStoreName == view.originalValueStoreName; }

/// What a change is about that the two values do not show.
std::string remarkOn(const KeyChange& change) {
    const std::string before = originalOf(change.before);
    const std::string after = originalOf(change.after);
    std::string remark;
    if (before != after && !(isOriginal(change.before) && isOriginal(change.after))) {
        remark = "administrator's value: " + before + " -> " + after;
    }
    if (change.before.isDefined && change.after.isDefined && change.before.isOverridden != change.after.isOverridden) {
        remark += remark.empty() ? "" : "; ";
        remark += change.after.isOverridden ? "overridden from then on" : "no longer overridden";
    }
    return remark;
}

}  // namespace

void printDelta(const std::vector<DeltaRow>& rows, bool reveal, Output& output) {
    Table table({{"TYPE", 0, false, 10},
                 {"KEY", 0, false, 18},
                 {"STORE", 0, false, 14, 1},
                 {"VALUE", VALUE_COLUMNS, false, 10},
                 {"STORE BELOW", 0, false, 14, 2},
                 {"ITS VALUE", VALUE_COLUMNS, false, 10},
                 {"REMARKS", 0, false, 20, 3}});
    for (const DeltaRow& row : rows) {
        const std::string below = shownText(row.belowValue, row.isSensitive, reveal);
        table.addRow({{nameOf(row.type), styleOf(row.type)},
                      {shownKey(row.key, reveal), Style::Strong},
                      row.store,
                      valueCell(shownText(row.value, row.isSensitive, reveal)),
                      row.belowStore ? Table::Cell(*row.belowStore) : absent(),
                      row.belowStore ? valueCell(below) : absent(),
                      {remarkOn(row, reveal), Style::Faint}});
    }
    table.print(output.out, output.colours, output.columns);
}

void printDifferences(const std::vector<ContentsDifference>& differences, const std::string& a, const std::string& b,
                      bool reveal, Output& output) {
    const bool hasEqual = std::any_of(differences.begin(), differences.end(), [](const ContentsDifference& difference) {
        return difference.kind == ContentsDifference::Kind::Equal;
    });
    printSentences(output, "- only in " + escaped(a) + " (A)   + only in " + escaped(b) + " (B)   ~ different values" +
                               (hasEqual ? "   = equal values\n" : "\n"));
    output.out << '\n';
    Table table({{"", 0},
                 {"KEY", 0, false, 18},
                 {"A", VALUE_COLUMNS, false, 12},
                 {"B", VALUE_COLUMNS, false, 12},
                 {"A'S STORE", 0, false, 16, 1},
                 {"B'S STORE", 0, false, 16, 2}});
    const auto cell = [reveal](const ContentsDifference& difference, const std::optional<ContentsEntry>& entry) {
        return entry ? valueCell(shownText(entry->value, difference.isSensitive(), reveal)) : absent();
    };
    for (const ContentsDifference& difference : differences) {
        const Mark mark = markOf(difference.kind);
        table.addRow({{mark.text, mark.style},
                      {shownKey(difference.key, reveal), Style::Strong},
                      cell(difference, difference.a),
                      cell(difference, difference.b),
                      difference.a ? difference.a->store : std::string(),
                      difference.b ? difference.b->store : std::string()});
    }
    table.print(output.out, output.colours, output.columns);
}

void printKeyChanges(const std::vector<KeyChange>& changes, const std::string& fromKeptCopies, Output& output) {
    Table table({{"CHANGE", 0},
                 {"KEY", 0, false, 18},
                 {"BEFORE", VALUE_COLUMNS, false, 12},
                 {"FROM", 0, false, 14, 2},
                 {"AFTER", VALUE_COLUMNS, false, 12},
                 {"FROM", 0, false, 14, 1},
                 {"REMARKS", 0, false, 20, 3}});
    for (const KeyChange& change : changes) {
        const Style style = styleOf(change.kind);
        table.addRow({{nameOf(change.kind), style},
                      {change.after.key, Style::Strong},
                      change.before.isDefined ? valueCell(change.before.value) : absent(),
                      change.before.valueStoreName,
                      change.after.isDefined ? valueCell(change.after.value, style) : absent(),
                      change.after.valueStoreName,
                      {remarkOn(change), Style::Faint}});
    }
    if (!changes.empty()) {
        table.print(output.out, output.colours, output.columns);
    }
    printSentences(output, summaryOf(changes) + '\n' + (fromKeptCopies.empty() ? "" : fromKeptCopies + '\n'));
}

void printRemarks(const std::vector<std::string>& remarks, Format format, Output& output) {
    for (const std::string& remark : remarks) {
        if (isForMachines(format)) {
            output.error << escaped(remark) + "\n";
        } else {
            printSentences(output, escaped(remark) + "\n");
        }
    }
}

}  // namespace corvidctl
