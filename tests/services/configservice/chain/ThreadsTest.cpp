#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <thread>
#include <utility>

#include "ChainFixture.h"
#include "stores/InMemoryConfigStore.h"
#include "support/OtherThread.h"

namespace {

class Threads : public ChainFixture {
protected:
    /// Starts all at once and waits for their end.
    static void runTogether(const std::vector<std::function<void()>>& bodies) {
        std::latch start(static_cast<std::ptrdiff_t>(bodies.size()));
        std::vector<std::thread> threads;
        for (const auto& body : bodies) {
            threads.emplace_back([&start, &body] {
                start.arrive_and_wait();
                body();
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }
};

/// A store that does something once, from inside the first call that tells its keys or changes it.
class ActingStore final : public fakes::ScriptedStore {
public:
    using ScriptedStore::ScriptedStore;

    void once(std::function<void()> action) { action_ = std::move(action); }

    std::vector<std::wstring> getKeys() override {
        act();
        return ScriptedStore::getKeys();
    }

    bool storeValue(const std::wstring& key, const std::wstring& value) override {
        act();
        return ScriptedStore::storeValue(key, value);
    }

    bool removeValue(const std::wstring& key) override {
        act();
        return ScriptedStore::removeValue(key);
    }

private:
    void act() {
        if (const auto action = std::exchange(action_, {})) {
            action();
        }
    }

    std::function<void()> action_;
};

using Called = std::shared_ptr<ActingStore>;

/// An operation of the manager, which calls a store and then reports keys.
struct WholeRun {
    const char* name;
    const char* store;  ///< the name of the one that is called
    bool isInTheChain;  ///< before the operation
    std::function<void(ConfigStoreManager& manager, const Called& called)> operation;
};

void PrintTo(const WholeRun& run, std::ostream* stream) { *stream << run.name; }

/// Operations that hold the chain from their first step to the last report.
class WholeRuns : public Threads, public testing::WithParamInterface<WholeRun> {};

constexpr int ROUNDS = 100;

TEST_F(Threads, ReadAndWriteWhileStoresComeAndGo) {
    manager.addStore(std::make_shared<InMemoryConfigStore>());
    manager.addStore(makeStore("User", 100));
    const auto read = [&] {
        for (int round = 0; round < ROUNDS; ++round) {
            std::wstring value;
            manager.getValue(L"TftpServer1", value, round % 2 == 0);
            std::wstring storeName;
            bool usedOtherKeyName = false;
            manager.getOriginalValue(L"TFTPPrimaryServer", value, storeName, usedOtherKeyName);
            manager.getStores();
            manager.isKeySensitive(L"TFTPPrimaryServer");
        }
    };
    const auto write = [&] {
        for (int round = 0; round < ROUNDS; ++round) {
            manager.storeValue(L"TFTPPrimaryServer", L"written");
            manager.storeInMemoryValue(L"TFTPPrimaryServer", L"in memory");
            manager.eraseKey(L"TftpServer1");
            manager.setKeySensitive(L"TFTPPrimaryServer");
        }
    };
    const auto change = [&] {
        for (int round = 0; round < ROUNDS; ++round) {
            const auto server = makeReadOnly("Server", round % 2 == 0 ? 50 : 500);
            server->remote().with(L"TFTPPrimaryServer", L"server");
            manager.addStore(server);
            manager.waitForStoreReady("Server");
            if (round % 3 == 0) {
                manager.clearConfigStores();
            }
        }
    };
    runTogether({read, read, write, write, change, change});
    manager.clearConfigStores();
    manager.eraseKey(L"TFTPPrimaryServer");
    EXPECT_EQ(valueOf(L"TFTPPrimaryServer"), L"(none)");
}

TEST_F(Threads, LastReportOfAKeyTellsItsFinalState) {
    manager.addStore(makeStore("User", 100));
    std::vector<std::function<void()>> bodies;
    for (int writer = 0; writer < 4; ++writer) {
        bodies.push_back([this, writer] {
            for (int round = 0; round < ROUNDS; ++round) {
                manager.storeValue(L"a", std::to_wstring(writer * ROUNDS + round));
                manager.updateKey(L"a", true);
            }
        });
    }
    runTogether(bodies);
    ASSERT_FALSE(observer.changes().empty());
    EXPECT_EQ(observer.changes().back().value, valueOf(L"a"));
}

TEST_F(Threads, ObserversComeAndGoWhileOthersReport) {
    manager.addStore(makeStore("User", 100));
    const auto comeAndGo = [&] {
        for (int round = 0; round < ROUNDS; ++round) {
            fakes::RecordingManagerObserver passing;
            manager.AddObserver(&passing);
            manager.updateKey(L"a", false);
            manager.RemoveObserver(&passing);
            // Gone means gone: nothing may touch it from here on, though others go on reporting.
        }
    };
    const auto write = [&] {
        for (int round = 0; round < ROUNDS; ++round) {
            manager.storeValue(L"a", std::to_wstring(round));
        }
    };
    runTogether({comeAndGo, comeAndGo, write, write});
    EXPECT_EQ(valueOf(L"a"), std::to_wstring(ROUNDS - 1));
}

TEST_F(Threads, ObserversActInsideTheirReports) {
    manager.addStore(makeStore("User", 100));
    observer.onReport([this](const fakes::ManagerReport& report) {
        if (report.kind == fakes::ManagerReport::Kind::Change && report.key == L"a") {
            manager.storeValue(L"b", report.value);
            manager.eraseKey(L"c");
            manager.addStore(makeReadOnly("FromInside", 200));
        }
    });
    const auto write = [&] {
        for (int round = 0; round < ROUNDS; ++round) {
            manager.storeValue(L"a", L"1");
            manager.notifyObservers(std::vector<std::wstring>{L"a", L"b"});
        }
    };
    const auto remove = [&] {
        for (int round = 0; round < ROUNDS; ++round) {
            manager.storeValue(L"c", L"1");
            manager.removeStoreWithSameName("FromInside");
        }
    };
    runTogether({write, write, remove});
    EXPECT_EQ(valueOf(L"b"), L"1");
    EXPECT_TRUE(manager.containsStore("User"));
}

TEST_F(Threads, LookupsGoOnWhileOneStoreIsWaitedFor) {
    const auto slow = makeReadOnly("Slow", 100);
    std::promise<void> waiting;
    std::promise<void> ready;
    slow->with(L"a", L"1").onWait([&] {
        waiting.set_value();
        ready.get_future().wait();
    });
    addQuietly({slow});
    std::thread waiter([&] { manager.waitForStoreReady("Slow"); });
    waiting.get_future().wait();
    EXPECT_EQ(valueOf(L"a"), L"1");
    manager.removeStoreWithSameName("Slow");
    EXPECT_EQ(valueOf(L"a"), L"(none)");
    ready.set_value();
    waiter.join();
}

TEST_F(Threads, StoreOutlivesTheWaitForIt) {
    std::promise<void> waiting;
    std::promise<void> ready;
    std::atomic<bool> destroyed = false;
    {
        const auto slow = makeReadOnly("Slow", 100);
        slow->onDestruction([&] { destroyed = true; });
        slow->onWait([&] {
            waiting.set_value();
            ready.get_future().wait();
        });
        manager.addStore(slow);
    }
    std::thread waiter([&] { manager.waitForStoreReady("Slow"); });
    waiting.get_future().wait();
    manager.removeStoreWithSameName("Slow");
    EXPECT_FALSE(destroyed);
    ready.set_value();
    waiter.join();
    EXPECT_TRUE(destroyed);
}

TEST_F(Threads, NobodySeesTheMiddleOfAnAtomicChange) {
    const auto whole = makeReadOnly("Server", 100);
    whole->with(L"a", L"1");
    manager.addStore(whole);
    const auto change = [&] {
        for (int round = 0; round < ROUNDS; ++round) {
            manager.atomically([&] {
                manager.removeStoreWithSameName("Server");
                manager.addStore(whole);
            });
        }
    };
    std::atomic<int> misses = 0;
    const auto read = [&] {
        for (int round = 0; round < ROUNDS; ++round) {
            misses += valueOf(L"a") == L"1" ? 0 : 1;
        }
    };
    runTogether({change, read, read});
    EXPECT_EQ(misses, 0);
}

TEST_F(Threads, KeysAreMarkedAndTheirNamesComparedWhileTheChainIsTaken) {
    std::latch taken(1);
    std::latch free(1);
    const auto slow = makeReadOnly("Slow", 100);
    slow->onGetValue([&](const std::wstring&) {
        taken.count_down();
        free.wait();
    });
    addQuietly({slow});
    std::thread reader([&] {
        std::wstring value;
        std::wstring storeName;
        manager.getValueFromStores(L"a", value, storeName, false);
    });
    taken.wait();
    // Any of these would wait for ever if it wanted the chain.
    manager.setKeySensitive(L"a");
    std::wstring name;
    EXPECT_TRUE(manager.isKeySensitive(L"A"));
    EXPECT_TRUE(manager.isKeyAlias(L"TftpServer1", name));
    EXPECT_TRUE(manager.hasKeyAlias(L"TFTPPrimaryServer", name));
    free.count_down();
    reader.join();
    EXPECT_THAT(observer.course(), testing::ElementsAre("a?"));
}

TEST_P(WholeRuns, KeepTheChainTakenUntilTheirLastReport) {
    std::vector<std::string> course;
    const auto called = std::make_shared<ActingStore>(GetParam().store, 100);
    called->with(L"a", L"1");
    auto leaving = makeReadOnly("Leaving", 200);
    leaving->remote();
    // A store that has left goes as soon as its thread no longer has the chain.
    leaving->onDestruction([&] { course.emplace_back("the chain is free"); });
    manager.addStore(std::move(leaving));
    if (GetParam().isInTheChain) {
        manager.addStore(called);
    }
    observer.onReport([&](const fakes::ManagerReport&) { course.emplace_back("report"); });
    called->once([&] { manager.removeStoreWithSameName("Leaving"); });
    GetParam().operation(manager, called);
    EXPECT_THAT(course, testing::Contains("report"));
    EXPECT_THAT(course, testing::Contains("the chain is free").Times(1));
    ASSERT_FALSE(course.empty());
    EXPECT_EQ(course.back(), "the chain is free");
}

INSTANTIATE_TEST_SUITE_P(
    Operations, WholeRuns,
    testing::Values(WholeRun{"storeValue", "User", true,
                             [](ConfigStoreManager& chain, const Called&) { chain.storeValue(L"a", L"2"); }},
                    WholeRun{"storeValues", "User", true,
                             [](ConfigStoreManager& chain, const Called&) {
                                 chain.storeValue({{L"a", L"2"}, {L"b", L"2"}});
                             }},
                    WholeRun{"storeInMemoryValue", "InMemoryConfigStore", true,
                             [](ConfigStoreManager& chain, const Called&) { chain.storeInMemoryValue(L"a", L"2"); }},
                    WholeRun{"eraseKey", "User", true,
                             [](ConfigStoreManager& chain, const Called&) { chain.eraseKey(L"a"); }},
                    WholeRun{"addStore", "User", false,
                             [](ConfigStoreManager& chain, const Called& called) { chain.addStore(called); }},
                    WholeRun{"removeStoreWithSameName", "User", true,
                             [](ConfigStoreManager& chain, const Called&) { chain.removeStoreWithSameName("User"); }},
                    WholeRun{"updateStoreValues", "User", true,
                             [](ConfigStoreManager& chain, const Called&) {
                                 const auto next = std::make_shared<fakes::ScriptedStore>("User", 100);
                                 next->with(L"b", L"2");
                                 chain.updateStoreValues(next);
                             }},
                    WholeRun{"clearConfigStores", "User", true,
                             [](ConfigStoreManager& chain, const Called& called) {
                                 called->remote();
                                 chain.clearConfigStores();
                             }},
                    WholeRun{"resetConfigData", "User", true,
                             [](ConfigStoreManager& chain, const Called&) { chain.resetConfigData(); }},
                    WholeRun{"updateStoreValuesOfOldKeys", "User", false,
                             [](ConfigStoreManager& chain, const Called& called) {
                                 chain.addStore(std::make_shared<fakes::ScriptedStore>("User", 100));
                                 chain.updateStoreValues(called, {L"b"});
                             }}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(Threads, TheEndOfTheStoresKeepsTheChainTakenUntilTheLastOne) {
    std::vector<std::string> course;
    auto leaving = makeReadOnly("Leaving", 300);
    leaving->onDestruction([&] { course.emplace_back("the chain is free"); });
    manager.addStore(std::move(leaving));
    const auto first = makeReadOnly("First", 100);
    const auto second = makeReadOnly("Second", 200);
    first->onDestroy([&] { manager.removeStoreWithSameName("Leaving"); });
    second->onDestroy([&] { course.emplace_back("end of the second"); });
    addQuietly({first, second});
    manager.destroy();
    EXPECT_THAT(course, testing::ElementsAre("end of the second", "the chain is free"));
}

TEST_F(Threads, ADuplicateAndItsCopyLeaveInOneStep) {
    std::vector<std::string> left{"the copy is still there"};
    auto copy = makeReadOnly("cachedServer.xml", 400);
    copy->onDestruction([&] { left = chainNames(); });
    manager.addStore(std::move(copy));
    const auto server = makeReadOnly("Server", 200);
    server->cached();
    addQuietly({server});
    manager.removeStoreOnDuplicateAdded("Server");
    EXPECT_THAT(left, testing::IsEmpty());
}

TEST_F(Threads, ACacheFileIsRemovedWhileNobodyHasTheChain) {
    world.directory().write("config/Cache/cachedA.xml", "<config/>");
    std::unique_ptr<support::OtherThread> remover;
    manager.atomically([&] {
        remover = std::make_unique<support::OtherThread>([this] { manager.removeCacheFile("cachedA.xml"); });
        remover->untilItWaitsOrEnds();
        EXPECT_TRUE(world.directory().exists("config/Cache/cachedA.xml"));
    });
    remover->join();
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedA.xml"));
}

TEST_F(Threads, NobodyReadsWhileAllStoresAreWaitedFor) {
    std::latch readerIsThere(1);
    std::atomic<bool> hasRead = false;
    bool hasReadMeanwhile = false;
    std::thread reader;
    const auto first = makeReadOnly("First", 100);
    first->onWait([&] {
        reader = std::thread([&] {
            readerIsThere.count_down();
            valueOf(L"a");
            hasRead = true;
        });
        readerIsThere.wait();
    });
    const auto second = makeReadOnly("Second", 200);
    second->onWait([&] {
        // Enough turns for the reader to come through, if anything lets it.
        for (int turn = 0; turn < 10000; ++turn) {
            std::this_thread::yield();
        }
        hasReadMeanwhile = hasRead;
    });
    addQuietly({first, second});
    EXPECT_TRUE(manager.waitForStoresReady());
    reader.join();
    EXPECT_FALSE(hasReadMeanwhile);
    EXPECT_TRUE(hasRead);
}

}  // namespace
