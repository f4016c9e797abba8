#include <thread>

#include "EdgeFixture.h"
#include "impl/system/ServerHealthInformationImpl.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

/// The watch, when its parts meet on several threads or in an unlucky order.
class EdgeThreads : public EdgeFixture {
protected:
    /// What another thread would do, on this one.
    void elsewhere(const std::function<void()>& action) {
        dispatcher->setUpdateAccess(false);
        action();
        dispatcher->setUpdateAccess(true);
    }
};

/// Every way that ends a watch from outside.
class EdgeEnd : public EdgeThreads, public ::testing::WithParamInterface<void (*)(ConfigAdapter&)> {
protected:
    void endWatch() { GetParam()(*adapter()); }
};

INSTANTIATE_TEST_SUITE_P(OfTheWatch, EdgeEnd,
                         ::testing::Values([](ConfigAdapter& adapter) { adapter.StopFeatureSet(1300, nullptr); },
                                           [](ConfigAdapter& adapter) { adapter.Destroy(); },
                                           [](ConfigAdapter& adapter) { adapter.refreshConfigFeatureSet(); }));

}  // namespace

TEST_P(EdgeEnd, DisconnectsInOrder) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    changeList({softphone});
    course->clear();
    endWatch();
    EXPECT_THAT(*course, ElementsAre("disconnect list", "disconnect softphone"));
}

TEST_P(EdgeEnd, ComesBehindTheEndOfTheStores) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    {
        // It leaves the chain, or is told that it ends.
        auto outside = std::make_shared<fakes::ScriptedStore>("Outside", 45);
        const auto note = [noted = course] { noted->push_back("store ends"); };
        outside->remote().onDestruction(note);
        outside->onDestroy(note);
        adapter()->addConfigStore(std::move(outside));
    }
    course->clear();
    endWatch();
    EXPECT_THAT(*course, ElementsAre("store ends", "disconnect list", "disconnect softphone"));
}

TEST_P(EdgeEnd, DisconnectsTheStatesOfBothEntries) {
    watch({health(SOFTPHONE), health(SECOND_TELEPHONY)});
    course->clear();
    endWatch();
    EXPECT_THAT(*course, ElementsAre("disconnect softphone", "disconnect second"));
}

TEST_P(EdgeEnd, IsNotUndoneByAListCallbackThatWasUnderWay) {
    watch({});
    endWatch();
    course->clear();
    log->clear();
    setList({health(SOFTPHONE), health(SECOND_TELEPHONY, CONNECTED)});
    listNotifier->callbacks.fireLate(false, nullptr, nullptr);
    EXPECT_THAT(*course, IsEmpty());
    EXPECT_THAT(adapterLines(3), IsEmpty());
    EXPECT_THAT(adapterLines(4), IsEmpty());
}

TEST_P(EdgeEnd, IsNotUndoneByAListCallbackThatIsAboutToConnect) {
    watch({});
    const auto softphone = health(SOFTPHONE);
    const auto second = health(SECOND_TELEPHONY);
    softphone->notifier->callbacks.beforeConnecting = [this] { endWatch(); };
    changeList({softphone, second});
    EXPECT_TRUE(everythingIsDisconnected());
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone", "disconnect list", "disconnect softphone"));
}

TEST_P(EdgeEnd, IsNotUndoneByACheckThatIsAboutToConnect) {
    listNotifier->callbacks.beforeConnecting = [this] {
        // Inside the start of the source the operation would wait for its turn; the queued check holds no lock.
        endWatch();
    };
    setList({health(SOFTPHONE)});
    injectAndStart();
    elsewhere([this] { adapter()->startTftpConfigSource(); });
    dispatcher->runAll();
    EXPECT_TRUE(everythingIsDisconnected());
    EXPECT_THAT(*course, Contains("connect list"));
}

TEST_F(EdgeThreads, TheCheckMovesToTheDispatcherThread) {
    setList({health(SOFTPHONE)});
    injectAndStart();
    elsewhere([this] { adapter()->startTftpConfigSource(); });
    EXPECT_EQ(systemService->listReads, 0);
    EXPECT_THAT(dispatcher->waitingNames(), Contains("ConfigAdapter::checkEdgeReady").Times(1));
    dispatcher->runAll();
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone"));
}

TEST_F(EdgeThreads, TheStatusMovesToTheDispatcherThread) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    elsewhere([&] { softphone->change(CONNECTED); });
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("ConfigAdapter::onTelephonyConnectionStatusChanged"));
    EXPECT_EQ(downloadLines(), 0U);
    EXPECT_FALSE(everythingIsDisconnected());
    dispatcher->runAll();
    EXPECT_EQ(downloadLines(), 1U);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeThreads, TheStatusCountsAsItIsWhenTheTaskRuns) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    elsewhere([&] { softphone->change(CONNECTED); });
    softphone->status = 0;
    dispatcher->runAll();
    EXPECT_EQ(downloadLines(), 0U);
    EXPECT_EQ(softphone->connections(), 1U);
    softphone->change(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
}

TEST_F(EdgeThreads, AListThatChangesElsewhereIsReadThere) {
    watch({});
    const auto softphone = health(SOFTPHONE, CONNECTED);
    elsewhere([&] { changeList({softphone}); });
    EXPECT_EQ(log->count(4, "Softphone connected"), 1U);
    EXPECT_TRUE(everythingIsDisconnected());
    EXPECT_EQ(downloadLines(), 0U);
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("ConfigAdapter::onTelephonyConnectionStatusChanged"));
    dispatcher->runAll();
    EXPECT_EQ(downloadLines(), 1U);
}

TEST_F(EdgeThreads, AConnectedReportAfterTheStopDropsTheWatchWithALine) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    elsewhere([&] { softphone->change(CONNECTED); });
    stop();
    log->clear();
    dispatcher->runAll();
    EXPECT_THAT(adapterLines(3), ElementsAre("onTelephonyConnectionStatusChanged: Config featureset not started"));
    EXPECT_EQ(downloadLines(), 0U);
    EXPECT_TRUE(everythingIsDisconnected());
}

TEST_F(EdgeThreads, AfterDestroyTheEntriesAreStillKnownAndWatchedAtTheNextCheck) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    adapter()->Destroy();
    start();
    adapter()->stopTftpConfigSource();
    setList({});
    course->clear();
    adapter()->startTftpConfigSource();
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone"));
}

TEST_F(EdgeThreads, AfterARefreshTheEntriesAreForgotten) {
    watch({health(SOFTPHONE)});
    adapter()->refreshConfigFeatureSet();
    setList({});
    course->clear();
    adapter()->startTftpConfigSource();
    EXPECT_THAT(*course, ElementsAre("connect list"));
}

TEST_F(EdgeThreads, AfterAStopTheEntriesAreForgotten) {
    watch({health(SOFTPHONE)});
    stop();
    start();
    setList({});
    course->clear();
    adapter()->startTftpConfigSource();
    EXPECT_THAT(*course, ElementsAre("connect list"));
}

TEST_F(EdgeThreads, WhatWasConnectedAtTheCheckIsKnownAtTheNextOne) {
    const auto softphone = health(SOFTPHONE, CONNECTED);
    watch({softphone});
    adapter()->stopTftpConfigSource();
    softphone->status = 0;
    setList({});
    adapter()->startTftpConfigSource();
    EXPECT_THAT(*course, ElementsAre("connect list", "connect softphone"));
}

TEST_F(EdgeThreads, NotifiersAndTasksFindNobodyOnceTheAdapterIsGone) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    elsewhere([this] {
        adapter()->checkEdgeReady();
        adapter()->onTelephonyConnectionStatusChanged(nullptr);
    });
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    factory->clear();
    EXPECT_TRUE(gone.expired());
    EXPECT_TRUE(everythingIsDisconnected());
    log->clear();
    softphone->status = CONNECTED;
    softphone->notifier->callbacks.fireLate();
    listNotifier->callbacks.fireLate(false, nullptr, nullptr);
    dispatcher->runAll();
    EXPECT_THAT(adapterLines(3), IsEmpty());
    EXPECT_THAT(adapterLines(4), IsEmpty());
}

TEST_F(EdgeThreads, AFireOfTheHostsOwnNotifiersEndsTheWatchToo) {
    systemService->listNotifier = nullptr;
    watch({});
    const auto softphone = std::make_shared<ServerHealthInformationImpl>(SOFTPHONE);
    systemService->addServerHealthInformation(softphone);
    EXPECT_EQ(log->count(4, "Adding softphone connection status notifier"), 1U);
    softphone->setConnectionStatus(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
    softphone->setConnectionStatus(0);
    softphone->setConnectionStatus(CONNECTED);
    EXPECT_EQ(downloadLines(), 1U);
}

TEST_F(EdgeThreads, StopsAndListChangesOnSeveralThreadsLeaveNothingConnected) {
    systemService->listNotifier = nullptr;
    injectAndStart();
    for (int round = 0; round < 50; ++round) {
        auto softphone = std::make_shared<ServerHealthInformationImpl>(SOFTPHONE);
        adapter()->startTftpConfigSource();
        std::thread host([&] { systemService->addServerHealthInformation(softphone); });
        stop();
        host.join();
        // A callback that is still connected would take the feature set for one that is not started.
        log->clear();
        softphone->setConnectionStatus(CONNECTED);
        dispatcher->runAll();
        EXPECT_THAT(adapterLines(3), IsEmpty());
        systemService->removeServerHealthInformation(softphone);
        // Nor does a callback, or the adapter, hold the entry any more.
        const std::weak_ptr<ServerHealthInformationImpl> watched = softphone;
        softphone.reset();
        EXPECT_TRUE(watched.expired());
        start();
    }
}
