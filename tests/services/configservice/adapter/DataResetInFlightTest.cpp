#include <stdexcept>

#include "DataResetFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

/// What was queued or under way when the reset came.
class DataResetInFlight : public DataResetFixture {
protected:
    /// A store that is kept on the disk, of a name that does not wait for others.
    static std::shared_ptr<fakes::ScriptedStore> cachedStore(const std::string& name) {
        const auto store = std::make_shared<fakes::ScriptedStore>(name, 45);
        store->cached().with(L"outside", L"value");
        return store;
    }

    /// The same of a careless maker's, whose keys cannot be had from the moment on when that is said.
    class KeylessStore : public fakes::ScriptedStore {
    public:
        explicit KeylessStore(const std::string& name) : ScriptedStore(name, 45) { cached().with(L"other", L"value"); }
        std::vector<std::wstring> getKeys() override {
            return hasKeys ? ScriptedStore::getKeys() : throw std::runtime_error("no keys");
        }

        bool hasKeys = true;
    };

    bool isCachedAs(const std::string& name) const { return exists("Cache/cached" + name + ".xml"); }
};

}  // namespace

TEST_F(DataResetInFlight, PersistTasksWriteNothing) {
    injectAndStart();
    adapter()->setConfig(L"key", L"value");
    adapter()->setConfig({{L"first", L"value"}, {L"second", L"value"}});
    adapter()->resetConfig(L"first");
    ASSERT_FALSE(tasks->waitingNames().empty());
    reset();
    expectNothingOfTheUsers({L"key", L"first", L"second"});
}

TEST_F(DataResetInFlight, ValuesThatAreNotPersistedAreNotTakenOverByALaterStore) {
    injectAndStart();
    adapter()->setConfig(L"key", L"value");
    reset();
    adapter()->refreshConfigFeatureSet();
    stop();
    start();
    expectNothingOfTheUsers({L"key"});
}

TEST_F(DataResetInFlight, AWriteOfAClientThatLosesItsValueDoesNotLast) {
    injectAndStart();
    bool taken = false;
    adapter()->setInMemoryConfig(L"memory", L"value");
    // The store in memory goes first, when the user's file is still there to be written to.
    atNextChange(L"memory", [&] { taken = adapter()->setConfig(L"late", L"value"); });
    reset();
    EXPECT_TRUE(taken);
    expectNothingOfTheUsers({L"late"});
}

TEST_F(DataResetInFlight, AWriteAfterTheUsersFileHasGoneFindsNoStore) {
    injectAndStart();
    adapter()->setConfig(L"key", L"value");
    bool taken = true;
    atNextChange(L"key", [&] { taken = adapter()->setConfig(L"late", L"value"); });
    reset();
    EXPECT_FALSE(taken);
    expectNothingOfTheUsers({L"key", L"late"});
}

TEST_F(DataResetInFlight, AQueuedReportOfADownloadIsToldToNobody) {
    switchOn();
    elsewhere([this] { deliver({{"server", "value"}}); });
    ASSERT_THAT(dispatcher->waitingNames(), Contains("TftpConfigStore::fireOnConfigDownloaded"));
    reset();
    expectNothingOfTheUsers({L"server", L"TFTPPrimaryServer"});
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(DataResetInFlight, AQueuedReportOfNewContentIsToldToNobody) {
    switchOn();
    ASSERT_TRUE(deliver({{"server", "old"}}));
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    elsewhere([this] { deliver({{"server", "new"}}); });
    reset();
    expectNothingOfTheUsers({L"server"});
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(DataResetInFlight, ATransferThatRunsCompletesIntoNobody) {
    switchOn();
    const std::weak_ptr<TftpConfigStore> remote = adapter()->getTftpConfigStore();
    reset();
    ASSERT_EQ(transport->running().size(), 1U);
    ASSERT_TRUE(deliver({{"server", "value"}}));
    expectNothingOfTheUsers({L"server"});
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_TRUE(remote.expired());
    EXPECT_THAT(transport->running(), IsEmpty());
    EXPECT_TRUE(adapter()->getDownloadJournal()->snapshot().settled);
}

TEST_F(DataResetInFlight, WhatRunsBetweenTheDeletionAndTheNewStoresWritesNothing) {
    switchOn();
    ASSERT_TRUE(deliver({{"server", "old"}}));
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    elsewhere([this] { deliver({{"server", "new"}}); });
    adapter()->setConfig(L"key", L"value");
    bool taken = true;
    log->atNext("file with name: [corvidLocalConfig.xml] deleted", [&] {
        // By now the cached copies, which lie in a folder before it, have gone.
        tasks->runAll();
        dispatcher->runAll();
        taken = adapter()->setConfig(L"late", L"value") || adapter()->setInMemoryConfig(L"late", L"value");
    });
    reset();
    EXPECT_FALSE(taken);
    expectNothingOfTheUsers({L"server", L"key", L"late"});
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(DataResetInFlight, AWriteADownloadAndAPersistAtOnceLeaveNothing) {
    switchOn();
    ASSERT_TRUE(deliver({{"server", "old"}}));
    adapter()->setConfig(L"key", L"value");
    adapter()->addConfigStore(cachedStore("Outside"));
    ASSERT_TRUE(isCachedAs("Outside"));
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    reset();
    elsewhere([this] { deliver({{"server", "new"}}); });
    expectNothingOfTheUsers({L"server", L"key", L"outside"});
    EXPECT_THAT(chain(), Not(Contains("Outside")));
}

TEST_F(DataResetInFlight, AStoreThatWaitsWhileItIsAddedIsNotCachedBehindTheReset) {
    injectAndStart();
    const auto awaited = std::make_shared<fakes::ScriptedStore>("TFTPConfigStore", 40);
    awaited->onWait([this] { reset(); });
    adapter()->addConfigStore(awaited);
    adapter()->addConfigStore(cachedStore("PresenceConfigStore"));
    ASSERT_EQ(awaited->count("wait"), 1U);
    EXPECT_THAT(chain(), Not(Contains("PresenceConfigStore")));
    expectNothingOfTheUsers({L"outside"});
}

TEST_F(DataResetInFlight, AStoreThatWaitsMeanwhileLeavesTheCopyThatHasJoinedSince) {
    injectAndStart();
    const auto awaited = std::make_shared<fakes::ScriptedStore>("TFTPConfigStore", 40);
    awaited->onWait([this] {
        reset();
        adapter()->addCachedConfigStores(L"PresenceConfigStore:245;");
    });
    adapter()->addConfigStore(awaited);
    adapter()->addConfigStore(cachedStore("PresenceConfigStore"));
    EXPECT_THAT(chain(), Contains("cachedPresenceConfigStore.xml"));
}

TEST_F(DataResetInFlight, AStoreThatIsAddedAfterwardsIsCached) {
    injectAndStart();
    reset();
    adapter()->addConfigStore(cachedStore("Outside"));
    EXPECT_TRUE(isCachedAs("Outside"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"Outside:245;");
}

TEST_F(DataResetInFlight, AStoreThatJoinsInItsMidstAndGoesLeavesNothing) {
    injectAndStart();
    put("file");
    const auto store = cachedStore("Outside");
    store->remote();
    bool isInChain = false;
    log->atNext("file with name: [file] deleted", [&] {
        adapter()->addConfigStore(store);
        isInChain = manager()->containsStore("Outside");
    });
    reset();
    EXPECT_TRUE(isInChain);
    EXPECT_THAT(chain(), Not(Contains("Outside")));
    expectNothingOfTheUsers({L"outside"});
}

TEST_F(DataResetInFlight, AStoreThatJoinsInItsMidstAndStaysIsCachedAtItsEnd) {
    injectAndStart();
    put("file");
    put("other");
    // The files after this one, and the copy if it were written now, have yet to go.
    log->atNext("file with name: [file] deleted", [&] { adapter()->addConfigStore(cachedStore("Outside")); });
    reset();
    EXPECT_EQ(get(L"outside"), L"value");
    EXPECT_TRUE(isCachedAs("Outside"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"Outside:245;");
}

TEST_F(DataResetInFlight, AStoreThatJoinsAtItsFirstReportIsCachedAtItsEnd) {
    writeLocal({{"key", "value"}});
    injectAndStart();
    atNextChange(L"key", [this] { adapter()->addConfigStore(cachedStore("Outside")); });
    reset();
    EXPECT_EQ(get(L"outside"), L"value");
    EXPECT_TRUE(isCachedAs("Outside"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"Outside:245;");
}

TEST_F(DataResetInFlight, AStoreThatComesAndGoesInItsMidstLeavesNothing) {
    injectAndStart();
    put("file");
    log->atNext("file with name: [file] deleted", [&] {
        adapter()->addConfigStore(cachedStore("Outside"));
        adapter()->removeConfigStore("Outside");
    });
    reset();
    expectNothingOfTheUsers({L"outside"});
}

TEST_F(DataResetInFlight, AStoreThatIsNotToBeCachedIsNotCachedByIt) {
    injectAndStart();
    put("file");
    log->atNext("file with name: [file] deleted", [&] {
        const auto store = std::make_shared<fakes::ScriptedStore>("Outside", 45);
        store->with(L"outside", L"value");
        adapter()->addConfigStore(store);
    });
    reset();
    EXPECT_EQ(get(L"outside"), L"value");
    EXPECT_THAT(filesLeft(), IsEmpty());
}

TEST_F(DataResetInFlight, AClientThatThrowsKeepsNothingOfIt) {
    writeLocal({{"key", "value"}});
    injectAndStart();
    put("file");
    adapter()->setConfig(L"late", L"value");
    atNextChange(L"key", [] { throw std::runtime_error("a client's"); });
    EXPECT_THROW(reset(), std::runtime_error);
    expectNothingOfTheUsers({L"key", L"late"});
    EXPECT_FALSE(exists("file"));
    adapter()->addConfigStore(cachedStore("Outside"));
    EXPECT_TRUE(isCachedAs("Outside"));
}

TEST_F(DataResetInFlight, AStoreThatThrowsEndsItAndLaterStoresAreCached) {
    injectAndStart();
    adapter()->setInMemoryConfig(L"memory", L"value");
    const auto careless = std::make_shared<KeylessStore>("Careless");
    adapter()->addConfigStore(careless);
    // The store in memory goes before that one.
    atNextChange(L"memory", [&] {
        adapter()->addConfigStore(cachedStore("Meanwhile"));
        careless->hasKeys = false;
    });
    EXPECT_THROW(reset(), std::runtime_error);
    EXPECT_TRUE(isCachedAs("Meanwhile"));
    adapter()->addConfigStore(cachedStore("Later"));
    EXPECT_TRUE(isCachedAs("Later"));
}

TEST_F(DataResetInFlight, AStoreThatCannotBeCachedAtItsEndKeepsNoOtherFromIt) {
    injectAndStart();
    put("file");
    log->atNext("file with name: [file] deleted", [&] {
        const auto careless = std::make_shared<KeylessStore>("Careless");
        adapter()->addConfigStore(careless);
        careless->hasKeys = false;
        adapter()->addConfigStore(cachedStore("Outside"));
    });
    EXPECT_THROW(reset(), std::runtime_error);
    EXPECT_FALSE(isCachedAs("Careless"));
    EXPECT_TRUE(isCachedAs("Outside"));
}

TEST_F(DataResetInFlight, FromInsideANotificationItComesAfterIt) {
    injectAndStart();
    put("file");
    atNextChange(L"key", [this] { reset(); });
    adapter()->setConfig(L"key", L"value");
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("ConfigAdapter::InvokeResetData"));
    EXPECT_TRUE(exists("file"));
    EXPECT_EQ(get(L"key"), L"value");
    dispatcher->runAll();
    expectNothingOfTheUsers({L"key"});
}

TEST_F(DataResetInFlight, FromInsideTheReportOfADownloadItUndoesAllOfThat) {
    switchOn();
    ASSERT_TRUE(deliver({{"server", "old"}, {"former", "value"}}));
    // The key that the new file lacks is reported when the store is out of the chain for a moment.
    atNextChange(L"former", [this] { reset(); });
    download({{"server", "new"}});
    expectNothingOfTheUsers({L"server", L"former"});
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(DataResetInFlight, FromInsideItsOwnNotificationsItComesOnceMoreAfterwards) {
    writeLocal({{"key", "value"}});
    injectAndStart();
    atNextChange(L"key", [this] {
        reset();
        adapter()->refreshConfigFeatureSet();
        stop();
        adapter()->startTftpConfigSource();
    });
    reset();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_THAT(dispatcher->waitingNames(),
                ElementsAre("ConfigAdapter::InvokeResetData", "ConfigAdapter::refreshConfigFeatureSet",
                            "ConfigAdapter::stopConfigFeatureSet", "ConfigAdapter::startTftpConfigSource"));
    put("file");
    ASSERT_TRUE(dispatcher->runOne());
    EXPECT_THAT(filesLeft(), IsEmpty());
    dispatcher->runAll();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_NE(adapter()->getTftpConfigStore(), nullptr);
}

TEST_F(DataResetInFlight, ThatWaitsForItsTurnIsHarmlessOnceTheAdapterIsGone) {
    injectAndStart();
    put("file");
    atNextChange(L"key", [this] { reset(); });
    adapter()->setConfig(L"key", L"value");
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    factory->clear();
    EXPECT_TRUE(gone.expired());
    dispatcher->runAll();
    EXPECT_TRUE(exists("file"));
}
