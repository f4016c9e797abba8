#include "quill/StringUtils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace std::string_literals;
using testing::ElementsAre;

namespace QuillCoreUtils {
namespace {

std::vector<std::string> parts(std::string_view text, std::string_view separator) {
    std::vector<std::string> result{"left over"};
    split(text, result, separator);
    return result;
}

std::vector<std::wstring> parts(std::wstring_view text, std::wstring_view separator) {
    std::vector<std::wstring> result{L"left over"};
    split(text, result, separator);
    return result;
}

TEST(Split, KeepsEveryEmptyField) {
    EXPECT_THAT(parts("a::b", ":"), ElementsAre("a", "", "b"));
    EXPECT_THAT(parts("key=", "="), ElementsAre("key", ""));
    EXPECT_THAT(parts("=value", "="), ElementsAre("", "value"));
    EXPECT_THAT(parts("::", ":"), ElementsAre("", "", ""));
    EXPECT_THAT(parts("", ":"), ElementsAre(""));
}

TEST(Split, GivesTheWholeTextWithoutASeparatorInIt) { EXPECT_THAT(parts("whole", ":"), ElementsAre("whole")); }

TEST(Split, TakesASeparatorOfSeveralCharactersFromTheLeft) {
    EXPECT_THAT(parts("a;;;b", ";;"), ElementsAre("a", ";b"));
    EXPECT_THAT(parts("a;b", ";;"), ElementsAre("a;b"));
}

TEST(Split, GivesTheWholeTextForAnEmptySeparator) { EXPECT_THAT(parts("a:b", ""), ElementsAre("a:b")); }

TEST(Split, KeepsANulInAField) { EXPECT_THAT(parts("a\0b:c"s, ":"), ElementsAre("a\0b"s, "c")); }

TEST(Split, TreatsWideTextAlike) {
    EXPECT_THAT(parts(L"a::b", L":"), ElementsAre(L"a", L"", L"b"));
    EXPECT_THAT(parts(L"", L":"), ElementsAre(L""));
    EXPECT_THAT(parts(L"a::240", L":"), ElementsAre(L"a", L"", L"240"));
}

TEST(Split, MayReplaceThePartsThatHoldItsArgument) {
    std::vector<std::string> result{"old"};
    split("new:er", result, ":");
    EXPECT_THAT(result, ElementsAre("new", "er"));
}

TEST(Trim, TakesTheSixAsciiSpacesOffBothEnds) {
    EXPECT_EQ(trim(" \t\r\n\v\fa b\f\v\n\r\t "), "a b");
    EXPECT_EQ(trim(L" \t\r\n\v\fa b\f\v\n\r\t "), L"a b");
}

TEST(Trim, GivesAPartOfTheTextWithoutACopyWhenAsked) {
    const std::string text = " a b\n";
    const std::string_view part = trimmed(text);
    EXPECT_EQ(part, "a b");
    EXPECT_EQ(part.data(), text.data() + 1);
    EXPECT_EQ(trimmed(" \n"), "");
}

TEST(Trim, LeavesNothingOfSpacesAlone) {
    EXPECT_EQ(trim(" \t\r\n"), "");
    EXPECT_EQ(trim(""), "");
    EXPECT_EQ(trimleft(L" \v"), L"");
    EXPECT_EQ(trimleft(""), "");
}

TEST(Trim, KeepsOtherSpacesAndControls) {
    EXPECT_EQ(trim(L"\u00A0a\u2003"), L"\u00A0a\u2003");
    EXPECT_EQ(trim("\0 a"s), "\0 a"s);
    EXPECT_EQ(trim("\x1F"
                   "a\x85"),
              "\x1F"
              "a\x85");
}

TEST(Trim, TakesSpacesOffTheStartOnlyWhenAsked) {
    EXPECT_EQ(trimleft(" \t\r\n\v\fa "), "a ");
    EXPECT_EQ(trimleft(L" \t\r\n\v\fa "), L"a ");
}

TEST(ToBool, IsTrueForFourWordsInAnyCaseTrimmed) {
    for (const char* const word : {"true", "TRUE", "True", "1", "yes", "YES", "on", "On", " \ttrue\r\n"}) {
        EXPECT_TRUE(toBool(word)) << word;
        EXPECT_TRUE(toBool(toWideString(word))) << word;
    }
}

TEST(ToBool, IsFalseForAnythingElse) {
    for (const char* const word : {"", " ", "false", "0", "no", "off", "2", "01", "true1", "t", "y", "t rue", "\xFF"}) {
        EXPECT_FALSE(toBool(word)) << word;
        EXPECT_FALSE(toBool(toWideString(word))) << word;
    }
    EXPECT_FALSE(toBool("true\0"s));
    EXPECT_FALSE(toBool(L"true\0"s));
}

TEST(ToInt, TakesADecimalIntegerOf32Bits) {
    EXPECT_EQ(toInt("0", 7), 0);
    EXPECT_EQ(toInt(L"240", 7), 240);
    EXPECT_EQ(toInt("+5", 7), 5);
    EXPECT_EQ(toInt(L"-5", 7), -5);
    EXPECT_EQ(toInt(" \t42\r\n", 7), 42);
    EXPECT_EQ(toInt("0042", 7), 42);
    EXPECT_EQ(toInt("2147483647", 7), 2147483647);
    EXPECT_EQ(toInt(L"-2147483648", 7), -2147483647 - 1);
}

TEST(ToInt, GivesTheFallbackForAnythingElse) {
    for (const char* const text : {"", " ", "+", "-", "+-1", "-+1", "++1", "--1", "1 2", "1x", "x1", "0x10", "1.0",
                                   "1e3", "2147483648", "-2147483649", "99999999999999999999", "\xD9\xA1"}) {
        EXPECT_EQ(toInt(text, 7), 7) << text;
        EXPECT_EQ(toInt(toWideString(text), 7), 7) << text;
    }
    EXPECT_EQ(toInt("1\0"s, 7), 7);
}

TEST(InOneLine, WritesLineFeedsOutAndNothingElse) {
    EXPECT_EQ(inOneLine("a\nb\n"), "a\\x0ab\\x0a");
    EXPECT_EQ(inOneLine("\r\t\xFF\\"), "\r\t\xFF\\");
    EXPECT_EQ(inOneLine(""), "");
}

TEST(ToWideString, SpellsTruthValuesAndNumbers) {
    EXPECT_EQ(toWideString(true), L"true");
    EXPECT_EQ(toWideString(false), L"false");
    EXPECT_EQ(toWideString(0), L"0");
    EXPECT_EQ(toWideString(-2147483647 - 1), L"-2147483648");
}

TEST(ToWideString, TakesALiteralAsText) { EXPECT_EQ(toWideString("Corvid"), L"Corvid"); }

}  // namespace
}  // namespace QuillCoreUtils
