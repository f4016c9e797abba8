#include <stdexcept>

#include "EdgeDownloadFixture.h"
#include "OnceClient.h"

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::SizeIs;

namespace {

/// Clients that throw when they are told of a change, in the midst of an operation that has more to do.
class ThrowingClient : public EdgeDownloadFixture {
protected:
    ThrowingClient() {
        transport->setAnswer([](const std::string&) {
            return std::string("<versionInformation><version>12.5.1</version></versionInformation>");
        });
    }

    /// At the next change of the key.
    void throwAt(const std::wstring& key) {
        atNextChange(key, [] { throw std::runtime_error("a client's"); });
    }

    void atNextChange(const std::wstring& key, std::function<void()> action) {
        live_.push_back(service()->getConfig(key));
        clients_.push_back(std::make_shared<OnceClient>(std::move(action)));
        live_.back()->addObserver(std::weak_ptr<ConfigValueObserver>(clients_.back()));
    }

    void switchOn() {
        injectAndStart();
        adapter()->startTftpConfigSource();
    }

    std::string userFile() const { return read("config/corvidLocalConfig.xml"); }

private:
    std::vector<std::shared_ptr<ConfigValue>> live_;
    std::vector<std::shared_ptr<OnceClient>> clients_;
};

}  // namespace

TEST_F(ThrowingClient, AtTheSourcesStartLeavesItOnWithItsServersAndTheEdgeWatched) {
    writeLocal({{"TFTPPrimaryServer", "one"}});
    const auto softphone = health(SOFTPHONE);
    setList({softphone});
    injectAndStart();
    throwAt(L"HomeUdsVersion");
    EXPECT_THROW(adapter()->startTftpConfigSource(), std::runtime_error);
    EXPECT_THAT(transport->startedUrls(), ElementsAre("https://one:6972/corvid-config.xml"));
    EXPECT_EQ(softphone->connections(), 1U);
    adapter()->setConfig(L"TFTPPrimaryServer", L"two");
    EXPECT_EQ(pool->runAll(), 1U);
    ASSERT_TRUE(transport->deliver(serverDocument({{"key", "old"}})));
    EXPECT_THAT(transport->startedUrls(),
                ElementsAre("https://one:6972/corvid-config.xml", "https://two:6972/corvid-config.xml"));
    ASSERT_TRUE(transport->deliver(serverDocument({{"key", "value"}})));
    EXPECT_EQ(get(L"key"), L"value");
}

TEST_F(ThrowingClient, WhenTelephonyConnectsLeavesNothingWatchedAndADownloadUnderWay) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    ASSERT_TRUE(transport->deliver(serverDocument({{"key", "old"}})));
    adapter()->resetConfig(L"HomeUdsVersion");
    throwAt(L"HomeUdsVersion");
    EXPECT_THROW(softphone->change(CONNECTED), std::runtime_error);
    EXPECT_THAT(transport->sentUrls(), SizeIs(1));
    EXPECT_THAT(transport->running(), SizeIs(1));
    EXPECT_TRUE(everythingIsDisconnected());
    // Nor is the entry kept for the next watch.
    setList({});
    restartSource();
    EXPECT_EQ(softphone->connections(), 0U);
}

TEST_F(ThrowingClient, AtAKeyThatANewFileLacksLeavesTheFileInTheChainAndItsCopyOnDisk) {
    switchOn();
    ASSERT_TRUE(transport->deliver(serverDocument({{"former", "value"}, {"key", "old"}})));
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    throwAt(L"former");
    EXPECT_THROW(transport->deliver(serverDocument({{"key", "new"}})), std::runtime_error);
    EXPECT_EQ(get(L"key"), L"new");
    EXPECT_EQ(get(L"former"), L"<none>");
    EXPECT_THAT(chain(), Contains("TFTPConfigStore"));
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), HasSubstr("<key>new</key>"));
}

TEST_F(ThrowingClient, AtOneKeyOfAFileDoesNotKeepTheOthersFromBeingTold) {
    switchOn();
    std::vector<std::string> told;
    atNextChange(L"a", [&] { told.emplace_back("a"); });
    throwAt(L"b");
    atNextChange(L"c", [&] { told.emplace_back("c"); });
    EXPECT_THROW(transport->deliver(serverDocument({{"a", "1"}, {"b", "2"}, {"c", "3"}})), std::runtime_error);
    EXPECT_THAT(told, ElementsAre("a", "c"));
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), HasSubstr("<c>3</c>"));
}

TEST_F(ThrowingClient, AtOneKeyOfSeveralThatAreSetDoesNotKeepTheOthersFromBeingTold) {
    injectAndStart();
    std::vector<std::string> told;
    throwAt(L"a");
    atNextChange(L"b", [&] { told.emplace_back("b"); });
    EXPECT_THROW(adapter()->setConfig({{L"a", L"1"}, {L"b", L"2"}}), std::runtime_error);
    EXPECT_THAT(told, ElementsAre("b"));
    tasks->runAll();
    EXPECT_THAT(userFile(), HasSubstr("name=\"b\" value=\"2\""));
}

TEST_F(ThrowingClient, WhenARefreshTellsThatTheUsersKeyIsGoneLeavesTheUserAStore) {
    writeLocal({{"key", "value"}});
    injectAndStart();
    throwAt(L"key");
    EXPECT_THROW(adapter()->refreshConfigFeatureSet(), std::runtime_error);
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_TRUE(adapter()->setConfig(L"later", L"1"));
    tasks->runAll();
    EXPECT_THAT(userFile(), HasSubstr("name=\"later\" value=\"1\""));
}

TEST_F(ThrowingClient, AtTheStartThatFollowsTheEndOfTheStoresLeavesWhatIsSetThenOnDisk) {
    injectAndStart();
    adapter()->setInMemoryConfig(L"memory", L"1");
    adapter()->Destroy();
    throwAt(L"memory");
    EXPECT_THROW(start(), std::runtime_error);
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(CONFIG_SERVICE_ID));
    EXPECT_TRUE(adapter()->setConfig(L"later", L"1"));
    tasks->runAll();
    EXPECT_THAT(userFile(), HasSubstr("name=\"later\" value=\"1\""));
}

TEST_F(ThrowingClient, AtTheStopDoesNotKeepTheOtherStoresInTheChain) {
    writeLocal({{"key", "value"}});
    writeOverride({{"other", "value"}});
    injectAndStart();
    const std::size_t before = chain().size();
    throwAt(L"other");
    throwAt(L"key");
    EXPECT_THROW(stop(), std::runtime_error);
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(CONFIG_SERVICE_ID));
    EXPECT_LT(chain().size(), before);
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_EQ(get(L"other"), L"<none>");
}

TEST_F(ThrowingClient, AtALinksValueClosesTheLatchBehindTheLink) {
    injectAndStart();
    throwAt(L"ServicesDomain");
    EXPECT_THROW(adapter()->setUrlProvisioningData(L"corvid://x?ServicesDomain=example.com"), std::runtime_error);
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    EXPECT_FALSE(adapter()->setUrlProvisioningData(L"corvid://x?ServicesDomain=example.org"));
}

TEST_F(ThrowingClient, AtAStoreThatIsAddedLeavesItsCopyOnDisk) {
    injectAndStart();
    const auto store = std::make_shared<fakes::ScriptedStore>("Outside", 45);
    store->cached().with(L"outside", L"value");
    throwAt(L"outside");
    EXPECT_THROW(adapter()->addConfigStore(store), std::runtime_error);
    EXPECT_THAT(cacheFile("cachedOutside.xml"), HasSubstr("<outside>value</outside>"));
}

TEST_F(ThrowingClient, AtAStoreThatIsRemovedLeavesNoLineOfItInTheList) {
    injectAndStart();
    const auto store = std::make_shared<fakes::ScriptedStore>("Outside", 45);
    store->cached().with(L"outside", L"value");
    adapter()->addConfigStore(store);
    ASSERT_THAT(get(L"PrimaryConfigStores"), Not(L""));
    throwAt(L"outside");
    EXPECT_THROW(adapter()->removeConfigStore("Outside"), std::runtime_error);
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
    EXPECT_EQ(cacheFile("cachedOutside.xml"), "");
}

TEST_F(ThrowingClient, WhenAllCopiesAreRemovedKeepsNeitherAFileNorAStoreOfThem) {
    writeLocal({{"PrimaryConfigStores", "A:240;B:241;"}});
    writeCache("cachedA.xml", {{"first", "value"}});
    writeCache("cachedB.xml", {{"second", "value"}});
    injectAndStart();
    ASSERT_THAT(chain(), AllOf(Contains("cachedA.xml"), Contains("cachedB.xml")));
    throwAt(L"first");
    EXPECT_THROW(adapter()->removeAllCachedConfigStores(), std::runtime_error);
    EXPECT_THAT(chain(), AllOf(Not(Contains("cachedA.xml")), Not(Contains("cachedB.xml"))));
    EXPECT_EQ(cacheFile("cachedA.xml"), "");
    EXPECT_EQ(cacheFile("cachedB.xml"), "");
}
