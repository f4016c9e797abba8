#include "chain/FoldedKey.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "support/Seed.h"

namespace {

constexpr std::size_t LONGEST_FOLDED_TEXT = 40;

std::wstring someLetters(std::mt19937& random, std::size_t length) {
    const std::wstring letters = L"abcdefghijklmnopqrstuvwxyz0123456789_.-@[`{\u00e9\u0416";
    std::wstring text;
    for (std::size_t place = 0; place < length; ++place) {
        text += letters[random() % letters.size()];
    }
    return text;
}

std::wstring inSomeCapitals(std::mt19937& random, std::wstring text) {
    for (wchar_t& letter : text) {
        if (letter >= L'a' && letter <= L'z' && random() % 2 == 0) {
            letter = static_cast<wchar_t>(letter - L'a' + L'A');
        }
    }
    return text;
}

TEST(FoldedKey, IsTheSameForKeysThatDifferOnlyInCaseHoweverLong) {
    const unsigned seed = support::seedOfThisRun();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (std::size_t length = 0; length <= LONGEST_FOLDED_TEXT; ++length) {
        const std::wstring text = someLetters(random, length);
        const std::wstring other = inSomeCapitals(random, text);
        EXPECT_EQ(FoldedKey(text).hash(), FoldedKey(other).hash()) << length;
        EXPECT_TRUE(FoldedKey(text).equals(other)) << length;
    }
}

TEST(FoldedKey, DependsOnEachLetterOnItsPlaceAndOnTheLength) {
    const unsigned seed = support::seedOfThisRun();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (std::size_t length = 1; length <= LONGEST_FOLDED_TEXT; ++length) {
        const std::wstring text = someLetters(random, length);
        for (std::size_t place = 0; place < length; ++place) {
            std::wstring other = text;
            other[place] = other[place] == L'~' ? L'!' : L'~';
            EXPECT_NE(FoldedKey(text).hash(), FoldedKey(other).hash()) << length << " " << place;
            EXPECT_FALSE(FoldedKey(text).equals(other)) << length << " " << place;
        }
        const std::wstring shorter = text.substr(0, length - 1);
        EXPECT_NE(FoldedKey(text).hash(), FoldedKey(shorter).hash()) << length;
        const std::wstring turned = text.substr(1) + text.front();
        EXPECT_EQ(FoldedKey(text).hash() == FoldedKey(turned).hash(), text == turned) << length;
    }
}

// The sign of kelvin is a "k" in lower case.
TEST(FoldedKey, TakesALetterBeyondAsciiThatStandsForOneOfAscii) {
    for (const std::wstring prefix : {L"", L"key", L"telephony", L"telephony_and_more"}) {
        const std::wstring plain = prefix + L"k_of_all";
        const std::wstring sign = prefix + L"\u212a_OF_ALL";
        EXPECT_EQ(FoldedKey(plain).hash(), FoldedKey(sign).hash());
        EXPECT_TRUE(FoldedKey(plain).equals(sign));
    }
}

}  // namespace
