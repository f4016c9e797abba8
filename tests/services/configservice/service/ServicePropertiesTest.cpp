#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <thread>

#include "ConfigServiceNotifiersImpl.h"
#include "Observers.h"
#include "ServiceFixture.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ServiceProperties : public ServiceFixture {
protected:
    std::shared_ptr<RecordingServiceObserver> observe() {
        const auto observer = std::make_shared<RecordingServiceObserver>();
        service->addObserver(std::weak_ptr<ConfigServiceObserver>(observer));
        return observer;
    }
};

/// Counts the fires of one notifier for its own life.
class FireCounter {
public:
    explicit FireCounter(const std::shared_ptr<PropertyNotifier>& notifier)
        : connection_(notifier->connect([this] { ++count; })) {}
    ~FireCounter() { connection_.lock()->disconnect(); }

    FireCounter(const FireCounter&) = delete;
    FireCounter& operator=(const FireCounter&) = delete;

    int count = 0;

private:
    const std::weak_ptr<PropertyNotifierConnection> connection_;
};

TEST_F(ServiceProperties, AreReadyFromTheStartAndNotInABulkUpdate) {
    EXPECT_TRUE(service->getConfigReady());
    EXPECT_FALSE(service->getBulkUpdateInProgress());
}

TEST_F(ServiceProperties, ConfigReadySetterFiresNothingAndItsFireTellsIt) {
    const auto observer = observe();
    service->setConfigReady(false);
    EXPECT_FALSE(service->getConfigReady());
    EXPECT_THAT(observer->told, IsEmpty());
    service->fireConfigReady();
    EXPECT_THAT(observer->told, ElementsAre("ConfigReady"));
}

TEST_F(ServiceProperties, ConfigReadyIsGuardedByTheThreadCheckAndBulkUpdateIsNot) {
    dispatcher->setUpdateAccess(false);
    EXPECT_THROW(service->getConfigReady(), std::logic_error);
    EXPECT_THROW(service->setConfigReady(false), std::logic_error);
    EXPECT_THROW(service->fireConfigReady(), std::logic_error);
    EXPECT_FALSE(service->getBulkUpdateInProgress());
    dispatcher->setUpdateAccess(true);
    EXPECT_TRUE(service->getConfigReady());
}

TEST_F(ServiceProperties, AServiceIsNotMadeOffTheDispatcherThread) {
    dispatcher->setUpdateAccess(false);
    EXPECT_THROW(ConfigServiceImpl{factory}, std::logic_error);
}

TEST_F(ServiceProperties, TheObjectThatGuardsItselfChecksNoThread) {
    UnifiedServiceImpl free(factory, false, "FreeService");
    dispatcher->setUpdateAccess(false);
    EXPECT_FALSE(free.getBulkUpdateInProgress());
    EXPECT_NE(free.getUnifiedServiceNotifiers(), nullptr);
}

TEST_F(ServiceProperties, NotifiersOfBothLayersAreOneObjectMadeAtTheFirstRequest) {
    EXPECT_EQ(service->getUnifiedBusinessObjectNotifiers(), nullptr);
    const auto unified = service->getUnifiedServiceNotifiers();
    const auto config = service->getConfigServiceNotifiers();
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(unified, config);
    EXPECT_EQ(service->getUnifiedBusinessObjectNotifiers(), config);
}

TEST_F(ServiceProperties, ABareServiceMakesTheNotifiersOfItsOwnLayer) {
    UnifiedServiceImpl bare(factory, "BareService");
    const auto notifiers = bare.getUnifiedServiceNotifiers();
    ASSERT_NE(notifiers, nullptr);
    EXPECT_EQ(bare.getUnifiedServiceNotifiers(), notifiers);
    EXPECT_EQ(std::dynamic_pointer_cast<ConfigServiceNotifiers>(notifiers), nullptr);
}

TEST_F(ServiceProperties, ObserversOfTheServiceLayerCanBeAddedAndRemoved) {
    const auto observer = std::make_shared<RecordingServiceObserver>();
    UnifiedService& unified = *service;
    unified.addObserver(std::weak_ptr<UnifiedServiceObserver>(observer));
    service->fireConfigReady();
    EXPECT_THAT(observer->told, ElementsAre("ConfigReady"));
    unified.removeObserver(std::weak_ptr<UnifiedServiceObserver>(observer));
    service->fireConfigReady();
    EXPECT_THAT(observer->told, ElementsAre("ConfigReady"));
}

TEST_F(ServiceProperties, AnObserverOfTheWrongTypeIsSkipped) {
    const auto plain = std::make_shared<PlainObserver>();
    static_cast<UnifiedBusinessObject&>(*service).addObserver(plain);
    const auto layer = std::make_shared<UnifiedServiceObserver>();
    static_cast<UnifiedService&>(*service).addObserver(std::weak_ptr<UnifiedServiceObserver>(layer));
    const auto right = observe();
    service->fireConfigReady();
    EXPECT_EQ(plain->told, 0);
    EXPECT_THAT(right->told, ElementsAre("ConfigReady"));
}

TEST_F(ServiceProperties, ARemovedObserverIsToldNoMore) {
    const auto observer = observe();
    service->removeObserver(std::weak_ptr<ConfigServiceObserver>(observer));
    service->fireConfigReady();
    EXPECT_THAT(observer->told, IsEmpty());
}

TEST_F(ServiceProperties, TheConfigReadyNotifierHearsTheFire) {
    const FireCounter ready(service->getConfigServiceNotifiers()->getConfigReadyNotifier());
    const FireCounter bulk(service->getUnifiedServiceNotifiers()->getBulkUpdateInProgressNotifier());
    service->fireConfigReady();
    EXPECT_EQ(ready.count, 1);
    EXPECT_EQ(bulk.count, 0);
}

TEST_F(ServiceProperties, EachNotifierIsMadeOnce) {
    const auto notifiers = service->getConfigServiceNotifiers();
    EXPECT_EQ(notifiers->getGuidNotifier(), notifiers->getGuidNotifier());
    EXPECT_EQ(notifiers->getBulkUpdateInProgressNotifier(), notifiers->getBulkUpdateInProgressNotifier());
    EXPECT_EQ(notifiers->getConfigReadyNotifier(), notifiers->getConfigReadyNotifier());
}

TEST(NotifiersImpl, EachOperationFiresItsOwnProperty) {
    ConfigServiceNotifiersImpl notifiers;
    const FireCounter guid(notifiers.getGuidNotifier());
    const FireCounter bulk(notifiers.getBulkUpdateInProgressNotifier());
    const FireCounter ready(notifiers.getConfigReadyNotifier());
    notifiers.OnGuidChanged();
    EXPECT_THAT((std::vector{guid.count, bulk.count, ready.count}), ElementsAre(1, 0, 0));
    notifiers.OnBulkUpdateInProgressChanged();
    EXPECT_THAT((std::vector{guid.count, bulk.count, ready.count}), ElementsAre(1, 1, 0));
    notifiers.OnConfigReadyChanged();
    EXPECT_THAT((std::vector{guid.count, bulk.count, ready.count}), ElementsAre(1, 1, 1));
}

TEST(NotifiersImpl, InfoFiresOnlyConfigReadyOnTheConfigurationService) {
    ConfigServiceNotifiersImpl notifiers;
    const FireCounter guid(notifiers.getGuidNotifier());
    const FireCounter bulk(notifiers.getBulkUpdateInProgressNotifier());
    const FireCounter ready(notifiers.getConfigReadyNotifier());
    notifiers.OnInfoChanged();
    EXPECT_THAT((std::vector{guid.count, bulk.count, ready.count}), ElementsAre(0, 0, 1));
}

TEST(NotifiersImpl, InfoFiresOnlyBulkUpdateOnABareService) {
    UnifiedServiceNotifiersImpl notifiers;
    const FireCounter guid(notifiers.getGuidNotifier());
    const FireCounter bulk(notifiers.getBulkUpdateInProgressNotifier());
    notifiers.OnInfoChanged();
    EXPECT_THAT((std::vector{guid.count, bulk.count}), ElementsAre(0, 1));
}

TEST(NotifiersImpl, InfoFiresTheIdentifierOnABusinessObject) {
    UnifiedBusinessObjectNotifiersImpl notifiers;
    const FireCounter guid(notifiers.getGuidNotifier());
    notifiers.OnInfoChanged();
    EXPECT_EQ(guid.count, 1);
}

TEST(NotifiersImpl, TellsNobodyWhenNobodyAskedForANotifier) {
    ConfigServiceNotifiersImpl notifiers;
    EXPECT_NO_THROW(notifiers.OnInfoChanged());
    EXPECT_NO_THROW(notifiers.OnGuidChanged());
    EXPECT_NO_THROW(notifiers.OnBulkUpdateInProgressChanged());
    EXPECT_NO_THROW(notifiers.OnConfigReadyChanged());
}

TEST_F(ServiceProperties, BulkUpdateAndIdentityMayBeReadOnAnotherThread) {
    bool bulk = true;
    std::string guid;
    std::thread([&] {
        bulk = service->getBulkUpdateInProgress();
        guid = service->getGuid();
    }).join();
    EXPECT_FALSE(bulk);
    EXPECT_EQ(guid, service->getGuid());
}

/// A service of somebody else's over the same properties, which guards itself.
class FreeService : public ConfigServiceBaseImpl {
public:
    explicit FreeService(const std::shared_ptr<UnifiedFactory>& host) : ConfigServiceBaseImpl(host, false) {}
    using ConfigServiceBaseImpl::logger;

    std::shared_ptr<ConfigValue> getConfig(std::wstring) override { return nullptr; }
    void setConfig(std::wstring, std::wstring) override {}
    void setInMemoryConfig(std::wstring, std::wstring) override {}
    std::shared_ptr<std::vector<std::shared_ptr<ConfigValue>>> getAllConfig() override { return nullptr; }
    void resetConfig(std::wstring) override {}
    bool removeConfigStoreAndCache(std::wstring) override { return false; }
    void removeAllCachedConfigStores() override {}
    void logConfig() override {}
    void setKeySensitive(std::wstring) override {}
    bool isKeySensitive(std::wstring) override { return false; }
    bool setUrlProvisioningData(std::wstring) override { return false; }
    bool resetAllowUriProvisioningData() override { return false; }
};

TEST_F(ServiceProperties, AreFreeOfTheCheckInAnObjectThatGuardsItself) {
    FreeService free(factory);
    dispatcher->setUpdateAccess(false);
    EXPECT_FALSE(free.getConfigReady());
    free.setConfigReady(true);
    EXPECT_TRUE(free.getConfigReady());
    EXPECT_NO_THROW(free.fireConfigReady());
    EXPECT_FALSE(free.getBulkUpdateInProgress());
}

TEST_F(ServiceProperties, HaveALogOfTheirOwnForEachLayer) {
    class Value : public ConfigValueImpl {
    public:
        using ConfigValueBaseImpl::logger;
    };
    log->clear();
    TesselLog(FreeService::logger(), 4, __FILE__, __LINE__, "test", std::string("of the service"));
    TesselLog(Value::logger(), 4, __FILE__, __LINE__, "test", std::string("of a value"));
    const std::vector<fakes::RecordingLogSink::Line> expected = {
        {4, "ConfigService-Base-Impl", "test", "of the service"}, {4, "ConfigValue-Base-Impl", "test", "of a value"}};
    EXPECT_EQ(log->lines(), expected);
}

}  // namespace
