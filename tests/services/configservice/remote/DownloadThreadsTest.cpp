#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "RemoteFixture.h"

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

    static void work(std::atomic<bool>& ended, const std::function<bool()>& step) {
        while (!ended) {
            if (!step()) {
                std::this_thread::yield();
            }
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
    featureSet->dropValue(L"HomeUdsVersion");
    Gate answer;
    Gate asked;
    std::atomic<bool> answered = false;
    transport->setAnswer([&](const std::string&) {
        asked.open();
        answer.pass();
        answered = true;
        return std::string("<v><version>10</version></v>");
    });
    observer.during = [&] { EXPECT_TRUE(answered); };
    std::thread change([&] { store->processTftpInfoChanged(L"new", L"", L"", store); });
    asked.pass();
    std::thread completion([&] { transport->complete(1, serverFile({}), SUCCESS); });
    answer.open();
    completion.join();
    change.join();
    dispatcher->runAll();
    EXPECT_THAT(observer.reports, SizeIs(2));
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
    auto shortLived = std::make_unique<RecordingTftpObserver>();
    Gate telling;
    std::atomic<bool> told = false;
    shortLived->during = [&] {
        telling.open();
        std::this_thread::yield();
        told = true;
    };
    store->addObserver(shortLived.get());
    std::thread remover([&] {
        telling.pass();
        store->removeObserver(shortLived.get());
        EXPECT_TRUE(told);
        shortLived.reset();
    });
    store->fireOnConfigDownloaded({}, store);
    remover.join();
    store->fireOnConfigDownloaded({}, store);
}

TEST_F(DownloadThreads, TheNewestServersWinOnAPoolOfTwo) {
    const auto store = makeObserved({});
    std::atomic<bool> ended = false;
    std::vector<std::thread> threads;
    for (std::size_t index : {0U, 1U}) {
        threads.emplace_back([&, index] { work(ended, [&] { return pool->runOne(index) || pool->runOne(); }); });
    }
    threads.emplace_back([&] {
        work(ended, [&] {
            const auto running = transport->running();
            return !running.empty() &&
                   transport->complete(running.front().number, serverFile({{"key", running.front().url}}),
                                       running.front().cancelled ? WAS_CANCELLED : SUCCESS);
        });
    });
    threads.emplace_back([&] {
        work(ended, [&] {
            valueOf(store, L"key");
            return store->getKeys().empty();
        });
    });
    for (int i = 1; i <= 40; ++i) {
        announce(*store, {L"server" + std::to_wstring(i), L"", L"", L"file.xml"});
        dispatcher->runAll();
    }
    while (!journalOf(store).settled) {
        dispatcher->runAll();
        std::this_thread::yield();
    }
    ended = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_EQ(store->lastSuccessfulServer(), L"server40");
    EXPECT_EQ(valueOf(store, L"key"), L"http://server40:6970/file.xml");
    EXPECT_TRUE(isReady(store));
}

TEST_F(DownloadThreads, ForcedDownloadsRunBesideChangesAndAllEnds) {
    const auto store = makeObserved();
    std::atomic<bool> ended = false;
    std::vector<std::thread> threads;
    threads.emplace_back([&] { work(ended, [&] { return pool->runOne(); }); });
    threads.emplace_back([&] { work(ended, [&] { return transport->deliver(serverFile({{"key", "value"}})); }); });
    threads.emplace_back([&] {
        for (int i = 0; i < 20; ++i) {
            store->attemptDownloadFromCachedAddress();
        }
    });
    for (int i = 1; i <= 20; ++i) {
        announce(*store, {L"server" + std::to_wstring(i), L"two", L"", L"file.xml"});
        dispatcher->runAll();
    }
    threads.back().join();
    threads.pop_back();
    while (!journalOf(store).settled) {
        dispatcher->runAll();
        std::this_thread::yield();
    }
    ended = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
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
