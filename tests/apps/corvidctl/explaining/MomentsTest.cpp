#include "explaining/Moments.h"

using namespace corvidctl;
using namespace std::chrono_literals;

namespace {

/// 2026-11-22, half past nine in the morning.
const Moment NOW{1795339800s};

}  // namespace

TEST(Moments, AreIsoTimesInUtc) {
    EXPECT_EQ(isoTime(NOW), "2026-11-22T09:30:00Z");
    EXPECT_EQ(isoTime(NOW + 999ms), "2026-11-22T09:30:00Z");
    EXPECT_EQ(isoTime(Moment()), "1970-01-01T00:00:00Z");
}

TEST(Moments, AreAgesInTheUnitThatFits) {
    EXPECT_EQ(ageText(NOW - 59s, NOW), "just now");
    EXPECT_EQ(ageText(NOW - 60s, NOW), "1 min ago");
    EXPECT_EQ(ageText(NOW - 59min - 59s, NOW), "59 min ago");
    EXPECT_EQ(ageText(NOW - 1h, NOW), "1 h ago");
    EXPECT_EQ(ageText(NOW - 23h - 59min, NOW), "23 h ago");
    EXPECT_EQ(ageText(NOW - 24h, NOW), "1 day ago");
    EXPECT_EQ(ageText(NOW - 47h, NOW), "1 day ago");
    EXPECT_EQ(ageText(NOW - 48h, NOW), "2 days ago");
    EXPECT_EQ(ageText(NOW - 60 * 24h + 1s, NOW), "59 days ago");
}

TEST(Moments, AreDatesWhenLongGone) {
    EXPECT_EQ(ageText(NOW - 60 * 24h, NOW), "2026-09-23");
    EXPECT_EQ(ageText(Moment(), NOW), "1970-01-01");
}

TEST(Moments, OfAClockThatRunsAheadAreJustNow) { EXPECT_EQ(ageText(NOW + 24h, NOW), "just now"); }
