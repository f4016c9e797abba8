#include <thread>

#include "AdapterFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

class CachedStores : public AdapterFixture {
protected:
    /// A store as the remote one is: read-only, of the machine's outside, with a copy on disk.
    static std::shared_ptr<fakes::ScriptedStore> server(const std::string& name = "TFTPConfigStore") {
        auto store = std::make_shared<fakes::ScriptedStore>(name, 40);
        store->readOnly().remote().cached();
        return store;
    }

    /// Names so many stores.
    static std::string listOf(int count) {
        std::string list;
        for (int number = 0; number < count; ++number) {
            list += "S" + std::to_string(number) + ":240;";
        }
        return list;
    }

    std::int32_t priorityOf(const std::string& name) const {
        const auto store = storeNamed(name);
        return store == nullptr ? -1 : store->getPriority();
    }
};

}  // namespace

TEST_F(CachedStores, AreNoneButTheProvisioningCacheForAnAbsentList) {
    inject();
    EXPECT_THAT(chain(), Not(Contains(HasSubstr("cached"))));
    EXPECT_THAT(chain(), Contains("UrlProvisioningConfigStore"));
}

TEST_F(CachedStores, AreNoneButTheProvisioningCacheForAnEmptyList) {
    writeLocal({{"PrimaryConfigStores", ""}});
    inject();
    EXPECT_THAT(chain(), Not(Contains(HasSubstr("cached"))));
    EXPECT_THAT(chain(), Contains("UrlProvisioningConfigStore"));
}

TEST_F(CachedStores, AreNoneForAListThatAStoreLeavesOnAMiss) {
    inject();
    const auto careless = std::make_shared<fakes::ScriptedStore>("Careless", 2147483647);
    careless->leavingOnMiss(L"Rubbish:1;");
    manager()->addStore(careless);
    adapter()->refreshConfigFeatureSet();
    EXPECT_THAT(chain(), Not(Contains("cachedRubbish.xml")));
}

TEST_F(CachedStores, AnswerFromTheirFilesAtTheNextStart) {
    writeLocal({{"PrimaryConfigStores", "TFTPConfigStore:240;"}});
    writeCache("cachedTFTPConfigStore.xml", {{"key", "server's"}});
    inject();
    EXPECT_EQ(get(L"key"), L"server's");
    EXPECT_EQ(storeOf(L"key"), L"cachedTFTPConfigStore.xml");
}

TEST_F(CachedStores, OfAListedStoreWithoutAFileAreEmpty) {
    writeLocal({{"PrimaryConfigStores", "TFTPConfigStore:240;"}});
    inject();
    ASSERT_NE(storeNamed("cachedTFTPConfigStore.xml"), nullptr);
    EXPECT_THAT(storeNamed("cachedTFTPConfigStore.xml")->getKeys(), IsEmpty());
}

TEST_F(CachedStores, TakeTheirPriorityFromTheListOr240) {
    writeLocal({{"PrimaryConfigStores", "A:77;B:abc;noColon;Two:1:2;"}});
    inject();
    EXPECT_EQ(priorityOf("cachedA.xml"), 77);
    EXPECT_EQ(priorityOf("cachedB.xml"), 240);
    EXPECT_EQ(priorityOf("cachednoColon.xml"), -1);
    EXPECT_EQ(priorityOf("cachedTwo.xml"), -1);
}

TEST_F(CachedStores, AreMadeOfEveryEntryOfAListOfTwoHundredAndFiftySix) {
    writeLocal({{"PrimaryConfigStores", listOf(256)}});
    inject();
    EXPECT_THAT(chain(), Contains(HasSubstr("cached")).Times(256));
    EXPECT_THAT(adapterLines(3), Not(Contains(HasSubstr("PrimaryConfigStores"))));
}

TEST_F(CachedStores, AreMadeOfTheEntriesOfALongerListThatHaveAFile) {
    const std::string list = listOf(20'000) + "Z:241;";
    writeLocal({{"PrimaryConfigStores", list}});
    writeCache("cachedS100.xml", {{"key", "one"}});
    writeCache("cachedZ.xml", {{"key", "the last one's"}, {"other", "two"}});
    inject();
    EXPECT_THAT(chain(), Contains(HasSubstr("cached")).Times(2));
    EXPECT_EQ(get(L"key"), L"one");
    EXPECT_EQ(get(L"other"), L"two");
    EXPECT_EQ(get(L"PrimaryConfigStores"), QuillCoreUtils::toWideString(list)) << "what somebody has set stays";
    EXPECT_THAT(
        adapterLines(3),
        Contains("listedStores: PrimaryConfigStores names 20001 stores: only the 2 that have a file are added"));
}

TEST_F(CachedStores, OfThePresenceServerAreThereWithoutAProductMode) {
    writeLocal({{"PrimaryConfigStores", "PresenceConfigStore:x;"}});
    inject();
    EXPECT_EQ(priorityOf("cachedPresenceConfigStore.xml"), 240);
}

TEST_F(CachedStores, OfThePresenceServerAreThereInAnotherProductMode) {
    writeLocal({{"PrimaryConfigStores", "PresenceConfigStore:230;"}, {"ProductMode", "Im_Mode"}});
    inject();
    EXPECT_EQ(priorityOf("cachedPresenceConfigStore.xml"), 230);
}

TEST_F(CachedStores, OfThePresenceServerAreDroppedIfTheCopyOfTheServersFileSaysPhoneMode) {
    writeLocal({{"PrimaryConfigStores", "PresenceConfigStore:230;TFTPConfigStore:240;"}});
    writeCache("cachedTFTPConfigStore.xml", {{"ProductMode", "Phone_Mode"}});
    inject();
    EXPECT_THAT(chain(), Not(Contains(HasSubstr("resence"))));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
}

TEST_F(CachedStores, OfThePresenceServerAreDroppedInPhoneModeAndLeaveTheList) {
    writeLocal({{"PrimaryConfigStores", "A:77;presenceCONFIGstore:230;Z:78;"}, {"ProductMode", "phone_mode"}});
    writeCache("cachedPresenceConfigStore.xml", {{"key", "value"}});
    inject();
    EXPECT_THAT(chain(), Not(Contains(HasSubstr("resence"))));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"A:77;Z:78;");
    EXPECT_TRUE(world.directory().exists("config/Cache/cachedPresenceConfigStore.xml"));
    EXPECT_THAT(adapterLines(2), ElementsAre("getConfig: Config FeatureSet Not Started"));
}

TEST_F(CachedStores, OfThePresenceServerJoinAfterTheOthers) {
    writeLocal({{"PrimaryConfigStores", "PresenceConfigStore:230;Z:230;"}});
    inject();
    // Of two with one priority the later one stands behind.
    const auto names = chain();
    EXPECT_LT(std::find(names.begin(), names.end(), "cachedZ.xml"),
              std::find(names.begin(), names.end(), "cachedPresenceConfigStore.xml"));
}

TEST_F(CachedStores, AreNotAnnouncedInTheLogBeforeTheStart) {
    writeLocal({{"PrimaryConfigStores", "A:77;"}});
    inject();
    EXPECT_THAT(adapterLines(2), IsEmpty());
}

TEST_F(CachedStores, AreCountedByTheirXmlFiles) {
    EXPECT_EQ(ConfigAdapter::getNumCacheStores(), 0);
    writeCache("cachedA.xml", {});
    writeCache("cachedUrlProvisioningConfigStore.xml", {});
    write("config/Cache/note.txt", "no cache file");
    EXPECT_EQ(ConfigAdapter::getNumCacheStores(), 2);
}

TEST_F(CachedStores, AreAddedFromAListWith40AsDefault) {
    inject();
    adapter()->addCachedConfigStores(L"A:77;B:abc;bad;");
    EXPECT_EQ(priorityOf("cachedA.xml"), 77);
    EXPECT_EQ(priorityOf("cachedB.xml"), 40);
    EXPECT_EQ(priorityOf("cachedbad.xml"), -1);
}

TEST_F(CachedStores, OfOldAreLeftWhereTheyAre) {
    writeLocal({{"PrimaryConfigStores", "A:77;"}});
    inject();
    adapter()->removeOldCacheConfigStores(std::make_shared<std::vector<std::string>>(1, "cachedA.xml"), {});
    EXPECT_THAT(chain(), Contains("cachedA.xml"));
}

TEST_F(CachedStores, AreWrittenWhenAStoreJoinsAndTheListGetsItsEntry) {
    writeLocal({{"PrimaryConfigStores", "Z:1;"}});
    injectAndStart();
    const auto store = server();
    store->with(L"key", L"value").with(L"connectionpassword", L"secret");
    adapter()->addConfigStore(store);
    EXPECT_EQ(storeOf(L"key"), L"TFTPConfigStore");
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), HasSubstr("<key>value</key>"));
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), Not(HasSubstr("secret")));
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), Not(HasSubstr("connectionpassword")));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;Z:1;");
    EXPECT_EQ(storeOf(L"PrimaryConfigStores"), L"LocalFileConfigStore");
}

TEST_F(CachedStores, LeaveTheChainWhenTheLiveStoreJoins) {
    writeLocal({{"PrimaryConfigStores", "TFTPConfigStore:240;"}});
    writeCache("cachedTFTPConfigStore.xml", {{"key", "old"}, {"gone", "old"}});
    injectAndStart();
    const auto store = server();
    store->with(L"key", L"new");
    adapter()->addConfigStore(store);
    EXPECT_THAT(chain(), Not(Contains("cachedTFTPConfigStore.xml")));
    EXPECT_EQ(get(L"key"), L"new");
    EXPECT_EQ(get(L"gone"), L"<none>");
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), HasSubstr("<key>new</key>"));
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), Not(HasSubstr("gone")));
}

TEST_F(CachedStores, AreNotWrittenForAStoreThatWantsNone) {
    injectAndStart();
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("Plain", 30));
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedPlain.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"<none>");
}

TEST_F(CachedStores, LoseAMalformedEntryAtTheNextRewrite) {
    injectAndStart();
    adapter()->setConfig(L"PrimaryConfigStores", L"bad;B:2;a:1;");
    adapter()->addConfigStore(server());
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"a:1;B:2;TFTPConfigStore:240;");
}

TEST_F(CachedStores, AddingAStoreReportsItsKeysBeforeItWaits) {
    injectAndStart();
    adapter()->startTftpConfigSource();
    const auto other = server();
    std::vector<std::string> toldBefore;
    other->onWait([&] { toldBefore = observer.course(); });
    adapter()->addConfigStore(other);
    observe();
    const auto presence = std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 41);
    presence->with(L"presence", L"p");
    adapter()->addConfigStore(presence);
    EXPECT_THAT(toldBefore, ElementsAre("~presence=p", "presence!"));
}

TEST_F(CachedStores, APresenceStoreWaitsForTheRemoteStoreOfTheChainWhateverItsCase) {
    injectAndStart();
    const auto other = server();
    adapter()->addConfigStore(other);
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("presenceconfigstore", 41));
    EXPECT_EQ(other->count("wait"), 1U);
}

TEST_F(CachedStores, AStoreOfAnotherNameDoesNotWait) {
    injectAndStart();
    const auto other = server();
    adapter()->addConfigStore(other);
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("PresenceConfigStore2", 41));
    EXPECT_EQ(other->count("wait"), 0U);
}

TEST_F(CachedStores, RemoveTheStoreItsCopyTheFileAndTheEntry) {
    writeLocal({{"PrimaryConfigStores", "A:1;TFTPConfigStore:240;"}});
    writeCache("cachedTFTPConfigStore.xml", {{"key", "old"}});
    injectAndStart();
    EXPECT_TRUE(adapter()->removeConfigStore("TFTPConfigStore"));
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"A:1;");
}

TEST_F(CachedStores, RemoveTheLiveStoreWithItsFile) {
    injectAndStart();
    adapter()->addConfigStore(server());
    ASSERT_TRUE(world.directory().exists("config/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_TRUE(adapter()->removeConfigStore("TFTPConfigStore"));
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
}

TEST_F(CachedStores, RemoveTheLiveStoreWithItsFileByAnotherCaseOfItsName) {
    injectAndStart();
    adapter()->addConfigStore(server());
    EXPECT_TRUE(adapter()->removeConfigStore("tftpconfigstore"));
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
}

TEST_F(CachedStores, RemoveTheCopyWithItsFileByAnotherCaseOfItsName) {
    writeLocal({{"PrimaryConfigStores", "TFTPConfigStore:240;"}});
    writeCache("cachedTFTPConfigStore.xml", {{"key", "old"}});
    injectAndStart();
    EXPECT_TRUE(adapter()->removeConfigStore("tftpCONFIGstore"));
    EXPECT_THAT(chain(), Not(Contains("cachedTFTPConfigStore.xml")));
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
}

TEST_F(CachedStores, AreFoundAtTheNextStartThoughTheListHadTheirNameInAnotherCase) {
    writeLocal({{"PrimaryConfigStores", "tftpconfigstore:240;"}});
    injectAndStart();
    const auto store = server();
    store->with(L"key", L"server's");
    adapter()->addConfigStore(store);
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
    tasks->runAll();
    const auto nextRun = std::make_shared<UnifiedFactory>(dispatcher, tasks);
    InjectConfigService(nextRun);
    EXPECT_EQ(nextRun->getService<ConfigService>()->getConfig(L"key")->getValue(), L"server's");
    nextRun->clear();
}

TEST_F(CachedStores, OfAStoreInTheLastPlaceAreListedInTheLastPlace) {
    injectAndStart();
    const auto last = std::make_shared<fakes::ScriptedStore>("Last", 2147483647);
    last->readOnly().remote().cached().with(L"key", L"value");
    adapter()->addConfigStore(last);
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"Last:2147483647;");
    EXPECT_THAT(cacheFile("cachedLast.xml"), HasSubstr("<key>value</key>"));
}

TEST_F(CachedStores, APresenceStoreThatWaitsHindersNobodyElse) {
    injectAndStart();
    const auto other = server();
    other->with(L"key", L"value");
    std::wstring value;
    bool started = false;
    other->onWait([&] {
        std::thread([&] {
            adapter()->getConfig(L"key", value, false);
            started = adapter()->IsFeatureSetStarted(1300);
        }).join();
    });
    adapter()->addConfigStore(other);
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 41));
    EXPECT_EQ(value, L"value");
    EXPECT_TRUE(started);
}

TEST_F(CachedStores, RemovalOfAllLeavesTheStoreOfTheLinkAnsweringWithoutItsFile) {
    injectAndStart();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=example.com"));
    ASSERT_TRUE(world.directory().exists("config/Cache/cachedUrlProvisioningConfigStore.xml"));
    adapter()->removeAllCachedConfigStores();
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedUrlProvisioningConfigStore.xml"));
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    EXPECT_EQ(storeOf(L"ServicesDomain"), L"UrlProvisioningConfigStore");
}

TEST_F(CachedStores, RemovalOfAllLeavesTheStoreOfTheLinkAnsweringUntilARefresh) {
    injectAndStart();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=example.com"));
    adapter()->removeAllCachedConfigStores();
    stop();
    start();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    adapter()->Destroy();
    start();
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(get(L"ServicesDomain"), L"<none>");
}

TEST_F(CachedStores, RemovalOfAllLeavesTheStoreOfTheLinkAnsweringUntilADataReset) {
    injectAndStart();
    ASSERT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=example.com"));
    adapter()->removeAllCachedConfigStores();
    adapter()->InvokeResetData();
    EXPECT_EQ(get(L"ServicesDomain"), L"<none>");
}

TEST_F(CachedStores, RemovalOfAnUnknownNameYieldsFalseAndRewritesTheList) {
    injectAndStart();
    tasks->runAll();
    observe();
    EXPECT_FALSE(adapter()->removeConfigStore("Unknown"));
    EXPECT_THAT(observer.course(), ElementsAre("PrimaryConfigStores="));
    EXPECT_THAT(tasks->waitingNames(), ElementsAre("ConfigStore::persistValues"));
}

TEST_F(CachedStores, RemovalOfAllLeavesTheList) {
    writeLocal({{"PrimaryConfigStores", "A:77;"}});
    writeCache("cachedA.xml", {{"key", "value"}});
    injectAndStart();
    adapter()->removeAllCachedConfigStores();
    EXPECT_THAT(chain(), Not(Contains("cachedA.xml")));
    EXPECT_FALSE(world.directory().exists("config/Cache/cachedA.xml"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"A:77;");
    adapter()->refreshConfigFeatureSet();
    EXPECT_THAT(storeNamed("cachedA.xml")->getKeys(), IsEmpty());
}

TEST(StoreNames, AreTestedByTheirBeginningWithoutRegardToCase) {
    EXPECT_TRUE(ConfigAdapter::isHcmConfigStore("hcmStore"));
    EXPECT_FALSE(ConfigAdapter::isHcmConfigStore("MyHcm"));
    EXPECT_TRUE(ConfigAdapter::isPresenceConfigStore("PRESENCECONFIGSTORE2"));
    EXPECT_FALSE(ConfigAdapter::isPresenceConfigStore("Presence"));
    EXPECT_TRUE(ConfigAdapter::isTftpConfigStore("TFTPConfigStore"));
    EXPECT_FALSE(ConfigAdapter::isTftpConfigStore("cachedTFTPConfigStore.xml"));
    EXPECT_TRUE(ConfigAdapter::isAUCILyncRegistryConfigStore("auciLYNCregistryconfigstore"));
    EXPECT_FALSE(ConfigAdapter::isAUCILyncRegistryConfigStore("AUCILync"));
}
