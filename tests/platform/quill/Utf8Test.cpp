#include "quill/StringUtils.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "impl/quill/Utf8.h"

using namespace std::string_literals;

namespace QuillCoreUtils {
namespace {

constexpr wchar_t replacement = 0xFFFD;

std::wstring replacements(std::size_t count) { return std::wstring(count, replacement); }

struct Case {
    const char* what;
    std::string narrow;
    std::wstring wide;
};

std::ostream& operator<<(std::ostream& stream, const Case& value) { return stream << value.what; }

class IllFormedUtf8 : public testing::TestWithParam<Case> {};

TEST_P(IllFormedUtf8, BecomesOneReplacementForEachMaximalSubpart) {
    EXPECT_EQ(toWideString(GetParam().narrow), GetParam().wide);
}

TEST_P(IllFormedUtf8, SwallowsNothingOfWhatFollows) {
    EXPECT_EQ(toWideString(GetParam().narrow + "A"), GetParam().wide + L"A");
}

INSTANTIATE_TEST_SUITE_P(
    Table, IllFormedUtf8,
    testing::Values(Case{"a lone continuation", "\x80", replacements(1)},
                    Case{"the last continuation", "\xBF", replacements(1)},
                    Case{"two continuations", "\x80\xBF", replacements(2)},
                    Case{"an overlong slash of two bytes", "\xC0\xAF", replacements(2)},
                    Case{"the longest overlong of two bytes", "\xC1\xBF", replacements(2)},
                    Case{"an overlong slash of three bytes", "\xE0\x80\xAF", replacements(3)},
                    Case{"the longest overlong of three bytes", "\xE0\x9F\xBF", replacements(3)},
                    Case{"an overlong slash of four bytes", "\xF0\x80\x80\xAF", replacements(4)},
                    Case{"the longest overlong of four bytes", "\xF0\x8F\xBF\xBF", replacements(4)},
                    Case{"the first surrogate", "\xED\xA0\x80", replacements(3)},
                    Case{"the last surrogate", "\xED\xBF\xBF", replacements(3)},
                    Case{"a pair of surrogates", "\xED\xA0\x80\xED\xB0\x80", replacements(6)},
                    Case{"U+110000", "\xF4\x90\x80\x80", replacements(4)},
                    Case{"a lead that is beyond Unicode", "\xF5\x80\x80\x80", replacements(4)},
                    Case{"five bytes", "\xF8\x88\x80\x80\x80", replacements(5)},
                    Case{"bytes that never occur", "\xFE\xFF", replacements(2)},
                    Case{"two bytes cut to one", "\xC3", replacements(1)},
                    Case{"three bytes cut to one", "\xE2", replacements(1)},
                    Case{"three bytes cut to two", "\xE2\x82", replacements(1)},
                    Case{"four bytes cut to three", "\xF0\x9F\x98", replacements(1)},
                    Case{"a cut sequence before another", "\xE2\x82\xC3\xA9", replacements(1) + L"\u00E9"},
                    Case{"a cut sequence before a lead", "\xF0\x9F\xF0\x9F\x98\x80", replacements(1) + L"\U0001F600"},
                    Case{"a continuation too many", "\xC3\xA9\xA9", L"\u00E9" + replacements(1)},
                    Case{"a cut sequence before NUL", "\xE2\x82\0"s, replacements(1) + L'\0'},
                    Case{"the table of the Unicode Standard",
                         "a\xF1\x80\x80\xE1\x80\xC2"s
                         "b\x80"s
                         "c\x80\xBF"s
                         "d"s,
                         L"a" + replacements(3) + L"b" + replacements(1) + L"c" + replacements(2) + L"d"}));

class WellFormedUtf8 : public testing::TestWithParam<Case> {};

TEST_P(WellFormedUtf8, GoesThereAndBack) {
    EXPECT_EQ(toWideString(GetParam().narrow), GetParam().wide);
    EXPECT_EQ(toString(GetParam().wide), GetParam().narrow);
}

INSTANTIATE_TEST_SUITE_P(
    Table, WellFormedUtf8,
    testing::Values(Case{"nothing", "", L""}, Case{"ASCII", "a key=1", L"a key=1"},
                    Case{"a NUL inside", "a\0b"s, L"a\0b"s}, Case{"the last of one byte", "\x7F", L"\x7F"},
                    Case{"the first of two bytes", "\xC2\x80", std::wstring(1, 0x80)},
                    Case{"the last of two bytes", "\xDF\xBF", std::wstring(1, 0x7FF)},
                    Case{"the first of three bytes", "\xE0\xA0\x80", std::wstring(1, 0x800)},
                    Case{"the last before the surrogates", "\xED\x9F\xBF", std::wstring(1, 0xD7FF)},
                    Case{"the first after the surrogates", "\xEE\x80\x80", std::wstring(1, 0xE000)},
                    Case{"a byte order mark", "\xEF\xBB\xBF", std::wstring(1, 0xFEFF)},
                    Case{"the replacement itself", "\xEF\xBF\xBD", replacements(1)},
                    Case{"a noncharacter", "\xEF\xBF\xBF", std::wstring(1, 0xFFFF)},
                    Case{"the first of four bytes", "\xF0\x90\x80\x80", std::wstring(1, 0x10000)},
                    Case{"the last of all", "\xF4\x8F\xBF\xBF", std::wstring(1, 0x10FFFF)}));

TEST(Utf8, EveryScalarValueGoesThereAndBack) {
    for (int value = 0; value <= 0x10FFFF; ++value) {
        if (value < 0xD800 || value > 0xDFFF) {
            const std::wstring wide(1, static_cast<wchar_t>(value));
            ASSERT_EQ(toWideString(toString(wide)), wide) << value;
        }
    }
}

TEST(Utf8, AWideUnitThatIsNoScalarValueBecomesTheReplacement) {
    for (const int value : {0xD800, 0xDBFF, 0xDC00, 0xDFFF, 0x110000, 0x7FFFFFFF, -1}) {
        EXPECT_EQ(toString(L"a" + std::wstring(1, static_cast<wchar_t>(value)) + L"b"), "a\xEF\xBF\xBD"s
                                                                                        "b"s)
            << value;
    }
}

TEST(Utf8, TheLengthOfAWideTextIsKnownBeforeItIsWritten) {
    const std::wstring text = std::wstring(L"a\u00FC\u2603\U0001F600") + static_cast<wchar_t>(0xD800) +
                              static_cast<wchar_t>(0x110000) + L'\0';
    EXPECT_EQ(utf8Length(text), 1U + 2U + 3U + 4U + 3U + 3U + 1U);
    EXPECT_EQ(toString(text).size(), utf8Length(text));
    EXPECT_EQ(utf8Length(L""), 0U);
}

TEST(Utf8, TheTwoHalvesOfASurrogatePairAreNotJoined) {
    EXPECT_EQ(toString(std::wstring{0xD83D, 0xDE00}), "\xEF\xBF\xBD\xEF\xBF\xBD");
}

}  // namespace
}  // namespace QuillCoreUtils
