#include "EdgeDownloadFixture.h"

using testing::ElementsAre;

namespace {

/// What happens between the look at the list or at an entry, and the connecting to its notifier.
class EdgeGap : public EdgeDownloadFixture {};

/// The same for each type of telephony entry.
class EdgeGapOf : public EdgeGap, public ::testing::WithParamInterface<int> {
protected:
    std::string name() const { return GetParam() == SOFTPHONE ? "softphone" : "second"; }
};

INSTANTIATE_TEST_SUITE_P(TelephonyEntries, EdgeGapOf, ::testing::Values(2, 4));

}  // namespace

TEST_P(EdgeGapOf, ConnectingDuringTheCheckIsSeen) {
    const auto entry = health(GetParam());
    connectInTheGap(entry);
    watch({entry});
    EXPECT_THAT(*course, ElementsAre("download", "connect list", "connect " + name(), "download", "disconnect list",
                                     "disconnect " + name()));
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
    entry->change(CONNECTED);
    fireList();
    expectDownloads(1);
}

TEST_P(EdgeGapOf, ConnectingWhileAListChangeBringsItIsSeen) {
    const auto entry = health(GetParam());
    watchAfterTheFirstDownload({});
    connectInTheGap(entry);
    changeList({entry});
    EXPECT_THAT(*course, ElementsAre("connect " + name(), "download", "disconnect list", "disconnect " + name()));
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_P(EdgeGapOf, ConnectingWhileAListChangeElsewhereBringsItIsSeenOnTheDispatcherThread) {
    const auto entry = health(GetParam());
    watchAfterTheFirstDownload({});
    connectInTheGap(entry);
    elsewhere([&] { changeList({entry}); });
    expectDownloads(0);
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("ConfigAdapter::onTelephonyConnectionStatusChanged"));
    dispatcher->runAll();
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_P(EdgeGapOf, AppearingConnectedDuringTheCheckIsSeen) {
    const auto entry = health(GetParam(), CONNECTED);
    listNotifier->callbacks.beforeConnecting = [&] { setList({entry}); };
    watch({});
    EXPECT_THAT(*course, ElementsAre("download", "connect list", "download", "disconnect list"));
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_P(EdgeGapOf, AppearingUnconnectedDuringTheCheckIsWatched) {
    const auto entry = health(GetParam());
    listNotifier->callbacks.beforeConnecting = [&] { setList({entry}); };
    watchAfterTheFirstDownload({});
    EXPECT_EQ(entry->connections(), 1U);
    EXPECT_EQ(listNotifier->callbacks.connections(), 1U);
    expectDownloads(0);
    entry->change(CONNECTED);
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeGap, OfTheFirstEntryThatConnectsThereLeavesTheOtherOneUnwatched) {
    const auto softphone = health(SOFTPHONE);
    connectInTheGap(softphone);
    watch({softphone, health(SECOND_TELEPHONY)});
    EXPECT_THAT(*course, ElementsAre("download", "connect softphone", "download", "disconnect softphone"));
    expectDownloads(1);
}

TEST_F(EdgeGap, OfTheSecondEntryEndsTheWatchOfBoth) {
    const auto second = health(SECOND_TELEPHONY);
    connectInTheGap(second);
    watch({health(SOFTPHONE), second});
    EXPECT_THAT(*course, ElementsAre("download", "connect softphone", "connect second", "download",
                                     "disconnect softphone", "disconnect second"));
    expectDownloads(1);
}

TEST_F(EdgeGap, AnEntryThatAppearsAndConnectsThereIsSeen) {
    const auto second = health(SECOND_TELEPHONY);
    connectInTheGap(second);
    listNotifier->callbacks.beforeConnecting = [&] { setList({second}); };
    watch({});
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeGap, TheMissingEntryThatAppearsThereCompletesTheWatchWhichNeedsTheListNoMore) {
    const auto softphone = health(SOFTPHONE);
    const auto second = health(SECOND_TELEPHONY);
    listNotifier->callbacks.beforeConnecting = [&] { setList({softphone, second}); };
    watchAfterTheFirstDownload({softphone});
    EXPECT_EQ(listNotifier->callbacks.connections(), 0U);
    EXPECT_EQ(softphone->connections(), 1U);
    EXPECT_EQ(second->connections(), 1U);
    second->change(CONNECTED);
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeGap, AnEntryOfAListChangeThatConnectsThereKeepsALaterOneOfThatChangeFromAskingAgain) {
    const auto softphone = health(SOFTPHONE);
    watchAfterTheFirstDownload({});
    connectInTheGap(softphone);
    changeList({softphone, health(SECOND_TELEPHONY, CONNECTED)});
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeGap, WithoutAChangeTellsNothing) {
    watchAfterTheFirstDownload({health(SOFTPHONE), health(SECOND_TELEPHONY, 2)});
    EXPECT_EQ(log->count(4, "Adding softphone connection status notifier"), 0U);
    expectDownloads(0);
    EXPECT_FALSE(everythingIsDisconnected());
}

TEST_F(EdgeGap, OneListChangeWithAWatchedAndAConnectedEntryConnectsThenDownloadsThenEndsAll) {
    watchAfterTheFirstDownload({});
    log->clear();
    changeList({health(SOFTPHONE), health(SECOND_TELEPHONY, CONNECTED)});
    EXPECT_THAT(*course, ElementsAre("connect softphone", "download", "disconnect list", "disconnect softphone"));
    EXPECT_THAT(adapterLines(4),
                ElementsAre("onServerHealthInformationListChanged: Adding softphone connection status notifier",
                            "onTelephonyConnectionStatusChanged: Telephony has connected in edge mode. Attempting "
                            "download of tftp config store"));
    expectDownloads(1);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeGap, AListChangeElsewhereWhoseEntryIsNoLongerConnectedEndsTheWatchForNothing) {
    watchAfterTheFirstDownload({});
    const auto softphone = health(SOFTPHONE, CONNECTED);
    elsewhere([&] { changeList({softphone}); });
    softphone->status = 0;
    dispatcher->runAll();
    EXPECT_THAT(*course, ElementsAre("disconnect list"));
    expectDownloads(0);
    softphone->change(CONNECTED);
    fireList();
    dispatcher->runAll();
    EXPECT_THAT(*course, ElementsAre("disconnect list"));
    expectDownloads(0);
}
