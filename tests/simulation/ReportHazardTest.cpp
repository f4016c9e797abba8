#include <gtest/gtest.h>

#include <memory>
#include <thread>
#include <vector>

#include "ConfigValueNotifiers.h"
#include "ConfigValueObserver.h"
#include "InjectConfigService.h"
#include "ModelTypes.h"
#include "SimulatedModule.h"
#include "SimulatedStore.h"
#include "StepGenerator.h"
#include "fakes/HandSteppedDispatcher.h"
#include "fakes/RecordingLogSink.h"

namespace simulation {
namespace {

/// An observer that keeps the values it heard, and may do one more thing each time.
class ValueListener : public ConfigValueObserver {
public:
    explicit ValueListener(std::shared_ptr<ConfigValue> value) : value_(std::move(value)) {}

    void OnValueChanged() override {
        heard.push_back(value_->getValue());
        if (action) {
            action();
        }
    }

    std::vector<std::wstring> heard;
    std::function<void()> action;

private:
    const std::shared_ptr<ConfigValue> value_;
};

std::shared_ptr<SimulatedStore> storeWith(const std::string& name, int priority, const std::wstring& key,
                                          const std::wstring& text) {
    ModelStore description;
    description.name = name;
    description.priority = priority;
    description.readOnly = true;
    description.put(key, text);
    return std::make_shared<SimulatedStore>(description);
}

class ReportHazards : public testing::Test {
protected:
    std::shared_ptr<ValueListener> listenTo(const std::wstring& key) {
        const std::shared_ptr<ConfigValue> value = module->service().getConfig(key);
        auto listener = std::make_shared<ValueListener>(value);
        value->addObserver(std::weak_ptr<ConfigValueObserver>(listener));
        return listener;
    }

    std::wstring liveValue(const std::wstring& key) { return module->service().getConfig(key)->getValue(); }

    /// Runs to its end on a thread that is not the dispatcher's.
    static void elsewhere(const std::function<void()>& function) { std::thread(function).join(); }

    std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher = std::make_shared<fakes::HandSteppedDispatcher>();
    std::unique_ptr<SimulatedModule> module = std::make_unique<SimulatedModule>(dispatcher);
};

TEST_F(ReportHazards, AReportThatWaitsForItsTaskDoesNotLandAfterANewerOne) {
    const auto listener = listenTo(L"Theme");
    elsewhere([&] { module->featureSet().setConfig(L"Theme", L"old"); });

    module->service().setConfig(L"Theme", L"new");
    EXPECT_EQ(liveValue(L"Theme"), L"new");
    dispatcher->runAll();

    EXPECT_EQ(liveValue(L"Theme"), L"new");
    EXPECT_EQ(listener->heard, (std::vector<std::wstring>{L"old", L"new"}));
}

TEST_F(ReportHazards, ABatchThatWaitsForItsTasksIsToldWholeBeforeANewerReport) {
    const auto listener = listenTo(L"Theme");
    elsewhere([&] { module->manager().addStore(storeWith("Branding", 5, L"Theme", L"branded")); });
    elsewhere([&] { module->manager().removeStoreWithSameName("Branding"); });

    module->service().setConfig(L"Theme", L"mine");

    EXPECT_EQ(listener->heard, (std::vector<std::wstring>{L"branded", L"", L"mine"}));
    EXPECT_EQ(dispatcher->runAll(), 4U);
    EXPECT_EQ(listener->heard.size(), 3U);
}

TEST_F(ReportHazards, ReportsOfAnotherThreadReachTheClientOnlyOnTheDispatcherThread) {
    const auto listener = listenTo(L"Theme");

    elsewhere([&] { module->featureSet().setConfig(L"Theme", L"dark"); });
    EXPECT_TRUE(listener->heard.empty());
    EXPECT_EQ(liveValue(L"Theme"), L"");

    dispatcher->runAll();
    EXPECT_EQ(listener->heard, (std::vector<std::wstring>{L"dark"}));
}

TEST(TheModule, LeavesReportsThatAreStillQueuedWhenItGoesToNobody) {
    const fakes::ScopedWorld world;
    const auto dispatcher = std::make_shared<fakes::HandSteppedDispatcher>();
    const auto factory = std::make_shared<UnifiedFactory>(dispatcher, nullptr);
    InjectConfigService(factory);
    const std::weak_ptr<ConfigService> service = factory->getService<ConfigService>();
    const std::weak_ptr<FeatureSetAdapter> adapter = factory->getFeatureSetAdapter(CONFIG_SERVICE_ID);
    const std::shared_ptr<ConfigValue> value = service.lock()->getConfig(L"Theme");
    const auto listener = std::make_shared<ValueListener>(value);
    value->addObserver(std::weak_ptr<ConfigValueObserver>(listener));
    std::thread([&] {
        factory->getFeatureSet<ConfigFeatureSet>()->setConfig(L"Theme", L"late");
        factory->getFeatureSet<ConfigFeatureSet>()->setKeySensitive(L"Theme");
    }).join();
    ASSERT_EQ(dispatcher->waitingNames(),
              (std::vector<std::string>{"ConfigServiceImpl::OnConfigChanged", "ConfigServiceImpl::OnConfigChanged"}));

    factory->clear();
    EXPECT_TRUE(adapter.expired());
    dispatcher->runAll();

    EXPECT_TRUE(service.expired());
    EXPECT_TRUE(listener->heard.empty());
    EXPECT_EQ(value->getValue(), L"");
}

TEST_F(ReportHazards, AnObserverMayWriteItsOwnKeyInsideItsNotification) {
    const auto listener = listenTo(L"Theme");
    listener->action = [&] {
        if (listener->heard.size() == 1) {
            module->service().setConfig(L"Theme", L"second");
        }
    };

    module->service().setConfig(L"Theme", L"first");

    EXPECT_EQ(listener->heard, (std::vector<std::wstring>{L"first", L"second"}));
    EXPECT_EQ(liveValue(L"Theme"), L"second");
}

TEST_F(ReportHazards, AnObserverMayRemoveTheStoreThatIsBeingReported) {
    const auto listener = listenTo(L"Theme");
    listener->action = [&] {
        if (listener->heard.size() == 1) {
            module->manager().removeStoreWithSameName("Branding");
        }
    };

    module->manager().addStore(storeWith("Branding", 5, L"Theme", L"branded"));

    EXPECT_EQ(listener->heard.front(), L"branded");
    EXPECT_EQ(liveValue(L"Theme"), L"");
    EXPECT_FALSE(module->manager().containsStore("Branding"));
}

TEST_F(ReportHazards, AnObserverMayAddAStoreWhileStoresAreBeingCleared) {
    module->manager().addStore(storeWith("Branding", 5, L"Theme", L"branded"));
    module->manager().addStore(storeWith("Office", 6, L"Theme", L"office"));
    const auto listener = listenTo(L"Theme");
    listener->action = [&] { module->manager().addStore(storeWith("Late", 7, L"language", L"de")); };

    module->manager().clearConfigStores();

    EXPECT_FALSE(module->manager().containsStore("Branding"));
    EXPECT_FALSE(module->manager().containsStore("Office"));
    EXPECT_EQ(liveValue(L"Theme"), L"");
    EXPECT_EQ(liveValue(L"language"), L"de");
}

TEST_F(ReportHazards, AnObserverMayRemoveTheWritableStoreThatAMapIsBeingWrittenTo) {
    ModelStore description;
    description.name = "Second";
    description.priority = 30;
    module->manager().addStore(std::make_shared<SimulatedStore>(description));
    const auto listener = listenTo(L"Theme");
    listener->action = [&] { module->manager().removeStoreWithSameName("LocalFileConfigStore"); };

    EXPECT_TRUE(module->featureSet().setConfig({{L"Theme", L"dark"}, {L"language", L"de"}}));

    EXPECT_EQ(liveValue(L"Theme"), L"dark");
    EXPECT_EQ(liveValue(L"language"), L"de");
}

TEST_F(ReportHazards, ACallbackMayDropItsOwnConnectionAndTheNextOne) {
    const auto notifier = module->service().getConfig(L"Theme")->getConfigValueNotifiers()->getValueNotifier();
    int first = 0;
    int second = 0;
    std::weak_ptr<PropertyNotifierConnection> firstConnection;
    std::weak_ptr<PropertyNotifierConnection> secondConnection;
    firstConnection = notifier->addConnection([&] {
        ++first;
        firstConnection.lock()->disconnect();
        secondConnection.lock()->disconnect();
    });
    secondConnection = notifier->addConnection([&] { ++second; });

    module->service().setConfig(L"Theme", L"dark");
    module->service().setConfig(L"Theme", L"light");

    EXPECT_EQ(first, 1);
    EXPECT_EQ(second, 0);
}

TEST_F(ReportHazards, AnObserverOfTheLastKeyOfABatchSeesTheWholeBatch) {
    ModelStore description;
    description.name = "Branding";
    description.priority = 5;
    description.readOnly = true;
    description.put(L"language", L"de");
    description.put(L"Theme", L"branded");
    const auto listener = listenTo(L"language");
    std::wstring themeSeen;
    listener->action = [&] { themeSeen = liveValue(L"Theme"); };

    module->manager().addStore(std::make_shared<SimulatedStore>(description));

    EXPECT_EQ(themeSeen, L"branded");
}

TEST(TheLog, NeverShowsTheValueOfASensitiveKeyThroughRandomSequences) {
    const std::wstring sensitiveKey = L"connectionpassword";
    const std::wstring secret = L"hunter2-secret";
    const fakes::ScopedRecordingLog log(5);
    for (std::uint64_t seed = 500001; seed <= 500010; ++seed) {
        SimulatedModule module(std::make_shared<fakes::HandSteppedDispatcher>());
        StepGenerator generator(seed, {sensitiveKey, L"ConnectionPassword", L"Theme"});
        for (int count = 0; count < 20; ++count) {
            const Step step = generator.nextWrite();
            const bool isSensitive = folded(step.key) == sensitiveKey;
            module.featureSet().setConfig(step.key, isSensitive ? secret : L"shown-value");
            module.featureSet().setConfig({{sensitiveKey, secret}});
            module.featureSet().setInMemoryConfig(step.key, isSensitive ? secret : L"shown-value");
            std::wstring value;
            module.featureSet().getConfig(step.key, value, false);
            module.manager().addStore(storeWith("Branding", count, sensitiveKey, secret));
            module.manager().removeStoreWithSameName("Branding");
        }
        module.service().getConfig(sensitiveKey);
    }
    EXPECT_TRUE(log->mentions("shown-value"));
    EXPECT_TRUE(log->mentions("VALUE_HIDDEN"));
    EXPECT_FALSE(log->mentions("hunter2-secret"));
}

}  // namespace
}  // namespace simulation
