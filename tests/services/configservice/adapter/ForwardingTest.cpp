#include <thread>

#include "AdapterFixture.h"
#include "ConfigValueObserver.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const std::vector<std::wstring> SENSITIVE_FROM_THE_START = {L"Addtional_Info",        L"connectionpassword",
                                                            L"connectionusername",    L"BDIConnectionPassword",
                                                            L"BDIConnectionUsername", L"BDIConnectionUserDn"};

class Forwarding : public AdapterFixture {
protected:
    static void elsewhere(const std::function<void()>& work) { std::thread(work).join(); }
};

/// Counts the changes of a value, and does something at each.
class ValueListener : public ConfigValueObserver {
public:
    explicit ValueListener(std::function<void()> action) : action_(std::move(action)) {}
    void OnValueChanged() override { action_(); }

private:
    const std::function<void()> action_;
};

}  // namespace

TEST_F(Forwarding, ReachesTheLiveValueAtOnceOnTheDispatcherThread) {
    writeDefaults({{"key", "default"}});
    inject();
    const auto live = service()->getConfig(L"key");
    EXPECT_EQ(live->getValue(), L"default");
    adapter()->setConfig(L"key", L"value");
    EXPECT_EQ(live->getValue(), L"value");
    EXPECT_EQ(live->getOriginalValue(), L"default");
    EXPECT_TRUE(live->getisOverridden());
    EXPECT_TRUE(live->getisDefined());
    EXPECT_EQ(live->getValueStoreName(), L"LocalFileConfigStore");
    EXPECT_EQ(live->getOriginalValueStoreName(), L"corvid-config-defaults.xml");
    EXPECT_THAT(dispatcher->allNames(), IsEmpty());
}

TEST_F(Forwarding, OfAWriteUnderTheOldVoicemailKeyComesWithTheNextReportOfTheCurrentOne) {
    injectAndStart();
    const auto live = service()->getConfig(L"VoicemailPrimaryServer");
    service()->setConfig(L"VVM_Mailstore_Server_0", L"host");
    EXPECT_EQ(get(L"VVM_Mailstore_Server_0"), L"host");
    EXPECT_EQ(get(L"VoicemailPrimaryServer"), L"host");
    EXPECT_EQ(live->getValue(), L"");
    tasks->runAll();
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(live->getValue(), L"host");
    EXPECT_EQ(service()->getConfig(L"VVM_Mailstore_Server_0"), live);
}

TEST_F(Forwarding, TakesReportsByValueToo) {
    inject();
    const auto live = service()->getConfig(L"key");
    std::vector<std::wstring> heard;
    const auto listener = std::make_shared<ValueListener>([&] { heard.push_back(live->getValue()); });
    live->addObserver(std::weak_ptr<ConfigValueObserver>(listener));
    adapter()->onConfigAddedOrUpdated(L"key", L"first", L"original", true, true, L"store", L"other", false);
    EXPECT_THAT(heard, ElementsAre(L"first"));
    EXPECT_EQ(live->getOriginalValue(), L"original");
    EXPECT_TRUE(live->getisOverridden());
    EXPECT_TRUE(live->getisDefined());
    EXPECT_EQ(live->getValueStoreName(), L"store");
    EXPECT_EQ(live->getOriginalValueStoreName(), L"other");
    adapter()->onConfigAddedOrUpdated(L"key", L"second", L"original", true, true, L"store", L"other", true);
    EXPECT_EQ(live->getValue(), L"second");
    EXPECT_THAT(heard, ElementsAre(L"first"));
    adapter()->onFireIfRequired(L"key");
    EXPECT_THAT(heard, ElementsAre(L"first", L"second"));
    elsewhere([this] {
        adapter()->onConfigAddedOrUpdated(L"key", L"third", L"original", true, true, L"store", L"other", true);
        adapter()->onFireIfRequired(L"key");
    });
    EXPECT_THAT(dispatcher->waitingNames(),
                ElementsAre("ConfigServiceImpl::OnConfigChanged", "ConfigServiceImpl::FireIfRequired"));
    EXPECT_EQ(live->getValue(), L"second");
    dispatcher->runAll();
    EXPECT_THAT(heard, ElementsAre(L"first", L"second", L"third"));
}

TEST_F(Forwarding, GoesOnWithABatchWhileItsObserversEmptyTheTableOfLiveValuesAndFillItAnew) {
    constexpr std::size_t KEYS = 100;
    const auto keyOf = [](std::size_t index) { return L"key" + std::to_wstring(1000 + index); };
    inject();
    const auto store = std::make_shared<fakes::ScriptedStore>("Many", 50);
    std::vector<std::shared_ptr<ConfigValue>> first;
    std::vector<std::wstring> heard;
    std::vector<std::shared_ptr<ConfigValue>> second;
    std::vector<std::shared_ptr<ValueListener>> listeners;
    const auto observe = [&](const std::shared_ptr<ConfigValue>& live, const std::function<void()>& action) {
        listeners.push_back(std::make_shared<ValueListener>(action));
        live->addObserver(std::weak_ptr<ConfigValueObserver>(listeners.back()));
    };
    for (std::size_t index = 0; index < KEYS; ++index) {
        store->with(keyOf(index), L"value");
        first.push_back(service()->getConfig(keyOf(index)));
        observe(first.back(), [&heard, key = keyOf(index)] { heard.push_back(key); });
    }
    observe(first[20], [&] {
        // Others come into the place of those that go, far more of them, so that the table grows as well.
        std::dynamic_pointer_cast<ConfigServiceImpl>(service())->reset();
        first.erase(first.begin() + 21, first.end());
        for (std::size_t index = 0; index < 10 * KEYS; ++index) {
            second.push_back(service()->getConfig(keyOf(index)));
        }
        adapter()->setConfig(keyOf(30), L"user's");
    });
    adapter()->getConfigStoreManager()->addStore(store);
    // Up to the one that emptied the table; those that came after it have heard of no batch.
    ASSERT_EQ(heard.size(), 21U);
    EXPECT_EQ(first[20]->getValue(), L"value");
    EXPECT_EQ(second.front()->getValue(), L"");
    EXPECT_FALSE(second[40]->getisDefined());
    EXPECT_EQ(second[30]->getValue(), L"user's");
    EXPECT_EQ(service()->getConfig(keyOf(40)), second[40]);
    adapter()->setConfig(keyOf(40), L"user's");
    EXPECT_EQ(second[40]->getValue(), L"user's");
}

TEST_F(Forwarding, WithoutAServiceTellsNobody) {
    writeDefaults({{"other", "default"}});
    const auto lonely = std::make_shared<UnifiedFactory>(dispatcher, tasks);
    const auto adapterAlone = std::make_shared<ConfigAdapter>(lonely);
    EXPECT_TRUE(adapterAlone->setConfig(L"key", L"value"));
    std::wstring value;
    EXPECT_TRUE(adapterAlone->getConfig(L"key", value, false));
    EXPECT_EQ(value, L"value");
    elsewhere([&] { adapterAlone->setConfig(L"key", L"other"); });
    EXPECT_EQ(dispatcher->runAll(), 1U);
}

TEST_F(Forwarding, ReachesTheLiveValueByTaskFromAnotherThread) {
    inject();
    const auto live = service()->getConfig(L"key");
    elsewhere([this] { adapter()->setConfig(L"key", L"value"); });
    EXPECT_EQ(live->getValue(), L"");
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("ConfigServiceImpl::OnConfigChanged"));
    dispatcher->runAll();
    EXPECT_EQ(live->getValue(), L"value");
    EXPECT_EQ(live->getValueStoreName(), L"LocalFileConfigStore");
    EXPECT_TRUE(live->getisDefined());
    EXPECT_TRUE(live->getisOverridden());
    EXPECT_EQ(live->getOriginalValue(), L"");
}

TEST_F(Forwarding, TellsAnAdministratorsValueFromTheUsersOwn) {
    writeOverride({{"key", "administrator's"}});
    inject();
    const auto live = service()->getConfig(L"key");
    adapter()->setConfig(L"key", L"user's");
    EXPECT_EQ(live->getValue(), L"administrator's");
    EXPECT_TRUE(live->getisDefined());
    EXPECT_FALSE(live->getisOverridden());
    EXPECT_EQ(live->getOriginalValue(), L"administrator's");
    EXPECT_EQ(live->getValueStoreName(), L"TftpOverrideConfigStore");
    EXPECT_EQ(live->getOriginalValueStoreName(), L"TftpOverrideConfigStore");
}

TEST_F(Forwarding, OfTheSameStateFromAnotherThreadIsATaskThatFiresNothing) {
    inject();
    adapter()->setConfig(L"key", L"value");
    const auto live = service()->getConfig(L"key");
    int fires = 0;
    const auto listener = std::make_shared<ValueListener>([&] { ++fires; });
    live->addObserver(std::weak_ptr<ConfigValueObserver>(listener));
    elsewhere([this] { adapter()->setConfig(L"key", L"value"); });
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("ConfigServiceImpl::OnConfigChanged"));
    EXPECT_EQ(dispatcher->runAll(), 1U);
    EXPECT_EQ(fires, 0);
    elsewhere([this] { adapter()->setConfig(L"key", L"another"); });
    dispatcher->runAll();
    EXPECT_EQ(fires, 1);
}

TEST_F(Forwarding, OfAStoreThatJoinsOnAnotherThreadReportsAllKeysBeforeItFires) {
    injectAndStart();
    const auto store = std::make_shared<fakes::ScriptedStore>("Outside", 30);
    store->readOnly().with(L"a", L"1").with(L"b", L"2");
    std::wstring otherAtFirstFire;
    const auto a = service()->getConfig(L"a");
    const auto b = service()->getConfig(L"b");
    const auto listener = std::make_shared<ValueListener>([&] { otherAtFirstFire = b->getValue(); });
    a->addObserver(std::weak_ptr<ConfigValueObserver>(listener));
    elsewhere([&] { adapter()->addConfigStore(store); });
    EXPECT_THAT(dispatcher->waitingNames(),
                ElementsAre("ConfigServiceImpl::OnConfigChanged", "ConfigServiceImpl::OnConfigChanged",
                            "ConfigServiceImpl::FireIfRequired", "ConfigServiceImpl::FireIfRequired"));
    dispatcher->runAll();
    EXPECT_EQ(otherAtFirstFire, L"2");
}

TEST_F(Forwarding, DoesNotLetAnOlderReportLandLast) {
    inject();
    const auto live = service()->getConfig(L"key");
    elsewhere([this] { adapter()->setConfig(L"key", L"older"); });
    adapter()->setConfig(L"key", L"newer");
    EXPECT_EQ(live->getValue(), L"newer");
    dispatcher->runAll();
    EXPECT_EQ(live->getValue(), L"newer");
}

TEST_F(Forwarding, KeepsTheOrderWhenAnObserverWrites) {
    inject();
    const auto live = service()->getConfig(L"key");
    const auto other = service()->getConfig(L"other");
    std::vector<std::wstring> seen;
    const auto writer = std::make_shared<ValueListener>([&] {
        if (other->getValue() == L"go") {
            adapter()->setConfig(L"key", L"by the observer");
        }
    });
    const auto listener = std::make_shared<ValueListener>([&] { seen.push_back(live->getValue()); });
    other->addObserver(std::weak_ptr<ConfigValueObserver>(writer));
    live->addObserver(std::weak_ptr<ConfigValueObserver>(listener));
    elsewhere([this] {
        adapter()->setConfig(L"other", L"go");
        adapter()->setConfig(L"key", L"waiting");
    });
    adapter()->setConfig(L"key", L"direct");
    dispatcher->runAll();
    EXPECT_THAT(seen, ElementsAre(L"waiting", L"direct", L"by the observer"));
    EXPECT_EQ(live->getValue(), get(L"key"));
}

TEST_F(Forwarding, KeepsTheOrderWhenAnObserverWritesInsideATask) {
    inject();
    const auto live = service()->getConfig(L"key");
    const auto other = service()->getConfig(L"other");
    std::vector<std::wstring> seen;
    const auto writer = std::make_shared<ValueListener>([&] { adapter()->setConfig(L"key", L"by the observer"); });
    const auto listener = std::make_shared<ValueListener>([&] { seen.push_back(live->getValue()); });
    other->addObserver(std::weak_ptr<ConfigValueObserver>(writer));
    live->addObserver(std::weak_ptr<ConfigValueObserver>(listener));
    elsewhere([this] {
        adapter()->setConfig(L"other", L"go");
        adapter()->setConfig(L"key", L"waiting");
        adapter()->setConfig(L"key", L"waiting too");
    });
    ASSERT_TRUE(dispatcher->runOne());
    EXPECT_THAT(seen, ElementsAre(L"waiting", L"waiting too", L"by the observer"));
    dispatcher->runAll();
    EXPECT_EQ(seen.size(), 3U);
    EXPECT_EQ(live->getValue(), get(L"key"));
}

TEST_F(Forwarding, NeitherFiltersNorMerges) {
    inject();
    elsewhere([this] {
        adapter()->setConfig(L"key", L"same");
        adapter()->setConfig(L"key", L"same");
    });
    EXPECT_EQ(dispatcher->waitingNames().size(), 2U);
}

TEST_F(Forwarding, TellsOfASensitiveKeyAheadOfTheValuesThatWait) {
    inject();
    const auto live = service()->getConfig(L"key");
    elsewhere([this] { adapter()->setConfig(L"key", L"waiting"); });
    adapter()->setKeySensitive(L"secret");
    EXPECT_EQ(live->getValue(), L"");
    EXPECT_TRUE(service()->isKeySensitive(L"secret"));
}

TEST_F(Forwarding, OfAnotherThreadTellsThatAKeyIsSensitiveBeforeItsValue) {
    inject();
    std::vector<bool> wasMarked;
    const auto live = service()->getConfig(L"key");
    const auto listener =
        std::make_shared<ValueListener>([&] { wasMarked.push_back(service()->isKeySensitive(L"key")); });
    live->addObserver(std::weak_ptr<ConfigValueObserver>(listener));
    elsewhere([this] {
        adapter()->setKeySensitive(L"key");
        adapter()->setConfig(L"key", L"hunter22");
    });
    // What is told on the dispatcher thread itself brings what waits with it.
    adapter()->setConfig(L"other", L"value");
    EXPECT_EQ(live->getValue(), L"hunter22");
    EXPECT_THAT(wasMarked, ElementsAre(true));
    service()->logConfig();
    EXPECT_FALSE(log->mentions("hunter22"));
}

TEST_F(Forwarding, OfASensitiveKeyIsDoneWhenTheServiceReturns) {
    inject();
    EXPECT_FALSE(service()->isKeySensitive(L"secret"));
    service()->setKeySensitive(L"Secret");
    EXPECT_TRUE(service()->isKeySensitive(L"secret"));
    EXPECT_TRUE(manager()->isKeySensitive(L"secret"));
    EXPECT_THAT(dispatcher->allNames(), IsEmpty());
}

TEST_F(Forwarding, HappensBeforeTheStartAndAfterTheStop) {
    inject();
    const auto live = service()->getConfig(L"key");
    adapter()->setInMemoryConfig(L"key", L"before");
    EXPECT_EQ(live->getValue(), L"before");
    start();
    stop();
    adapter()->setInMemoryConfig(L"key", L"after");
    EXPECT_EQ(live->getValue(), L"after");
}

TEST_F(Forwarding, OffTheDispatcherThreadTheConstructorQueuesTheAliasesFirst) {
    factory->setService<ConfigService>(CONFIG_SERVICE_ID, std::make_shared<ConfigServiceImpl>(factory));
    dispatcher->setUpdateAccess(false);
    const auto made = std::make_shared<ConfigAdapter>(factory);
    std::vector<std::string> expected = {"ConfigServiceImpl::setupConfigKeyAliases"};
    expected.insert(expected.end(), 6, "ConfigServiceImpl::OnConfigChanged");
    EXPECT_EQ(dispatcher->waitingNames(), expected);
    dispatcher->setUpdateAccess(true);
    const auto knowsTheAliases = [this] {
        std::wstring current;
        return std::dynamic_pointer_cast<ConfigServiceImpl>(service())->isKeyAlias(L"TftpServer1", current);
    };
    EXPECT_FALSE(knowsTheAliases());
    ASSERT_TRUE(dispatcher->runOne());
    EXPECT_TRUE(knowsTheAliases());
    for (const std::wstring& key : SENSITIVE_FROM_THE_START) {
        EXPECT_FALSE(service()->isKeySensitive(key)) << QuillCoreUtils::toString(key);
        ASSERT_TRUE(dispatcher->runOne());
        EXPECT_TRUE(service()->isKeySensitive(key)) << QuillCoreUtils::toString(key);
    }
    EXPECT_FALSE(dispatcher->runOne());
}

TEST_F(Forwarding, TellsTheServiceTheAliasesAtOnce) {
    inject();
    const auto live = service()->getConfig(L"TftpServer1");
    EXPECT_EQ(live, service()->getConfig(L"TFTPPrimaryServer"));
}

TEST_F(Forwarding, OfWhatIsStillQueuedIsHarmlessOnceTheModuleIsGone) {
    inject();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    const std::weak_ptr<ConfigService> goneService = service();
    elsewhere([this] {
        adapter()->setConfig(L"key", L"value");
        adapter()->setKeySensitive(L"key");
        adapter()->notifyConfigKeyAliases();
    });
    factory->clear();
    EXPECT_TRUE(gone.expired());
    EXPECT_TRUE(goneService.expired());
    EXPECT_EQ(dispatcher->runAll(), 3U);
}
