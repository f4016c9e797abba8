#include "DataResetFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class NoManager : public AdapterFixture {
protected:
    void withoutManager(const std::function<void()>& action) const {
        ConfigAdapterTestAccess::withoutManager(*adapter(), action);
    }
};

class NoSystemService : public AdapterFixture {
protected:
    NoSystemService() { factory->clear(); }
};

/// A factory with neither queue. Nothing may be told to the service then: no thread is the right one.
class NoDispatcher : public AdapterFixture {
protected:
    ~NoDispatcher() override { bareFactory->clear(); }
    std::shared_ptr<ConfigAdapter> make() {
        bareFactory->setService<SystemService>(7, systemService);
        InjectConfigService(bareFactory);
        return std::dynamic_pointer_cast<ConfigAdapter>(bareFactory->getFeatureSetAdapter(CONFIG_SERVICE_ID));
    }
    const std::shared_ptr<UnifiedFactory> bareFactory = std::make_shared<UnifiedFactory>(nullptr, nullptr);
};

}  // namespace

TEST_F(NoSystemService, TheStartGoesOnWithoutIt) {
    inject();
    log->clear();
    start();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_THAT(adapterLines(3),
                ElementsAre("registerResetDataCallback: No system service: the reset data callback is not registered",
                            "startConfigFeatureSet: No system service: the user profile is not watched"));
}

TEST_F(NoSystemService, ALaterStartRegistersTheResetCallback) {
    injectAndStart();
    stop();
    factory->setService<SystemService>(7, systemService);
    start();
    EXPECT_THAT(systemService->provider->names, ElementsAre("register ProviderResetDataCallback"));
}

TEST_F(NoSystemService, RemovingTheCallbackSaysSo) {
    inject();
    log->clear();
    adapter()->unRegisterResetDataCallback();
    EXPECT_THAT(adapterLines(3), ElementsAre("unRegisterResetDataCallback: No system service: the reset data callback "
                                             "is not removed"));
}

TEST_F(AdapterFixture, WithoutAResetDataProviderTheStartGoesOn) {
    systemService->provider = nullptr;
    inject();
    log->clear();
    start();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_THAT(adapterLines(3), ElementsAre("registerResetDataCallback: No reset data provider: the reset data "
                                             "callback is not registered"));
}

TEST_F(NoDispatcher, TheStoresWorkAndOneLineTellsThatTheServiceHearsNothing) {
    writeDefaults({{"key", "value"}});
    const auto adapter = make();
    EXPECT_THAT(adapterLines(3),
                ElementsAre("ConfigAdapter: No services dispatcher: the config service is not told of changes"));
    std::wstring value;
    EXPECT_TRUE(adapter->getConfig(L"key", value, false));
    EXPECT_TRUE(adapter->setConfig(L"other", L"value"));
    EXPECT_TRUE(adapter->getConfig(L"other", value, false));
}

TEST_F(NoDispatcher, StartAndStopSkipWhatNeedsIt) {
    const auto adapter = make();
    log->clear();
    adapter->StartFeatureSet(1300, nullptr);
    EXPECT_TRUE(adapter->IsFeatureSetStarted(1300));
    adapter->startTftpConfigSource();
    adapter->StopFeatureSet(1300, nullptr);
    EXPECT_FALSE(adapter->IsFeatureSetStarted(1300));
    EXPECT_THAT(adapterLines(3),
                ElementsAre("startConfigFeatureSet: No services dispatcher: the reset data callback is not registered",
                            "checkEdgeReady: No services dispatcher: telephony is not watched",
                            "stopConfigFeatureSet: No services dispatcher: the stores stay in the chain"));
    EXPECT_THAT(systemService->provider->names, IsEmpty());
}

TEST_F(NoDispatcher, RefreshAndDestroyWork) {
    const auto adapter = make();
    adapter->refreshConfigFeatureSet();
    adapter->Destroy();
    EXPECT_TRUE(adapter->getConfigStoreManager()->containsStore("LocalFileConfigStore"));
}

TEST_F(NoDispatcher, TelephonyThatConnectsIsNotListenedTo) {
    const auto adapter = make();
    log->clear();
    adapter->onTelephonyConnectionStatusChanged(nullptr);
    EXPECT_THAT(adapterLines(3), ElementsAre("onTelephonyConnectionStatusChanged: No services dispatcher: telephony is "
                                             "not watched"));
    EXPECT_THAT(adapterLines(4), IsEmpty());
}

TEST_F(NoManager, OperationsSayNoAndDoNothing) {
    writeDefaults({{"key", "value"}});
    injectAndStart();
    withoutManager([this] {
        std::wstring value;
        EXPECT_FALSE(adapter()->getConfig(L"key", value, false));
        EXPECT_FALSE(adapter()->setConfig(L"key", L"other"));
        EXPECT_FALSE(adapter()->setConfig({{L"key", L"other"}}));
        EXPECT_FALSE(adapter()->setInMemoryConfig(L"key", L"other"));
        adapter()->resetConfig(L"key");
        adapter()->setKeySensitive(L"key");
        EXPECT_FALSE(adapter()->isKeySensitive(L"key"));
        adapter()->removeAllCachedConfigStores();
    });
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_FALSE(adapter()->isKeySensitive(L"key"));
}

TEST_F(NoManager, StoresNeitherComeNorGo) {
    writeCache("cachedOtherStore.xml", {{"key", "value"}});
    injectAndStart();
    const auto store = std::make_shared<fakes::ScriptedStore>("OtherStore", 30);
    const auto before = chain();
    withoutManager([this, &store] {
        adapter()->addConfigStore(store);
        EXPECT_FALSE(adapter()->removeConfigStore("OtherStore"));
        ConfigAdapterTestAccess::maintainChain(*adapter(), store);
        adapter()->SetEnabledServices();
        adapter()->refreshConfigFeatureSet();
    });
    EXPECT_EQ(chain(), before);
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"<none>");
    EXPECT_NE(cacheFile("cachedOtherStore.xml"), "");
}

TEST_F(NoManager, StartsNothing) {
    inject();
    withoutManager([this] { start(); });
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
}
