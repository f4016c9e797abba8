#include "EdgeFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class EdgeReadiness : public EdgeFixture {};

}  // namespace

TEST_F(EdgeReadiness, OutsideEdgeModeReadsNoListAndConnectsNothing) {
    systemService->setEdgeMode(false);
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    EXPECT_EQ(systemService->listReads, 0);
    softphone->change(CONNECTED);
    fireList();
    EXPECT_THAT(*course, IsEmpty());
    EXPECT_EQ(downloadLines(), 0U);
}

TEST_F(EdgeReadiness, WithAnEmptyListWatchesTheListAlone) {
    watch({});
    EXPECT_THAT(*course, ElementsAre("connect list"));
}

TEST_F(EdgeReadiness, ASoftphoneThatComesConnectedEndsTheWatch) {
    watch({});
    const auto softphone = health(SOFTPHONE, CONNECTED);
    log->clear();
    changeList({softphone});
    EXPECT_THAT(adapterLines(4),
                ElementsAre("onServerHealthInformationListChanged: Softphone connected",
                            "onTelephonyConnectionStatusChanged: Telephony has connected in edge mode. Attempting "
                            "download of tftp config store"));
    EXPECT_THAT(*course, ElementsAre("connect list", "disconnect list"));
    changeList({softphone, health(SECOND_TELEPHONY, CONNECTED)});
    EXPECT_EQ(downloadLines(), 1U);
}

TEST_F(EdgeReadiness, ASecondTelephonyEntryThatComesConnectedEndsTheWatchWithoutALineOfItsOwn) {
    watch({});
    log->clear();
    changeList({health(SECOND_TELEPHONY, CONNECTED)});
    EXPECT_THAT(adapterLines(4), ElementsAre("onTelephonyConnectionStatusChanged: Telephony has connected in edge "
                                             "mode. Attempting download of tftp config store"));
    EXPECT_THAT(*course, ElementsAre("connect list", "disconnect list"));
}

TEST_F(EdgeReadiness, ASoftphoneThatComesUnconnectedIsWatchedWithALine) {
    watch({});
    log->clear();
    const auto softphone = health(SOFTPHONE);
    changeList({softphone});
    EXPECT_THAT(adapterLines(4),
                ElementsAre("onServerHealthInformationListChanged: Adding softphone connection status notifier"));
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone"));
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone", "disconnect list", "disconnect softphone"));
}

TEST_F(EdgeReadiness, ASecondEntryThatComesUnconnectedEndsTheWatchOfTheListOnly) {
    const auto softphone = health(SOFTPHONE);
    const auto second = health(SECOND_TELEPHONY);
    watch({softphone});
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone"));
    log->clear();
    changeList({softphone, second});
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone", "connect second", "disconnect list"));
    EXPECT_THAT(adapterLines(4), IsEmpty());
    second->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeReadiness, WithBothEntriesWatchesTheirStatesAlone) {
    watch({health(SECOND_TELEPHONY), health(SOFTPHONE)});
    EXPECT_THAT(*course, ElementsAre("connect softphone", "connect second"));
}

TEST_F(EdgeReadiness, WithTheSecondEntryAloneWatchesTheListToo) {
    watch({health(SECOND_TELEPHONY)});
    EXPECT_THAT(*course, ElementsAre("connect list", "connect second"));
}

TEST_F(EdgeReadiness, AnEntryThatIsConnectedAtTheCheckLeavesNothingToWatch) {
    for (const int type : {SOFTPHONE, SECOND_TELEPHONY}) {
        const auto connected = health(type, CONNECTED);
        setList({connected, health(type == SOFTPHONE ? SECOND_TELEPHONY : SOFTPHONE)});
        if (adapter() == nullptr) {
            injectAndStart();
        }
        adapter()->startTftpConfigSource();
        connected->change(0);
        connected->change(CONNECTED);
        fireList();
        adapter()->stopTftpConfigSource();
    }
    EXPECT_THAT(*course, IsEmpty());
    EXPECT_EQ(downloadLines(), 0U);
}

TEST_F(EdgeReadiness, AnEntryThatIsConnectedCountsThoughALaterOneOfItsTypeIsNot) {
    watch({health(SOFTPHONE, CONNECTED), health(SOFTPHONE)});
    EXPECT_THAT(*course, IsEmpty());
}

TEST_F(EdgeReadiness, ALaterEntryOfTheSameTypeReplacesTheEarlierOne) {
    const auto first = health(SOFTPHONE);
    const auto last = health(SOFTPHONE);
    watch({first, last});
    EXPECT_EQ(first->connections(), 0U);
    EXPECT_EQ(last->connections(), 1U);
}

TEST_F(EdgeReadiness, OfTwoEntriesThatTheListBringsTheFirstIsWatched) {
    watch({});
    const auto first = health(SOFTPHONE);
    const auto last = health(SOFTPHONE, CONNECTED);
    changeList({first, last});
    EXPECT_EQ(first->connections(), 1U);
    EXPECT_EQ(last->connections(), 0U);
    EXPECT_EQ(downloadLines(), 0U);
}

TEST_F(EdgeReadiness, OtherTypesAreIgnored) {
    watch({health(1, CONNECTED), health(3, CONNECTED)});
    EXPECT_THAT(*course, ElementsAre("connect list"));
    changeList({health(0, CONNECTED), health(5, CONNECTED)});
    EXPECT_THAT(*course, ElementsAre("connect list"));
    EXPECT_EQ(downloadLines(), 0U);
}

TEST_F(EdgeReadiness, AnyStatusButOneIsNotConnected) {
    const auto softphone = health(SOFTPHONE, 2);
    watch({softphone});
    softphone->change(0);
    softphone->change(-1);
    softphone->change(3);
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone"));
    EXPECT_EQ(downloadLines(), 0U);
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeReadiness, AnEmptyListThatFiresChangesNothing) {
    watch({});
    log->clear();
    fireList();
    EXPECT_THAT(*course, ElementsAre("connect list"));
    EXPECT_THAT(adapterLines(4), IsEmpty());
}

TEST_F(EdgeReadiness, AnEntryThatIsMissingFromALaterListIsStillWatched) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    changeList({});
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
}

TEST_F(EdgeReadiness, TheWatchEndsItsConnectionsInOrder) {
    const auto softphone = health(SOFTPHONE);
    const auto second = health(SECOND_TELEPHONY);
    watch({second, softphone});
    course->clear();
    second->change(CONNECTED);
    EXPECT_THAT(*course, ElementsAre("disconnect softphone", "disconnect second"));
}

TEST_F(EdgeReadiness, AfterTheFirstConnectionNothingIsWatchedAnyMore) {
    const auto softphone = health(SOFTPHONE);
    const auto second = health(SECOND_TELEPHONY);
    watch({softphone, second});
    softphone->change(CONNECTED);
    second->change(CONNECTED);
    softphone->change(0);
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
}

TEST_F(EdgeReadiness, ANewStartOfTheSourceWatchesAnew) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    softphone->change(CONNECTED);
    adapter()->stopTftpConfigSource();
    softphone->change(0);
    course->clear();
    adapter()->startTftpConfigSource();
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone"));
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 2U);
}

TEST_F(EdgeReadiness, AnEntryOfAnEarlierCheckThatIsListedNoMoreIsWatchedAndNotLookedAt) {
    for (const int type : {SOFTPHONE, SECOND_TELEPHONY}) {
        const auto kept = health(type, CONNECTED);
        setList({kept});
        if (adapter() == nullptr) {
            injectAndStart();
        }
        // The check finds telephony connected: it keeps the entry, and watches nothing.
        adapter()->startTftpConfigSource();
        adapter()->stopTftpConfigSource();
        setList({});
        log->clear();
        adapter()->startTftpConfigSource();
        EXPECT_EQ(downloadLines(), 0U);
        EXPECT_EQ(kept->connections(), 1U);
        EXPECT_EQ(listNotifier->callbacks.connections(), 1U);
        kept->change(0);
        kept->change(CONNECTED);
        EXPECT_EQ(downloadLines(), 1U);
        EXPECT_TRUE(everythingIsDisconnected());
        adapter()->stopTftpConfigSource();
    }
}

TEST_F(EdgeReadiness, ANewStartOfTheSourceDuringAWatchDoesNotWatchTwice) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    adapter()->stopTftpConfigSource();
    adapter()->startTftpConfigSource();
    EXPECT_EQ(softphone->connections(), 1U);
    EXPECT_EQ(listNotifier->callbacks.connections(), 1U);
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeReadiness, ANullEntryIsIgnored) {
    watch({});
    log->clear();
    adapter()->onTelephonyConnectionStatusChanged(nullptr);
    EXPECT_THAT(*course, ElementsAre("connect list"));
    EXPECT_THAT(adapterLines(3), IsEmpty());
    EXPECT_THAT(adapterLines(4), IsEmpty());
}

TEST_F(EdgeReadiness, WithoutARemoteStoreAsksForNothingAndEndsTheWatch) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    adapter()->stopTftpConfigSource();
    log->clear();
    softphone->change(CONNECTED);
    EXPECT_THAT(adapterLines(3), IsEmpty());
    EXPECT_THAT(adapterLines(4), IsEmpty());
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeReadiness, BeforeTheStartTheConnectionIsLost) {
    const auto softphone = health(SOFTPHONE);
    setList({softphone});
    inject();
    adapter()->startTftpConfigSource();
    log->clear();
    softphone->change(CONNECTED);
    EXPECT_THAT(adapterLines(3), ElementsAre("onTelephonyConnectionStatusChanged: Config featureset not started"));
    EXPECT_THAT(adapterLines(4), IsEmpty());
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeReadiness, WithoutASystemServiceSaysSo) {
    factory->clear();
    inject();
    log->clear();
    adapter()->checkEdgeReady();
    EXPECT_THAT(adapterLines(3), ElementsAre("checkEdgeReady: No system service: telephony is not watched"));
}

TEST_F(EdgeReadiness, AListThatChangesAfterTheSystemServiceHasGoneIsNotLookedAt) {
    watch({});
    const auto kept = adapter();
    factory->clear();
    log->clear();
    changeList({health(SOFTPHONE, CONNECTED)});
    EXPECT_THAT(adapterLines(3), ElementsAre("onServerHealthInformationListChanged: No system service: a change of the "
                                             "server health is not seen"));
    EXPECT_EQ(downloadLines(), 0U);
}

TEST_F(EdgeReadiness, AListMayHoldNothingInTheTelephonysPlace) {
    watch({nullptr});
    const auto softphone = health(SOFTPHONE);
    changeList({nullptr, softphone});
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
}
