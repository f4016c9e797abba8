#include <atomic>
#include <memory>
#include <stdexcept>
#include <thread>

#include "RemoteFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// How the observers are told of a download, and how others wait for it.
class RemoteReport : public RemoteFixture {
protected:
    static void download(const std::shared_ptr<TftpConfigStore>& store,
                         const std::shared_ptr<fakes::ScriptedHttpTransport>& transport, const std::string& body) {
        store->attemptDownloadFromCachedAddress();
        transport->deliver(body);
    }

    static bool returnsWithoutWaiting(TftpConfigStore& store) {
        return fakes::endsWithoutWaitingFor(store, [&store] { EXPECT_TRUE(store.waitForStoreReady()); });
    }
};

const std::vector<std::string> BOTH_WAIT_LINES = {
    "waitForStoreReady: TftpConfigStore::waitForStoreReady() - Starting timed wait. Timeout of 20 seconds",
    "waitForStoreReady: TftpConfigStore::waitForStoreReady() - Finished timed wait"};

}  // namespace

TEST_F(RemoteReport, GivesTheKeysThatTheFileReplaced) {
    const auto store = makeObserved();
    download(store, transport, serverFile({{"b", "1"}, {"a", "1"}}));
    download(store, transport, serverFile({{"c", "1"}}));
    download(store, transport, "broken");
    download(store, transport, serverFile({{"d", "1"}}));
    EXPECT_THAT(observer.reports, ElementsAre(IsEmpty(), ElementsAre(L"a", L"b"), IsEmpty(), IsEmpty()));
}

TEST_F(RemoteReport, RunsInPlaceOnTheDispatcherThread) {
    const auto store = makeObserved();
    download(store, transport, serverFile({}));
    EXPECT_THAT(observer.reports, SizeIs(1));
    EXPECT_THAT(dispatcher->allNames(), IsEmpty());
}

TEST_F(RemoteReport, IsQueuedForTheDispatcherThreadFromAnyOther) {
    const auto store = makeObserved();
    store->storeValue(L"old", L"value");
    dispatcher->setUpdateAccess(false);
    download(store, transport, serverFile({}));
    EXPECT_THAT(observer.reports, IsEmpty());
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("TftpConfigStore::fireOnConfigDownloaded"));
    EXPECT_EQ(log->count(4, "Config updated with TFTP server information.........##"), 1U);
    dispatcher->runAll();
    EXPECT_THAT(observer.reports, ElementsAre(ElementsAre(L"old")));
}

TEST_F(RemoteReport, IsSkippedWithoutADispatcherAndTheStoreIsReady) {
    const auto bare = std::make_shared<UnifiedFactory>(nullptr, nullptr);
    const auto store = makeOver(bare);
    store->addObserver(&observer);
    store->fireOnConfigDownloaded({L"key"}, store);
    EXPECT_THAT(observer.reports, IsEmpty());
    EXPECT_THAT(lines(3), ElementsAre("fireOnConfigDownloaded: There is no dispatcher, the observers are not told."));
    EXPECT_TRUE(isReady(store));
}

TEST_F(RemoteReport, ReachesAnObserverOnceHoweverOftenItWasAdded) {
    const auto store = makeObserved();
    store->addObserver(&observer);
    store->fireOnConfigDownloaded({}, store);
    EXPECT_THAT(observer.reports, SizeIs(1));
    store->removeObserver(&observer);
    store->fireOnConfigDownloaded({}, store);
    EXPECT_THAT(observer.reports, SizeIs(1));
}

TEST_F(RemoteReport, ReachesTheObserversInTheOrderOfTheirPointers) {
    RecordingTftpObserver several[3];
    std::vector<int> order;
    const auto store = make();
    for (int i : {2, 0, 1}) {
        several[i].during = [&order, i] { order.push_back(i); };
        store->addObserver(&several[i]);
    }
    store->fireOnConfigDownloaded({}, store);
    EXPECT_THAT(order, ElementsAre(0, 1, 2));
}

TEST_F(RemoteReport, MakesTheStoreReadyAfterTheLastObserver) {
    RecordingTftpObserver several[2];
    std::vector<bool> ready;
    const auto store = make();
    for (auto& each : several) {
        each.during = [&] { ready.push_back(isReady(store)); };
        store->addObserver(&each);
    }
    store->fireOnConfigDownloaded({}, store);
    EXPECT_THAT(ready, ElementsAre(false, false));
    EXPECT_TRUE(isReady(store));
}

TEST_F(RemoteReport, SurvivesAnObserverThatLeaves) {
    RecordingTftpObserver several[3];
    const auto store = make();
    for (auto& each : several) {
        store->addObserver(&each);
    }
    several[1].during = [&] { store->removeObserver(&several[1]); };
    store->fireOnConfigDownloaded({}, store);
    store->fireOnConfigDownloaded({}, store);
    EXPECT_THAT(several[0].reports, SizeIs(2));
    EXPECT_THAT(several[1].reports, SizeIs(1));
    EXPECT_THAT(several[2].reports, SizeIs(2));
}

TEST_F(RemoteReport, PassesOverAnObserverThatAnotherHasRemoved) {
    RecordingTftpObserver several[3];
    const auto store = make();
    for (auto& each : several) {
        store->addObserver(&each);
    }
    several[0].during = [&] { store->removeObserver(&several[1]); };
    several[2].during = [&] { store->removeObserver(&several[0]); };
    store->fireOnConfigDownloaded({}, store);
    EXPECT_THAT(several[0].reports, SizeIs(1));
    EXPECT_THAT(several[1].reports, IsEmpty());
    EXPECT_THAT(several[2].reports, SizeIs(1));
}

TEST_F(RemoteReport, ReachesAnObserverThatComesDuringItIfItsTurnIsStillToCome) {
    RecordingTftpObserver several[3];
    const auto store = make();
    store->addObserver(&several[1]);
    several[1].during = [&] {
        store->addObserver(&several[0]);
        store->addObserver(&several[2]);
    };
    store->fireOnConfigDownloaded({}, store);
    EXPECT_THAT(several[0].reports, IsEmpty());
    EXPECT_THAT(several[2].reports, SizeIs(1));
}

TEST_F(RemoteReport, MayBeginTheNextDownload) {
    const auto store = makeObserved();
    observer.during = [&] {
        observer.during = nullptr;
        store->attemptDownloadFromCachedAddress();
    };
    download(store, transport, serverFile({}));
    EXPECT_THAT(transport->running(), SizeIs(1));
    transport->deliver(serverFile({}));
    EXPECT_THAT(observer.reports, SizeIs(2));
}

TEST_F(RemoteReport, CanBeWaitedForFromWithinWithoutWaiting) {
    const auto store = makeObserved();
    observer.during = [&] {
        log->clear();
        EXPECT_TRUE(returnsWithoutWaiting(*store));
        EXPECT_FALSE(isReady(store));
        EXPECT_EQ(lines(5), BOTH_WAIT_LINES);
    };
    store->fireOnConfigDownloaded({}, store);
    EXPECT_THAT(observer.reports, SizeIs(1));
}

TEST_F(RemoteReport, CanBeWaitedForFromWithinAfterANestedReport) {
    const auto store = makeObserved();
    observer.during = [&] {
        observer.during = nullptr;
        store->fireOnConfigDownloaded({}, store);
        store->attemptDownloadFromCachedAddress();  // makes the store unready again
        EXPECT_TRUE(returnsWithoutWaiting(*store));
        EXPECT_FALSE(isReady(store));
    };
    store->fireOnConfigDownloaded({}, store);
    EXPECT_THAT(observer.reports, SizeIs(2));
}

TEST_F(RemoteReport, IsWaitedForOnAnotherThread) {
    const auto store = makeObserved();
    store->attemptDownloadFromCachedAddress();
    std::atomic<bool> told = false;
    observer.during = [&] {
        EXPECT_THAT(lines(5), ElementsAre(BOTH_WAIT_LINES.front()));
        told = true;
    };
    std::thread waiter([&] {
        EXPECT_TRUE(store->waitForStoreReady());
        EXPECT_TRUE(told);
    });
    log->waitFor("TftpConfigStore::waitForStoreReady() - Starting timed wait. Timeout of 20 seconds");
    transport->deliver(serverFile({}));
    waiter.join();
    EXPECT_EQ(lines(5), BOTH_WAIT_LINES);
}

TEST_F(RemoteReport, IsNotWaitedForOnceTheStoreIsReady) {
    const auto store = makeObserved();
    store->fireOnConfigDownloaded({}, store);
    EXPECT_TRUE(returnsWithoutWaiting(*store));
    EXPECT_EQ(lines(5), BOTH_WAIT_LINES);
}

TEST_F(RemoteReport, IsWaitedForNoLongerThanTheLimitAndTheAnswerIsTheSame) {
    const auto store = makeObserved();
    EXPECT_EQ(TftpConfigStoreTestAccess::limitWaits(*store, 1), 20000U);
    EXPECT_TRUE(store->waitForStoreReady());
    EXPECT_FALSE(isReady(store));
    EXPECT_EQ(lines(5), BOTH_WAIT_LINES);
}

TEST_F(RemoteReport, ThatAnObserverThrowsOutOfLeavesTheStoreReady) {
    const auto store = makeObserved();
    observer.during = [] { throw std::runtime_error("a client's own"); };
    EXPECT_THROW(download(store, transport, serverFile({{"key", "value"}})), std::runtime_error);
    EXPECT_TRUE(isReady(store));
    EXPECT_EQ(store->queryState(), State::FINISHED);
    observer.during = nullptr;
    download(store, transport, serverFile({{"key", "other"}}));
    EXPECT_THAT(observer.reports, ElementsAre(IsEmpty(), ElementsAre(L"key")));
    EXPECT_EQ(valueOf(store, L"key"), L"other");
}

TEST_F(RemoteReport, IsWaitedForWithoutALineBelowDebug) {
    const auto store = makeObserved();
    tessel::LogControl::setLevel(4);
    store->fireOnConfigDownloaded({}, store);
    EXPECT_TRUE(store->waitForStoreReady());
    EXPECT_THAT(log->lines(), IsEmpty());
}
