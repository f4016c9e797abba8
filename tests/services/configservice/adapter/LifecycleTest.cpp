#include <filesystem>
#include <functional>
#include <thread>
#include <utility>

#include "AdapterFixture.h"
#include "OnceClient.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class Lifecycle : public AdapterFixture {
protected:
    std::size_t resets() const {
        const auto names = dispatcher->allNames();
        return static_cast<std::size_t>(std::count(names.begin(), names.end(), "ConfigStoreManager::reset (block)"));
    }
};

/// Asks a question whenever somebody comes or goes.
class AskingSystemMonitor : public CountingSystemMonitor {
public:
    explicit AskingSystemMonitor(std::function<void()> ask) : ask_(std::move(ask)) {}
    void addPowerEventObserver(std::weak_ptr<TesselSystemMonitor::PowerEventObserver> observer) override {
        ask_();
        CountingSystemMonitor::addPowerEventObserver(observer);
    }
    void removePowerEventObserver(std::weak_ptr<TesselSystemMonitor::PowerEventObserver> observer) override {
        ask_();
        CountingSystemMonitor::removePowerEventObserver(observer);
    }

private:
    const std::function<void()> ask_;
};

/// What those hear who ask from the midst of a start, a stop or an end whether the feature set is started.
class StartedInTheMidst : public Lifecycle {
protected:
    StartedInTheMidst() {
        world.change([this](platform::World& changed) {
            changed.systemMonitor = std::make_shared<AskingSystemMonitor>([this] { ask("monitor"); });
        });
    }

    void ask(const std::string& who) {
        answers.push_back(who + (adapter()->IsFeatureSetStarted(1300) ? " started" : " not started"));
    }

    /// The client asks at the next change of the key.
    void askAtNextChange(const std::wstring& key) {
        live_ = service()->getConfig(key);
        client_ = std::make_shared<OnceClient>([this] { ask("client"); });
        live_->addObserver(std::weak_ptr<ConfigValueObserver>(client_));
    }

    std::vector<std::string> answers;

private:
    std::shared_ptr<ConfigValue> live_;
    std::shared_ptr<OnceClient> client_;
};

const auto DOWN = TesselSystemMonitor::PowerEventTypeEnum::PowerDown;

/// A value that was to be written while no write could succeed.
class AValueThatCouldNotBeWritten : public AdapterFixture {
protected:
    void SetUp() override {
        injectAndStart();
        std::filesystem::create_directories(obstacle_);
        adapter()->setConfig(L"key", L"value");
        tasks->runAll();
        ASSERT_FALSE(world.directory().exists("config/corvidLocalConfig.xml"));
    }

    void putTheDiskInOrder() const { std::filesystem::remove(obstacle_); }

    std::wstring valueAfterANewStart() {
        factory->clear();
        injectAndStart();
        return get(L"key");
    }

private:
    const std::string obstacle_ = world.directory().path("config/.corvidLocalConfig.xml.temp");
};

}  // namespace

TEST_F(Lifecycle, IsStartedBetweenStartAndStop) {
    inject();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    start();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    stop();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(StartedInTheMidst, OfAStartItIsOnceTheStoresAreThere) {
    inject();
    askAtNextChange(L"key");
    writeLocal({{"key", "value"}});
    start();
    EXPECT_THAT(answers, ElementsAre("client not started", "monitor started"));
}

TEST_F(StartedInTheMidst, OfAStopItIsUntilTheEnd) {
    writeLocal({{"key", "value"}});
    injectAndStart();
    answers.clear();
    askAtNextChange(L"key");
    stop();
    EXPECT_THAT(answers, ElementsAre("monitor started", "client started"));
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(StartedInTheMidst, OfADestroyItIsUntilTheStoresHaveEnded) {
    injectAndStart();
    answers.clear();
    const auto store = std::make_shared<fakes::ScriptedStore>("Outside", 45);
    store->onDestroy([this] { ask("store"); });
    adapter()->addConfigStore(store);
    adapter()->Destroy();
    EXPECT_THAT(answers, ElementsAre("store started"));
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(Lifecycle, TheEventsOfAStartAndAStopAreNeitherReadNorKept) {
    inject();
    auto events = std::make_shared<FeatureSetAdapter::ServiceEvents::element_type>(1);
    const std::weak_ptr<void> kept = events;
    adapter()->StartFeatureSet(1300, events);
    adapter()->StopFeatureSet(1300, events);
    EXPECT_THAT(*events, ElementsAre(nullptr));
    events = nullptr;
    EXPECT_TRUE(kept.expired());
}

TEST_F(Lifecycle, IsNeverStartedUnderAnotherIdentifier) {
    injectAndStart();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1301));
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(0));
}

TEST_F(Lifecycle, IsProvisionedUnderItsIdentifierInEveryState) {
    inject();
    EXPECT_TRUE(adapter()->IsFeatureSetProvisioned(1300));
    EXPECT_FALSE(adapter()->IsFeatureSetProvisioned(1299));
    start();
    stop();
    EXPECT_TRUE(adapter()->IsFeatureSetProvisioned(1300));
}

TEST_F(Lifecycle, DependsOnNoOtherFeatureSet) {
    inject();
    EXPECT_THAT(adapter()->GetFeatureSetDependencies(1300), IsEmpty());
}

TEST_F(Lifecycle, IgnoresStartAndStopUnderAnotherIdentifier) {
    inject();
    adapter()->StartFeatureSet(1301, nullptr);
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    start();
    adapter()->StopFeatureSet(1301, nullptr);
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_EQ(resets(), 0U);
}

TEST_F(Lifecycle, ASecondStartDoesNothing) {
    injectAndStart();
    adapter()->setInMemoryConfig(L"key", L"value");
    start();
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_EQ(monitor->added, 1);
}

TEST_F(Lifecycle, AStopBeforeAnyStartDoesNothing) {
    inject();
    const std::vector<std::string> before = chain();
    stop();
    EXPECT_EQ(chain(), before);
    EXPECT_EQ(resets(), 0U);
    EXPECT_EQ(monitor->removed, 0);
}

TEST_F(Lifecycle, TheStartRegistersTheResetCallbackDirectlyOnTheDispatcherThread) {
    injectAndStart();
    EXPECT_THAT(systemService->provider->names, ElementsAre("register ProviderResetDataCallback"));
    EXPECT_THAT(dispatcher->allNames(), Not(Contains("ConfigAdapter::registerResetDataCallback (block)")));
}

TEST_F(Lifecycle, TheStartOnAnotherThreadRegistersTheResetCallbackOnTheDispatcherThread) {
    inject();
    std::thread starter([this] { start(); });
    dispatcher->waitForWaiting(1);
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("ConfigAdapter::registerResetDataCallback"));
    EXPECT_THAT(systemService->provider->names, IsEmpty());
    dispatcher->runOne();
    starter.join();
    EXPECT_THAT(systemService->provider->names, ElementsAre("register ProviderResetDataCallback"));
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(Lifecycle, TheStopResetsTheChainThroughTheDispatcherEvenOnItsOwnThread) {
    injectAndStart();
    stop();
    EXPECT_EQ(resets(), 1U);
    EXPECT_THAT(chain(), Not(Contains("LocalFileConfigStore")));
    EXPECT_THAT(chain(), Not(Contains("TftpOverrideConfigStore")));
    EXPECT_THAT(chain(), Contains("InMemoryConfigStore"));
}

TEST_F(Lifecycle, StartStopStartRegistersTheCallbackOnceAndTheRestAgain) {
    injectAndStart();
    const std::vector<std::string> started = chain();
    stop();
    start();
    EXPECT_EQ(systemService->provider->names.size(), 1U);
    EXPECT_EQ(chain(), started);
    EXPECT_EQ(monitor->added, 2);
    EXPECT_EQ(monitor->removed, 1);
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(Lifecycle, UnregisteringRemovesTheCallback) {
    injectAndStart();
    adapter()->unRegisterResetDataCallback();
    EXPECT_THAT(systemService->provider->names,
                ElementsAre("register ProviderResetDataCallback", "remove ProviderResetDataCallback"));
}

TEST_F(Lifecycle, AValueInMemoryIsGoneAfterTheStart) {
    inject();
    adapter()->setInMemoryConfig(L"key", L"value");
    start();
    EXPECT_EQ(get(L"key"), L"<none>");
}

TEST_F(Lifecycle, AFlagThatTheConstructorWorkedOutIsGoneAfterTheStart) {
    writeDefaults({{"Telephony_Enabled", "default"}});
    writeBootstrap("CtiServer1:host\n");
    writeCache("cachedUrlProvisioningConfigStore.xml", {{"servicesdomain", "example.com"}});
    inject();
    EXPECT_EQ(get(L"Telephony_Enabled"), L"true");
    start();
    EXPECT_EQ(get(L"Telephony_Enabled"), L"default");
}

TEST_F(Lifecycle, TheConstructorAppliesTheServerPolicyBeforeItWorksOutTheFlags) {
    writeDefaults({{"Telephony_Enabled", "default"}});
    writeLocal({{"CtiServer1", "user's"}});
    writeOverride({{"customize_phone_server", "false"}});
    writeCache("cachedAny.xml", {});
    inject();
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
    EXPECT_EQ(get(L"Telephony_Enabled"), L"false");
}

TEST_F(Lifecycle, WithoutCacheFilesTheConstructorWorksOutNoFlags) {
    writeDefaults({{"Telephony_Enabled", "default"}});
    writeBootstrap("CtiServer1:host\n");
    inject();
    EXPECT_EQ(get(L"Telephony_Enabled"), L"default");
}

TEST_F(Lifecycle, TheStartAppliesTheServerPolicy) {
    inject();
    adapter()->setConfig(L"CtiServer1", L"user's");
    writeOverride({{"customize_phone_server", "false"}});
    start();
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
}

TEST_F(Lifecycle, DestroyThenStopRunsNoReset) {
    injectAndStart();
    adapter()->Destroy();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    stop();
    EXPECT_EQ(resets(), 0U);
    EXPECT_THAT(chain(), Contains("LocalFileConfigStore"));
    EXPECT_EQ(monitor->removed, 0);
}

TEST_F(Lifecycle, DestroyDestroysEveryStoreInTheOrderOfTheChain) {
    injectAndStart();
    const auto first = std::make_shared<fakes::ScriptedStore>("First", 1);
    const auto last = std::make_shared<fakes::ScriptedStore>("Last", 700);
    std::vector<std::string> destroyed;
    first->onDestroy([&] { destroyed.push_back("first"); });
    last->onDestroy([&] { destroyed.push_back("last"); });
    adapter()->addConfigStore(last);
    adapter()->addConfigStore(first);
    adapter()->Destroy();
    EXPECT_THAT(destroyed, ElementsAre("first", "last"));
}

TEST_F(Lifecycle, DestroyBeforeAnyStartEndsTheStoresToo) {
    inject();
    adapter()->setConfig(L"key", L"value");
    adapter()->Destroy();
    tasks->runAll();
    EXPECT_FALSE(world.directory().exists("config/corvidLocalConfig.xml"));
}

TEST_F(Lifecycle, DestroyLeavesTheRemoteSourceOn) {
    injectAndStart();
    adapter()->startTftpConfigSource();
    const auto store = adapter()->getTftpConfigStore();
    adapter()->Destroy();
    EXPECT_EQ(adapter()->getTftpConfigStore(), store);
}

TEST_F(Lifecycle, TheStopTurnsTheRemoteSourceOff) {
    injectAndStart();
    adapter()->startTftpConfigSource();
    stop();
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
}

TEST_F(Lifecycle, DestroyThenStartRunsAsFromStopped) {
    injectAndStart();
    adapter()->Destroy();
    start();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    adapter()->setConfig(L"key", L"value");
    tasks->runAll();
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"key\" value=\"value\""));
}

TEST_F(Lifecycle, APowerDownDestroysAndSaysSo) {
    injectAndStart();
    log->clear();
    monitor->report(DOWN);
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_THAT(adapterLines(4), ElementsAre("onPowerEvent: Config adapter received a power down event. Calling "
                                             "destroy on configAdapter"));
}

TEST_F(Lifecycle, AnyOtherPowerEventIsIgnoredWithoutAWord) {
    injectAndStart();
    const std::vector<std::string> before = chain();
    log->clear();
    for (const int number : {0, 1, 2, 4, 5, -1}) {
        adapter()->onPowerEvent(static_cast<TesselSystemMonitor::PowerEventTypeEnum::PowerEventType>(number));
    }
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_THAT(log->lines(), IsEmpty());
    EXPECT_EQ(chain(), before);
    adapter()->setConfig(L"key", L"value");
    tasks->runAll();
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"key\" value=\"value\""));
}

TEST_F(Lifecycle, APowerDownIsTheNumberThree) {
    injectAndStart();
    adapter()->onPowerEvent(static_cast<TesselSystemMonitor::PowerEventTypeEnum::PowerEventType>(3));
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(Lifecycle, AfterTheStopPowerEventsAreNotHeard) {
    injectAndStart();
    stop();
    log->clear();
    monitor->report(DOWN);
    EXPECT_FALSE(log->mentions("power down"));
}

TEST_F(Lifecycle, ADataResetCallbackIsNamedAsTheProviderKnowsIt) {
    inject();
    EXPECT_EQ(adapter()->getInterfaceName(), "ProviderResetDataCallback");
}

TEST_F(Lifecycle, AValueIsPersistedAcrossARestart) {
    injectAndStart();
    adapter()->setConfig(L"key", L"value");
    tasks->runAll();
    stop();
    EXPECT_EQ(get(L"key"), L"<none>");
    start();
    EXPECT_EQ(get(L"key"), L"value");
}

TEST_F(Lifecycle, AValueThatIsNotYetPersistedSurvivesTheStart) {
    inject();
    adapter()->setConfig(L"key", L"value");
    start();
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"key\" value=\"value\""));
}

TEST_F(Lifecycle, AValueThatIsNotYetPersistedSurvivesStopAndStart) {
    injectAndStart();
    adapter()->setConfig(L"key", L"value");
    stop();
    start();
    EXPECT_EQ(get(L"key"), L"value");
}

TEST_F(Lifecycle, APersistTaskOfTheFormerLocalStoreDoesNotOverwriteTheNewOnesFile) {
    inject();
    adapter()->setConfig(L"old", L"1");
    start();
    const auto former = tasks->waitingNames();
    adapter()->setConfig(L"new", L"2");
    storeNamed("LocalFileConfigStore")->persistValues();
    ASSERT_TRUE(tasks->runOne());
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"new\" value=\"2\""));
    EXPECT_THAT(former, ElementsAre("ConfigStore::persistValues"));
}

TEST_F(Lifecycle, AValueThatCannotBeWrittenIsTakenOverByTheNewLocalStore) {
    inject();
    adapter()->setConfig(L"key", L"value");
    // A folder in the place of the file: no write can succeed.
    std::filesystem::create_directories(world.directory().path("config/corvidLocalConfig.xml/in-the-way"));
    start();
    EXPECT_EQ(get(L"key"), L"value");
    std::filesystem::remove_all(world.directory().path("config/corvidLocalConfig.xml"));
    storeNamed("LocalFileConfigStore")->persistValues();
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"key\" value=\"value\""));
}

TEST_F(Lifecycle, ALocalFileThatWasChangedMeanwhileIsReadAnewWhenNothingIsUnsaved) {
    writeLocal({{"key", "old"}});
    inject();
    writeLocal({{"key", "new"}});
    start();
    EXPECT_EQ(get(L"key"), L"new");
}

TEST_F(Lifecycle, AValueThatDestroyKeptFromTheDiskReachesItAfterTheNextStart) {
    injectAndStart();
    adapter()->setConfig(L"key", L"value");
    adapter()->Destroy();
    tasks->runAll();
    ASSERT_FALSE(world.directory().exists("config/corvidLocalConfig.xml"));
    start();
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_THAT(tasks->waitingNames(), ElementsAre("ConfigStore::persistValues"));
    tasks->runAll();
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"key\" value=\"value\""));
}

TEST_F(AValueThatCouldNotBeWritten, IsWrittenByTheStopOnceItCan) {
    putTheDiskInOrder();
    stop();
    EXPECT_EQ(valueAfterANewStart(), L"value");
}

TEST_F(AValueThatCouldNotBeWritten, IsWrittenByDestroyOnceItCan) {
    putTheDiskInOrder();
    adapter()->Destroy();
    EXPECT_EQ(valueAfterANewStart(), L"value");
}

TEST_F(AValueThatCouldNotBeWritten, IsWrittenByDestroyIfTheStopCouldNot) {
    stop();
    putTheDiskInOrder();
    adapter()->Destroy();
    EXPECT_EQ(valueAfterANewStart(), L"value");
}

TEST_F(AValueThatCouldNotBeWritten, IsWrittenByAPowerDownOnceItCan) {
    putTheDiskInOrder();
    monitor->report(DOWN);
    EXPECT_EQ(valueAfterANewStart(), L"value");
}

TEST_F(AValueThatCouldNotBeWritten, IsNotWrittenAgainByTheEndOnceAWriteHasDoneSo) {
    putTheDiskInOrder();
    adapter()->setConfig(L"other", L"1");
    tasks->runAll();
    adapter()->setConfig(L"other", L"2");
    adapter()->Destroy();
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"key\" value=\"value\""));
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"other\" value=\"1\""));
}

TEST_F(AValueThatCouldNotBeWritten, IsNotWrittenBehindADataReset) {
    putTheDiskInOrder();
    adapter()->InvokeResetData();
    stop();
    adapter()->Destroy();
    EXPECT_EQ(valueAfterANewStart(), L"<none>");
}
