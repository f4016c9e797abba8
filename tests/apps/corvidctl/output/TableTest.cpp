#include "output/Table.h"

#include <sstream>

using namespace corvidctl;

namespace {

std::string printed(const Table& table, bool colours = false) {
    std::ostringstream out;
    table.print(out, colours);
    return out.str();
}

}  // namespace

TEST(Table, AlignsByDisplayWidth) {
    Table table({{"KEY", 0}, {"VALUE", 0}});
    table.addRow({"a", "1"});
    table.addRow({"\xE6\xBC\xA2\xE6\xBC\xA2", "2"});
    EXPECT_EQ(printed(table), "KEY   VALUE\na     1\n\xE6\xBC\xA2\xE6\xBC\xA2  2\n");
}

TEST(Table, AlignsNumbersAtTheirEnd) {
    Table table({{"NUMBER", 0, true}, {"NAME", 0}});
    table.addRow({"5", "five"});
    table.addRow({"1234567", "many"});
    EXPECT_EQ(printed(table), " NUMBER  NAME\n      5  five\n1234567  many\n");
}

TEST(Table, LeavesOutColumnsThatAreEmptyAndBlanksAtTheEnd) {
    Table table({{"A", 0}, {"B", 0}, {"C", 0}, {"D", 0}});
    table.addRow({"a", "", "c", "d"});
    table.addRow({"a", "", "", ""});
    EXPECT_EQ(printed(table), "A  C  D\na  c  d\na\n");
}

TEST(Table, ShortensWhereAColumnSaysSo) {
    Table table({{"A", 4}, {"B", 0}});
    table.addRow({"abcdef", "abcdef"});
    EXPECT_EQ(printed(table), "A     B\nabc\xE2\x80\xA6  abcdef\n");
}

TEST(Table, KeepsColoursOutOfTheAlignment) {
    Table table({{"A", 0}, {"B", 0}});
    table.addRow({{"a", Style::Good}, "b"});
    EXPECT_EQ(printed(table, true), "\x1b[1;4mA\x1b[0m  \x1b[1;4mB\x1b[0m\n\x1b[32ma\x1b[0m  b\n");
    EXPECT_EQ(printed(table), "A  B\na  b\n");
}

TEST(Table, LetsNoCellForgeARow) {
    Table table({{"A", 0}});
    table.addRow({"a\nforged"});
    EXPECT_EQ(printed(table), "A\na\\nforged\n");
}
