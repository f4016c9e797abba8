#include "output/Text.h"

using namespace corvidctl;

TEST(Text, MakesControlCharactersVisible) {
    EXPECT_EQ(escaped("a\nb\rc\td"), "a\\nb\\rc\\td");
    EXPECT_EQ(escaped("\x1b[31m\x7f"), "\\x1b[31m\\x7f");
    EXPECT_EQ(escaped("\xC2\x9B"), "\\x9b");
}

TEST(Text, MakesLineSeparatorsAndDirectionMarksVisible) {
    EXPECT_EQ(escaped("\xE2\x80\xA8\xE2\x80\xA9"), "\\u2028\\u2029");
    EXPECT_EQ(escaped("\xE2\x80\xAE\xE2\x81\xA6"), "\\u202e\\u2066");
}

TEST(Text, KeepsLinesOnRequestOnly) {
    EXPECT_EQ(escaped("a\n\x1b"
                      "b",
                      true),
              "a\n\\x1b"
              "b");
}

TEST(Text, KeepsWhatPeopleWrite) {
    const std::string text = "C:\\dir \xC3\xA4 \xE6\xBC\xA2 \xF0\x9F\x90\xA6";
    EXPECT_EQ(escaped(text), text);
}

TEST(Text, ReplacesIllFormedBytes) { EXPECT_EQ(escaped("a\xFF"), "a\xEF\xBF\xBD"); }

TEST(Text, CountsColumnsOfATerminal) {
    EXPECT_EQ(displayWidth("abc"), 3U);
    EXPECT_EQ(displayWidth("\xC3\xA4"), 1U);
    EXPECT_EQ(displayWidth("\xE6\xBC\xA2"), 2U);
    EXPECT_EQ(displayWidth("a\xCC\x88"), 1U);
}

TEST(Text, ShortensToAWidth) {
    EXPECT_EQ(shortened("abcdef", 6), "abcdef");
    EXPECT_EQ(shortened("abcdefg", 6), "abcde\xE2\x80\xA6");
    EXPECT_EQ(shortenedInFront("abcdef", 6), "abcdef");
    EXPECT_EQ(shortenedInFront("abcdefg", 6), "\xE2\x80\xA6"
                                              "cdefg");
    EXPECT_EQ(shortenedInFront("\xE6\xBC\xA2\xE6\xBC\xA2\xE6\xBC\xA2", 4), "\xE2\x80\xA6\xE6\xBC\xA2");
    EXPECT_EQ(shortened("\xE6\xBC\xA2\xE6\xBC\xA2\xE6\xBC\xA2", 4), "\xE6\xBC\xA2\xE2\x80\xA6");
}

TEST(Text, PadsByWidthAndNeverCuts) {
    EXPECT_EQ(padded("\xE6\xBC\xA2", 4), "\xE6\xBC\xA2  ");
    EXPECT_EQ(padded("abcde", 4), "abcde");
}
