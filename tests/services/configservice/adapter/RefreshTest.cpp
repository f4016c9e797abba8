#include <functional>
#include <optional>
#include <utility>

#include "AdapterFixture.h"
#include "support/NoMoreDescriptors.h"

using testing::Contains;
using testing::Not;

namespace {

using support::NoMoreDescriptors;

class Refresh : public AdapterFixture {
protected:
    /// What has been written must be there after whatever reads the user's file anew, although it cannot be read.
    void expectValueKeptOver(const std::function<void()>& readAnew) {
        injectAndStart();
        adapter()->setConfig(L"key", L"value");
        tasks->runAll();
        std::optional<NoMoreDescriptors> none(std::in_place, NoMoreDescriptors::Until::TheEnd);
        readAnew();
        EXPECT_EQ(get(L"key"), L"value");
        none.reset();
        EXPECT_FALSE(world.directory().exists("config/corvidLocalConfig-backup.xml"));
        adapter()->refreshConfigFeatureSet();
        EXPECT_EQ(get(L"key"), L"value");
        adapter()->setConfig(L"other", L"value");
        tasks->runAll();
        EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("\"key\""));
        EXPECT_FALSE(world.directory().exists("config/corvidLocalConfig-backup-1.xml"));
    }
};

}  // namespace

TEST_F(Refresh, BeforeTheStartRunsAndAddsTheStores) {
    inject();
    const auto local = storeNamed("LocalFileConfigStore");
    adapter()->refreshConfigFeatureSet();
    EXPECT_THAT(chain(), Contains("TftpOverrideConfigStore"));
    EXPECT_THAT(chain(), Contains("InMemoryConfigStore"));
    EXPECT_NE(storeNamed("LocalFileConfigStore"), nullptr);
    EXPECT_NE(storeNamed("LocalFileConfigStore"), local);
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(Refresh, LeavesTheFeatureSetStarted) {
    injectAndStart();
    adapter()->refreshConfigFeatureSet();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(Refresh, LeavesThePowerObserverAlone) {
    injectAndStart();
    ASSERT_EQ(monitor->added, 1);
    adapter()->refreshConfigFeatureSet();
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(monitor->added, 1);
    EXPECT_EQ(monitor->removed, 0);
}

TEST_F(Refresh, LeavesTheConnectionToTheUserProfileAlone) {
    writeLocal({{"PrimaryConfigStores", "TFTPConfigStore:240;"}, {"LastLoadedUserProfile", "a"}});
    writeCache("cachedTFTPConfigStore.xml", {{"key", "value"}});
    injectAndStart();
    const auto connection = systemService->lastProfileConnection();
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(systemService->lastProfileConnection(), connection);
    EXPECT_TRUE(connection->connected());
    // It still fires, and the profile of before the refresh is the one to compare with.
    adapter()->setConfig(L"LastLoadedUserProfile", L"b");
    EXPECT_THAT(chain(), Contains("cachedTFTPConfigStore.xml"));
    systemService->userProfileChanged();
    EXPECT_THAT(chain(), Not(Contains("cachedTFTPConfigStore.xml")));
}

TEST_F(Refresh, ForgetsValuesInMemoryAndKeepsPersistedOnes) {
    injectAndStart();
    adapter()->setInMemoryConfig(L"mem", L"m");
    adapter()->setConfig(L"key", L"value");
    tasks->runAll();
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"mem"), L"<none>");
    EXPECT_EQ(get(L"key"), L"value");
}

TEST_F(Refresh, KeepsAValueThatIsNotYetPersisted) {
    injectAndStart();
    adapter()->setConfig(L"key", L"value");
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"key"), L"value");
}

TEST_F(Refresh, KeepsAPersistedValueWhileTheFileCannotBeRead) {
    expectValueKeptOver([this] { adapter()->refreshConfigFeatureSet(); });
}

TEST_F(Refresh, OfAStopAndAStartKeepsAPersistedValueWhileTheFileCannotBeRead) {
    expectValueKeptOver([this] {
        stop();
        start();
    });
}

TEST_F(Refresh, OfAPowerDownThatIsCalledOffKeepsAPersistedValueWhileTheFileCannotBeRead) {
    expectValueKeptOver([this] {
        monitor->report(TesselSystemMonitor::PowerEventTypeEnum::PowerDown);
        start();
    });
}

TEST_F(Refresh, WritesAgainWhatItCouldNotReadAnew) {
    injectAndStart();
    adapter()->setConfig(L"key", L"value");
    tasks->runAll();
    {
        const NoMoreDescriptors none(NoMoreDescriptors::Until::TheEnd);
        adapter()->refreshConfigFeatureSet();
    }
    write("config/corvidLocalConfig.xml", "what the disk has made of it");
    tasks->runAll();
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("\"key\""));
}

TEST_F(Refresh, KeepsWhatAllFilesHaveGivenWhileTheyCannotBeRead) {
    writeLocal({{"PrimaryConfigStores", "Server:230;"}});
    writeOverride({{"ovr", "o"}});
    writeCache("cachedServer.xml", {{"srv", "s"}});
    writeCache("cachedUrlProvisioningConfigStore.xml", {{"ServicesDomain", "l"}});
    writeBootstrap("boot: b\n");
    writeDefaults({{"def", "d"}});
    injectAndStart();
    const auto expectAll = [this] {
        for (const auto& [key, value] :
             Values{{"ovr", "o"}, {"srv", "s"}, {"ServicesDomain", "l"}, {"boot", "b"}, {"def", "d"}}) {
            EXPECT_EQ(get(QuillCoreUtils::toWideString(key)), QuillCoreUtils::toWideString(value));
        }
    };
    std::optional<NoMoreDescriptors> none(std::in_place, NoMoreDescriptors::Until::TheEnd);
    adapter()->refreshConfigFeatureSet();
    expectAll();
    stop();
    start();
    EXPECT_EQ(get(L"ovr"), L"o");
    none.reset();
    adapter()->refreshConfigFeatureSet();
    expectAll();
    write("config/Cache/cachedServer.xml", "not xml");
    std::filesystem::remove(world.configDirectory() + "/corvid-config-user.xml");
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"srv"), L"<none>");
    EXPECT_EQ(get(L"ovr"), L"<none>");
}

TEST_F(Refresh, RemovesStoresFromOutsideThatAreNotLocal) {
    injectAndStart();
    const auto remote = std::make_shared<fakes::ScriptedStore>("Remote", 30);
    remote->remote();
    adapter()->addConfigStore(remote);
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("Local", 31));
    adapter()->refreshConfigFeatureSet();
    EXPECT_THAT(chain(), Not(Contains("Remote")));
    EXPECT_THAT(chain(), Contains("Local"));
}

TEST_F(Refresh, KeepsACachedStoreThatIsNoLongerListed) {
    writeLocal({{"PrimaryConfigStores", "Server:230;"}});
    injectAndStart();
    adapter()->setConfig(L"PrimaryConfigStores", L"");
    adapter()->refreshConfigFeatureSet();
    EXPECT_THAT(chain(), Contains("cachedServer.xml"));
}

TEST_F(Refresh, SeesProductModeInTheDefaultsFile) {
    writeDefaults({{"ProductMode", "Phone_Mode"}});
    writeLocal({{"PrimaryConfigStores", "PresenceConfigStore:230;"}});
    injectAndStart();
    // The constructor read the mode before the defaults file was there.
    EXPECT_THAT(chain(), Contains("cachedPresenceConfigStore.xml"));
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
}

TEST_F(Refresh, WorksOutTheFlagsIfThereAreCacheFiles) {
    writeDefaults({{"Telephony_Enabled", "default"}});
    writeLocal({{"CtiServer1", "host"}});
    injectAndStart();
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"Telephony_Enabled"), L"default");
    writeCache("cachedAny.xml", {});
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"Telephony_Enabled"), L"true");
}

TEST_F(Refresh, AppliesTheServerPolicy) {
    injectAndStart();
    adapter()->setConfig(L"CtiServer1", L"user's");
    writeOverride({{"customize_phone_server", "false"}});
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
}

TEST_F(Refresh, WorksOutTheFlagsBeforeItAppliesTheServerPolicy) {
    writeDefaults({{"Telephony_Enabled", "default"}});
    writeLocal({{"CtiServer1", "user's"}});
    writeCache("cachedAny.xml", {});
    injectAndStart();
    writeOverride({{"customize_phone_server", "false"}});
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
    // From the server that was there when the flag was worked out.
    EXPECT_EQ(get(L"Telephony_Enabled"), L"true");
}

TEST_F(Refresh, ResetsOnTheCallersThread) {
    injectAndStart();
    adapter()->refreshConfigFeatureSet();
    EXPECT_THAT(dispatcher->allNames(), Not(Contains("ConfigStoreManager::reset (block)")));
}

TEST_F(Refresh, IsReachedThroughTheService) {
    injectAndStart();
    adapter()->setInMemoryConfig(L"mem", L"m");
    std::dynamic_pointer_cast<ConfigServiceImpl>(service())->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"mem"), L"<none>");
}
