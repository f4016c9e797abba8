#include "EdgeWatch.h"

#include <gtest/gtest.h>

#include "EdgeFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// The watch alone, with connections that tell when they end.
class EdgeWatchState : public ::testing::Test {
protected:
    EdgeWatch::Connection connection(const std::string& name) {
        connections_.push_back(std::make_shared<RecordedConnection>(name, course));
        return connections_.back();
    }
    std::shared_ptr<ServerHealthInformation> entry() const {
        return std::make_shared<RecordedHealth>(2, 0, "", course);
    }

    void keepAll(EdgeWatch::Wait wait) {
        // In an order that is not the one of their ends.
        watch.keepStatusConnection(wait, EdgeWatch::SECOND_TELEPHONY, connection("second"));
        watch.keepStatusConnection(wait, EdgeWatch::SOFTPHONE, connection("softphone"));
        watch.keepListConnection(wait, connection("list"));
    }

    const Course course = std::make_shared<std::vector<std::string>>();
    EdgeWatch watch;

private:
    std::vector<std::shared_ptr<PropertyNotifierConnection>> connections_;
};

}  // namespace

TEST_F(EdgeWatchState, HasNoWaitBeforeTheFirstAndAfterEach) {
    EXPECT_EQ(watch.current(), EdgeWatch::NO_WAIT);
    const EdgeWatch::Wait wait = watch.begin();
    EXPECT_NE(wait, EdgeWatch::NO_WAIT);
    EXPECT_EQ(watch.current(), wait);
    watch.end();
    EXPECT_EQ(watch.current(), EdgeWatch::NO_WAIT);
    EXPECT_NE(watch.begin(), wait);
}

TEST_F(EdgeWatchState, EndsItsConnectionsInOrderAndOnce) {
    keepAll(watch.begin());
    EXPECT_THAT(*course, IsEmpty());
    watch.end();
    watch.end();
    EXPECT_THAT(*course, ElementsAre("disconnect list", "disconnect softphone", "disconnect second"));
}

TEST_F(EdgeWatchState, LeavesAConnectionAloneThatHasEnded) {
    const auto ended = connection("ended");
    watch.keepStatusConnection(watch.begin(), EdgeWatch::SOFTPHONE, ended);
    ended.lock()->disconnect();
    course->clear();
    watch.end();
    EXPECT_THAT(*course, IsEmpty());
}

TEST_F(EdgeWatchState, EndsTheFormerConnectionsWhenANewWaitBegins) {
    keepAll(watch.begin());
    watch.begin();
    EXPECT_THAT(*course, ElementsAre("disconnect list", "disconnect softphone", "disconnect second"));
}

TEST_F(EdgeWatchState, EndsAConnectionThatComesTooLate) {
    const EdgeWatch::Wait wait = watch.begin();
    watch.end();
    keepAll(wait);
    EXPECT_THAT(*course, ElementsAre("disconnect second", "disconnect softphone", "disconnect list"));
}

TEST_F(EdgeWatchState, EndsAConnectionOfNoWaitWhileNoneIsUnderWay) {
    keepAll(EdgeWatch::NO_WAIT);
    EXPECT_THAT(*course, ElementsAre("disconnect second", "disconnect softphone", "disconnect list"));
}

TEST_F(EdgeWatchState, EndsAConnectionOfAnEarlierWaitDuringALaterOne) {
    const EdgeWatch::Wait former = watch.begin();
    keepAll(watch.begin());
    watch.keepStatusConnection(former, EdgeWatch::SOFTPHONE, connection("late"));
    EXPECT_THAT(*course, ElementsAre("disconnect late"));
}

TEST_F(EdgeWatchState, EndsAConnectionThatIsReplaced) {
    const EdgeWatch::Wait wait = watch.begin();
    watch.keepStatusConnection(wait, EdgeWatch::SOFTPHONE, connection("first"));
    watch.keepStatusConnection(wait, EdgeWatch::SOFTPHONE, connection("second"));
    EXPECT_THAT(*course, ElementsAre("disconnect first"));
}

TEST_F(EdgeWatchState, EndsTheListsConnectionAlone) {
    const EdgeWatch::Wait wait = watch.begin();
    keepAll(wait);
    watch.endListConnection(wait);
    EXPECT_THAT(*course, ElementsAre("disconnect list"));
}

TEST_F(EdgeWatchState, TheEndOfAnEarlierWaitLeavesALaterOneAlone) {
    const EdgeWatch::Wait former = watch.begin();
    const EdgeWatch::Wait wait = watch.begin();
    keepAll(wait);
    watch.end(former);
    watch.endListConnection(former);
    EXPECT_EQ(watch.current(), wait);
    EXPECT_THAT(*course, IsEmpty());
}

TEST_F(EdgeWatchState, KeepsItsEntriesUntilTheyAreCleared) {
    const auto softphone = entry();
    const auto second = entry();
    const EdgeWatch::Wait wait = watch.begin();
    EXPECT_TRUE(watch.putMissingEntry(wait, EdgeWatch::SOFTPHONE, softphone));
    EXPECT_FALSE(watch.hasBothEntries());
    watch.putEntry(wait, EdgeWatch::SECOND_TELEPHONY, second);
    EXPECT_TRUE(watch.hasBothEntries());
    watch.end();
    EXPECT_EQ(watch.entry(EdgeWatch::SOFTPHONE), softphone);
    EXPECT_EQ(watch.entry(EdgeWatch::SECOND_TELEPHONY), second);
    watch.clearEntries();
    EXPECT_EQ(watch.entry(EdgeWatch::SOFTPHONE), nullptr);
    EXPECT_EQ(watch.entry(EdgeWatch::SECOND_TELEPHONY), nullptr);
}

TEST_F(EdgeWatchState, ReplacesAnEntryOnlyIfToldSo) {
    const auto first = entry();
    const auto second = entry();
    const EdgeWatch::Wait wait = watch.begin();
    watch.putEntry(wait, EdgeWatch::SOFTPHONE, first);
    EXPECT_FALSE(watch.putMissingEntry(wait, EdgeWatch::SOFTPHONE, second));
    EXPECT_EQ(watch.entry(EdgeWatch::SOFTPHONE), first);
    watch.putEntry(wait, EdgeWatch::SOFTPHONE, second);
    EXPECT_EQ(watch.entry(EdgeWatch::SOFTPHONE), second);
}

TEST_F(EdgeWatchState, TakesNoEntryForAWaitThatHasEnded) {
    const EdgeWatch::Wait wait = watch.begin();
    watch.end();
    watch.putEntry(wait, EdgeWatch::SOFTPHONE, entry());
    EXPECT_FALSE(watch.putMissingEntry(wait, EdgeWatch::SECOND_TELEPHONY, entry()));
    EXPECT_FALSE(watch.putMissingEntry(EdgeWatch::NO_WAIT, EdgeWatch::SECOND_TELEPHONY, entry()));
    EXPECT_EQ(watch.entry(EdgeWatch::SOFTPHONE), nullptr);
    EXPECT_EQ(watch.entry(EdgeWatch::SECOND_TELEPHONY), nullptr);
}

TEST_F(EdgeWatchState, AnswersOnceForEachWaitBeItUnderWayOrNot) {
    const EdgeWatch::Wait first = watch.begin();
    EXPECT_TRUE(watch.answer(first));
    EXPECT_FALSE(watch.answer(first));
    watch.end();
    EXPECT_FALSE(watch.answer(first));
    const EdgeWatch::Wait second = watch.begin();
    watch.end();
    EXPECT_TRUE(watch.answer(second));
    EXPECT_FALSE(watch.answer(second));
}

TEST_F(EdgeWatchState, AnswersNoOlderWaitAfterANewerOne) {
    const EdgeWatch::Wait former = watch.begin();
    const EdgeWatch::Wait wait = watch.begin();
    EXPECT_TRUE(watch.answer(wait));
    EXPECT_FALSE(watch.answer(former));
    EXPECT_FALSE(watch.answer(wait));
    EXPECT_TRUE(watch.answer(watch.begin()));
}

TEST_F(EdgeWatchState, AnswersAlwaysWithoutAWait) {
    EXPECT_TRUE(watch.answer(EdgeWatch::NO_WAIT));
    const EdgeWatch::Wait wait = watch.begin();
    EXPECT_TRUE(watch.answer(wait));
    EXPECT_TRUE(watch.answer(EdgeWatch::NO_WAIT));
    EXPECT_TRUE(watch.answer(EdgeWatch::NO_WAIT));
    EXPECT_FALSE(watch.answer(wait));
}
