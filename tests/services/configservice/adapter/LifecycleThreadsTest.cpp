#include <latch>
#include <map>
#include <stdexcept>
#include <thread>
#include <utility>

#include "AdapterFixture.h"
#include "OnceClient.h"
#include "RealThreadsFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

namespace {

/// The test's thread is the dispatcher thread; another one is at a lifecycle operation.
class LifecycleThreads : public AdapterFixture {
protected:
    /// Runs an action once, inside the notification of a change that this thread makes.
    void insideANotification(const std::function<void()>& action) {
        const auto live = service()->getConfig(L"key");
        const auto client = std::make_shared<OnceClient>(action);
        live->addObserver(std::weak_ptr<ConfigValueObserver>(client));
        adapter()->setConfig(L"key", L"value");
    }
};

}  // namespace

TEST_F(LifecycleThreads, ARefreshOnTheDispatcherThreadServesTheStartThatWaitsForIt) {
    inject();
    std::thread starter([this] { start(); });
    dispatcher->waitForWaiting(1);
    adapter()->refreshConfigFeatureSet();
    starter.join();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_EQ(systemService->provider->names.size(), 1U);
}

TEST_F(LifecycleThreads, ARefreshOnTheDispatcherThreadServesTheStopThatWaitsForIt) {
    injectAndStart();
    std::thread stopper([this] { stop(); });
    dispatcher->waitForWaiting(1);
    adapter()->refreshConfigFeatureSet();
    stopper.join();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_THAT(chain(), Contains("LocalFileConfigStore"));
}

TEST_F(LifecycleThreads, AskingWhetherItIsStartedServesTheStartToo) {
    inject();
    std::thread starter([this] { start(); });
    dispatcher->waitForWaiting(1);
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    starter.join();
}

TEST_F(LifecycleThreads, FromInsideANotificationAFreeOperationRunsAtOnce) {
    injectAndStart();
    bool startedInside = true;
    insideANotification([&] {
        stop();
        startedInside = adapter()->IsFeatureSetStarted(1300);
    });
    EXPECT_FALSE(startedInside);
    EXPECT_THAT(dispatcher->waitingNames(), testing::IsEmpty());
}

TEST_F(LifecycleThreads, FromInsideANotificationABusyOperationRunsAfterIt) {
    inject();
    adapter()->setInMemoryConfig(L"mem", L"m");
    std::thread starter;
    bool startedInside = true;
    insideANotification([&] {
        // The start has the lifecycle mutex now, and will want the chain that this thread has.
        starter = std::thread([this] { start(); });
        dispatcher->waitForWaiting(1);
        startedInside = adapter()->IsFeatureSetStarted(1300);
        adapter()->startTftpConfigSource();
        adapter()->refreshConfigFeatureSet();
        stop();
    });
    EXPECT_FALSE(startedInside);
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
    EXPECT_THAT(dispatcher->waitingNames(),
                ElementsAre("ConfigAdapter::registerResetDataCallback", "ConfigAdapter::startTftpConfigSource",
                            "ConfigAdapter::refreshConfigFeatureSet", "ConfigAdapter::stopConfigFeatureSet"));
    ASSERT_TRUE(dispatcher->runOne());
    starter.join();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    dispatcher->runAll();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_THAT(chain(), Not(Contains("LocalFileConfigStore")));
}

TEST_F(LifecycleThreads, FromInsideANotificationAProfileChangeAndAPowerDownWaitTheirTurnToo) {
    writeLocal({{"PrimaryConfigStores", "TFTPConfigStore:240;"}, {"LastLoadedUserProfile", "a"}});
    writeCache("cachedTFTPConfigStore.xml", {{"server", "value"}});
    const auto provider = std::exchange(systemService->provider, nullptr);
    injectAndStart();
    adapter()->Destroy();
    // The first start has found no provider, so the second one, on another thread, waits for this one once more.
    systemService->provider = provider;
    std::thread starter;
    insideANotification([&] {
        starter = std::thread([this] { start(); });
        dispatcher->waitForWaiting(1);
        systemService->userProfileChanged();
        adapter()->onPowerEvent(TesselSystemMonitor::PowerEventTypeEnum::PowerDown);
    });
    ASSERT_TRUE(dispatcher->runOne());
    starter.join();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    // Behind these two wait the reports of the start.
    ASSERT_GE(dispatcher->waitingNames().size(), 2U);
    EXPECT_EQ(dispatcher->waitingNames()[0], "ConfigAdapter::onUserProfileChanged");
    EXPECT_EQ(dispatcher->waitingNames()[1], "ConfigAdapter::Destroy");
    adapter()->setConfig(L"LastLoadedUserProfile", L"b");
    EXPECT_THAT(chain(), Contains("cachedTFTPConfigStore.xml"));
    ASSERT_TRUE(dispatcher->runOne());
    EXPECT_THAT(chain(), Not(Contains("cachedTFTPConfigStore.xml")));
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    ASSERT_TRUE(dispatcher->runOne());
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(LifecycleThreads, AnOperationThatWaitsIsHarmlessOnceTheAdapterIsGone) {
    inject();
    std::thread starter;
    insideANotification([&] {
        starter = std::thread([held = adapter()] { held->StartFeatureSet(CONFIG_SERVICE_ID, nullptr); });
        dispatcher->waitForWaiting(1);
        adapter()->refreshConfigFeatureSet();
    });
    ASSERT_TRUE(dispatcher->runOne());
    starter.join();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    factory->clear();
    EXPECT_TRUE(gone.expired());
    EXPECT_THAT(dispatcher->waitingNames(), Contains("ConfigAdapter::refreshConfigFeatureSet"));
    dispatcher->runAll();
}

TEST_F(LifecycleThreads, NotifiersFindNobodyOnceTheAdapterIsGone) {
    injectAndStart();
    const auto keptManager = manager();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    const auto profileConnection = systemService->lastProfileConnection();
    ASSERT_NE(profileConnection, nullptr);
    EXPECT_TRUE(profileConnection->connected());
    factory->clear();
    EXPECT_TRUE(gone.expired());
    EXPECT_FALSE(profileConnection->connected());
    log->clear();
    systemService->userProfileChanged();
    monitor->report(TesselSystemMonitor::PowerEventTypeEnum::PowerDown);
    EXPECT_TRUE(keptManager->storeInMemoryValue(L"key", L"value"));
    EXPECT_THAT(adapterLines(4), testing::IsEmpty());
}

namespace {

class RealThreads : public RealThreadsFixture {};

/// A client that starts, stops or refreshes whenever its value changes.
class MeddlingClient : public ConfigValueObserver {
public:
    explicit MeddlingClient(std::function<void()> action) : action_(std::move(action)) {}
    void OnValueChanged() override {
        if (!busy_) {
            busy_ = true;
            action_();
            busy_ = false;
        }
    }

private:
    const std::function<void()> action_;
    bool busy_ = false;
};

}  // namespace

TEST_F(RealThreads, TheLiveValueEndsWithTheChainsAnswerHoweverWritesInterleave) {
    watch(L"key");
    const auto write = [this](const std::wstring& who) {
        for (int i = 0; i < ROUNDS; ++i) {
            adapter->setConfig(L"key", who + std::to_wstring(i));
        }
    };
    std::thread first([&] { write(L"first"); });
    std::thread second([&] { write(L"second"); });
    for (int i = 0; i < ROUNDS; ++i) {
        onDispatcher([&] {
            adapter->setConfig(L"key", L"dispatcher" + std::to_wstring(i));
            // What this thread has stored it finds in the live value, or something that another one stored later.
            EXPECT_FALSE(live->getValue().empty());
        });
    }
    first.join();
    second.join();
    const std::wstring last = liveValue();
    EXPECT_EQ(last, chainValue(L"key"));
}

TEST_F(RealThreads, LifecycleOperationsOfSeveralThreadsDoNotBlockOneAnother) {
    const auto startAndStop = [this] {
        for (int i = 0; i < ROUNDS; ++i) {
            adapter->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
            adapter->startTftpConfigSource();
            adapter->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
        }
    };
    std::thread first(startAndStop);
    std::thread second(startAndStop);
    for (int i = 0; i < ROUNDS; ++i) {
        onDispatcher([this] {
            adapter->refreshConfigFeatureSet();
            adapter->IsFeatureSetStarted(CONFIG_SERVICE_ID);
            adapter->setConfig(L"key", L"value");
        });
    }
    first.join();
    second.join();
    adapter->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
    EXPECT_TRUE(adapter->IsFeatureSetStarted(CONFIG_SERVICE_ID));
    EXPECT_TRUE(adapter->getConfigStoreManager()->containsStore("LocalFileConfigStore"));
}

TEST_F(RealThreads, AClientMayMeddleWithTheLifecycleFromInsideItsNotifications) {
    int meddlings = ROUNDS;
    bool start = false;
    const auto client = std::make_shared<MeddlingClient>([&] {
        if (meddlings == 0) {
            return;
        }
        --meddlings;
        start = !start;
        if (start) {
            adapter->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
        } else {
            adapter->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
        }
        adapter->refreshConfigFeatureSet();
    });
    watch(L"key");
    onDispatcher([&] { live->addObserver(std::weak_ptr<ConfigValueObserver>(client)); });
    std::thread refresher([this] {
        for (int i = 0; i < ROUNDS; ++i) {
            adapter->refreshConfigFeatureSet();
        }
    });
    std::thread starter([this] {
        for (int i = 0; i < ROUNDS; ++i) {
            adapter->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
            adapter->setConfig(L"key", std::to_wstring(i));
            adapter->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
        }
    });
    for (int i = 0; i < ROUNDS; ++i) {
        onDispatcher([&] { adapter->setConfig(L"key", L"dispatcher" + std::to_wstring(i)); });
    }
    refresher.join();
    starter.join();
    // What a queued operation tells the client makes it queue two more; with that ended, whatever waits runs dry.
    onDispatcher([&] { meddlings = 0; });
    const std::wstring last = liveValue();
    EXPECT_EQ(last, chainValue(L"key"));
}

TEST_F(RealThreads, AStoredValueIsNeverLostByStartsAndRefreshesAmongWrites) {
    adapter->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
    std::thread refresher([this] {
        for (int i = 0; i < ROUNDS; ++i) {
            adapter->refreshConfigFeatureSet();
        }
    });
    std::vector<std::wstring> stored;
    for (int i = 0; i < ROUNDS; ++i) {
        const std::wstring key = L"key" + std::to_wstring(i);
        // Between the reset and the new store there is no writable store; the call says so.
        if (adapter->setConfig(key, L"value")) {
            stored.push_back(key);
        }
    }
    refresher.join();
    for (const std::wstring& key : stored) {
        EXPECT_EQ(chainValue(key), L"value");
    }
}

TEST_F(RealThreads, AClientThatThrowsAtTheStopOfAnotherThreadDoesNotKeepTheOtherStoresInTheChain) {
    adapter->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
    for (const auto& [name, priority] : std::map<std::string, int>{{"Goes first", 46}, {"Goes later", 45}}) {
        const auto store = std::make_shared<fakes::ScriptedStore>(name, priority);
        store->remote().with(QuillCoreUtils::toWideString(name), L"value");
        adapter->addConfigStore(store);
    }
    int thrown = 0;
    const auto client = std::make_shared<OnceClient>([&] {
        ++thrown;
        throw std::runtime_error("a client's");
    });
    watch(L"Goes first");
    onDispatcher([&] { live->addObserver(std::weak_ptr<ConfigValueObserver>(client)); });
    adapter->StopFeatureSet(CONFIG_SERVICE_ID, nullptr);
    EXPECT_EQ(thrown, 1);
    EXPECT_FALSE(adapter->IsFeatureSetStarted(CONFIG_SERVICE_ID));
    EXPECT_FALSE(adapter->getConfigStoreManager()->containsStore("Goes first"));
    EXPECT_FALSE(adapter->getConfigStoreManager()->containsStore("Goes later"));
}
