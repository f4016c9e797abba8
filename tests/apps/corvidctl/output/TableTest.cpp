#include "output/Table.h"

#include <sstream>

using namespace corvidctl;

namespace {

std::string printed(const Table& table, bool colours = false, std::size_t columns = 0) {
    std::ostringstream out;
    table.print(out, colours, columns);
    return out.str();
}

/// Two columns that stay, and two that leave, the last one first.
Table fourColumns() {
    Table table({{"KEY", 0, false, 6}, {"VALUE", 0, false, 5}, {"STORE", 0, false, 5, 1}, {"REMARKS", 0, false, 8, 2}});
    table.addRow({"abcdef", "abcdefgh", "abcdefgh", "abcdefgh"});
    return table;
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

TEST(Table, ShortensOnATerminalWhereAColumnSaysSo) {
    Table table({{"A", 4}, {"B", 0}});
    table.addRow({"abcdef", "abcdef"});
    EXPECT_EQ(printed(table, false, 80), "A     B\nabc\xE2\x80\xA6  abcdef\n");
}

TEST(Table, KeepsTextsWholeWhereThereIsNoTerminal) {
    Table table({{"A", 4}, {"B", 0}});
    table.addRow({std::string(1000, 'a'), "b"});
    EXPECT_THAT(printed(table), testing::HasSubstr("\n" + std::string(1000, 'a') + "  b\n"));
    table.addRow({std::string(1001, 'c'), std::string(1001, 'd')});
    EXPECT_THAT(printed(table),
                testing::HasSubstr("\n" + std::string(999, 'c') + "\xE2\x80\xA6  " + std::string(1001, 'd') + "\n"));
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

TEST(Table, IsAsWideAsItTakesWithoutATerminal) {
    EXPECT_EQ(printed(fourColumns()), "KEY     VALUE     STORE     REMARKS\nabcdef  abcdefgh  abcdefgh  abcdefgh\n");
}

TEST(Table, ChangesNothingWhereItJustFits) { EXPECT_EQ(printed(fourColumns(), false, 36), printed(fourColumns())); }

TEST(Table, TakesFromTheWidestColumnsDownToTheLeastOfEach) {
    EXPECT_EQ(printed(fourColumns(), false, 30),
              "KEY     VALUE  STORE  REMARKS\nabcdef  abcd\xE2\x80\xA6  abcd\xE2\x80\xA6  abcdefgh\n");
}

TEST(Table, LeavesOutTheColumnWithTheHighestNumberAndSaysSo) {
    EXPECT_EQ(printed(fourColumns(), false, 29), "KEY     VALUE     STORE\nabcdef  abcdefgh  abcdefgh\n"
                                                 "not shown here: REMARKS;\nwiden the terminal or use -o\ntsv\n");
}

TEST(Table, NamesWhatIsLeftOutInTheOrderOfTheColumns) {
    EXPECT_EQ(printed(fourColumns(), false, 16),
              "KEY     VALUE\nabcdef  abcdefgh\n"
              "not shown here:\nSTORE, REMARKS;\nwiden the\nterminal or use\n-o tsv\n");
}

TEST(Table, SaysNothingOfColumnsThatAreEmptyAnyway) {
    Table table({{"KEY", 0}, {"REMARKS", 0, false, 8, 1}});
    table.addRow({"abcdefghij", ""});
    EXPECT_EQ(printed(table, false, 8), "KEY\nabcdefg\xE2\x80\xA6\n");
}

TEST(Table, GoesBelowTheLeastWidthsWhereNothingMayLeave) {
    Table table({{"KEY", 0}, {"VALUE", 0}});
    table.addRow({"abcdefghij", "abcdefghij"});
    EXPECT_EQ(printed(table, false, 10), "KEY   VAL\xE2\x80\xA6\nabc\xE2\x80\xA6  abc\xE2\x80\xA6\n");
}

TEST(Table, NeverCutsANumber) {
    Table table({{"PRIORITY", 0, true}, {"STORE", 0}});
    table.addRow({"2147483647", "abcdefghij"});
    EXPECT_EQ(printed(table, false, 16), "  PRIORITY  STO\xE2\x80\xA6\n2147483647  abc\xE2\x80\xA6\n");
}

TEST(Table, TellsFaintlyWhatIsLeftOut) {
    EXPECT_THAT(printed(fourColumns(), true, 29),
                testing::HasSubstr("\x1b[2mnot shown here: REMARKS;\x1b[0m\n\x1b[2mwiden the terminal"));
}

TEST(Table, CutsInFrontWhatIsToldApartByItsEnd) {
    Table table({{"KEY", 0}, {"WHERE", 0, false, 6, 0, true}});
    table.addRow({"abcdefgh", "corvidLocalConfig.xml:5"});
    EXPECT_EQ(printed(table, false, 18), "KEY       WHERE\nabcdefgh  \xE2\x80\xA6g.xml:5\n");
}
