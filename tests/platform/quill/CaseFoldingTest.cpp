#include "quill/StringUtils.h"

#include <gtest/gtest.h>

#include <array>
#include <iostream>
#include <random>
#include <string>

namespace QuillCoreUtils {
namespace {

std::wstring letter(int codePoint) { return std::wstring(1, static_cast<wchar_t>(codePoint)); }

int sign(std::int32_t value) { return (value > 0) - (value < 0); }

TEST(CaseInsensitiveCompare, IgnoresTheCaseOfAsciiLettersOnly) {
    EXPECT_EQ(caseInsensitiveStringCompare(L"Phone_Service", L"pHONE_sERVICE"), 0);
    EXPECT_NE(caseInsensitiveStringCompare(L"@[`{", L"`{@["), 0);
    EXPECT_NE(caseInsensitiveStringCompare("a-b", "a_b"), 0);
}

TEST(CaseInsensitiveCompare, OrdersByTheFoldedCodePoints) {
    EXPECT_LT(caseInsensitiveStringCompare(L"a", L"B"), 0);
    EXPECT_GT(caseInsensitiveStringCompare(L"b", L"A"), 0);
    // "_" lies between the capital and the small letters, so this tells in which direction letters are folded.
    EXPECT_LT(caseInsensitiveStringCompare("_", "A"), 0);
    EXPECT_LT(caseInsensitiveStringCompare(L"z", L"\u00E9"), 0);
    EXPECT_LT(caseInsensitiveStringCompare("\xEF\xBF\xBD", "\xF0\x90\x80\x80"), 0);
}

TEST(CaseInsensitiveCompare, PutsABeginningBeforeTheWhole) {
    EXPECT_LT(caseInsensitiveStringCompare(L"key", L"KEYS"), 0);
    EXPECT_GT(caseInsensitiveStringCompare("KEYS", "key"), 0);
    EXPECT_LT(caseInsensitiveStringCompare("", "a"), 0);
    EXPECT_EQ(caseInsensitiveStringCompare("", ""), 0);
}

TEST(CaseInsensitiveCompare, SeesWhatFollowsANul) {
    const std::wstring a(L"k\0a", 3);
    const std::wstring b(L"k\0b", 3);
    EXPECT_LT(caseInsensitiveStringCompare(a, b), 0);
    EXPECT_EQ(caseInsensitiveStringCompare(a, std::wstring(L"K\0A", 3)), 0);
}

TEST(CaseInsensitiveCompare, FoldsBeyondAsciiOneToOne) {
    const std::array<std::array<int, 2>, 11> pairs = {{{0xC9, 0xE9},
                                                       {0x3A3, 0x3C2},
                                                       {0x3A3, 0x3C3},
                                                       {0x416, 0x436},
                                                       {0x17F, 's'},
                                                       {0x212A, 'K'},
                                                       {0xB5, 0x3BC},
                                                       {0x1E9E, 0xDF},
                                                       {0x1F88, 0x1F80},
                                                       {0x13A0, 0xAB70},
                                                       {0x10400, 0x10428}}};
    for (const auto& [a, b] : pairs) {
        EXPECT_TRUE(caseInsensitiveStringEquals(letter(a), letter(b))) << std::hex << a << " " << b;
        EXPECT_TRUE(caseInsensitiveStringEquals(toString(letter(a)), toString(letter(b)))) << std::hex << a << " " << b;
    }
}

TEST(CaseInsensitiveCompare, LeavesAloneWhatHasNoPartnerOfOneCodePoint) {
    EXPECT_FALSE(caseInsensitiveStringEquals(L"stra\u00DFe", L"STRASSE"));
    EXPECT_FALSE(caseInsensitiveStringEquals(L"\u0130", L"i"));
    EXPECT_FALSE(caseInsensitiveStringEquals(L"\u0131", L"I"));
    EXPECT_FALSE(caseInsensitiveStringEquals(L"\uFB01", L"fi"));
}

TEST(CaseInsensitiveCompare, SeesOneReplacementInAnythingThatIsNoText) {
    EXPECT_TRUE(caseInsensitiveStringEquals("a\x80", "A\xFF"));
    EXPECT_TRUE(caseInsensitiveStringEquals(letter(0xD800), letter(0xFFFD)));
    EXPECT_TRUE(caseInsensitiveStringEquals(letter(-1), letter(0x110000)));
}

TEST(CaseInsensitiveFind, GivesTheFirstPosition) {
    EXPECT_EQ(caseInsensitiveFind(L"cachedFileCACHED", L"Cached"), 0U);
    EXPECT_EQ(caseInsensitiveFind(L"My\u00C9t\u00C9", L"\u00E9T"), 2U);
    EXPECT_EQ(caseInsensitiveFind(L"aab", L"AB"), 1U);
}

TEST(CaseInsensitiveFind, TellsWhatIsMissing) {
    EXPECT_EQ(caseInsensitiveFind(L"abc", L"abcd"), std::wstring::npos);
    EXPECT_EQ(caseInsensitiveFind(L"abc", L"x"), std::wstring::npos);
    EXPECT_EQ(caseInsensitiveFind(L"", L"x"), std::wstring::npos);
}

TEST(CaseInsensitiveFind, FindsAnEmptyPartAtTheStart) {
    EXPECT_EQ(caseInsensitiveFind(L"abc", L""), 0U);
    EXPECT_EQ(caseInsensitiveFind(L"", L""), 0U);
}

TEST(ToLowercase, KeepsTheLength) {
    EXPECT_EQ(toLowercase(L"\u0130 STRA\u00DFE \uFB01"), L"\u0130 stra\u00DFe \uFB01");
    EXPECT_EQ(toLowercase("ABC\xC3\x89"), "abc\xC3\xA9");
    EXPECT_EQ(toLowercase(""), "");
}

TEST(ToLowercase, IsOneStableCodePointForEachCodePoint) {
    for (int value = 0; value <= 0x10FFFF; ++value) {
        const std::wstring lower = toLowercase(letter(value));
        ASSERT_EQ(lower.size(), 1U) << value;
        ASSERT_EQ(toLowercase(lower), lower) << value;
        ASSERT_EQ(lower[0] == 0xFFFD, value == 0xFFFD || (value >= 0xD800 && value <= 0xDFFF)) << value;
    }
}

/// Texts of few letters, so that equal ones and common beginnings are frequent.
class RandomText {
public:
    RandomText() : seed_(std::random_device()()), numbers_(seed_) {
        std::cout << "seed " << seed_ << '\n';
        testing::Test::RecordProperty("seed", std::to_string(seed_));
    }

    std::wstring next() {
        constexpr std::array<int, 18> letters = {'a',   'A',    'k',    'K',     's',     '_',
                                                 0,     0xE9,   0xC9,   0x3A3,   0x3C2,   0x212A,
                                                 0x17F, 0xFFFD, 0xD800, 0x10400, 0x10428, 0x110000};
        std::wstring text;
        for (std::size_t length = numbers_() % 4; length > 0; --length) {
            text += static_cast<wchar_t>(letters[numbers_() % letters.size()]);
        }
        return text;
    }

    std::string nextBytes() {
        constexpr std::array<char, 12> bytes = {'a',    'A',    '\x80', '\xBF', '\xC3', '\xA9',
                                                '\x89', '\xE2', '\x82', '\xF0', '\x9F', '\0'};
        std::string text;
        for (std::size_t length = numbers_() % 8; length > 0; --length) {
            text += bytes[numbers_() % bytes.size()];
        }
        return text;
    }

private:
    const std::random_device::result_type seed_;
    std::mt19937_64 numbers_;
};

constexpr int rounds = 20000;

TEST(CaseInsensitiveCompareProperty, IsAntisymmetric) {
    RandomText random;
    for (int i = 0; i < rounds; ++i) {
        const std::wstring a = random.next();
        const std::wstring b = random.next();
        ASSERT_EQ(sign(caseInsensitiveStringCompare(a, b)), -sign(caseInsensitiveStringCompare(b, a)));
        ASSERT_EQ(caseInsensitiveStringCompare(a, a), 0);
    }
}

TEST(CaseInsensitiveCompareProperty, IsTransitive) {
    RandomText random;
    for (int i = 0; i < rounds; ++i) {
        const std::wstring a = random.next();
        const std::wstring b = random.next();
        const std::wstring c = random.next();
        if (caseInsensitiveStringCompare(a, b) <= 0 && caseInsensitiveStringCompare(b, c) <= 0) {
            ASSERT_LE(caseInsensitiveStringCompare(a, c), 0);
        }
    }
}

TEST(CaseInsensitiveCompareProperty, IsTheComparisonOfTheLowerCaseTexts) {
    RandomText random;
    for (int i = 0; i < rounds; ++i) {
        const std::wstring a = random.next();
        const std::wstring b = random.next();
        ASSERT_EQ(sign(caseInsensitiveStringCompare(a, b)), sign(toLowercase(a).compare(toLowercase(b))));
        ASSERT_EQ(caseInsensitiveStringEquals(a, b), toLowercase(a) == toLowercase(b));
        ASSERT_EQ(caseInsensitiveFind(a, b), toLowercase(a).find(toLowercase(b)));
    }
}

TEST(CaseInsensitiveCompareProperty, IsTheSameForNarrowAndWideText) {
    RandomText random;
    for (int i = 0; i < rounds; ++i) {
        const std::wstring a = random.next();
        const std::wstring b = random.next();
        ASSERT_EQ(caseInsensitiveStringCompare(toString(a), toString(b)), caseInsensitiveStringCompare(a, b));
        ASSERT_EQ(caseInsensitiveStringEquals(toString(a), toString(b)), caseInsensitiveStringEquals(a, b));
        ASSERT_EQ(toLowercase(toString(a)), toString(toLowercase(a)));
    }
}

TEST(CaseInsensitiveCompareProperty, IsTheSameForNarrowAndWideTextFromAnyBytes) {
    RandomText random;
    for (int i = 0; i < rounds; ++i) {
        const std::string a = random.nextBytes();
        const std::string b = random.nextBytes();
        ASSERT_EQ(caseInsensitiveStringCompare(a, b), caseInsensitiveStringCompare(toWideString(a), toWideString(b)));
        ASSERT_EQ(toLowercase(a), toString(toLowercase(toWideString(a))));
        ASSERT_EQ(toWideString(toString(toWideString(a))), toWideString(a));
    }
}

}  // namespace
}  // namespace QuillCoreUtils
