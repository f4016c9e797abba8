#include "DataResetFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class DataReset : public DataResetFixture {
protected:
    /// Callbacks go to the provider that hosts have.
    const std::shared_ptr<SystemServiceImpl> realService = std::make_shared<SystemServiceImpl>();

    void injectWithRealProvider() {
        factory->setService<SystemService>(7, realService);
        injectAndStart();
    }

    ~DataReset() override { realService->resetDataProvider()->clear(); }
};

}  // namespace

TEST_F(DataReset, WithoutAManagerAndARemoteStoreStillClearsTheDirectory) {
    writeLocal({{"key", "value"}});
    put("Cache/deep/other");
    inject();
    ConfigAdapterTestAccess::withoutManager(*adapter(), [this] { reset(); });
    EXPECT_THAT(filesLeft(), IsEmpty());
}

TEST_F(DataReset, KeepsTheStoresOfTheInstallationAndBuildsTheOthersAnew) {
    writeLocal({{"PrimaryConfigStores", "Server:230;"}, {"user", "value"}});
    writeCache("cachedServer.xml", {{"cached", "value"}});
    writeOverride({{"override", "value"}});
    writeDefaults({{"defaults", "value"}});
    writeBootstrap("ServicesDomain: example.com\n");
    injectAndStart();
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("Outside", 30));
    adapter()->setInMemoryConfig(L"memory", L"value");
    const auto local = storeNamed("LocalFileConfigStore");
    const auto bootstrap = storeNamed("BootstrapConfigStore");
    reset();
    EXPECT_THAT(chain(), ElementsAre("TftpOverrideConfigStore", "LocalFileConfigStore", "UrlProvisioningConfigStore",
                                     "BootstrapConfigStore", "InMemoryConfigStore", "corvid-config-defaults.xml"));
    EXPECT_NE(storeNamed("LocalFileConfigStore"), local);
    EXPECT_EQ(storeNamed("BootstrapConfigStore"), bootstrap);
    for (const wchar_t* key : {L"user", L"cached", L"memory", L"PrimaryConfigStores"}) {
        EXPECT_EQ(get(key), L"<none>");
    }
    EXPECT_EQ(get(L"override"), L"value");
    EXPECT_EQ(get(L"defaults"), L"value");
    EXPECT_THAT(filesLeft(), ElementsAre("corvid-config-user.xml"));
}

TEST_F(DataReset, LeavesTheUrlProvisioningValuesAnswering) {
    injectAndStart();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"corvid://provision?ServicesDomain=example.com"));
    tasks->runAll();
    reset();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    EXPECT_EQ(storeOf(L"ServicesDomain"), L"UrlProvisioningConfigStore");
    EXPECT_THAT(cacheFile("cachedUrlProvisioningConfigStore.xml"), HasSubstr("example.com"));
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
}

TEST_F(DataReset, OpensTheLatchForLinksAgain) {
    injectAndStart();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"corvid://provision?ServicesDomain=example.com"));
    ASSERT_FALSE(adapter()->setUrlProvisioningData(L"corvid://provision?ServicesDomain=example.org"));
    reset();
    EXPECT_TRUE(adapter()->setUrlProvisioningData(L"corvid://provision?ServicesDomain=example.org"));
    EXPECT_EQ(get(L"ServicesDomain"), L"example.org");
}

TEST_F(DataReset, TellsLiveObjectsOfTheChangedValues) {
    writeDefaults({{"key", "default"}});
    injectAndStart();
    adapter()->setConfig(L"key", L"user's");
    const auto live = service()->getConfig(L"key");
    ASSERT_EQ(live->getValue(), L"user's");
    reset();
    EXPECT_EQ(live->getValue(), L"default");
}

TEST_F(DataReset, TakesTheStoresOutBeforeTheFilesGoAndReadsThemAfterwards) {
    writeLocal({{"key", "value"}});
    injectAndStart();
    bool fileWasThere = false;
    bool remained = true;
    atNextChange(L"key", [&] {
        fileWasThere = exists("corvidLocalConfig.xml");
        remained = storeNamed("LocalFileConfigStore") != nullptr;
    });
    log->clear();
    reset();
    EXPECT_TRUE(fileWasThere);
    EXPECT_FALSE(remained);
    std::vector<std::string> course;
    for (const auto& line : log->lines()) {
        if (line.function == "removeFilesFromDirectory" || line.logger == "LocalFileConfigStore") {
            course.push_back(line.text);
        }
    }
    EXPECT_THAT(course, ElementsAre("file with name: [corvidLocalConfig.xml] deleted",
                                    "Read config FAILED, config file doesn't exist: " + world.configDirectory() +
                                        "/corvidLocalConfig.xml"));
}

TEST_F(DataReset, ClearsTheAddressesOfTheRemoteStoreAndTurnsTheSourceOff) {
    switchOn();
    const auto remote = adapter()->getTftpConfigStore();
    ASSERT_EQ(remote->lastServerDetails().server1, L"one");
    reset();
    EXPECT_TRUE(remote->lastServerDetails().server1.empty());
    EXPECT_TRUE(remote->lastServerDetails().file.empty());
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
    adapter()->startTftpConfigSource();
    ASSERT_NE(adapter()->getTftpConfigStore(), nullptr);
    EXPECT_NE(adapter()->getTftpConfigStore(), remote);
    EXPECT_TRUE(adapter()->getTftpConfigStore()->lastServerDetails().server1.empty());
}

TEST_F(DataReset, ForgetsWhatWasDownloaded) {
    switchOn();
    ASSERT_TRUE(deliver({{"server", "value"}}));
    tasks->runAll();
    ASSERT_TRUE(isCached());
    ASSERT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
    reset();
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    expectNothingOfTheUsers({L"server", L"TFTPPrimaryServer"});
}

TEST_F(DataReset, LeavesTheFeatureSetStartedAndItsObserversInPlace) {
    injectAndStart();
    reset();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_EQ(monitor->added, 1);
    EXPECT_EQ(monitor->removed, 0);
    EXPECT_TRUE(systemService->lastProfileConnection()->connected());
}

TEST_F(DataReset, StoresValuesAsBeforeAfterwards) {
    injectAndStart();
    adapter()->setConfig(L"former", L"value");
    reset();
    EXPECT_TRUE(adapter()->setConfig(L"key", L"new"));
    tasks->runAll();
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), HasSubstr("name=\"key\" value=\"new\""));
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), Not(HasSubstr("former")));
}

TEST_F(DataReset, MayComeTwice) {
    writeLocal({{"key", "value"}});
    injectAndStart();
    reset();
    const std::vector<std::string> once = chain();
    log->clear();
    reset();
    EXPECT_EQ(chain(), once);
    EXPECT_THAT(fileLines(), IsEmpty());
    expectNothingOfTheUsers({L"key"});
}

TEST_F(DataReset, BeforeTheStartRunsAndStartsNothing) {
    writeLocal({{"key", "value"}});
    inject();
    reset();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    expectNothingOfTheUsers({L"key"});
    start();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_EQ(get(L"key"), L"<none>");
}

TEST_F(DataReset, AfterTheStopAndAfterDestroyRunsToo) {
    for (const bool stopped : {true, false}) {
        writeLocal({{"key", "value"}});
        stopped ? injectAndStart() : start();
        stopped ? stop() : adapter()->Destroy();
        reset();
        EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
        expectNothingOfTheUsers({L"key"});
    }
}

TEST_F(DataReset, LeavesNothingOfTheUsersForTheNextStartOfTheClient) {
    switchOn({{"TFTPPrimaryServer", "one"}, {"PrimaryConfigStores", "Server:230;"}, {"user", "value"}});
    writeCache("cachedServer.xml", {{"cached", "value"}});
    ASSERT_TRUE(deliver({{"server", "value"}}));
    adapter()->setConfig(L"key", L"value");
    tasks->runAll();
    adapter()->setConfig(L"late", L"value");
    reset();
    stop();
    tasks->runAll();
    factory->clear();
    factory->setService<SystemService>(7, systemService);
    injectAndStart();
    expectNothingOfTheUsers({L"user", L"cached", L"server", L"key", L"late", L"TFTPPrimaryServer"});
}

TEST_F(DataReset, IsAskedForByTheProviderOnceHoweverOftenTheFeatureSetIsStarted) {
    injectWithRealProvider();
    stop();
    start();
    put("file");
    realService->resetDataProvider()->invokeResetData();
    EXPECT_THAT(fileLines(), ElementsAre(deleted("file")));
}

TEST_F(DataReset, IsAskedForByTheProviderInTheStoppedStateToo) {
    injectWithRealProvider();
    stop();
    put("file");
    realService->resetDataProvider()->invokeResetData();
    EXPECT_THAT(filesLeft(), IsEmpty());
}

TEST_F(DataReset, IsNotAskedForByTheProviderBeforeTheStart) {
    factory->setService<SystemService>(7, realService);
    inject();
    put("file");
    realService->resetDataProvider()->invokeResetData();
    EXPECT_THAT(filesLeft(), ElementsAre("file"));
}

TEST_F(DataReset, IsNotAskedForOnceTheCallbackIsRemovedNotEvenAfterAnotherStart) {
    injectWithRealProvider();
    adapter()->unRegisterResetDataCallback();
    adapter()->unRegisterResetDataCallback();
    stop();
    start();
    put("file");
    realService->resetDataProvider()->invokeResetData();
    EXPECT_THAT(filesLeft(), ElementsAre("file"));
}

TEST_F(DataReset, KeepsTheAdapterAliveForAsLongAsTheProviderDoes) {
    injectWithRealProvider();
    const std::weak_ptr<ConfigAdapter> weak = adapter();
    factory->clear();
    EXPECT_FALSE(weak.expired());
    realService->resetDataProvider()->clear();
    EXPECT_TRUE(weak.expired());
}
