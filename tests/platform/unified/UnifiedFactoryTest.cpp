#include "unified/UnifiedFactory.h"

#include <atomic>
#include <latch>
#include <stdexcept>
#include <thread>

#include "fakes/HandSteppedDispatcher.h"
#include "fakes/HandSteppedTaskDispatcher.h"
#include "unified/FeatureSet.h"
#include "unified/Tasks.h"

using ::testing::ElementsAre;

namespace {

class Service {
public:
    virtual ~Service() = default;
};

class OtherService {
public:
    virtual ~OtherService() = default;
};

class Chat : public FeatureSet {};

class BareAdapter : public FeatureSetAdapter {
public:
    void StartFeatureSet(unsigned, ServiceEvents) override {}
    void StopFeatureSet(unsigned, ServiceEvents) override {}
    void Destroy() override {}
    bool IsFeatureSetStarted(unsigned) override { return false; }
    bool IsFeatureSetProvisioned(unsigned) override { return false; }
    std::vector<unsigned> GetFeatureSetDependencies(unsigned) override { return {}; }
};

class ChatAdapter : public BareAdapter, public Chat {};

/// Writes down what it is asked for, and does what the test says.
class ScriptedLoader : public ModuleLoader {
public:
    void loadService(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory) override {
        trace.add("service " + typeName);
        if (onService) {
            onService(factory);
        }
    }

    void loadFeatureSet(const std::string& typeName, const std::shared_ptr<UnifiedFactory>& factory) override {
        trace.add("feature set " + typeName);
        if (onFeatureSet) {
            onFeatureSet(factory);
        }
    }

    Trace trace;
    std::function<void(const std::shared_ptr<UnifiedFactory>&)> onService;
    std::function<void(const std::shared_ptr<UnifiedFactory>&)> onFeatureSet;
};

/// Runs a function as it is destroyed.
template <typename Base>
class Dying : public Base {
public:
    explicit Dying(std::function<void()> last) : last_(std::move(last)) {}
    ~Dying() override { last_(); }

private:
    std::function<void()> last_;
};

std::shared_ptr<UnifiedFactory> makeFactory(std::shared_ptr<ModuleLoader> loader = nullptr) {
    return std::make_shared<UnifiedFactory>(nullptr, nullptr, std::move(loader));
}

}  // namespace

TEST(UnifiedFactory, FindsARegisteredService) {
    const auto factory = makeFactory();
    const auto service = std::make_shared<Service>();
    factory->setService<Service>(1300, service);
    EXPECT_EQ(factory->getService<Service>(), service);
    EXPECT_EQ(factory->getService<OtherService>(), nullptr);
    EXPECT_EQ(factory->getFeatureSet<Service>(), nullptr);
}

TEST(UnifiedFactory, RegistersALaterServiceOverAnEarlierOne) {
    const auto factory = makeFactory();
    factory->setService<Service>(1300, std::make_shared<Service>());
    const auto later = std::make_shared<Service>();
    factory->setService<Service>(1300, later);
    EXPECT_EQ(factory->getService<Service>(), later);
}

TEST(UnifiedFactory, FindsARegisteredFeatureSetAndItsAdapter) {
    const auto factory = makeFactory();
    const auto adapter = std::make_shared<ChatAdapter>();
    factory->setFeatureSetAdapter<Chat>(1300, adapter);
    EXPECT_EQ(factory->getFeatureSet<Chat>(), adapter);
    EXPECT_EQ(factory->getFeatureSetAdapter(1300), adapter);
    EXPECT_EQ(factory->getFeatureSetAdapter(1), nullptr);
    EXPECT_EQ(factory->getService<Chat>(), nullptr);
}

TEST(UnifiedFactory, RegistersNoAdapterThatIsNotOfTheFeatureSetsType) {
    const auto factory = makeFactory();
    factory->setFeatureSetAdapter<Chat>(1300, std::make_shared<BareAdapter>());
    factory->setFeatureSetAdapter<Chat>(1301, nullptr);
    EXPECT_EQ(factory->getFeatureSet<Chat>(), nullptr);
    EXPECT_EQ(factory->getFeatureSetAdapter(1300), nullptr);
    EXPECT_EQ(factory->getFeatureSetAdapter(1301), nullptr);
}

TEST(UnifiedFactory, LoadsTheModuleOfAServiceAtTheFirstMiss) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    const auto service = std::make_shared<Service>();
    loader->onService = [&](const std::shared_ptr<UnifiedFactory>& given) { given->setService<Service>(1, service); };
    EXPECT_EQ(factory->getService<Service>(), service);
    EXPECT_EQ(factory->getService<Service>(), service);
    EXPECT_THAT(loader->trace.events(), ElementsAre("service " + typeMapName(typeid(Service))));
}

TEST(UnifiedFactory, LoadsTheModuleOfAFeatureSetAtTheFirstMiss) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    const auto adapter = std::make_shared<ChatAdapter>();
    loader->onFeatureSet = [&](const std::shared_ptr<UnifiedFactory>& given) {
        given->setFeatureSetAdapter<Chat>(1, adapter);
    };
    EXPECT_EQ(factory->getFeatureSet<Chat>(), adapter);
    EXPECT_THAT(loader->trace.events(), ElementsAre("feature set " + typeMapName(typeid(Chat))));
}

TEST(UnifiedFactory, AsksForEachTypeAndKindOnce) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(factory->getService<Service>(), nullptr);
        EXPECT_EQ(factory->getFeatureSet<Service>(), nullptr);
        EXPECT_EQ(factory->getService<OtherService>(), nullptr);
    }
    EXPECT_THAT(loader->trace.events(),
                ElementsAre("service " + typeMapName(typeid(Service)), "feature set " + typeMapName(typeid(Service)),
                            "service " + typeMapName(typeid(OtherService))));
}

TEST(UnifiedFactory, LoadsAModuleAnewThatHasThrown) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    loader->onService = [](const std::shared_ptr<UnifiedFactory>&) { throw std::logic_error("on a wrong thread"); };
    loader->onFeatureSet = loader->onService;
    EXPECT_THROW(factory->getService<Service>(), std::logic_error);
    EXPECT_THROW(factory->getFeatureSet<Chat>(), std::logic_error);
    const auto service = std::make_shared<Service>();
    const auto adapter = std::make_shared<ChatAdapter>();
    loader->onService = [&](const std::shared_ptr<UnifiedFactory>& given) { given->setService<Service>(1, service); };
    loader->onFeatureSet = [&](const std::shared_ptr<UnifiedFactory>& given) {
        given->setFeatureSetAdapter<Chat>(1, adapter);
    };
    EXPECT_EQ(factory->getService<Service>(), service);
    EXPECT_EQ(factory->getFeatureSet<Chat>(), adapter);
}

TEST(UnifiedFactory, LoadsAnewWhatAModuleAskedForInVainBeforeItThrew) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    const auto service = std::make_shared<Service>();
    const auto adapter = std::make_shared<ChatAdapter>();
    loader->onService = [&](const std::shared_ptr<UnifiedFactory>& given) {
        given->setService<Service>(1, service);
        EXPECT_EQ(given->getFeatureSet<Chat>(), nullptr);
        EXPECT_EQ(given->getFeatureSet<Chat>(), nullptr);
        throw std::runtime_error("half-way");
    };
    EXPECT_THROW(factory->getService<Service>(), std::runtime_error);
    EXPECT_EQ(loader->trace.events().size(), 2U);
    loader->onFeatureSet = [&](const std::shared_ptr<UnifiedFactory>& given) {
        given->setFeatureSetAdapter<Chat>(1, adapter);
    };
    EXPECT_EQ(factory->getFeatureSet<Chat>(), adapter);
    EXPECT_EQ(factory->getService<Service>(), service);
}

TEST(UnifiedFactory, LoadsNothingAnewThatHasNoPartInALoadThatThrows) {
    class Before {};
    class After {};
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    EXPECT_EQ(factory->getFeatureSet<Before>(), nullptr);
    loader->onService = [](const std::shared_ptr<UnifiedFactory>&) { throw std::runtime_error("half-way"); };
    EXPECT_THROW(factory->getService<Service>(), std::runtime_error);
    EXPECT_EQ(factory->getFeatureSet<After>(), nullptr);
    EXPECT_EQ(loader->trace.events().size(), 3U);
    EXPECT_EQ(factory->getFeatureSet<Before>(), nullptr);
    EXPECT_EQ(factory->getFeatureSet<After>(), nullptr);
    EXPECT_EQ(loader->trace.events().size(), 3U);
}

TEST(UnifiedFactory, LoadsAnewWhatAnotherThreadAskedForInVainBeforeAModuleThrew) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    loader->onService = [](const std::shared_ptr<UnifiedFactory>& given) {
        std::thread([&] { EXPECT_EQ(given->getFeatureSet<Chat>(), nullptr); }).join();
        throw std::runtime_error("half-way");
    };
    EXPECT_THROW(factory->getService<Service>(), std::runtime_error);
    EXPECT_EQ(loader->trace.events().size(), 2U);
    const auto adapter = std::make_shared<ChatAdapter>();
    loader->onFeatureSet = [&](const std::shared_ptr<UnifiedFactory>& given) {
        given->setFeatureSetAdapter<Chat>(1, adapter);
    };
    EXPECT_EQ(factory->getFeatureSet<Chat>(), adapter);
}

TEST(UnifiedFactory, LoadsAnewWhatIsAskedForInVainWhileAModuleThrowsOnAnotherThread) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    loader->onService = [](const std::shared_ptr<UnifiedFactory>&) { throw std::runtime_error("half-way"); };
    loader->onFeatureSet = [](const std::shared_ptr<UnifiedFactory>& given) {
        std::thread([&] { EXPECT_THROW(given->getService<Service>(), std::runtime_error); }).join();
        EXPECT_EQ(given->getFeatureSet<Chat>(), nullptr) << "this load is under way";
    };
    EXPECT_EQ(factory->getFeatureSet<Chat>(), nullptr);
    EXPECT_EQ(loader->trace.events().size(), 2U);
    const auto adapter = std::make_shared<ChatAdapter>();
    loader->onFeatureSet = [&](const std::shared_ptr<UnifiedFactory>& given) {
        given->setFeatureSetAdapter<Chat>(1, adapter);
    };
    EXPECT_EQ(factory->getFeatureSet<Chat>(), adapter);
}

TEST(UnifiedFactory, FindsWhatIsRegisteredAfterAMissWithoutLoadingAgain) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    EXPECT_EQ(factory->getService<Service>(), nullptr);
    const auto service = std::make_shared<Service>();
    factory->setService<Service>(1, service);
    EXPECT_EQ(factory->getService<Service>(), service);
    EXPECT_EQ(loader->trace.events().size(), 1U);
}

TEST(UnifiedFactory, LoadsOnceForEachFactory) {
    const auto loader = std::make_shared<ScriptedLoader>();
    EXPECT_EQ(makeFactory(loader)->getService<Service>(), nullptr);
    EXPECT_EQ(makeFactory(loader)->getService<Service>(), nullptr);
    EXPECT_EQ(loader->trace.events().size(), 2U);
}

TEST(UnifiedFactory, HoldsNoLockWhileAModuleIsLoaded) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    const auto service = std::make_shared<Service>();
    const auto useOnAnotherThread = [&](const std::shared_ptr<UnifiedFactory>& given) {
        std::thread([&] { given->setService<Service>(1, service); }).join();
    };
    loader->onService = useOnAnotherThread;
    loader->onFeatureSet = useOnAnotherThread;
    EXPECT_EQ(factory->getService<Service>(), service);
    EXPECT_EQ(factory->getFeatureSet<Chat>(), nullptr);
}

TEST(UnifiedFactory, GivesItsQueues) {
    const auto services = std::make_shared<fakes::HandSteppedDispatcher>();
    const auto tasks = std::make_shared<fakes::HandSteppedTaskDispatcher>();
    const UnifiedFactory factory(services, tasks);
    EXPECT_EQ(factory.getServicesDispatcher(), services);
    EXPECT_EQ(factory.getTaskDispatcher(), tasks);
}

TEST(UnifiedFactory, LivesWithoutQueues) {
    const UnifiedFactory factory(nullptr, nullptr);
    EXPECT_EQ(factory.getServicesDispatcher(), nullptr);
    EXPECT_EQ(factory.getTaskDispatcher(), nullptr);
}

TEST(UnifiedFactory, ClearBreaksTheCyclesOfWhatIsRegistered) {
    struct Cyclic : Service {
        std::shared_ptr<UnifiedFactory> factory;
    };
    struct CyclicAdapter : ChatAdapter {
        std::shared_ptr<UnifiedFactory> factory;
    };
    auto factory = makeFactory();
    auto service = std::make_shared<Cyclic>();
    auto adapter = std::make_shared<CyclicAdapter>();
    service->factory = adapter->factory = factory;
    factory->setService<Service>(1, service);
    factory->setFeatureSetAdapter<Chat>(1, adapter);
    const std::weak_ptr<UnifiedFactory> watchFactory = factory;
    const std::weak_ptr<Cyclic> watchService = service;
    const std::weak_ptr<CyclicAdapter> watchAdapter = adapter;
    service.reset();
    adapter.reset();

    factory->clear();
    EXPECT_TRUE(watchService.expired());
    EXPECT_TRUE(watchAdapter.expired());
    factory.reset();
    EXPECT_TRUE(watchFactory.expired());
}

TEST(UnifiedFactory, ClearDropsAdaptersBeforeServicesAndHoldsNoLock) {
    const auto factory = makeFactory();
    Trace trace;
    const auto useOnAnotherThread = [&] { std::thread([&] { factory->getService<OtherService>(); }).join(); };
    factory->setService<Service>(1, std::make_shared<Dying<Service>>([&] {
                                     useOnAnotherThread();
                                     trace.add("service");
                                 }));
    factory->setFeatureSetAdapter<Chat>(1, std::make_shared<Dying<ChatAdapter>>([&] {
                                            useOnAnotherThread();
                                            trace.add(factory->getService<Service>() ? "adapter, with services"
                                                                                     : "adapter");
                                        }));
    factory->clear();
    EXPECT_THAT(trace.events(), ElementsAre("adapter, with services", "service"));
    EXPECT_EQ(factory->getFeatureSetAdapter(1), nullptr);
    EXPECT_EQ(factory->getFeatureSet<Chat>(), nullptr);
    EXPECT_EQ(factory->getService<Service>(), nullptr);
}

TEST(UnifiedFactory, HoldsNoLockWhileAReplacedObjectEnds) {
    const auto factory = makeFactory();
    Trace trace;
    const auto useOnAnotherThread = [&] { std::thread([&] { factory->getService<OtherService>(); }).join(); };
    factory->setService<Service>(1, std::make_shared<Dying<Service>>([&] {
                                     useOnAnotherThread();
                                     trace.add("service");
                                 }));
    factory->setFeatureSetAdapter<Chat>(1, std::make_shared<Dying<ChatAdapter>>([&] {
                                            useOnAnotherThread();
                                            trace.add("adapter");
                                        }));
    factory->setService<Service>(1, std::make_shared<Service>());
    factory->setFeatureSetAdapter<Chat>(1, std::make_shared<ChatAdapter>());
    EXPECT_THAT(trace.events(), ElementsAre("service", "adapter"));
}

TEST(UnifiedFactory, KnowsTheNumbersOfItsServices) {
    const auto factory = makeFactory();
    factory->setService<Service>(7, std::make_shared<Service>());
    EXPECT_TRUE(factory->hasService(7));
    EXPECT_FALSE(factory->hasService(8));
}

TEST(UnifiedFactory, ClearKeepsTheQueues) {
    const auto services = std::make_shared<fakes::HandSteppedDispatcher>();
    UnifiedFactory factory(services, nullptr);
    factory.clear();
    EXPECT_EQ(factory.getServicesDispatcher(), services);
}

TEST(UnifiedFactory, TheDestructorDropsWhatIsRegisteredAndLoadsNothing) {
    const auto loader = std::make_shared<ScriptedLoader>();
    auto factory = makeFactory(loader);
    UnifiedFactory* const dying = factory.get();
    bool dropped = false;
    factory->setService<Service>(1, std::make_shared<Dying<Service>>([&] {
                                     dropped = dying->getService<OtherService>() == nullptr &&
                                               dying->getFeatureSet<Chat>() == nullptr;
                                 }));
    factory.reset();
    EXPECT_TRUE(dropped);
    EXPECT_TRUE(loader->trace.events().empty());
}

TEST(UnifiedFactory, ServesManyThreadsAtOnce) {
    const auto loader = std::make_shared<ScriptedLoader>();
    const auto factory = makeFactory(loader);
    std::latch together(4);
    std::atomic<int> found{0};
    std::vector<std::thread> threads;
    for (unsigned thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            together.arrive_and_wait();
            for (int i = 0; i < 200; ++i) {
                factory->setService<Service>(thread, std::make_shared<Service>());
                found += factory->getService<Service>() != nullptr ? 1 : 0;
                factory->setFeatureSetAdapter<Chat>(thread, std::make_shared<ChatAdapter>());
                found += factory->getFeatureSet<Chat>() != nullptr ? 1 : 0;
                found += factory->getFeatureSetAdapter(thread) != nullptr ? 1 : 0;
                factory->getService<OtherService>();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(found, 4 * 200 * 3);
    EXPECT_THAT(loader->trace.events(), ElementsAre("service " + typeMapName(typeid(OtherService))));
}
