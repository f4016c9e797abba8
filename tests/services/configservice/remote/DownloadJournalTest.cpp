#include "remote/DownloadJournal.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

using Cycle = DownloadJournal::Cycle;
using CycleEnd = DownloadJournal::CycleEnd;
using AttemptEnd = DownloadJournal::AttemptEnd;

constexpr auto DELIVERED = HttpDownloader::HttpDownloadResultEnum::Success;
constexpr auto TOO_LATE = HttpDownloader::HttpDownloadResultEnum::TimedOut;

class Journal : public testing::Test {
protected:
    Cycle newest() const { return journal.snapshot().cycles.back(); }

    std::uint64_t beginAttempt(const std::string& address) {
        DownloadJournal::Attempt attempt;
        attempt.address = address;
        return journal.beginAttempt(attempt);
    }

    DownloadJournal journal;
};

}  // namespace

TEST_F(Journal, IsEmptyAndSettledAtFirst) {
    EXPECT_THAT(journal.snapshot().cycles, IsEmpty());
    EXPECT_EQ(journal.snapshot().cyclesEver, 0U);
    EXPECT_TRUE(journal.snapshot().settled);
}

TEST_F(Journal, KeepsACycleFromItsBeginningToItsEnd) {
    const auto before = DownloadJournal::Clock::now();
    journal.beginCycle(true);
    EXPECT_EQ(newest().end, CycleEnd::Running);
    EXPECT_TRUE(newest().forced);
    EXPECT_GE(newest().began, before);
    journal.endCycle(CycleEnd::Delivered, 7);
    EXPECT_EQ(newest().end, CycleEnd::Delivered);
    EXPECT_EQ(newest().keys, 7U);
    EXPECT_GE(newest().ended, newest().began);
}

TEST_F(Journal, SupersedesACycleThatStillRunsWhenTheNextBegins) {
    journal.beginCycle(false);
    journal.beginCycle(false);
    const auto cycles = journal.snapshot().cycles;
    ASSERT_THAT(cycles, SizeIs(2));
    EXPECT_EQ(cycles[0].end, CycleEnd::Superseded);
    EXPECT_GE(cycles[0].ended, cycles[0].began);
    EXPECT_EQ(cycles[1].end, CycleEnd::Running);
}

TEST_F(Journal, LeavesACycleThatHasEndedAloneWhenTheNextBegins) {
    journal.beginCycle(false);
    journal.endCycle(CycleEnd::Stalled, 0);
    journal.beginCycle(true);
    EXPECT_EQ(journal.snapshot().cycles[0].end, CycleEnd::Stalled);
}

TEST_F(Journal, KeepsTheLatestCyclesOnly) {
    for (std::size_t i = 0; i < DownloadJournal::MAX_CYCLES + 3; ++i) {
        journal.beginCycle(i == 3);
    }
    const auto snapshot = journal.snapshot();
    EXPECT_THAT(snapshot.cycles, SizeIs(DownloadJournal::MAX_CYCLES));
    EXPECT_EQ(snapshot.cyclesEver, DownloadJournal::MAX_CYCLES + 3);
    EXPECT_TRUE(snapshot.cycles.front().forced);
}

TEST_F(Journal, KeepsAttemptsInTheirOrder) {
    journal.beginCycle(false);
    const auto first = beginAttempt("one");
    const auto second = beginAttempt("two");
    journal.endAttempt(second, AttemptEnd::Delivered, DELIVERED);
    journal.endAttempt(first, AttemptEnd::Failed, TOO_LATE);
    const auto attempts = newest().attempts;
    ASSERT_THAT(attempts, SizeIs(2));
    EXPECT_EQ(attempts[0].address, "one");
    EXPECT_EQ(attempts[0].end, AttemptEnd::Failed);
    EXPECT_EQ(attempts[0].result, TOO_LATE);
    EXPECT_EQ(attempts[1].end, AttemptEnd::Delivered);
}

TEST_F(Journal, EndsAnAttemptOfACycleThatWasSuperseded) {
    journal.beginCycle(false);
    const auto attempt = beginAttempt("one");
    journal.beginCycle(true);
    beginAttempt("two");
    journal.endAttempt(attempt, AttemptEnd::Failed, TOO_LATE);
    const auto cycles = journal.snapshot().cycles;
    EXPECT_EQ(cycles[0].attempts[0].end, AttemptEnd::Failed);
    EXPECT_EQ(cycles[1].attempts[0].end, AttemptEnd::Running);
}

TEST_F(Journal, IgnoresTheEndOfAnAttemptThatItDoesNotKnow) {
    journal.endAttempt(0, AttemptEnd::Failed, TOO_LATE);
    const auto early = beginAttempt("before any cycle");
    journal.beginCycle(false);
    journal.endAttempt(early, AttemptEnd::Failed, TOO_LATE);
    EXPECT_THAT(newest().attempts, IsEmpty());
}

TEST_F(Journal, IgnoresASecondEndOfAnAttempt) {
    journal.beginCycle(false);
    const auto attempt = beginAttempt("one");
    journal.endAttempt(attempt, AttemptEnd::Delivered, DELIVERED);
    journal.endAttempt(attempt, AttemptEnd::Failed, TOO_LATE);
    EXPECT_EQ(newest().attempts[0].end, AttemptEnd::Delivered);
}

TEST_F(Journal, IgnoresTheEndOfAnAttemptThatHasFallenOutOfTheRecord) {
    journal.beginCycle(false);
    const auto attempt = beginAttempt("one");
    for (std::size_t i = 0; i < DownloadJournal::MAX_CYCLES; ++i) {
        journal.beginCycle(false);
    }
    journal.endAttempt(attempt, AttemptEnd::Failed, TOO_LATE);
    EXPECT_THAT(journal.snapshot().cycles.front().attempts, IsEmpty());
}

TEST_F(Journal, LetsACycleThatGoesOnRunAgain) {
    journal.beginCycle(false);
    journal.endCycle(CycleEnd::Delivered, 3);
    beginAttempt("two");
    EXPECT_EQ(newest().end, CycleEnd::Running);
    journal.endCycle(CycleEnd::Exhausted, 0);
    EXPECT_EQ(newest().end, CycleEnd::Exhausted);
    EXPECT_EQ(newest().keys, 0U);
}

TEST_F(Journal, TakesTheLaterOfTwoEnds) {
    journal.beginCycle(false);
    journal.endCycle(CycleEnd::Exhausted, 0);
    journal.endCycle(CycleEnd::Delivered, 5);
    EXPECT_EQ(newest().end, CycleEnd::Delivered);
    EXPECT_EQ(newest().keys, 5U);
}

TEST_F(Journal, IgnoresAnEndBeforeAnyCycle) {
    journal.endCycle(CycleEnd::Exhausted, 0);
    EXPECT_THAT(journal.snapshot().cycles, IsEmpty());
}

TEST_F(Journal, KeepsTwoQueriesAtOnceApart) {
    journal.beginCycle(false);
    const auto first = journal.beginVersionQuery("one");
    const auto second = journal.beginVersionQuery("two");
    journal.endVersionQuery(first, "10");
    auto queries = newest().versionQueries;
    EXPECT_TRUE(queries[0].answered);
    EXPECT_EQ(queries[0].version, "10");
    EXPECT_FALSE(queries[1].answered);
    journal.endVersionQuery(second, "");
    EXPECT_TRUE(newest().versionQueries[1].answered);
}

TEST_F(Journal, IgnoresAQueryOutsideOfAnyCycle) {
    const auto query = journal.beginVersionQuery("one");
    journal.endVersionQuery(query, "10");
    EXPECT_THAT(journal.snapshot().cycles, IsEmpty());
}

TEST_F(Journal, IsSettledOnceTheLastCopyOfAllWorkIsGone) {
    DownloadJournal::Work first = journal.beginWork();
    DownloadJournal::Work second = journal.beginWork();
    DownloadJournal::Work copy = second;
    first.reset();
    second.reset();
    EXPECT_FALSE(journal.snapshot().settled);
    copy.reset();
    EXPECT_TRUE(journal.snapshot().settled);
}

TEST_F(Journal, MayEndBeforeItsWork) {
    std::optional<DownloadJournal> shortLived(std::in_place);
    int told = 0;
    shortLived->setListener([&] { ++told; });
    DownloadJournal::Work work = shortLived->beginWork();
    shortLived.reset();
    work.reset();
    EXPECT_EQ(told, 2);
}

TEST_F(Journal, TellsItsListenerAfterEachChange) {
    std::vector<std::size_t> cycles;
    journal.setListener([&] { cycles.push_back(journal.snapshot().cycles.size()); });
    journal.beginCycle(false);
    const auto attempt = beginAttempt("one");
    journal.endAttempt(attempt, AttemptEnd::Failed, TOO_LATE);
    journal.endVersionQuery(journal.beginVersionQuery("one"), "10");
    journal.endCycle(CycleEnd::Exhausted, 0);
    journal.beginWork();
    EXPECT_THAT(cycles, ElementsAre(1, 1, 1, 1, 1, 1, 1, 1));
    journal.setListener({});
    journal.beginCycle(false);
    EXPECT_THAT(cycles, SizeIs(8));
}
