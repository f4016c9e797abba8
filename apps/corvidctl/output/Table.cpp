#include "output/Table.h"

#include <algorithm>
#include <ostream>

#include "output/Text.h"

namespace corvidctl {

namespace {

constexpr std::size_t GAP = 2;  ///< between two columns
constexpr std::size_t NARROWEST = 8;

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

/// Takes from the widest columns until a line fits, or none is left to take from.
void fit(std::vector<std::size_t>& widths, std::size_t columns) {
    const auto taken = [&widths] {
        std::size_t sum = 0;
        for (const std::size_t width : widths) {
            sum += width == 0 ? 0 : width + GAP;
        }
        return sum;
    };
    while (taken() > columns + GAP) {
        const auto widest = std::max_element(widths.begin(), widths.end());
        if (*widest <= NARROWEST) {
            return;
        }
        --*widest;
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
        if (columns_[i].widest != 0) {
            cells[i].text = shortened(cells[i].text, columns_[i].widest);
        }
    }
    rows_.push_back(std::move(cells));
}

std::vector<std::size_t> Table::widths() const {
    std::vector<std::size_t> widths(columns_.size(), 0);
    for (const std::vector<Cell>& row : rows_) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], displayWidth(row[i].text));
        }
    }
    for (std::size_t i = 0; i < widths.size(); ++i) {
        if (widths[i] != 0) {
            widths[i] = std::max(widths[i], displayWidth(columns_[i].heading));
        }
    }
    return widths;
}

void Table::printRow(std::ostream& out, const std::vector<Cell>& row, const std::vector<std::size_t>& widths,
                     bool colours) const {
    // Blanks are held back until something follows them, so that no line ends in blanks.
    std::size_t owed = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (widths[i] == 0) {
            continue;
        }
        const std::string text = shortened(row[i].text, widths[i]);
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
    std::vector<std::size_t> columnWidths = widths();
    if (columns != 0) {
        fit(columnWidths, columns);
    }
    std::vector<Cell> headings;
    for (const Column& column : columns_) {
        headings.emplace_back(column.heading, Style::Heading);
    }
    printRow(out, headings, columnWidths, colours);
    for (const std::vector<Cell>& row : rows_) {
        printRow(out, row, columnWidths, colours);
    }
}

}  // namespace corvidctl
