#include "output/Wrapping.h"

using namespace corvidctl;
using testing::ElementsAre;

TEST(Wrapping, PartsAtBlanksBeforeALineGrowsTooLong) {
    EXPECT_THAT(wrapped("one two three", 7), ElementsAre("one two", "three"));
    EXPECT_THAT(wrapped("one two three", 8), ElementsAre("one two", "three"));
    EXPECT_THAT(wrapped("one two three", 6), ElementsAre("one", "two", "three"));
    EXPECT_THAT(wrapped("one two three", 13), ElementsAre("one two three"));
}

TEST(Wrapping, LeavesAWordWholeThatIsLongerThanALine) {
    EXPECT_THAT(wrapped("a longword b", 4), ElementsAre("a", "longword", "b"));
}

TEST(Wrapping, KeepsTheBlanksInsideALine) { EXPECT_THAT(wrapped("a  = \"b   c\"", 20), ElementsAre("a  = \"b   c\"")); }

TEST(Wrapping, CountsColumnsAndNotBytes) {
    EXPECT_THAT(wrapped("\xE6\xBC\xA2 \xE6\xBC\xA2 a", 5), ElementsAre("\xE6\xBC\xA2 \xE6\xBC\xA2", "a"));
}

TEST(Wrapping, MakesNoLineOfNothing) { EXPECT_THAT(wrapped("", 10), ElementsAre()); }

TEST(Wrapping, IndentsEveryLine) { EXPECT_EQ(indented("one two", 2, 6), "  one\n  two\n"); }

TEST(Wrapping, IndentsEvenWhereThereIsNoRoom) { EXPECT_EQ(indented("one two", 4, 3), "    one\n    two\n"); }
