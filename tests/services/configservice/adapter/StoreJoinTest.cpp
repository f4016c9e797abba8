#include <latch>
#include <thread>

#include "DownloadFixture.h"
#include "OnceClient.h"
#include "fakes/TftpConfigStoreTestAccess.h"
#include "support/OtherThread.h"

using testing::Contains;

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// What else happens when a store joins the chain or leaves it.
class StoreJoin : public DownloadFixture {
protected:
    /// A store as the remote one is, under any name.
    static std::shared_ptr<fakes::ScriptedStore> server(const std::string& name = "TFTPConfigStore") {
        auto store = std::make_shared<fakes::ScriptedStore>(name, 40);
        store->readOnly().remote().cached();
        return store;
    }

    static std::shared_ptr<fakes::ScriptedStore> presence(const std::string& name = "PresenceConfigStore") {
        return std::make_shared<fakes::ScriptedStore>(name, 41);
    }

    /// What a user's file holds of a server whose values are cached.
    static Values serverWithCopy() {
        Values local = oneServer();
        local["PrimaryConfigStores"] = "TFTPConfigStore:240;";
        return local;
    }

    /// Another thread takes the store "Outside" out; goes on once that waits for something or has ended.
    void removeElsewhere() {
        remover_ = std::make_unique<support::OtherThread>([held = adapter()] { held->removeConfigStore("Outside"); });
        remover_->untilItWaitsOrEnds();
    }

    void expectNothingOfWhatWasRemoved() {
        ASSERT_NE(remover_, nullptr);
        remover_->join();
        EXPECT_THAT(chain(), Not(Contains("Outside")));
        EXPECT_FALSE(world.directory().exists("config/Cache/cachedOutside.xml"));
        EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
    }

    std::size_t waits() const {
        return log->count(5, "TftpConfigStore::waitForStoreReady() - Starting timed wait. Timeout of 20 seconds");
    }

private:
    std::unique_ptr<support::OtherThread> remover_;
};

}  // namespace

TEST_F(StoreJoin, AppliesTheServerPolicyBeforeItWorksOutTheFlags) {
    Values local = oneServer();
    local["CtiServer1"] = "user's";
    switchOn(local);
    ASSERT_TRUE(deliver({{"Customize_Phone_Server", "false"}}));
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
    EXPECT_EQ(get(L"Telephony_Enabled"), L"false");
}

TEST_F(StoreJoin, TellsOfTheKeysThatOnlyTheCachedCopyHeld) {
    writeCache("cachedTFTPConfigStore.xml", {{"key", "old"}, {"gone", "old"}});
    switchOn(serverWithCopy());
    observe();
    ASSERT_TRUE(deliver({{"key", "new"}}));
    EXPECT_THAT(observer.course(), Contains("~gone-").Times(1));
    EXPECT_THAT(observer.course(), Contains("gone!").Times(1));
}

TEST_F(StoreJoin, EmptiesTheLiveValueOfAKeyThatOnlyTheCachedCopyHeld) {
    writeCache("cachedTFTPConfigStore.xml", {{"key", "old"}, {"gone", "old"}});
    switchOn(serverWithCopy());
    const auto live = service()->getConfig(L"gone");
    ASSERT_EQ(live->getValue(), L"old");
    std::wstring seen = L"not told";
    const auto client = std::make_shared<OnceClient>([&] { seen = live->getValue(); });
    live->addObserver(std::weak_ptr<ConfigValueObserver>(client));
    ASSERT_TRUE(deliver({{"key", "new"}}));
    EXPECT_EQ(seen, L"");
    EXPECT_EQ(live->getValue(), L"");
}

TEST_F(StoreJoin, IsUndoneForTheLiveStoreAndItsCopyTogether) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    adapter()->addCachedConfigStores(L"TFTPConfigStore:240;");
    ASSERT_THAT(chain(), Contains("TFTPConfigStore"));
    ASSERT_THAT(chain(), Contains("cachedTFTPConfigStore.xml"));
    EXPECT_TRUE(adapter()->removeConfigStore("TFTPConfigStore"));
    EXPECT_THAT(chain(), Not(Contains(HasSubstr("TFTPConfigStore"))));
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_FALSE(isCached());
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
}

TEST_F(StoreJoin, OfACopyWhoseFileIsNoXmlIsThatOfAnEmptyStore) {
    writeLocal({{"PrimaryConfigStores", "Bad:77;Good:78;"}});
    write("config/Cache/cachedBad.xml", "no document");
    writeCache("cachedGood.xml", {{"key", "value"}});
    inject();
    ASSERT_NE(storeNamed("cachedBad.xml"), nullptr);
    EXPECT_THAT(storeNamed("cachedBad.xml")->getKeys(), IsEmpty());
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_EQ(read("config/Cache/cachedBad.xml"), "no document");
}

TEST_F(StoreJoin, NeedsNoCacheFolder) {
    write("config/Cache", "a file where the folder should be");
    switchOn(serverWithCopy());
    ASSERT_THAT(chain(), Contains("cachedTFTPConfigStore.xml"));
    log->clear();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_EQ(storeOf(L"key"), L"TFTPConfigStore");
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
    EXPECT_THAT(chain(), Not(Contains("cachedTFTPConfigStore.xml")));
    EXPECT_EQ(read("config/Cache"), "a file where the folder should be");
    for (const auto& line : log->lines()) {
        EXPECT_TRUE(line.level > 2 || line.logger == "XmlConfigParser") << line.logger << ": " << line.text;
    }
}

TEST_F(StoreJoin, WithoutACacheFolderListsAStoreThatWasNotListed) {
    write("config/Cache", "a file where the folder should be");
    switchOn();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
}

TEST_F(StoreJoin, OfAPresenceStoreInAnotherCaseWaitsForTheRemoteStoreThatHasNotJoined) {
    switchOn();
    // The cycle has ended without a file, so that the wait is over at once.
    ASSERT_TRUE(transport->fail());
    ASSERT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    adapter()->addConfigStore(presence("presenceconfigstore"));
    EXPECT_EQ(waits(), 1U);
    // Once after the wait, once for the store.
    EXPECT_EQ(flagRuns(), 2U);
}

TEST_F(StoreJoin, OfAPresenceStoreOnTheDispatcherThreadWaitsUntilATransferElsewhereFails) {
    switchOn();
    const auto remote = adapter()->getTftpConfigStore();
    ASSERT_FALSE(TftpConfigStoreTestAccess::isReady(*remote));
    std::thread network([this] {
        log->waitFor("TftpConfigStore::waitForStoreReady() - Starting timed wait. Timeout of 20 seconds");
        transport->fail();
    });
    adapter()->addConfigStore(presence());
    // The time-out would have left it unready.
    EXPECT_TRUE(TftpConfigStoreTestAccess::isReady(*remote));
    network.join();
    EXPECT_EQ(remote->queryState(), TftpConfigStore::FINISHED);
    EXPECT_THAT(chain(), Contains("PresenceConfigStore"));
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_THAT(dispatcher->waitingNames(), Not(Contains("TftpConfigStore::fireOnConfigDownloaded")));
}

TEST_F(StoreJoin, ThatIsUndoneWhileTheCopyIsBeingWrittenLeavesNoCopy) {
    injectAndStart();
    // Said when the temporary file is there and has not become the file yet.
    log->atNext("characters that XML cannot hold were replaced in the entry: outside", [this] { removeElsewhere(); });
    const auto store = server("Outside");
    store->with(L"outside", L"value\x01");
    adapter()->addConfigStore(store);
    expectNothingOfWhatWasRemoved();
}

TEST_F(StoreJoin, ThatIsUndoneWhileTheStoreReadsTheChainToTellItsPriorityEndsLikeIt) {
    injectAndStart();
    /// Lets something happen whenever it is asked for its copy's place.
    class ReadingStore : public fakes::ScriptedStore {
    public:
        explicit ReadingStore(std::function<void()> read) : ScriptedStore("Outside", 45), read_(std::move(read)) {
            cached().with(L"outside", L"value");
        }
        std::int32_t getCachedPriority() override {
            read_();
            return ScriptedStore::getCachedPriority();
        }

    private:
        const std::function<void()> read_;
    };
    int asked = 0;
    const auto store = std::make_shared<ReadingStore>([&] {
        // The first time is for the list of stores, the second one for the file.
        if (++asked == 2) {
            removeElsewhere();
        }
        get(L"Theme");
    });
    adapter()->addConfigStore(store);
    expectNothingOfWhatWasRemoved();
}

TEST_F(StoreJoin, ThatIsUndoneWhileTheStoreWaitsLeavesNothing) {
    injectAndStart();
    const auto awaited = server();
    awaited->onWait([this] { adapter()->removeConfigStore("PresenceConfigStore"); });
    adapter()->addConfigStore(awaited);
    const auto waiting = presence();
    waiting->cached();
    adapter()->addConfigStore(waiting);
    EXPECT_THAT(chain(), Not(Contains("PresenceConfigStore")));
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedPresenceConfigStore.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
}

TEST_F(StoreJoin, WaitsForTheRemoteStoreBeforeItCaches) {
    injectAndStart();
    const auto waiting = presence();
    waiting->cached();
    const auto awaited = server();
    awaited->onWait([&] { waiting->storeValue(L"late", L"value"); });
    adapter()->addConfigStore(awaited);
    adapter()->addConfigStore(waiting);
    EXPECT_EQ(awaited->count("wait"), 1U);
    EXPECT_THAT(cacheFile("cachedPresenceConfigStore.xml"), HasSubstr("<late>value</late>"));
}

TEST_F(StoreJoin, HasTheFreshValuesOnTheDiskBeforeTheCopyLeavesTheChain) {
    writeCache("cachedTFTPConfigStore.xml", {{"key", "old"}, {"gone", "old"}});
    switchOn(serverWithCopy());
    const auto live = service()->getConfig(L"gone");
    std::string atItsEnd;
    const auto client = std::make_shared<OnceClient>([&] { atItsEnd = cached(); });
    live->addObserver(std::weak_ptr<ConfigValueObserver>(client));
    ASSERT_TRUE(deliver({{"key", "new"}}));
    EXPECT_THAT(atItsEnd, HasSubstr("new"));
    EXPECT_THAT(atItsEnd, Not(HasSubstr("old")));
}

namespace {

/// Two threads that change the list of stores at once, in several rounds.
class TwoThreadsAtTheList : public StoreJoin {
protected:
    static constexpr int ROUNDS = 10;

    TwoThreadsAtTheList() {
        injectAndStart();
        // A long list, so that its rewriting takes long enough for the two to meet there.
        std::wstring list;
        for (int number = 0; number < 1000; ++number) {
            list += L"Filler" + std::to_wstring(number) + L":1;";
        }
        adapter()->setConfig(L"PrimaryConfigStores", list);
    }

    void atOnce(const std::function<void(ConfigAdapter&)>& one, const std::function<void(ConfigAdapter&)>& other) {
        std::latch together(2);
        const auto run = [&together, held = adapter()](const auto& action) {
            together.arrive_and_wait();
            action(*held);
        };
        std::thread first([&] { run(one); });
        std::thread second([&] { run(other); });
        first.join();
        second.join();
        dispatcher->runAll();
    }

    bool lists(const std::string& name) const {
        return ConfigAdapter::getCachedConfigStorePrioityMap(get(L"PrimaryConfigStores"))
                   .count(QuillCoreUtils::toWideString(name)) != 0;
    }
};

}  // namespace

TEST_F(TwoThreadsAtTheList, ThatAddAStoreEachHaveBothListed) {
    for (int round = 0; round < ROUNDS; ++round) {
        const std::string one = "One" + std::to_string(round);
        const std::string other = "Other" + std::to_string(round);
        atOnce([&](ConfigAdapter& held) { held.addConfigStore(server(one)); },
               [&](ConfigAdapter& held) { held.addConfigStore(server(other)); });
        EXPECT_TRUE(lists(one)) << one;
        EXPECT_TRUE(lists(other)) << other;
    }
}

TEST_F(TwoThreadsAtTheList, ThatAddOneStoreAndRemoveAnotherHaveBothDone) {
    adapter()->addConfigStore(server("Store0"));
    for (int round = 1; round <= ROUNDS; ++round) {
        const std::string added = "Store" + std::to_string(round);
        const std::string removed = "Store" + std::to_string(round - 1);
        atOnce([&](ConfigAdapter& held) { held.addConfigStore(server(added)); },
               [&](ConfigAdapter& held) { held.removeConfigStore(removed); });
        EXPECT_TRUE(lists(added)) << added;
        EXPECT_FALSE(lists(removed)) << removed;
    }
}
