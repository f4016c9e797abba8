#include "EdgeDownloadFixture.h"

using testing::ElementsAre;
using testing::SizeIs;

namespace {

/// Each wait asks for one download, however many reports of a connected entry are on their way.
class EdgeAnswer : public EdgeDownloadFixture {};

}  // namespace

TEST_F(EdgeAnswer, IsOneForAnEntryThatCameAndWentBeforeTheDispatcherRan) {
    const auto softphone = health(SOFTPHONE);
    watchAfterTheFirstDownload({softphone});
    elsewhere([&] {
        softphone->change(CONNECTED);
        softphone->change(0);
        softphone->change(CONNECTED);
    });
    EXPECT_THAT(dispatcher->waitingNames(), SizeIs(3));
    dispatcher->runAll();
    EXPECT_THAT(*course, ElementsAre("download", "disconnect list", "disconnect softphone"));
    expectDownloads(1);
}

TEST_F(EdgeAnswer, IsOneForTwoEntriesThatConnectBeforeTheDispatcherRan) {
    const auto softphone = health(SOFTPHONE);
    const auto second = health(SECOND_TELEPHONY);
    watchAfterTheFirstDownload({softphone, second});
    elsewhere([&] {
        softphone->change(CONNECTED);
        second->change(CONNECTED);
    });
    EXPECT_THAT(dispatcher->waitingNames(), SizeIs(2));
    dispatcher->runAll();
    EXPECT_THAT(*course, ElementsAre("download", "disconnect softphone", "disconnect second"));
    expectDownloads(1);
}

TEST_F(EdgeAnswer, IsThatOfTheSecondReportIfTheEntryOfTheFirstHasGoneAgain) {
    const auto softphone = health(SOFTPHONE);
    const auto second = health(SECOND_TELEPHONY);
    watchAfterTheFirstDownload({softphone, second});
    elsewhere([&] {
        softphone->change(CONNECTED);
        second->change(CONNECTED);
    });
    softphone->status = 0;
    dispatcher->runAll();
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeAnswer, HasBeenGivenForALeftoverReportWhichLeavesANewerWaitAlone) {
    const auto softphone = health(SOFTPHONE);
    const auto second = health(SECOND_TELEPHONY);
    watch({softphone, second});
    elsewhere([&] {
        softphone->change(CONNECTED);
        second->change(CONNECTED);
    });
    ASSERT_TRUE(dispatcher->runOne());
    softphone->status = 0;
    second->status = 0;
    restartSource();
    log->clear();
    // As connected as the leftover report says, but without a report of its own.
    second->status = CONNECTED;
    course->clear();
    ASSERT_TRUE(dispatcher->runOne());
    EXPECT_THAT(*course, ElementsAre());
    EXPECT_EQ(downloadLines(), 0U);
    EXPECT_EQ(softphone->connections(), 1U);
    EXPECT_EQ(second->connections(), 1U);
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeAnswer, OfAnOlderWaitNeitherEndsANewerOneNorForgetsItsEntries) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    elsewhere([&] { softphone->change(CONNECTED); });
    softphone->status = 0;
    restartSource();
    softphone->status = CONNECTED;
    course->clear();
    dispatcher->runAll();
    // The older wait had not been answered: its report still asks, and that is all it does.
    EXPECT_THAT(*course, ElementsAre("download"));
    EXPECT_EQ(softphone->connections(), 1U);
    EXPECT_EQ(listNotifier->callbacks.connections(), 1U);
    softphone->status = 0;
    setList({});
    restartSource();
    EXPECT_EQ(softphone->connections(), 1U);
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 2U);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeAnswer, IsGivenAnewInEachWait) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    for (std::size_t wait = 1; wait <= 3; ++wait) {
        softphone->change(CONNECTED);
        EXPECT_EQ(downloadLines(), wait);
        softphone->change(0);
        restartSource();
    }
}
