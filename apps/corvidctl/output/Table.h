#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace corvidctl {

/// How a cell or a line looks where colours are on.
enum class Style { Plain, Heading, Strong, Faint, Good, Warning, Bad };

/// The text in a style; unchanged where colours are off.
std::string styled(const std::string& text, Style style, bool colours);

/// Text in aligned columns under headings, for people: what could act on a terminal is made visible, and long texts are
/// shortened. Columns that are empty in every row are left out.
///
/// Where a terminal is too narrow, the widest columns give way first, down to the least width of each; numbers are
/// never cut. Where that is not enough, columns are left out, and a last line says which.
class Table {
public:
    struct Column {
        std::string heading;
        std::size_t widest;         ///< columns after which a terminal shortens a text; 0: never
        bool rightAligned = false;  ///< for numbers
        std::size_t least = 8;      ///< what a narrow terminal leaves of it at least
        unsigned leaves = 0;        ///< the column with the highest number is left out first; 0: it always stays
        bool cutInFront = false;    ///< the end of a text counts, as that of a path does
    };

    struct Cell {
        Cell(std::string cellText = {}, Style cellStyle = Style::Plain) : text(std::move(cellText)), style(cellStyle) {}
        Cell(const char* cellText, Style cellStyle = Style::Plain) : text(cellText), style(cellStyle) {}

        std::string text;
        Style style;
    };

    explicit Table(std::vector<Column> columns) : columns_(std::move(columns)) {}

    /// @param cells one for each column.
    void addRow(std::vector<Cell> cells);

    /// @param columns of the terminal, which no line exceeds, unless it is too narrow for two letters in each of the
    /// columns that stay; 0: as wide as it takes, with no text shortened before its thousandth column.
    void print(std::ostream& out, bool colours, std::size_t columns = 0) const;

private:
    /// What is shown on a terminal: the width of each column, 0 where it is not shown.
    struct Fit {
        std::vector<std::size_t> widths;
        std::vector<std::string> leftOut;  ///< headings of what there was no room for, in the order of the columns
    };

    std::string cut(const std::string& text, std::size_t column, std::size_t width) const;
    std::vector<std::size_t> widths(std::size_t columns) const;
    Fit fit(std::size_t columns) const;
    void shrink(std::vector<std::size_t>& widths, std::size_t columns, bool belowLeast) const;
    std::size_t nextToLeave(const std::vector<std::size_t>& widths) const;
    void printRow(std::ostream& out, const std::vector<Cell>& row, const std::vector<std::size_t>& widths,
                  bool colours) const;

    std::vector<Column> columns_;
    std::vector<std::vector<Cell>> rows_;
};

}  // namespace corvidctl
