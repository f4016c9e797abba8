#include <algorithm>
#include <functional>

#include "AdapterFixture.h"

namespace {

/// What injection makes of the service and the adapter together.
class InjectedModule : public AdapterFixture {};

}  // namespace

TEST_F(InjectedModule, RegistersTheServiceAndTheFeatureSetUnder1300) {
    inject();
    EXPECT_NE(factory->getService<ConfigService>(), nullptr);
    EXPECT_TRUE(factory->hasService(1300));
    EXPECT_NE(factory->getFeatureSetAdapter(1300), nullptr);
    EXPECT_EQ(std::dynamic_pointer_cast<ConfigFeatureSet>(factory->getFeatureSetAdapter(1300)),
              factory->getFeatureSet<ConfigFeatureSet>());
}

TEST_F(InjectedModule, MakesTheServiceBeforeTheAdapterThatPushesIntoIt) {
    writeDefaults({{"key", "value"}});
    inject();
    EXPECT_EQ(service()->getConfig(L"key")->getValue(), L"value");
    EXPECT_TRUE(service()->isKeySensitive(L"connectionpassword"));
    EXPECT_TRUE(service()->getConfigReady());
}

TEST_F(InjectedModule, MakesAnAdapterWhoseInterfacesLieInTheirOrder) {
    inject();
    const std::shared_ptr<ConfigAdapter> made = adapter();
    const std::vector<const void*> places = {
        made.get(),
        static_cast<FeatureSetAdapter*>(made.get()),
        static_cast<ConfigFeatureSet*>(made.get()),
        static_cast<ConfigStoreManager_Observer*>(made.get()),
        static_cast<TftpConfigStoreObserver*>(made.get()),
        static_cast<TesselSystemMonitor::PowerEventObserver*>(made.get()),
        static_cast<std::enable_shared_from_this<ConfigAdapter>*>(made.get()),
        static_cast<ProviderResetDataCallback*>(made.get()),
        // The module's own way of taking reports, behind those that others know of.
        static_cast<KeyReportReceiver*>(made.get()),
    };
    EXPECT_EQ(places[0], places[1]);
    EXPECT_TRUE(std::is_sorted(places.begin(), places.end(), std::less<>()));
}

TEST_F(InjectedModule, ASecondTimeMakesASecondServiceAndKeepsTheAdapter) {
    inject();
    const auto firstService = service();
    const auto firstAdapter = adapter();
    inject();
    EXPECT_NE(service(), firstService);
    EXPECT_EQ(adapter(), firstAdapter);
}

TEST_F(InjectedModule, ASecondTimeLeavesTheAdapterPushingToTheFirstService) {
    inject();
    const auto firstService = service();
    const auto live = firstService->getConfig(L"key");
    inject();
    const auto secondLive = service()->getConfig(L"key");
    service()->setConfig(L"key", L"value");
    EXPECT_EQ(live->getValue(), L"value");
    EXPECT_EQ(secondLive->getValue(), L"");
}

TEST_F(InjectedModule, CarriesAValueFromTheClientToTheFileAndBack) {
    injectAndStart();
    service()->setConfig(L"Key", L"value");
    EXPECT_EQ(service()->getConfig(L"key")->getValue(), L"value");
    tasks->runAll();
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"Key\" value=\"value\""));
    const auto nextRun = std::make_shared<UnifiedFactory>(dispatcher, tasks);
    InjectConfigService(nextRun);
    EXPECT_EQ(nextRun->getService<ConfigService>()->getConfig(L"KEY")->getValue(), L"value");
    nextRun->clear();
}

TEST_F(InjectedModule, LeavesNothingBehindOnceTheFactoryIsCleared) {
    injectAndStart();
    adapter()->startTftpConfigSource();
    const std::weak_ptr<ConfigAdapter> weakAdapter = adapter();
    const std::weak_ptr<ConfigService> weakService = service();
    const std::weak_ptr<ConfigStoreManager> weakManager = manager();
    factory->clear();
    EXPECT_TRUE(weakAdapter.expired());
    EXPECT_TRUE(weakService.expired());
    EXPECT_TRUE(weakManager.expired());
}
