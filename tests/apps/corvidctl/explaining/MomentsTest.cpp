#include "explaining/Moments.h"

using namespace corvidctl;
using namespace std::chrono_literals;

namespace {

/// 2026-11-22, half past nine in the morning.
const Moment TODAY{1795339800s};

}  // namespace

TEST(Moments, AreIsoTimesInUtc) {
    EXPECT_EQ(isoTime(TODAY), "2026-11-22T09:30:00Z");
    EXPECT_EQ(isoTime(TODAY + 999ms), "2026-11-22T09:30:00Z");
    EXPECT_EQ(isoTime(Moment()), "1970-01-01T00:00:00Z");
}

TEST(Moments, AreAgesInTheUnitThatFits) {
    EXPECT_EQ(ageText(TODAY - 59s, TODAY), "just now");
    EXPECT_EQ(ageText(TODAY - 60s, TODAY), "1 min ago");
    EXPECT_EQ(ageText(TODAY - 59min - 59s, TODAY), "59 min ago");
    EXPECT_EQ(ageText(TODAY - 1h, TODAY), "1 h ago");
    EXPECT_EQ(ageText(TODAY - 23h - 59min, TODAY), "23 h ago");
    EXPECT_EQ(ageText(TODAY - 24h, TODAY), "1 day ago");
    EXPECT_EQ(ageText(TODAY - 47h, TODAY), "1 day ago");
    EXPECT_EQ(ageText(TODAY - 48h, TODAY), "2 days ago");
    EXPECT_EQ(ageText(TODAY - 60 * 24h + 1s, TODAY), "59 days ago");
}

TEST(Moments, AreDatesWhenLongGone) {
    EXPECT_EQ(ageText(TODAY - 60 * 24h, TODAY), "2026-09-23");
    EXPECT_EQ(ageText(Moment(), TODAY), "1970-01-01");
}

TEST(Moments, OfAClockThatRunsAheadAreJustNow) { EXPECT_EQ(ageText(TODAY + 24h, TODAY), "just now"); }
