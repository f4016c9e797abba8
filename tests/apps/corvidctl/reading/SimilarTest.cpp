#include "reading/Similar.h"

#include <gtest/gtest.h>

using namespace corvidctl;

namespace {

const std::vector<std::string> COMMANDS = {"get", "list", "explain", "stores", "set", "unset", "reset-data"};

TEST(Similar, CountsEachKindOfSlipOnce) {
    EXPECT_EQ(slipsBetween("list", "list"), 0U);
    EXPECT_EQ(slipsBetween("list", "lst"), 1U);
    EXPECT_EQ(slipsBetween("lst", "list"), 1U);
    EXPECT_EQ(slipsBetween("list", "lost"), 1U);
    EXPECT_EQ(slipsBetween("list", "lsit"), 1U);
    EXPECT_EQ(slipsBetween("", "list"), 4U);
    EXPECT_EQ(slipsBetween("list", ""), 4U);
    EXPECT_EQ(slipsBetween("", ""), 0U);
}

TEST(Similar, EditsNoCharacterTwice) { EXPECT_EQ(slipsBetween("ca", "abc"), 3U); }

TEST(Similar, CountsTwoSlipsAtBothEnds) { EXPECT_EQ(slipsBetween("xplaim", "explain"), 2U); }

TEST(Similar, TakesUpperAndLowerCaseForTheSame) { EXPECT_EQ(slipsBetween("TFTPSERVER1", "TftpServer1"), 0U); }

TEST(Similar, CountsCharactersAndNotBytes) { EXPECT_EQ(slipsBetween("Büro", "Buro"), 1U); }

TEST(Similar, FindsTheCommandThatWasMeant) {
    EXPECT_EQ(closest("lsit", COMMANDS), "list");
    EXPECT_EQ(closest("lst", COMMANDS), "list");
    EXPECT_EQ(closest("expalin", COMMANDS), "explain");
    EXPECT_EQ(closest("stroe", COMMANDS), "stores");
    EXPECT_EQ(closest("resetdata", COMMANDS), "reset-data");
    EXPECT_EQ(closest("LIST", COMMANDS), "list");
}

TEST(Similar, FindsNothingForAWordOfMoreThan256Characters) {
    const auto meant = [](std::size_t length) {
        const std::string word(length, 'a');
        return closest(word, {word.substr(1)}).has_value();
    };
    EXPECT_TRUE(meant(256));
    EXPECT_FALSE(meant(257));
}

TEST(Similar, FindsNothingThatIsFarAway) {
    EXPECT_EQ(closest("frobnicate", COMMANDS), std::nullopt);
    EXPECT_EQ(closest("explaxyzn", COMMANDS), std::nullopt);
    EXPECT_EQ(closest("", COMMANDS), std::nullopt);
    EXPECT_EQ(closest("list", {}), std::nullopt);
}

TEST(Similar, AllowsAShortWordOneSlipAndAVeryShortOneNone) {
    EXPECT_EQ(closest("lxyt", COMMANDS), std::nullopt);
    EXPECT_EQ(closest("ab", {"ac"}), std::nullopt);
    EXPECT_EQ(closest("abc", {"abd"}), "abd");
    EXPECT_EQ(closest("abcde", {"abcxy"}), std::nullopt);
    EXPECT_EQ(closest("abcdef", {"abcdxy"}), "abcdxy");
}

TEST(Similar, PrefersTheClosestAndOfEqualOnesTheFirst) {
    EXPECT_EQ(closest("abcdef", {"abcdxy", "abcdey"}), "abcdey");
    EXPECT_EQ(closest("zet", {"set", "get"}), "set");
    EXPECT_EQ(closest("zet", {"get", "set"}), "get");
}

}  // namespace
