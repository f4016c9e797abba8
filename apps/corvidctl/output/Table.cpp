#include "output/Table.h"

#include <algorithm>
#include <ostream>

#include "output/Text.h"
#include "output/Wrapping.h"

namespace corvidctl {

namespace {

constexpr std::size_t GAP = 2;               ///< between two columns
constexpr std::size_t NARROWEST = 2;         ///< a letter and an ellipsis
constexpr std::size_t WIDEST_OF_ALL = 1000;  ///< of a text that may be shortened, where there is no terminal

const char* codeOf(Style style) {
    switch (style) {
    case Style::Heading:
        return "\x1b[1;4m";
    case Style::Strong:
        return "\x1b[1m";
    case Style::Faint:
        return "\x1b[2m";
    case Style::Good:
        return "\x1b[32m";
    case Style::Warning:
        return "\x1b[33m";
    case Style::Bad:
        return "\x1b[31m";
    case Style::Plain:
        break;
    }
    return "";
}

/// Columns that a line takes.
std::size_t taken(const std::vector<std::size_t>& widths) {
    std::size_t sum = 0;
    for (const std::size_t width : widths) {
        sum += width == 0 ? 0 : width + GAP;
    }
    return sum - std::min(sum, GAP);
}

void printNote(std::ostream& out, const std::vector<std::string>& leftOut, bool colours, std::size_t columns) {
    std::string names;
    for (const std::string& name : leftOut) {
        names += (names.empty() ? "" : ", ") + name;
    }
    for (const std::string& line :
         wrapped("not shown here: " + names + "; widen the terminal or use -o tsv", columns)) {
        out << styled(line, Style::Faint, colours) << '\n';
    }
}

}  // namespace

std::string styled(const std::string& text, Style style, bool colours) {
    return !colours || style == Style::Plain || text.empty() ? text : codeOf(style) + text + "\x1b[0m";
}

void Table::addRow(std::vector<Cell> cells) {
    cells.resize(columns_.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        cells[i].text = escaped(cells[i].text);
    }
    rows_.push_back(std::move(cells));
}

std::string Table::cut(const std::string& text, std::size_t column, std::size_t width) const {
    return columns_[column].cutInFront ? shortenedInFront(text, width) : shortened(text, width);
}

std::vector<std::size_t> Table::widths(std::size_t columns) const {
    std::vector<std::size_t> widths(columns_.size(), 0);
    for (const std::vector<Cell>& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            const std::size_t limit = columns == 0 ? WIDEST_OF_ALL : columns_[i].widest;
            const std::size_t width = displayWidth(row[i].text);
            widths[i] = std::max(widths[i], columns_[i].widest == 0 ? width : std::min(width, limit));
        }
    }
    for (std::size_t i = 0; i < widths.size(); ++i) {
        if (widths[i] != 0) {
            widths[i] = std::max(widths[i], displayWidth(columns_[i].heading));
        }
    }
    return widths;
}

/// Takes from the widest columns until a line fits, or none is left to take from.
void Table::shrink(std::vector<std::size_t>& widths, std::size_t columns, bool belowLeast) const {
    const auto spare = [&](std::size_t i) -> std::size_t {
        const std::size_t least = belowLeast ? NARROWEST : columns_[i].least;
        return columns_[i].rightAligned || widths[i] <= least ? 0 : widths[i];
    };
    while (taken(widths) > columns) {
        std::size_t widest = 0;
        for (std::size_t i = 1; i < widths.size(); ++i) {
            widest = spare(i) > spare(widest) ? i : widest;
        }
        if (spare(widest) == 0) {
            return;
        }
        --widths[widest];
    }
}

/// The index behind the last one if every column that is shown stays.
std::size_t Table::nextToLeave(const std::vector<std::size_t>& widths) const {
    std::size_t next = columns_.size();
    unsigned highest = 0;
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (widths[i] != 0 && columns_[i].leaves > highest) {
            highest = columns_[i].leaves;
            next = i;
        }
    }
    return next;
}

Table::Fit Table::fit(std::size_t columns) const {
    const std::vector<std::size_t> whole = widths(columns);
    std::vector<std::size_t> staying = whole;
    Fit result{staying, {}};
    shrink(result.widths, columns, false);
    while (taken(result.widths) > columns) {
        const std::size_t next = nextToLeave(staying);
        if (next == columns_.size()) {
            shrink(result.widths, columns, true);
            break;
        }
        staying[next] = 0;
        result.widths = staying;
        shrink(result.widths, columns, false);
    }
    for (std::size_t i = 0; i < columns_.size(); ++i) {
        if (whole[i] != 0 && staying[i] == 0) {
            result.leftOut.push_back(columns_[i].heading);
        }
    }
    return result;
}

void Table::printRow(std::ostream& out, const std::vector<Cell>& row, const std::vector<std::size_t>& widths,
                     bool colours) const {
    // Blanks are held back until something follows them, so that no line ends in blanks.
    std::size_t owed = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (widths[i] == 0) {
            continue;
        }
        const std::string text = cut(row[i].text, i, widths[i]);
        const std::size_t gap = widths[i] - std::min(widths[i], displayWidth(text));
        const std::size_t before = columns_[i].rightAligned ? gap : 0;
        if (!text.empty()) {
            out << std::string(owed + before, ' ') << styled(text, row[i].style, colours);
            owed = gap - before + GAP;
        } else {
            owed += widths[i] + GAP;
        }
    }
    out << '\n';
}

void Table::print(std::ostream& out, bool colours, std::size_t columns) const {
    const Fit shown = columns == 0 ? Fit{widths(0), {}} : fit(columns);
    std::vector<Cell> headings;
    for (const Column& column : columns_) {
        headings.emplace_back(column.heading, Style::Heading);
    }
    printRow(out, headings, shown.widths, colours);
    for (const std::vector<Cell>& row : rows_) {
        printRow(out, row, shown.widths, colours);
    }
    if (!shown.leftOut.empty()) {
        printNote(out, shown.leftOut, colours, columns);
    }
}

}  // namespace corvidctl
