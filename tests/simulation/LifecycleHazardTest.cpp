#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "ConfigValueObserver.h"
#include "InjectConfigService.h"
#include "SimulatedModule.h"
#include "fakes/HandSteppedDispatcher.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "quill/FunctionTask.h"
#include "system/SystemMonitor.h"

namespace simulation {
namespace {

using TesselSystemMonitor::PowerEventObserver;

/// A monitor that is entered and left under the lifecycle's lock, and so shows a test when another thread holds it.
class TellTaleMonitor : public TesselSystemMonitor::SystemMonitor {
public:
    void addPowerEventObserver(std::weak_ptr<PowerEventObserver> added) override {
        observer = std::move(added);
        call(onAdd);
    }
    void removePowerEventObserver(std::weak_ptr<PowerEventObserver>) override { call(onRemove); }

    std::weak_ptr<PowerEventObserver> observer;
    std::function<void()> onAdd;
    std::function<void()> onRemove;

private:
    static void call(const std::function<void()>& function) {
        if (function) {
            function();
        }
    }
};

/// Does something once, inside the next notification of a value.
class OnceObserver : public ConfigValueObserver {
public:
    void OnValueChanged() override {
        if (action) {
            std::exchange(action, nullptr)();
        }
    }

    std::function<void()> action;
};

class LifecycleHazards : public testing::Test {
protected:
    bool isStarted() { return module.adapter().IsFeatureSetStarted(CONFIG_SERVICE_ID); }
    void start() { module.adapter().StartFeatureSet(CONFIG_SERVICE_ID, nullptr); }
    void stop() { module.adapter().StopFeatureSet(CONFIG_SERVICE_ID, nullptr); }

    /// Writes a key and does the action inside the notification of it, under the locks of the chain.
    void insideNotification(const std::function<void()>& action) {
        const std::shared_ptr<ConfigValue> value = module.service().getConfig(L"Theme");
        const auto observer = std::make_shared<OnceObserver>();
        observer->action = action;
        value->addObserver(std::weak_ptr<ConfigValueObserver>(observer));
        module.service().setConfig(L"Theme", value->getValue() + L"+");
        EXPECT_FALSE(observer->action);
    }

    const std::shared_ptr<TellTaleMonitor> monitor = std::make_shared<TellTaleMonitor>();
    const std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher = std::make_shared<fakes::HandSteppedDispatcher>();
    SimulatedModule module{dispatcher, [this](fakes::ScopedWorld& world) {
                               world.change([this](platform::World& set) { set.systemMonitor = monitor; });
                           }};
};

TEST_F(LifecycleHazards, ARefreshOnTheDispatcherThreadServesAStopThatWaitsForThatThread) {
    std::thread stopper([this] { stop(); });
    dispatcher->waitForWaiting(1);

    module.featureSet().refreshConfigFeatureSet();

    stopper.join();
    EXPECT_FALSE(isStarted());
    EXPECT_TRUE(dispatcher->waitingNames().empty());
    EXPECT_TRUE(module.manager().containsStore("LocalFileConfigStore"));
}

TEST_F(LifecycleHazards, TheDispatcherThreadServesAStartThatWaitsForIt) {
    const auto factory = std::make_shared<UnifiedFactory>(dispatcher, nullptr);
    InjectConfigService(factory);
    const std::shared_ptr<FeatureSetAdapter> adapter = factory->getFeatureSetAdapter(CONFIG_SERVICE_ID);
    std::thread starter([&] { adapter->StartFeatureSet(CONFIG_SERVICE_ID, nullptr); });
    dispatcher->waitForWaiting(1);

    EXPECT_TRUE(adapter->IsFeatureSetStarted(CONFIG_SERVICE_ID));

    starter.join();
    dispatcher->runAll();
    factory->clear();
}

TEST_F(LifecycleHazards, ALifecycleCallInsideANotificationWaitsForNoThreadThatWantsTheChain) {
    stop();
    std::latch holding(1);
    std::latch go(1);
    monitor->onAdd = [&] {
        holding.count_down();
        dispatcher->wake();
        go.wait();
    };
    std::thread starter([this] { start(); });
    dispatcher->serveBlockedCallersUntil([&] { return holding.try_wait(); });

    insideNotification([&] {
        go.count_down();
        // The starter now wants the chain, which this thread holds, and holds the lock that the refresh wants.
        module.featureSet().refreshConfigFeatureSet();
    });

    starter.join();
    dispatcher->runAll();
    EXPECT_TRUE(isStarted());
    EXPECT_TRUE(module.manager().containsStore("LocalFileConfigStore"));
}

TEST_F(LifecycleHazards, ALifecycleCallInsideANotificationIsMadeUpForAfterIt) {
    module.service().setInMemoryConfig(L"language", L"de");
    std::latch holding(1);
    monitor->onRemove = [&] { holding.count_down(); };
    std::thread stopper;

    insideNotification([&] {
        stopper = std::thread([this] { stop(); });
        holding.wait();
        module.featureSet().refreshConfigFeatureSet();
        EXPECT_EQ(module.service().getConfig(L"language")->getValue(), L"de");
    });
    dispatcher->waitForWaiting(1);
    while (dispatcher->runOne()) {
    }
    stopper.join();
    dispatcher->runAll();

    EXPECT_EQ(module.service().getConfig(L"language")->getValue(), L"");
    EXPECT_TRUE(module.manager().containsStore("LocalFileConfigStore"));
}

TEST_F(LifecycleHazards, ARefreshInsideANotificationRunsAtOnceWhenNobodyElseIsAtOne) {
    module.service().setInMemoryConfig(L"language", L"de");

    insideNotification([&] {
        module.featureSet().refreshConfigFeatureSet();
        EXPECT_EQ(module.service().getConfig(L"language")->getValue(), L"");
    });

    EXPECT_TRUE(module.manager().containsStore("LocalFileConfigStore"));
}

TEST_F(LifecycleHazards, AStopInsideANotificationLeavesTheLocalStores) {
    insideNotification([&] { stop(); });

    EXPECT_FALSE(isStarted());
    EXPECT_FALSE(module.manager().containsStore("LocalFileConfigStore"));
    EXPECT_TRUE(module.manager().containsStore("InMemoryConfigStore"));
    EXPECT_EQ(module.service().getConfig(L"Theme")->getValue(), L"");
}

TEST(TheModule, LeavesNothingBehindThatAPowerEventCouldReach) {
    const auto monitor = std::make_shared<TellTaleMonitor>();
    auto module = std::make_unique<SimulatedModule>(
        std::make_shared<fakes::HandSteppedDispatcher>(),
        [&](fakes::ScopedWorld& world) { world.change([&](platform::World& set) { set.systemMonitor = monitor; }); });
    ASSERT_FALSE(monitor->observer.expired());

    module.reset();

    EXPECT_TRUE(monitor->observer.expired());
}

TEST(TheModule, SurvivesStartsAndStopsFromSeveralThreadsWhileTheDispatcherThreadRefreshes) {
    const auto dispatcher = std::make_shared<ServicesDispatcherImpl>();
    dispatcher->start();
    std::unique_ptr<SimulatedModule> module;
    const auto onDispatcher = [&](const std::function<void()>& function) {
        dispatcher->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>(function, "test"));
    };
    onDispatcher([&] { module = std::make_unique<SimulatedModule>(dispatcher); });

    constexpr int rounds = 25;
    std::vector<std::thread> threads;
    for (int number = 0; number < 2; ++number) {
        threads.emplace_back([&] {
            for (int round = 0; round < rounds; ++round) {
                module->adapter().StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
                module->featureSet().setConfig(L"Theme", L"dark");
                module->adapter().StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
            }
        });
    }
    for (int round = 0; round < rounds; ++round) {
        dispatcher->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(
            [&] {
                module->service().setConfig(L"Theme", L"light");
                module->featureSet().refreshConfigFeatureSet();
            },
            "test"));
    }
    for (std::thread& thread : threads) {
        thread.join();
    }

    onDispatcher([&] {
        EXPECT_TRUE(module->adapter().IsFeatureSetStarted(CONFIG_SERVICE_ID));
        EXPECT_TRUE(module->manager().containsStore("LocalFileConfigStore"));
        module->service().setConfig(L"Theme", L"last");
        EXPECT_EQ(module->service().getConfig(L"Theme")->getValue(), L"last");
        module.reset();
    });
    dispatcher->stop();
}

#ifdef TESSEL_CHECKS_LOCK_ORDER
using LifecycleHazardsDeathTest = LifecycleHazards;

TEST_F(LifecycleHazardsDeathTest, ALifecycleCallWithTheChainHeldEndsABuildForDevelopmentEvenWhenNothingIsUnderWay) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(module.manager().atomically([this] { isStarted(); }),
                 "lock order: the feature set's lifecycle \\(10\\) is taken while the chain \\(40\\) is held");
}
#endif

}  // namespace
}  // namespace simulation
