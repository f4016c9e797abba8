#include "InjectConfigService.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#include "ConfigServiceImpl.h"
#include "ServiceFixture.h"

namespace {

using ::testing::IsEmpty;

using Injection = HostFixture;

TEST_F(Injection, RegistersAReadyService) {
    registerFeatureSet();
    InjectConfigService(factory);
    const auto service = factory->getService<ConfigService>();
    ASSERT_NE(service, nullptr);
    EXPECT_TRUE(service->getConfigReady());
    EXPECT_NE(std::dynamic_pointer_cast<ConfigServiceImpl>(service), nullptr);
}

TEST_F(Injection, LeavesAFeatureSetThatIsRegisteredAlready) {
    const auto featureSet = registerFeatureSet();
    InjectConfigService(factory);
    EXPECT_EQ(factory->getFeatureSet<ConfigFeatureSet>(), featureSet);
    EXPECT_EQ(factory->getFeatureSetAdapter(CONFIG_SERVICE_ID), featureSet);
    EXPECT_THAT(featureSet->calls(), IsEmpty());
}

TEST_F(Injection, LetsTheServiceWorkWithTheFeatureSetThatIsThere) {
    const auto featureSet = registerFeatureSet();
    InjectConfigService(factory);
    factory->getService<ConfigService>()->setConfig(L"Key", L"Value");
    EXPECT_EQ(featureSet->calls().size(), 1U);
}

TEST_F(Injection, KeepsNoReferenceOfItsOwn) {
    registerFeatureSet();
    InjectConfigService(factory);
    const std::weak_ptr<ConfigService> service = factory->getService<ConfigService>();
    factory->clear();
    EXPECT_TRUE(service.expired());
}

TEST_F(Injection, ASecondTimeReplacesTheServiceAndLeavesTheFeatureSet) {
    const auto featureSet = registerFeatureSet();
    InjectConfigService(factory);
    const auto former = factory->getService<ConfigService>();
    InjectConfigService(factory);
    EXPECT_NE(factory->getService<ConfigService>(), former);
    EXPECT_EQ(factory->getFeatureSet<ConfigFeatureSet>(), featureSet);
}

TEST_F(Injection, OffTheDispatcherThreadRegistersNothing) {
    dispatcher->setUpdateAccess(false);
    EXPECT_THROW(InjectConfigService(factory), std::logic_error);
    dispatcher->setUpdateAccess(true);
    EXPECT_EQ(factory->getService<ConfigService>(), nullptr);
    EXPECT_EQ(factory->getFeatureSet<ConfigFeatureSet>(), nullptr);
}

/// Tells the order in which the module's types were looked for.
class RecordingLoader : public ModuleLoader {
public:
    void loadService(const std::string& typeName, const std::shared_ptr<UnifiedFactory>&) override {
        loaded.push_back("service " + typeName);
    }
    void loadFeatureSet(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& host) override {
        loaded.push_back("feature set " + typeName);
        serviceWasThere = host->getService<ConfigService>() != nullptr;
        host->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, std::make_shared<fakes::ScriptedFeatureSet>());
    }

    std::vector<std::string> loaded;
    bool serviceWasThere = false;
};

TEST_F(Injection, RegistersTheServiceBeforeItAsksForAFeatureSet) {
    const auto loader = std::make_shared<RecordingLoader>();
    const auto host = std::make_shared<UnifiedFactory>(dispatcher, nullptr, loader);
    InjectConfigService(host);
    EXPECT_THAT(loader->loaded, ::testing::ElementsAre("feature set " + typeMapName(typeid(ConfigFeatureSet))));
    EXPECT_TRUE(loader->serviceWasThere);
    host->clear();
}

}  // namespace
