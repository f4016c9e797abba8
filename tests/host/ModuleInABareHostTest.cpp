// The shared module in hosts that have only some of what it asks for, or that use it in an unusual order.

#include <dlfcn.h>

#include <algorithm>
#include <stdexcept>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "InjectConfigService.h"
#include "fakes/HandSteppedDispatcher.h"
#include "fakes/HandSteppedTaskDispatcher.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedFeatureSet.h"
#include "impl/system/SystemServiceImpl.h"
#include "unified/UnifiedFactory.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

constexpr unsigned SYSTEM_SERVICE_ID = 1;

void injectSharedModule(const std::shared_ptr<UnifiedFactory>& factory) {
    void* const library = dlopen(CONFIGSERVICE_MODULE, RTLD_NOW | RTLD_LOCAL);
    void* const entry = library == nullptr ? nullptr : dlsym(library, "InjectConfigService");
    if (entry == nullptr) {
        throw std::runtime_error(dlerror());
    }
    reinterpret_cast<decltype(&InjectConfigService)>(entry)(factory);
}

/// A host whose dispatcher thread is the test's own. Nothing is in it until the test says so; at its end everything
/// that was registered has to be gone.
class ModuleInABareHost : public testing::Test {
protected:
    ModuleInABareHost() {
        world.directory().write("install/corvid-config-defaults.xml",
                                "<Corvid><userConfig name=\"Key\" value=\"default\"/></Corvid>");
    }

    ~ModuleInABareHost() override { end(); }

    void bring(const std::shared_ptr<ServicesDispatcher>& servicesDispatcher,
               const std::shared_ptr<Processing::TaskDispatcher>& taskDispatcher) {
        factory = std::make_shared<UnifiedFactory>(servicesDispatcher, taskDispatcher);
        factory->setService<SystemService>(SYSTEM_SERVICE_ID, system);
    }
    void bringAll() { bring(dispatcher, tasks); }

    void inject() { injectSharedModule(factory); }
    void bringAllAndInject() {
        bringAll();
        inject();
    }

    std::shared_ptr<ConfigService> service() const { return factory->getService<ConfigService>(); }
    std::shared_ptr<ConfigFeatureSet> featureSet() const { return factory->getFeatureSet<ConfigFeatureSet>(); }
    std::shared_ptr<FeatureSetAdapter> module() const { return factory->getFeatureSetAdapter(CONFIG_SERVICE_ID); }
    void start() const { module()->StartFeatureSet(CONFIG_SERVICE_ID, nullptr); }
    void stop() const { module()->StopFeatureSet(CONFIG_SERVICE_ID, nullptr); }
    bool isStarted() const { return module()->IsFeatureSetStarted(CONFIG_SERVICE_ID); }

    std::wstring liveValue() const { return service()->getConfig(L"Key")->getValue(); }
    std::wstring value() const {
        std::wstring value;
        return featureSet()->getConfig(L"Key", value, false) ? value : L"";
    }
    std::string localFile() const { return world.directory().read("config/corvidLocalConfig.xml"); }
    std::size_t resetsOfTheChain() const {
        const auto names = dispatcher->allNames();
        return static_cast<std::size_t>(std::count(names.begin(), names.end(), "ConfigStoreManager::reset (block)"));
    }

    /// A host's end, in its order, whatever the state.
    void end() {
        if (factory == nullptr) {
            return;
        }
        const std::weak_ptr<ConfigService> oldService = service();
        const std::weak_ptr<FeatureSetAdapter> oldModule = module();
        const std::weak_ptr<UnifiedFactory> oldFactory = factory;
        stop();
        tasks->runAll();
        module()->Destroy();
        dispatcher->runAll();
        system->resetDataProvider()->clear();
        factory->clear();
        factory = nullptr;
        EXPECT_TRUE(oldService.expired());
        EXPECT_TRUE(oldModule.expired());
        EXPECT_TRUE(oldFactory.expired());
    }

    const fakes::ScopedWorld world;
    const fakes::ScopedRecordingLog log;
    const std::shared_ptr<fakes::HandSteppedDispatcher> dispatcher = std::make_shared<fakes::HandSteppedDispatcher>();
    const std::shared_ptr<fakes::HandSteppedTaskDispatcher> tasks =
        std::make_shared<fakes::HandSteppedTaskDispatcher>();
    const std::shared_ptr<SystemServiceImpl> system = std::make_shared<SystemServiceImpl>();
    std::shared_ptr<UnifiedFactory> factory;
};

/// A feature set of the host's that has nothing to do with configuration.
class ForeignFeatureSet : public FeatureSet {};
class ForeignAdapter : public fakes::ScriptedFeatureSet, public ForeignFeatureSet {};

}  // namespace

TEST_F(ModuleInABareHost, AnswersBeforeTheStart) {
    bringAllAndInject();
    EXPECT_FALSE(isStarted());
    EXPECT_TRUE(module()->IsFeatureSetProvisioned(CONFIG_SERVICE_ID));
    EXPECT_TRUE(service()->getConfigReady());
    EXPECT_EQ(liveValue(), L"default");
}

TEST_F(ModuleInABareHost, InjectedTwiceHasANewServiceAndTheSameFeatureSet) {
    bringAllAndInject();
    const auto firstService = service();
    const auto firstModule = module();
    inject();
    EXPECT_NE(service(), firstService);
    EXPECT_EQ(module(), firstModule);
    EXPECT_TRUE(factory->hasService(CONFIG_SERVICE_ID));
}

TEST_F(ModuleInABareHost, InjectedTwiceGoesOnTellingTheFirstService) {
    bringAllAndInject();
    const auto live = service()->getConfig(L"Key");
    inject();
    service()->setConfig(L"Key", L"user");
    EXPECT_EQ(value(), L"user");
    EXPECT_EQ(live->getValue(), L"user");
    EXPECT_EQ(liveValue(), L"");
    EXPECT_FALSE(service()->getConfig(L"Key")->getisDefined());
}

TEST_F(ModuleInABareHost, InjectedTwiceLetsGoOfBothServicesAtTheEnd) {
    bringAllAndInject();
    const std::weak_ptr<ConfigService> firstService = service();
    inject();
    EXPECT_FALSE(firstService.expired());
    end();
    EXPECT_TRUE(firstService.expired());
}

TEST_F(ModuleInABareHost, WorksWithTheConfigurationThatTheHostHasAlready) {
    bringAll();
    const auto hosts = std::make_shared<fakes::ScriptedFeatureSet>();
    factory->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, hosts);
    inject();
    EXPECT_EQ(module(), hosts);
    EXPECT_EQ(featureSet(), hosts);
    EXPECT_THAT(hosts->calls(), IsEmpty());
    service()->setConfig(L"Key", L"user");
    EXPECT_THAT(hosts->calls(), ElementsAre(fakes::ScriptedFeatureSet::Call{"setConfig", {L"Key", L"user"}}));
    EXPECT_EQ(liveValue(), L"");
    tasks->runAll();
    EXPECT_EQ(localFile(), "");
}

TEST_F(ModuleInABareHost, TakesTheNumberOverFromAFeatureSetOfAnotherKind) {
    bringAll();
    const auto foreign = std::make_shared<ForeignAdapter>();
    factory->setFeatureSetAdapter<ForeignFeatureSet>(CONFIG_SERVICE_ID, foreign);
    inject();
    EXPECT_NE(module(), foreign);
    EXPECT_NE(featureSet(), nullptr);
    EXPECT_EQ(factory->getFeatureSet<ForeignFeatureSet>(), foreign);
    start();
    EXPECT_TRUE(isStarted());
    EXPECT_FALSE(foreign->IsFeatureSetStarted(CONFIG_SERVICE_ID));
    EXPECT_EQ(liveValue(), L"default");
}

TEST_F(ModuleInABareHost, LivesWithoutASystemService) {
    factory = std::make_shared<UnifiedFactory>(dispatcher, tasks);
    inject();
    start();
    EXPECT_TRUE(isStarted());
    EXPECT_EQ(log->count(3, "No system service: the reset data callback is not registered"), 1U);
    EXPECT_EQ(log->count(3, "No system service: the user profile is not watched"), 1U);
    service()->setConfig(L"Key", L"user");
    EXPECT_EQ(liveValue(), L"user");
    featureSet()->startTftpConfigSource();
    featureSet()->refreshConfigFeatureSet();
    EXPECT_EQ(liveValue(), L"user");
    tasks->runAll();
    EXPECT_THAT(localFile(), HasSubstr("value=\"user\""));
}

TEST_F(ModuleInABareHost, IsLeftAloneByAStopBeforeAStart) {
    bringAllAndInject();
    service()->setConfig(L"Key", L"user");
    stop();
    EXPECT_EQ(resetsOfTheChain(), 0U);
    EXPECT_EQ(value(), L"user");
    start();
    EXPECT_TRUE(isStarted());
    EXPECT_EQ(value(), L"user");
}

TEST_F(ModuleInABareHost, StartsAgainAfterDestroy) {
    bringAllAndInject();
    start();
    module()->Destroy();
    EXPECT_FALSE(isStarted());
    start();
    EXPECT_TRUE(isStarted());
    service()->setConfig(L"Key", L"user");
    EXPECT_EQ(liveValue(), L"user");
    tasks->runAll();
    EXPECT_THAT(localFile(), HasSubstr("value=\"user\""));
}

TEST_F(ModuleInABareHost, HearsADataResetOnceAfterDestroyAndAStart) {
    bringAllAndInject();
    start();
    module()->Destroy();
    start();
    log->clear();
    service()->setConfig(L"Key", L"user");
    tasks->runAll();
    system->resetDataProvider()->invokeResetData();
    EXPECT_EQ(value(), L"default");
    EXPECT_EQ(log->count(4, "file with name: [corvidLocalConfig.xml] deleted"), 1U);
}

TEST_F(ModuleInABareHost, StartsOnlyOnceUntilItIsStopped) {
    bringAllAndInject();
    start();
    featureSet()->setInMemoryConfig(L"InMemory", L"1");
    start();
    EXPECT_EQ(service()->getConfig(L"InMemory")->getValue(), L"1");
    stop();
    start();
    EXPECT_EQ(service()->getConfig(L"InMemory")->getValue(), L"");
}

TEST_F(ModuleInABareHost, StopsOnlyOnceUntilItIsStarted) {
    bringAllAndInject();
    start();
    stop();
    stop();
    EXPECT_FALSE(isStarted());
    EXPECT_EQ(resetsOfTheChain(), 1U);
    EXPECT_EQ(value(), L"default");
}

TEST_F(ModuleInABareHost, KeepsAUsersValueOverAStopAndAStart) {
    bringAllAndInject();
    start();
    service()->setConfig(L"Key", L"user");
    stop();
    start();
    EXPECT_EQ(liveValue(), L"user");
}

TEST_F(ModuleInABareHost, LivesWithoutADispatcherAndTellsTheServiceNothing) {
    bring(nullptr, tasks);
    inject();
    EXPECT_EQ(log->count(3, "No services dispatcher: the config service is not told of changes"), 1U);
    EXPECT_EQ(value(), L"default");
    EXPECT_EQ(liveValue(), L"");
    start();
    EXPECT_TRUE(isStarted());
    service()->setConfig(L"Key", L"user");
    EXPECT_EQ(value(), L"user");
    featureSet()->refreshConfigFeatureSet();
    EXPECT_EQ(value(), L"user");
    stop();
    EXPECT_FALSE(isStarted());
    EXPECT_EQ(log->count(3, "No services dispatcher: the reset data callback is not registered"), 1U);
    EXPECT_EQ(log->count(3, "No services dispatcher: the stores stay in the chain"), 1U);
    tasks->runAll();
    EXPECT_THAT(localFile(), HasSubstr("value=\"user\""));
}

TEST_F(ModuleInABareHost, LivesWithoutATaskQueueAndLeavesValuesToTheNextStart) {
    bring(dispatcher, nullptr);
    inject();
    start();
    service()->setConfig(L"Key", L"user");
    EXPECT_EQ(liveValue(), L"user");
    EXPECT_EQ(log->count(3, "No task dispatcher, the values are not persisted of store: LocalFileConfigStore"), 1U);
    EXPECT_EQ(localFile(), "");
    stop();
    start();
    EXPECT_EQ(liveValue(), L"user");
    EXPECT_THAT(localFile(), HasSubstr("value=\"user\""));
}

TEST_F(ModuleInABareHost, LivesWithoutEitherQueue) {
    bring(nullptr, nullptr);
    inject();
    start();
    EXPECT_TRUE(featureSet()->setConfig(L"Key", L"user"));
    EXPECT_EQ(value(), L"user");
    system->resetDataProvider()->invokeResetData();
    EXPECT_EQ(value(), L"user");
}

TEST_F(ModuleInABareHost, LivesASecondLifeInTheSameProcess) {
    bringAllAndInject();
    start();
    service()->setConfig(L"Key", L"first life");
    end();
    EXPECT_THAT(localFile(), HasSubstr("value=\"first life\""));

    bringAllAndInject();
    EXPECT_EQ(liveValue(), L"first life");
    start();
    service()->setConfig(L"Key", L"second life");
    EXPECT_EQ(liveValue(), L"second life");
    end();
    EXPECT_THAT(localFile(), HasSubstr("value=\"second life\""));
}

TEST_F(ModuleInABareHost, ForgetsInItsSecondLifeWhatADataResetRemovedInTheFirst) {
    bringAllAndInject();
    start();
    service()->setConfig(L"Key", L"user");
    tasks->runAll();
    system->resetDataProvider()->invokeResetData();
    end();
    EXPECT_THAT(localFile(), Not(HasSubstr("user\"")));

    bringAllAndInject();
    EXPECT_EQ(liveValue(), L"default");
}
