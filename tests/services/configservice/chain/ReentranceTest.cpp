#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <initializer_list>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "ChainFixture.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

/// Observers and stores that call the manager from inside its own call, on the same thread.
class Reentrance : public ChainFixture {
protected:
    /// Runs the action inside the first report only: its own reports must not start it again.
    void onFirstReport(std::function<void()> action) {
        observer.onReport([this, action](const fakes::ManagerReport&) {
            if (!std::exchange(acted_, true)) {
                action();
            }
        });
    }

    std::shared_ptr<fakes::ScriptedStore> user = makeStore("User", 100);
    std::shared_ptr<fakes::ScriptedStore> late = makeStore("Late", 300);
    std::shared_ptr<fakes::ScriptedStore> server = makeReadOnly("Server", 200);

private:
    bool acted_ = false;
};

TEST_F(Reentrance, ObserverMayReadFromInsideAReport) {
    addQuietly({user});
    std::wstring seen;
    onFirstReport([&] { seen = valueOf(L"a"); });
    manager.storeValue(L"a", L"1");
    EXPECT_EQ(seen, L"1");
}

TEST_F(Reentrance, ObserverMayTakeAwayTheKeyThatItsCallerStillHolds) {
    addQuietly({user});
    std::array<fakes::RecordingManagerObserver, 2> others;
    const std::wstring name = L"a key that does not fit into the text object itself";
    for (const auto& write : std::initializer_list<std::function<void(const std::wstring&)>>{
             [this](const std::wstring& key) { manager.storeValue(key, L"1"); },
             [this](const std::wstring& key) { manager.eraseKey(key); }}) {
        auto key = std::make_unique<std::wstring>(name);
        for (auto& other : others) {
            other.clear();
            other.onReport([&key](const fakes::ManagerReport&) { key.reset(); });
            manager.AddObserver(&other);
        }
        write(*key);
        for (auto& other : others) {
            manager.RemoveObserver(&other);
            ASSERT_EQ(other.changes().size(), 1U);
            EXPECT_EQ(other.changes()[0].key, name);
        }
    }
}

TEST_F(Reentrance, ObserverMayWriteFromInsideAReport) {
    addQuietly({user});
    onFirstReport([&] { manager.storeValue(L"b", L"2"); });
    manager.storeValue(L"a", L"1");
    EXPECT_EQ(valueOf(L"b"), L"2");
    EXPECT_THAT(observer.course(), ElementsAre("a=1", "b=2"));
}

TEST_F(Reentrance, ObserverMayEraseTheVeryKeyFromInsideItsReport) {
    addQuietly({user});
    onFirstReport([&] { manager.eraseKey(L"a"); });
    EXPECT_TRUE(manager.storeValue(L"a", L"1"));
    EXPECT_THAT(observer.course(), ElementsAre("a=1", "a-"));
}

TEST_F(Reentrance, ObserverMayMarkAKeyFromInsideAReport) {
    addQuietly({user});
    onFirstReport([&] { manager.setKeySensitive(L"a"); });
    manager.storeValue(L"a", L"1");
    EXPECT_THAT(observer.course(), ElementsAre("a=1", "a?"));
}

TEST_F(Reentrance, StoreAddedDuringAMapWriteIsNotWrittenInThatWalk) {
    addQuietly({user, late});
    const auto joined = makeStore("Joined", 150);
    onFirstReport([&] { manager.addStore(joined); });
    manager.storeValue({{L"a", L"1"}});
    EXPECT_THAT(joined->calls(), IsEmpty());
    EXPECT_THAT(late->calls(), ElementsAre("store a=1"));
    EXPECT_THAT(chainNames(), ElementsAre("User", "Joined", "Late"));
}

TEST_F(Reentrance, StoreAddedAheadDuringAMapWriteMakesNoStoreBeWrittenTwice) {
    addQuietly({user, late});
    onFirstReport([&] { manager.addStore(makeReadOnly("Ahead", 1)); });
    manager.storeValue({{L"a", L"1"}});
    EXPECT_EQ(user->count("store a=1"), 1u);
    EXPECT_EQ(late->count("store a=1"), 1u);
}

TEST_F(Reentrance, StoreRemovedDuringAMapWriteIsPassedOver) {
    addQuietly({user, late});
    onFirstReport([&] { manager.removeStoreWithSameName("Late"); });
    EXPECT_TRUE(manager.storeValue({{L"a", L"1"}}));
    EXPECT_THAT(late->calls(), IsEmpty());
}

TEST_F(Reentrance, StoreThatIsBeingWrittenMayBeRemovedAndTheNextIsStillReached) {
    const auto middle = makeStore("Middle", 200);
    addQuietly({user, middle, late});
    onFirstReport([&] { manager.removeStoreWithSameName("User"); });
    manager.storeValue({{L"a", L"1"}});
    EXPECT_EQ(middle->count("store a=1"), 1u);
    EXPECT_EQ(late->count("store a=1"), 1u);
}

TEST_F(Reentrance, StoresMayGoWhileTheChainIsCleared) {
    const auto first = makeReadOnly("First", 1);
    const auto second = makeReadOnly("Second", 2);
    first->remote().with(L"a", L"1");
    second->remote().with(L"b", L"2");
    addQuietly({first, second});
    onFirstReport([&] {
        manager.removeStoreWithSameName("First");
        manager.addStore(makeReadOnly("Third", 3));
    });
    manager.clearConfigStores();
    EXPECT_THAT(chainNames(), ElementsAre("Third"));
}

TEST_F(Reentrance, StoresMayGoDuringADataReset) {
    const auto first = makeReadOnly("First", 1);
    const auto second = makeReadOnly("Second", 2);
    second->with(L"b", L"2");
    addQuietly({first, second, makeReadOnly("BootstrapConfigStore", 3)});
    onFirstReport([&] { manager.removeStoreWithSameName("First"); });
    manager.resetConfigData();
    EXPECT_THAT(chainNames(), ElementsAre("BootstrapConfigStore"));
}

TEST_F(Reentrance, StoreMayBeReplacedFromInsideTheReportOfItsOwnReplacement) {
    server->with(L"a", L"old");
    addQuietly({server});
    const auto newest = makeReadOnly("Server", 200);
    newest->with(L"a", L"newest");
    onFirstReport([&] { manager.addStore(newest); });
    const auto newer = makeReadOnly("Server", 200);
    newer->with(L"a", L"newer");
    manager.addStore(newer);
    EXPECT_EQ(valueOf(L"a"), L"newest");
    EXPECT_THAT(chainNames(), ElementsAre("Server"));
}

TEST_F(Reentrance, ChainMayGrowAndShrinkInsideALostKeysReport) {
    server->with(L"lost", L"old");
    addQuietly({user, server, late});
    onFirstReport([&] {
        manager.removeStoreWithSameName("User");
        manager.removeStoreWithSameName("Late");
    });
    manager.addStore(makeReadOnly("Server", 200));
    EXPECT_THAT(chainNames(), ElementsAre("Server"));
    EXPECT_THAT(observer.course(), Contains("lost-"));
}

TEST_F(Reentrance, ObserverMayRemoveItselfFromInsideAReport) {
    addQuietly({user});
    onFirstReport([&] { manager.RemoveObserver(&observer); });
    manager.storeValue({{L"a", L"1"}, {L"b", L"2"}});
    EXPECT_THAT(observer.course(), ElementsAre("a=1"));
}

TEST_F(Reentrance, ObserverMayRemoveAllOthersFromInsideAReport) {
    std::array<fakes::RecordingManagerObserver, 4> others;
    for (auto& other : others) {
        manager.AddObserver(&other);
    }
    manager.RemoveObserver(&observer);
    others[1].onReport([&](const fakes::ManagerReport&) {
        for (auto& other : others) {
            manager.RemoveObserver(&other);
        }
    });
    manager.NotifyFireIfRequired(L"a");
    EXPECT_THAT(others[0].course(), ElementsAre("a!"));
    EXPECT_THAT(others[1].course(), ElementsAre("a!"));
    EXPECT_THAT(others[2].course(), IsEmpty());
    EXPECT_THAT(others[3].course(), IsEmpty());
}

TEST_F(Reentrance, ObserverThatJoinsInsideAReportIsVisitedIfItsAddressIsGreater) {
    manager.RemoveObserver(&observer);
    std::array<fakes::RecordingManagerObserver, 3> others;
    manager.AddObserver(&others[1]);
    others[1].onReport([&](const fakes::ManagerReport&) {
        manager.AddObserver(&others[0]);
        manager.AddObserver(&others[2]);
    });
    manager.NotifyFireIfRequired(L"a");
    EXPECT_THAT(others[0].course(), IsEmpty());
    EXPECT_THAT(others[1].course(), ElementsAre("a!"));
    EXPECT_THAT(others[2].course(), ElementsAre("a!"));
    for (auto& other : others) {
        manager.RemoveObserver(&other);
    }
}

TEST_F(Reentrance, StoreMayWriteFromInsideALookup) {
    addQuietly({user, server});
    server->onGetValue([&](const std::wstring& key) {
        if (key == L"asked") {
            manager.storeValue(L"written", L"yes");
        }
    });
    EXPECT_EQ(valueOf(L"asked"), L"(none)");
    EXPECT_EQ(valueOf(L"written"), L"yes");
}

/// A removed store's destructor may be a client's: it must find the chain's lock free.
class Departure : public ChainFixture {
protected:
    /// Makes a store whose destruction asks, from another thread, for the chain lock; a held one would never be had.
    std::shared_ptr<fakes::ScriptedStore> makeWatched(const std::string& name) {
        auto store = makeReadOnly(name, 200);
        store->remote().with(L"a", L"1").onDestruction([this] {
            std::thread([this] { manager.containsStore("anything"); }).join();
            ++destroyed;
        });
        return store;
    }

    int destroyed = 0;
};

TEST_F(Departure, OfARemovedStoreHappensWithoutTheLock) {
    manager.addStore(makeWatched("Server"));
    manager.removeStoreWithSameName("Server");
    EXPECT_EQ(destroyed, 1);
}

TEST_F(Departure, OfAReplacedStoreHappensWithoutTheLock) {
    manager.addStore(makeWatched("Server"));
    manager.addStore(makeReadOnly("Server", 200));
    EXPECT_EQ(destroyed, 1);
}

TEST_F(Departure, OfClearedStoresHappensWithoutTheLock) {
    manager.addStore(makeWatched("One"));
    manager.addStore(makeWatched("Two"));
    manager.clearConfigStores();
    EXPECT_EQ(destroyed, 2);
}

TEST_F(Departure, InADataResetHappensWithoutTheLock) {
    manager.addStore(makeWatched("Server"));
    manager.resetConfigData();
    EXPECT_EQ(destroyed, 1);
}

TEST_F(Departure, InsideAReportWaitsForTheOutermostLock) {
    manager.addStore(makeWatched("Server"));
    addQuietly({makeStore("User", 100)});
    observer.onReport([this, removed = false](const fakes::ManagerReport&) mutable {
        if (!std::exchange(removed, true)) {
            manager.removeStoreWithSameName("Server");
            EXPECT_EQ(destroyed, 0);
        }
    });
    manager.storeValue(L"b", L"2");
    EXPECT_EQ(destroyed, 1);
}

TEST_F(Departure, InsideAnAtomicChangeWaitsForItsEnd) {
    manager.addStore(makeWatched("Server"));
    manager.atomically([this] {
        manager.removeStoreWithSameName("Server");
        EXPECT_EQ(destroyed, 0);
    });
    EXPECT_EQ(destroyed, 1);
}

}  // namespace
