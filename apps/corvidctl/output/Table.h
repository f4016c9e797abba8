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
class Table {
public:
    struct Column {
        std::string heading;
        std::size_t widest;         ///< columns after which a text is shortened; 0: never
        bool rightAligned = false;  ///< for numbers
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

    /// @param columns of the terminal, which no line exceeds; 0: as wide as it takes.
    void print(std::ostream& out, bool colours, std::size_t columns = 0) const;

private:
    std::vector<std::size_t> widths() const;
    void printRow(std::ostream& out, const std::vector<Cell>& row, const std::vector<std::size_t>& widths,
                  bool colours) const;

    std::vector<Column> columns_;
    std::vector<std::vector<Cell>> rows_;
};

}  // namespace corvidctl
