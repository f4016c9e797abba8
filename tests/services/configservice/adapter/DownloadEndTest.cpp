#include "DownloadFixture.h"
#include "OnceClient.h"
#include "fakes/TftpConfigStoreTestAccess.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// Transfers that end when the feature set is no longer what it was at their start.
class DownloadEnd : public DownloadFixture {
protected:
    /// The one line of an addition that came too late.
    static constexpr const char* REFUSED =
        "addConfigStore: Config FeatureSet Not Started, failed to add ConfigStore with name: [TFTPConfigStore]";

    /// Nobody has been told of the file that has come.
    void expectNothingTaken() {
        EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
        EXPECT_EQ(get(L"key"), L"<none>");
        EXPECT_FALSE(isCached());
    }
};

/// Every way that makes the adapter let go of its remote store.
class LetGo : public DownloadEnd, public ::testing::WithParamInterface<void (*)(ConfigAdapter&)> {};

INSTANTIATE_TEST_SUITE_P(OfTheRemoteStore, LetGo,
                         ::testing::Values([](ConfigAdapter& adapter) { adapter.stopTftpConfigSource(); },
                                           [](ConfigAdapter& adapter) { adapter.StopFeatureSet(1300, nullptr); },
                                           [](ConfigAdapter& adapter) { adapter.refreshConfigFeatureSet(); }));

}  // namespace

TEST_P(LetGo, DuringATransferKeepsTheStoreUntilItsEndWhichTellsNobody) {
    switchOn();
    const std::weak_ptr<TftpConfigStore> store = adapter()->getTftpConfigStore();
    GetParam()(*adapter());
    EXPECT_FALSE(store.expired());
    EXPECT_EQ(transport->running().size(), 1U);
    log->clear();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_TRUE(store.expired());
    EXPECT_EQ(log->count(4, "Config updated with TFTP server information.........##"), 1U);
    EXPECT_THAT(adapterLines(2), IsEmpty());
    expectNothingTaken();
}

TEST_P(LetGo, BetweenATransfersEndAndItsReportTellsNobody) {
    switchOn();
    elsewhere([this] { ASSERT_TRUE(deliver({{"key", "value"}})); });
    GetParam()(*adapter());
    dispatcher->runAll();
    expectNothingTaken();
}

TEST_P(LetGo, DuringAFailingTransferEndsTheCycleAlone) {
    switchOn();
    GetParam()(*adapter());
    ASSERT_TRUE(transport->fail());
    EXPECT_EQ(transport->running().size(), 0U);
    expectNothingTaken();
}

TEST_P(LetGo, IsFollowedByANewStoreWhoseDownloadAloneCounts) {
    switchOn();
    GetParam()(*adapter());
    start();
    adapter()->startTftpConfigSource();
    ASSERT_EQ(transport->running().size(), 2U);
    ASSERT_TRUE(
        transport->complete(2, serverDocument({{"key", "new"}}), fakes::ScriptedHttpTransport::Result::Success));
    ASSERT_TRUE(
        transport->complete(1, serverDocument({{"key", "old"}}), fakes::ScriptedHttpTransport::Result::Success));
    EXPECT_EQ(get(L"key"), L"new");
    EXPECT_THAT(cached(), HasSubstr("new"));
}

TEST_P(LetGo, WhileATaskOfThePoolWaitsLetsThatTaskRunAlone) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    adapter()->setConfig(L"TFTPPrimaryServer", L"two");
    ASSERT_EQ(pool->waiting(), 1U);
    adapter()->removeConfigStore("TFTPConfigStore");
    GetParam()(*adapter());
    pool->runAll();
    ASSERT_TRUE(deliver({{"key", "two's"}}));
    expectNothingTaken();
}

TEST_F(DownloadEnd, AfterDestroyIsRefusedWithALine) {
    switchOn();
    adapter()->Destroy();
    log->clear();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_THAT(adapterLines(2), ElementsAre(REFUSED));
    expectNothingTaken();
}

TEST_F(DownloadEnd, AfterDestroyIsDroppedWithoutAWordOnceTheStoreHadKeys) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "first"}}));
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    adapter()->Destroy();
    log->clear();
    ASSERT_TRUE(deliver({{"key", "second"}}));
    EXPECT_THAT(adapterLines(2), IsEmpty());
    EXPECT_THAT(cached(), HasSubstr("first"));
}

TEST_F(DownloadEnd, OfASourceThatWasTurnedOnAfterAStopIsRefusedWithALine) {
    switchOn();
    stop();
    writeOverride(oneServer());
    adapter()->refreshConfigFeatureSet();
    adapter()->startTftpConfigSource();
    ASSERT_EQ(transport->running().size(), 2U);
    log->clear();
    ASSERT_TRUE(
        transport->complete(2, serverDocument({{"key", "value"}}), fakes::ScriptedHttpTransport::Result::Success));
    EXPECT_THAT(adapterLines(2), ElementsAre(REFUSED));
    expectNothingTaken();
}

TEST_F(DownloadEnd, AfterTheAdapterIsGoneTellsNobody) {
    switchOn();
    const std::weak_ptr<TftpConfigStore> store = adapter()->getTftpConfigStore();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    factory->clear();
    EXPECT_TRUE(gone.expired());
    EXPECT_FALSE(store.expired());
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_TRUE(store.expired());
    EXPECT_FALSE(isCached());
}

TEST_F(DownloadEnd, WhoseReportWaitsWhenTheAdapterGoesTellsNobody) {
    switchOn();
    const std::weak_ptr<TftpConfigStore> store = adapter()->getTftpConfigStore();
    elsewhere([this] { ASSERT_TRUE(deliver({{"key", "value"}})); });
    factory->clear();
    dispatcher->runAll();
    EXPECT_TRUE(store.expired());
    EXPECT_FALSE(isCached());
}

namespace {

/// A client that acts from inside the report of a download.
class InsideAReport : public DownloadEnd {
protected:
    /// What the run before has left: a copy on the disk, and its place in the list.
    void switchOnWithACopy() {
        Values local = oneServer();
        local["PrimaryConfigStores"] = "TFTPConfigStore:240;";
        writeCache("cachedTFTPConfigStore.xml", {{"key", "copy's"}});
        switchOn(local);
        ASSERT_EQ(storeOf(L"key"), L"cachedTFTPConfigStore.xml");
    }

    /// The copy answers, and the disk has what the server has sent.
    void expectTheCopyServes() {
        EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
        EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
        EXPECT_EQ(storeOf(L"key"), L"cachedTFTPConfigStore.xml");
        EXPECT_THAT(cached(), HasSubstr("server's"));
    }

    void onFirstValue(const std::function<void()>& action) {
        live_ = service()->getConfig(L"key");
        client_ = std::make_shared<OnceClient>(action);
        live_->addObserver(std::weak_ptr<ConfigValueObserver>(client_));
    }

private:
    std::shared_ptr<ConfigValue> live_;
    std::shared_ptr<OnceClient> client_;
};

}  // namespace

TEST_F(InsideAReport, AddingThePresenceStoreReturnsAtOnce) {
    switchOn();
    const auto remote = adapter()->getTftpConfigStore();
    bool wasReady = true;
    onFirstValue([&] {
        adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 41));
        wasReady = TftpConfigStoreTestAccess::isReady(*remote);
    });
    EXPECT_TRUE(fakes::endsWithoutWaitingFor(*remote, [&] { ASSERT_TRUE(deliver({{"key", "value"}})); }));
    EXPECT_FALSE(wasReady);
    EXPECT_TRUE(TftpConfigStoreTestAccess::isReady(*remote));
    EXPECT_THAT(chain(), Contains("PresenceConfigStore"));
    EXPECT_EQ(log->count(5, "TftpConfigStore::waitForStoreReady() - Starting timed wait. Timeout of 20 seconds"), 1U);
    EXPECT_EQ(log->count(5, "TftpConfigStore::waitForStoreReady() - Finished timed wait"), 1U);
}

TEST_F(InsideAReport, StoppingTheFeatureSetWorks) {
    switchOn();
    onFirstValue([this] { stop(); });
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(InsideAReport, RefreshingWorks) {
    switchOn();
    onFirstValue([this] { adapter()->refreshConfigFeatureSet(); });
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(InsideAReport, RefreshingLeavesTheServersCopyInThePlaceOfTheStoreThatItTakesOut) {
    switchOnWithACopy();
    onFirstValue([this] { adapter()->refreshConfigFeatureSet(); });
    ASSERT_TRUE(deliver({{"key", "server's"}}));
    expectTheCopyServes();
    EXPECT_EQ(get(L"key"), L"copy's");
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
}

TEST_F(InsideAReport, OfNewContentRefreshingLeavesTheServersCopyToo) {
    switchOnWithACopy();
    ASSERT_TRUE(deliver({{"key", "first"}}));
    onFirstValue([this] { adapter()->refreshConfigFeatureSet(); });
    download({{"key", "server's"}});
    expectTheCopyServes();
    EXPECT_EQ(get(L"key"), L"first");
}

TEST_F(InsideAReport, StoppingTheFeatureSetLeavesTheServersCopy) {
    switchOnWithACopy();
    onFirstValue([this] { stop(); });
    ASSERT_TRUE(deliver({{"key", "server's"}}));
    expectTheCopyServes();
}

TEST_F(InsideAReport, WhatIsRemovedDoesNotComeBack) {
    switchOn();
    bool removed = false;
    onFirstValue([&] { removed = service()->removeConfigStoreAndCache(L"tftpconfigstore"); });
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_TRUE(removed);
    expectNothingTaken();
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
}

TEST_F(InsideAReport, AStoreThatIsRemovedAndAddedAgainIsCached) {
    switchOn();
    onFirstValue([this] {
        adapter()->removeConfigStore("TFTPConfigStore");
        adapter()->addConfigStore(adapter()->getTftpConfigStore());
    });
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_EQ(storeOf(L"key"), L"TFTPConfigStore");
    EXPECT_THAT(cached(), HasSubstr("value"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
}

TEST_F(InsideAReport, AStoreThatTakesThePlaceOfTheReportedOneIsTheOneThatIsCached) {
    injectAndStart();
    const auto named = [](const std::wstring& value, int priority) {
        const auto store = std::make_shared<fakes::ScriptedStore>("Outside", priority);
        store->remote().cached().with(L"key", value);
        return store;
    };
    onFirstValue([&] { adapter()->addConfigStore(named(L"later", 50)); });
    adapter()->addConfigStore(named(L"earlier", 40));
    EXPECT_EQ(get(L"key"), L"later");
    EXPECT_THAT(cacheFile("cachedOutside.xml"), HasSubstr("<key>later</key>"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"Outside:250;");
}

TEST_F(InsideAReport, TurningTheSourceOffAndOnWorks) {
    switchOn();
    onFirstValue([this] {
        adapter()->stopTftpConfigSource();
        adapter()->startTftpConfigSource();
    });
    ASSERT_TRUE(deliver({{"key", "first"}}));
    ASSERT_TRUE(deliver({{"key", "second"}}));
    EXPECT_EQ(get(L"key"), L"second");
    EXPECT_EQ(storeNamed("TFTPConfigStore"), adapter()->getTftpConfigStore());
}
