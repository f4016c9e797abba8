#include "reading/Glob.h"

using corvidctl::globMatches;
using corvidctl::isPlainName;

TEST(Glob, MatchesTheWholeTextOnly) {
    EXPECT_TRUE(globMatches(L"abc", L"abc"));
    EXPECT_FALSE(globMatches(L"abc", L"abcd"));
    EXPECT_FALSE(globMatches(L"bc", L"abc"));
    EXPECT_TRUE(globMatches(L"", L""));
    EXPECT_FALSE(globMatches(L"", L"a"));
}

TEST(Glob, IgnoresCase) { EXPECT_TRUE(globMatches(L"TFTP*\u00C4", L"tftpserver\u00E4")); }

TEST(Glob, AStarStandsForAnyText) {
    EXPECT_TRUE(globMatches(L"*", L""));
    EXPECT_TRUE(globMatches(L"a*c", L"ac"));
    EXPECT_TRUE(globMatches(L"a*c", L"abbbc"));
    EXPECT_TRUE(globMatches(L"*a*b*", L"xxaxbx"));
    EXPECT_FALSE(globMatches(L"*a*b", L"xxaxbx"));
    EXPECT_TRUE(globMatches(L"a**", L"a"));
}

TEST(Glob, TriesALaterPlaceForAStar) {
    EXPECT_TRUE(globMatches(L"*ab", L"aab"));
    EXPECT_TRUE(globMatches(L"*server?", L"serverserver1"));
}

TEST(Glob, AQuestionMarkStandsForOneCharacter) {
    EXPECT_TRUE(globMatches(L"a?c", L"abc"));
    EXPECT_FALSE(globMatches(L"a?c", L"ac"));
    EXPECT_TRUE(globMatches(L"?", L"\U0001F426"));
}

TEST(Glob, TellsAPlainName) {
    EXPECT_TRUE(isPlainName(L"TftpServer1"));
    EXPECT_FALSE(isPlainName(L"Tftp*"));
    EXPECT_FALSE(isPlainName(L"Tftp?"));
}
