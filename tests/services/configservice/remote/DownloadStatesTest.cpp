#include <string>
#include <utility>
#include <vector>

#include "RemoteFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// Where a download stands, and what each event makes of it.
class DownloadStates : public RemoteFixture {
protected:
    static void change(const std::shared_ptr<TftpConfigStore>& store) {
        store->processTftpInfoChanged(L"new", L"", L"newer", store);
    }

    /// A transfer of the store's runs.
    std::shared_ptr<TftpConfigStore> makeInProgress() {
        const auto store = makeObserved();
        store->attemptDownloadFromCachedAddress();
        log->clear();
        return store;
    }

    std::shared_ptr<TftpConfigStore> makeRestartPending() {
        const auto store = makeInProgress();
        change(store);
        return store;
    }

    std::shared_ptr<TftpConfigStore> makeCancelled() {
        const auto store = makeInProgress();
        store->storeValue(L"old", L"value");
        TftpConfigStoreTestAccess::cancel(*store);
        return store;
    }

    /// The store has started one transfer so far, from its first server.
    void expectACycleFromTheCache(const std::shared_ptr<TftpConfigStore>& store, State before) const {
        EXPECT_EQ(store->queryState(), before);
        store->attemptDownloadFromCachedAddress();
        EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
        EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml", "http://one:6970/file.xml"));
    }
};

}  // namespace

TEST_F(DownloadStates, HaveTheNumbersOfTheLog) {
    EXPECT_EQ(State::NOT_STARTED, 0);
    EXPECT_EQ(State::IN_PROGRESS, 1);
    EXPECT_EQ(State::CANCELLED, 2);
    EXPECT_EQ(State::RESTART_PENDING, 3);
    EXPECT_EQ(State::FINISHED, 4);
}

TEST_F(DownloadStates, AreToldAtALookupUntilACycleHasEnded) {
    const auto store = makeRestartPending();
    log->clear();
    valueOf(store, L"key");
    EXPECT_THAT(lines(4),
                ElementsAre("getValue: TftpConfigStore::getValue() currentQueryState is not FINISHED - Current "
                            "State: 3"));
}

TEST_F(DownloadStates, AreToldAtALookupInACancelledCycle) {
    const auto store = makeCancelled();
    log->clear();
    valueOf(store, L"key");
    EXPECT_THAT(lines(4),
                ElementsAre("getValue: TftpConfigStore::getValue() currentQueryState is not FINISHED - Current "
                            "State: 2"));
}

TEST_F(DownloadStates, ALookupInACycleAnswersFromTheValuesBefore) {
    const auto store = makeInProgress();
    store->storeValue(L"key", L"before");
    EXPECT_EQ(valueOf(store, L"key"), L"before");
    EXPECT_THAT(lines(4),
                ElementsAre("getValue: TftpConfigStore::getValue() currentQueryState is not FINISHED - Current "
                            "State: 1"));
}

TEST_F(DownloadStates, InProgressLastsUntilTheValuesOfTheFileAreInPlace) {
    const auto store = makeInProgress();
    std::vector<std::pair<State, std::wstring>> seen;
    featureSet->during("isKeySensitive",
                       [&](const auto&) { seen.emplace_back(store->queryState(), valueOf(store, L"key")); });
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_THAT(seen, ElementsAre(std::pair(State::IN_PROGRESS, L"value")));
    EXPECT_EQ(store->queryState(), State::FINISHED);
}

TEST_F(DownloadStates, InProgressLastsUntilTheFileIsKnownToBeNoDocument) {
    const auto store = makeInProgress();
    std::vector<State> seen;
    log->atNext("\n************\nError Invalid XML syntax detected - Unable to read xml configuration.\n************",
                [&] { seen.push_back(store->queryState()); });
    transport->deliver("no document");
    EXPECT_THAT(seen, ElementsAre(State::IN_PROGRESS));
    EXPECT_EQ(store->queryState(), State::FINISHED);
}

TEST_F(DownloadStates, NotStartedBeginsACycleAtAChange) {
    const auto store = makeObserved({L"", L"", L"", L"file.xml"});
    change(store);
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_EQ(transport->cancellations(), 0U);
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://new:6970/file.xml"));
}

TEST_F(DownloadStates, FinishedBeginsACycleAtAChange) {
    const auto store = makeInProgress();
    transport->deliver(serverFile({{"key", "value"}}));
    change(store);
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_EQ(transport->startedUrls().back(), "http://new:6970/file.xml");
    transport->fail();
    EXPECT_EQ(transport->startedUrls().back(), "http://newer:6970/file.xml");
}

TEST_F(DownloadStates, InProgressIsCancelledAtAChange) {
    const auto store = makeInProgress();
    change(store);
    EXPECT_EQ(store->queryState(), State::RESTART_PENDING);
    EXPECT_EQ(transport->cancellations(), 1U);
    EXPECT_THAT(transport->startedUrls(), SizeIs(1));
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(DownloadStates, RestartPendingTakesTheNewestChange) {
    const auto store = makeRestartPending();
    store->processTftpInfoChanged(L"newest", L"", L"", store);
    EXPECT_EQ(store->queryState(), State::RESTART_PENDING);
    EXPECT_EQ(transport->cancellations(), 2U);
    transport->fail(WAS_CANCELLED);
    EXPECT_EQ(transport->startedUrls().back(), "http://newest:6970/file.xml");
}

TEST_F(DownloadStates, CancelledBecomesRestartPendingAtAChange) {
    const auto store = makeCancelled();
    change(store);
    EXPECT_EQ(store->queryState(), State::RESTART_PENDING);
    EXPECT_EQ(transport->cancellations(), 1U);
}

TEST_F(DownloadStates, RestartPendingDropsAFileThatArrives) {
    const auto store = makeRestartPending();
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_EQ(lines(4).front(), "onDownloadComplete: New TFTP file provided canceling query and trying new details");
    EXPECT_THAT(store->getKeys(), IsEmpty());
    EXPECT_EQ(store->lastSuccessfulServer(), L"");
    EXPECT_THAT(observer.reports, IsEmpty());
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml", "http://new:6970/file.xml"));
}

TEST_F(DownloadStates, RestartPendingTellsAFailureAndTriesTheNewServers) {
    const auto store = makeRestartPending();
    transport->fail(WAS_CANCELLED);
    EXPECT_THAT(lines(3), ElementsAre("onDownloadComplete: Download of TFTP File failed for server one........."));
    EXPECT_FALSE(log->mentions("New TFTP file provided"));
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_EQ(transport->startedUrls().back(), "http://new:6970/file.xml");
}

TEST_F(DownloadStates, RestartPendingWithNoServerLeftEndsEmpty) {
    const auto store = makeInProgress();
    store->storeValue(L"old", L"value");
    store->processTftpInfoChanged(L"", L"", L"", store);
    transport->fail(WAS_CANCELLED);
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_THAT(store->getKeys(), IsEmpty());
    EXPECT_TRUE(isReady(store));
}

TEST_F(DownloadStates, CancelledEndsEmptyAtAFile) {
    const auto store = makeCancelled();
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_THAT(lines(4),
                ElementsAre("onDownloadComplete: Download of TFTP File was cancelled for server one........."));
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_THAT(store->getKeys(), IsEmpty());
    EXPECT_TRUE(isReady(store));
    EXPECT_THAT(observer.reports, IsEmpty());
    EXPECT_EQ(store->lastSuccessfulServer(), L"");
}

TEST_F(DownloadStates, CancelledEndsEmptyAtAFailureAndTriesNoOtherServer) {
    const auto store = makeCancelled();
    transport->fail();
    EXPECT_THAT(lines(4),
                ElementsAre("onDownloadComplete: Download of TFTP File was cancelled for server one........."));
    EXPECT_THAT(lines(3), IsEmpty());
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_THAT(store->getKeys(), IsEmpty());
    EXPECT_THAT(transport->startedUrls(), SizeIs(1));
}

TEST_F(DownloadStates, InProgressBeginsAnotherCycleFromTheCache) {
    expectACycleFromTheCache(makeInProgress(), State::IN_PROGRESS);
}

TEST_F(DownloadStates, RestartPendingBeginsACycleFromTheCache) {
    expectACycleFromTheCache(makeRestartPending(), State::RESTART_PENDING);
}

TEST_F(DownloadStates, CancelledBeginsACycleFromTheCache) {
    expectACycleFromTheCache(makeCancelled(), State::CANCELLED);
}

TEST_F(DownloadStates, NotStartedBeginsACycleFromTheCache) {
    const auto store = makeObserved();
    EXPECT_EQ(store->queryState(), State::NOT_STARTED);
    store->attemptDownloadFromCachedAddress();
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml"));
}

TEST_F(DownloadStates, FinishedBeginsACycleFromTheCache) {
    const auto store = makeInProgress();
    transport->deliver(serverFile({{"key", "value"}}));
    expectACycleFromTheCache(store, State::FINISHED);
}

TEST_F(DownloadStates, FinishedIsReachedBeforeTheObserversAreTold) {
    const auto store = makeInProgress();
    dispatcher->setUpdateAccess(false);
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_THAT(observer.reports, IsEmpty());
    EXPECT_FALSE(isReady(store));
    dispatcher->runAll();
    EXPECT_THAT(observer.reports, SizeIs(1));
    EXPECT_TRUE(isReady(store));
}

TEST_F(DownloadStates, NewDetailsAtTheEndOfAForcedCycleWithoutAddressesAreGoneOnWith) {
    const auto store = makeInProgress();
    // Between the forced cycle's beginning and its first address another cycle takes the queue.
    bool begun = false;
    store->journal()->setListener([&] {
        if (!std::exchange(begun, true)) {
            store->processTftpInfoChanged(L"", L"", L"", store);
        }
    });
    log->atNext("Failed to download TFTP config. No TFTP server address available in server queue.", [&] {
        EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
        change(store);
        EXPECT_EQ(store->queryState(), State::RESTART_PENDING);
    });
    store->attemptDownloadFromCachedAddress();
    store->journal()->setListener({});
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_FALSE(isReady(store));
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml", "http://new:6970/file.xml"));
    transport->complete(2, serverFile({{"key", "value"}}), SUCCESS);
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_EQ(store->lastSuccessfulServer(), L"new");
    EXPECT_TRUE(isReady(store));
}
