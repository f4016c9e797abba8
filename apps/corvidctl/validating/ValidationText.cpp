#include "validating/ValidationText.h"

#include <ostream>

#include "output/Table.h"
#include "output/Text.h"

namespace corvidctl {

namespace {

constexpr std::size_t VALUE_COLUMNS = 60;

const char* nameOf(ValidationView::Form form) {
    switch (form) {
    case ValidationView::Form::Document:
        return "configuration document";
    case ValidationView::Form::LocalFile:
        return "local file";
    case ValidationView::Form::Properties:
        break;
    }
    return "properties file";
}

Style styleOf(Severity severity) {
    switch (severity) {
    case Severity::Info:
        return Style::Faint;
    case Severity::Warning:
        return Style::Warning;
    case Severity::Error:
        break;
    }
    return Style::Bad;
}

std::string counted(std::size_t number, const std::string& thing) {
    return std::to_string(number) + " " + thing + (number == 1 ? "" : "s");
}

void printVerdict(const ValidationView& view, Output& output) {
    output.out << escaped(view.file) << ": "
               << (view.valid ? styled("valid", Style::Good, output.colours)
                              : styled("not valid", Style::Bad, output.colours));
    if (view.valid) {
        output.out << (view.formIsGuessed ? ", by its content a " : ", a ") << nameOf(view.form) << " with "
                   << counted(view.entries.size(), "key");
    }
    if (const std::size_t warnings = view.count(Severity::Warning); warnings != 0) {
        output.out << ", " << counted(warnings, "warning");
    }
    output.out << '\n';
}

void printFinding(const std::string& file, const Finding& finding, Output& output) {
    output.out << escaped(file) << ':';
    if (finding.line != 0) {
        output.out << finding.line << ':';
    }
    if (finding.column != 0) {
        output.out << finding.column << ':';
    }
    output.out << ' ' << styled(wordOf(finding.severity), styleOf(finding.severity), output.colours) << ": "
               << escaped(finding.text) << ' ' << styled("[" + finding.kind + "]", Style::Faint, output.colours)
               << '\n';
}

void printEntries(const ValidationView& view, Output& output) {
    Table table(
        {{"LINE", 0, true}, {"KEY", 0, false, 32}, {"VALUE", VALUE_COLUMNS, false, 16}, {"REMARKS", 0, false, 9, 1}});
    for (const ValidationView::Entry& entry : view.entries) {
        const std::string markup = entry.isMarkup ? "mark-up" : "";
        const std::string between = entry.isMarkup && entry.isSensitive ? ", " : "";
        table.addRow({std::to_string(entry.line),
                      entry.key,
                      entry.value.empty() ? Table::Cell("(empty)", Style::Faint) : Table::Cell(entry.value),
                      {markup + between + (entry.isSensitive ? "sensitive" : ""), Style::Faint}});
    }
    table.print(output.out, output.colours, output.columns);
}

}  // namespace

void printValidation(const ValidationView& view, Output& output) {
    printVerdict(view, output);
    for (const Finding& finding : view.findings) {
        printFinding(view.file, finding, output);
    }
    if (!view.entries.empty()) {
        printEntries(view, output);
    }
}

}  // namespace corvidctl
