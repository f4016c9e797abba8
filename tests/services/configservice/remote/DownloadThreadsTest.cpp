#include <atomic>
#include <chrono>
#include <condition_variable>
#include <future>
#include <mutex>
#include <thread>

#include "RemoteFixture.h"
#include "fakes/JournalWatch.h"

using testing::SizeIs;

namespace {

/// Opens once.
class Gate {
public:
    void open() {
        const std::lock_guard<std::mutex> lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }
    void pass() {
        std::unique_lock<std::mutex> lock(mutex_);
        changed_.wait(lock, [this] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
};

/// The store between the threads of a real host.
class DownloadThreads : public RemoteFixture {
protected:
    /// Answers version requests once the gate is open, and says when the first is under way.
    void answerBehind(Gate& gate, Gate& asked) const {
        transport->setAnswer([&](const std::string&) {
            asked.open();
            gate.pass();
            return std::string("<v><version>10</version></v>");
        });
    }

    /// A thread of the pool, which prefers the function of an index.
    std::thread poolThread(std::size_t index = 0) const {
        return std::thread([this, index] {
            while (pool->runNext(index)) {
            }
        });
    }

    /// A thread of the network: each file holds the URL that it came from.
    std::thread networkThread() const {
        return std::thread([this] {
            while (const auto transfer = transport->waitForRunning()) {
                transport->complete(transfer->number, serverFile({{"key", transfer->url}}),
                                    transfer->cancelled ? WAS_CANCELLED : SUCCESS);
            }
        });
    }

    void end(std::vector<std::thread>& threads) const {
        pool->endWaits();
        transport->endWaits();
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
};

}  // namespace

TEST_F(DownloadThreads, AChangeIsProcessedBesideAForcedDownloadThatAsksForTheVersion) {
    Gate answer;
    Gate asked;
    answerBehind(answer, asked);
    const auto store = make();
    std::thread forced([&] { store->attemptDownloadFromCachedAddress(); });
    asked.pass();
    announce(*store, {L"new", L"", L"", L"file.xml"});
    pool->runAll();
    EXPECT_EQ(store->queryState(), State::RESTART_PENDING);
    answer.open();
    forced.join();
    transport->deliver(serverFile({}));
    EXPECT_THAT(transport->startedUrls(), testing::ElementsAre("http://one:6970/file.xml", "http://new:6970/file.xml"));
}

TEST_F(DownloadThreads, AVersionQueryOfTheNextCycleHoldsBackTheEndOfATransfer) {
    const auto store = makeObserved();
    store->attemptDownloadFromCachedAddress();
    store->attemptDownloadFromCachedAddress();
    transport->complete(2, serverFile({}), SUCCESS);
    dispatcher->runAll();
    log->clear();
    featureSet->dropValue(L"HomeUdsVersion");
    Gate answer;
    Gate asked;
    answerBehind(answer, asked);
    std::thread change([&] { store->processTftpInfoChanged(L"new", L"", L"", store); });
    asked.pass();
    Gate entered;
    transport->beforeCompletions([&] { entered.open(); });
    std::thread completion([&] { transport->complete(1, serverFile({}), SUCCESS); });
    entered.pass();
    EXPECT_TRUE(TftpConfigStoreTestAccess::isHeldElsewhere(*store));
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_FALSE(log->mentions("Downloading of TFTP file complete"));
    answer.open();
    completion.join();
    change.join();
    EXPECT_TRUE(log->mentions("Downloading of TFTP file complete"));
    dispatcher->runAll();
    EXPECT_THAT(observer.reports, SizeIs(2));
}

TEST_F(DownloadThreads, TheEndOfATransferHoldsBackTheNextCycle) {
    const auto store = makeObserved();
    store->attemptDownloadFromCachedAddress();
    bool held = false;
    featureSet->during("isKeySensitive", [&](const auto&) {
        std::thread([&] { held = TftpConfigStoreTestAccess::isHeldElsewhere(*store); }).join();
    });
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_TRUE(held);
    EXPECT_FALSE(TftpConfigStoreTestAccess::isHeldElsewhere(*store));
}

TEST_F(DownloadThreads, ALookupDoesNotWaitForAVersionQuery) {
    Gate answer;
    Gate asked;
    answerBehind(answer, asked);
    const auto store = make();
    store->storeValue(L"key", L"value");
    std::thread change([&] { store->processTftpInfoChanged(L"new", L"", L"", store); });
    asked.pass();
    EXPECT_EQ(valueOf(store, L"key"), L"value");
    store->clearCachedAddresses();
    EXPECT_FALSE(store->isTftpConfigured());
    answer.open();
    change.join();
}

TEST_F(DownloadThreads, AnObserverIsNotRemovedWhileAnotherThreadTellsIt) {
    const auto store = make();
    for (int round = 0; round < 20; ++round) {
        RecordingTftpObserver leaving;
        Gate telling;
        std::atomic<bool> told = false;
        leaving.during = [&] {
            telling.open();
            // It counts as gone at once; what is left of the removal is the wait for this call.
            while (TftpConfigStoreTestAccess::isObservedBy(*store, &leaving)) {
                std::this_thread::yield();
            }
            told = true;
        };
        store->addObserver(&leaving);
        std::thread remover([&] {
            telling.pass();
            store->removeObserver(&leaving);
            EXPECT_TRUE(told);
        });
        store->fireOnConfigDownloaded({}, store);
        remover.join();
        store->fireOnConfigDownloaded({}, store);
        EXPECT_THAT(leaving.reports, SizeIs(1));
    }
}

TEST_F(DownloadThreads, RemovingNoObserverDoesNotWaitForAReport) {
    const auto store = makeObserved();
    std::future<void> removal;
    observer.during = [&] {
        removal = std::async(std::launch::async, [&] { store->removeObserver(nullptr); });
        // A removal that waits is let go by the end of this call.
        EXPECT_EQ(removal.wait_for(std::chrono::minutes(1)), std::future_status::ready);
    };
    store->fireOnConfigDownloaded({}, store);
    removal.get();
}

TEST_F(DownloadThreads, TheNewestServersWinOnAPoolOfTwo) {
    const auto store = makeObserved({});
    fakes::JournalWatch watch(store->journal());
    std::vector<std::thread> threads;
    threads.push_back(poolThread());
    threads.push_back(poolThread(1));
    threads.push_back(networkThread());
    threads.emplace_back([&] {
        for (int i = 0; i < 500; ++i) {
            valueOf(store, L"key");
            store->getKeys();
        }
    });
    for (int i = 1; i <= 40; ++i) {
        announce(*store, {L"server" + std::to_wstring(i), L"", L"", L"file.xml"});
        dispatcher->runAll();
    }
    watch.waitUntilSettled([this] { dispatcher->runAll(); });
    end(threads);
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_EQ(store->lastSuccessfulServer(), L"server40");
    EXPECT_EQ(valueOf(store, L"key"), L"http://server40:6970/file.xml");
    EXPECT_TRUE(isReady(store));
}

TEST_F(DownloadThreads, ForcedDownloadsRunBesideChangesAndAllEnds) {
    const auto store = makeObserved();
    fakes::JournalWatch watch(store->journal());
    std::vector<std::thread> threads;
    threads.push_back(poolThread());
    threads.push_back(networkThread());
    std::thread forcing([&] {
        for (int i = 0; i < 20; ++i) {
            store->attemptDownloadFromCachedAddress();
        }
    });
    for (int i = 1; i <= 20; ++i) {
        announce(*store, {L"server" + std::to_wstring(i), L"two", L"", L"file.xml"});
        dispatcher->runAll();
    }
    forcing.join();
    watch.waitUntilSettled([this] { dispatcher->runAll(); });
    end(threads);
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_THAT(transport->running(), SizeIs(0));
    EXPECT_FALSE(observer.reports.empty());
}

TEST_F(DownloadThreads, VersionQueriesAtOnceKeepTheLimit) {
    const auto journal = std::make_shared<DownloadJournal>();
    UdsVersionQuery query(factory, journal);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] { EXPECT_EQ(query.getUdsVersion("one", "two", "three"), 0); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_THAT(transport->sentUrls(),
                testing::UnorderedElementsAre("https://one:8443/hubm-uds/version", "https://two:8443/hubm-uds/version",
                                              "https://three:8443/hubm-uds/version"));
}
