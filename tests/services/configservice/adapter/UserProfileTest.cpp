#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <thread>
#include <utility>

#include "AdapterFixture.h"
#include "OnceClient.h"
#include "support/OtherThread.h"

using testing::Contains;
using testing::Not;

namespace {

/// A change of the user's profile counts if it removes the copy of the server's values.
class UserProfile : public AdapterFixture {
protected:
    void startWithProfile(const std::string& profile) {
        Values values = {{"PrimaryConfigStores", "TFTPConfigStore:240;"}};
        if (!profile.empty()) {
            values["LastLoadedUserProfile"] = profile;
        }
        writeLocal(values);
        writeCache("cachedTFTPConfigStore.xml", {{"key", "value"}});
        injectAndStart();
    }

    void changeTo(const std::wstring& profile) {
        adapter()->setConfig(L"LastLoadedUserProfile", profile);
        systemService->userProfileChanged();
    }

    bool serverValuesAreThere() const { return manager()->containsStore("cachedTFTPConfigStore.xml"); }

    /// Puts the remote store's copy back, as a download would.
    void addServerValues() {
        adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("cachedTFTPConfigStore.xml", 240));
    }
};

/// A server's store at which something happens between its joining and its caching.
class ServersStore : public fakes::ScriptedStore {
public:
    explicit ServersStore(std::function<void()> beforeCaching)
        : ScriptedStore("TFTPConfigStore", 40), beforeCaching_(std::move(beforeCaching)) {
        readOnly().remote().with(L"key", L"server's");
    }
    bool shouldCacheConfigStore() override {
        if (const auto once = std::exchange(beforeCaching_, nullptr)) {
            once();
        }
        return true;
    }

private:
    std::function<void()> beforeCaching_;
};

}  // namespace

TEST_F(UserProfile, FromNoneToOneRemovesNothing) {
    startWithProfile("");
    changeTo(L"a");
    EXPECT_TRUE(serverValuesAreThere());
}

TEST_F(UserProfile, FromOneToAnotherRemovesTheServersValuesItsFileAndItsEntry) {
    startWithProfile("a");
    changeTo(L"b");
    EXPECT_FALSE(serverValuesAreThere());
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
}

TEST_F(UserProfile, LeavesTheRemoteSourceOn) {
    startWithProfile("a");
    adapter()->startTftpConfigSource();
    changeTo(L"b");
    EXPECT_NE(adapter()->getTftpConfigStore(), nullptr);
}

TEST_F(UserProfile, ReportedWithoutAChangeRemovesNothing) {
    startWithProfile("a");
    systemService->userProfileChanged();
    EXPECT_TRUE(serverValuesAreThere());
}

TEST_F(UserProfile, ThatDiffersOnlyInCaseCounts) {
    startWithProfile("a");
    changeTo(L"A");
    EXPECT_FALSE(serverValuesAreThere());
}

TEST_F(UserProfile, ToEmptyCountsAndTheNextOneDoesNot) {
    startWithProfile("a");
    changeTo(L"");
    EXPECT_FALSE(serverValuesAreThere());
    addServerValues();
    changeTo(L"c");
    EXPECT_TRUE(serverValuesAreThere());
}

TEST_F(UserProfile, WhoseKeyIsGoneCountsAsEmpty) {
    startWithProfile("a");
    adapter()->resetConfig(L"LastLoadedUserProfile");
    systemService->userProfileChanged();
    EXPECT_FALSE(serverValuesAreThere());
}

TEST_F(UserProfile, KeepsItsFormerValueOverARestartIfTheKeyIsAbsentThen) {
    startWithProfile("a");
    adapter()->resetConfig(L"LastLoadedUserProfile");
    stop();
    start();
    changeTo(L"b");
    EXPECT_FALSE(serverValuesAreThere());
}

TEST_F(UserProfile, IsWatchedOnceAfterDestroyAndStart) {
    startWithProfile("a");
    const auto former = systemService->lastProfileConnection();
    adapter()->Destroy();
    EXPECT_TRUE(former->connected());
    start();
    EXPECT_FALSE(former->connected());
    changeTo(L"b");
    EXPECT_FALSE(serverValuesAreThere());
}

TEST_F(UserProfile, ConnectionEndsWithTheStop) {
    startWithProfile("a");
    stop();
    EXPECT_FALSE(systemService->lastProfileConnection()->connected());
}

TEST_F(UserProfile, ConnectionEndsBeforeTheStoresLeave) {
    startWithProfile("a");
    std::optional<bool> connected;
    {
        auto leaving = std::make_shared<fakes::ScriptedStore>("Outside", 45);
        leaving->remote().onDestruction([&] { connected = systemService->lastProfileConnection()->connected(); });
        adapter()->addConfigStore(std::move(leaving));
    }
    stop();
    EXPECT_EQ(connected, false);
}

TEST_F(UserProfile, RemovesTheServersValuesWhileOthersMayStartAndStop) {
    startWithProfile("a");
    const auto live = service()->getConfig(L"key");
    std::atomic<bool> answered = false;
    std::unique_ptr<support::OtherThread> asker;
    const auto client = std::make_shared<OnceClient>([&] {
        asker = std::make_unique<support::OtherThread>([&answered, held = adapter()] {
            held->IsFeatureSetStarted(1300);
            answered = true;
        });
        asker->untilItWaitsOrEnds();
        EXPECT_TRUE(answered);
    });
    live->addObserver(std::weak_ptr<ConfigValueObserver>(client));
    changeTo(L"b");
    ASSERT_NE(asker, nullptr);
    asker->join();
}

TEST_F(UserProfile, RemovesTheLiveStoreWithItsFileAndItsEntry) {
    startWithProfile("a");
    adapter()->startTftpConfigSource();
    adapter()->getTftpConfigStore()->storeValue(L"key", L"downloaded");
    adapter()->onTftpConfigDownloaded({});
    ASSERT_EQ(storeOf(L"key"), L"TFTPConfigStore");
    changeTo(L"b");
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
    EXPECT_NE(adapter()->getTftpConfigStore(), nullptr);
}

TEST_F(UserProfile, ThatChangesElsewhereWhileTheServersStoreJoinsLeavesNothingOfThat) {
    startWithProfile("a");
    bool hadJoined = false;
    adapter()->addConfigStore(std::make_shared<ServersStore>([&] {
        hadJoined = storeOf(L"key") == L"TFTPConfigStore";
        std::thread([this] { changeTo(L"b"); }).join();
    }));
    EXPECT_TRUE(hadJoined);
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
}

TEST_F(UserProfile, IsStillWatchedAfterDestroy) {
    startWithProfile("a");
    adapter()->Destroy();
    log->clear();
    changeTo(L"b");
    EXPECT_THAT(adapterLines(2), Contains("removeConfigStore: Config FeatureSet Not Started, failed to remove "
                                          "ConfigStore with name: [TFTPConfigStore]"));
}
