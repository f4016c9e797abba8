#include "DownloadFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// The way of the server's file into the chain and onto the disk.
class Download : public DownloadFixture {
protected:
    /// The module as it would be after a restart of the host, which has persisted everything.
    class NextRun {
    public:
        explicit NextRun(const Download& run) : factory(std::make_shared<UnifiedFactory>(run.dispatcher, run.tasks)) {
            run.tasks->runAll();
            InjectConfigService(factory);
        }
        ~NextRun() { factory->clear(); }
        std::wstring get(const std::wstring& key) const {
            return factory->getService<ConfigService>()->getConfig(key)->getValue();
        }
        const std::shared_ptr<UnifiedFactory> factory;
    };
};

}  // namespace

TEST_F(Download, TheSourcesStartAsksTheServerForTheFile) {
    switchOn();
    EXPECT_THAT(transport->startedUrls(), ElementsAre("https://one:6972/corvid-config.xml"));
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(Download, WithoutAServerNothingIsAskedFor) {
    switchOn({});
    EXPECT_THAT(transport->startedUrls(), IsEmpty());
}

TEST_F(Download, TheFirstPutsTheFilesValuesIntoTheChainAt40) {
    switchOn();
    ASSERT_TRUE(deliver({{"CtiServer1", "host"}}));
    EXPECT_EQ(get(L"CtiServer1"), L"host");
    EXPECT_EQ(storeOf(L"CtiServer1"), L"TFTPConfigStore");
    EXPECT_EQ(storeNamed("TFTPConfigStore")->getPriority(), 40);
    EXPECT_EQ(storeNamed("TFTPConfigStore"), adapter()->getTftpConfigStore());
}

TEST_F(Download, TheFirstWritesTheCacheTheListAndTheFlags) {
    switchOn();
    ASSERT_TRUE(deliver({{"CtiServer1", "host"}}));
    EXPECT_THAT(cached(), HasSubstr("<ctiserver1>host</ctiserver1>"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
    EXPECT_EQ(storeOf(L"PrimaryConfigStores"), L"LocalFileConfigStore");
    EXPECT_EQ(get(L"Telephony_Enabled"), L"true");
    EXPECT_EQ(flagRuns(), 1U);
}

TEST_F(Download, TheFirstTakesTheCachedCopyOutOfTheChain) {
    Values local = oneServer();
    local["PrimaryConfigStores"] = "TFTPConfigStore:240;";
    writeCache("cachedTFTPConfigStore.xml", {{"key", "old"}, {"gone", "old"}});
    switchOn(local);
    EXPECT_EQ(storeOf(L"key"), L"cachedTFTPConfigStore.xml");
    ASSERT_TRUE(deliver({{"key", "new"}}));
    EXPECT_THAT(chain(), Not(Contains("cachedTFTPConfigStore.xml")));
    EXPECT_EQ(get(L"key"), L"new");
    EXPECT_EQ(get(L"gone"), L"<none>");
    EXPECT_THAT(cached(), Not(HasSubstr("gone")));
}

TEST_F(Download, TellsLiveValues) {
    switchOn();
    const auto live = service()->getConfig(L"key");
    ASSERT_TRUE(deliver({{"key", "first"}}));
    EXPECT_EQ(live->getValue(), L"first");
    download({{"key", "second"}});
    EXPECT_EQ(live->getValue(), L"second");
    download({{"other", "value"}});
    EXPECT_EQ(live->getValue(), L"");
}

TEST_F(Download, TheSecondBringsItsOwnValuesAndLeavesTheFlags) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "first"}, {"gone", "first"}}));
    download({{"key", "second"}, {"CtiServer1", "host"}});
    EXPECT_EQ(get(L"key"), L"second");
    EXPECT_EQ(get(L"gone"), L"<none>");
    EXPECT_THAT(cached(), HasSubstr("<key>second</key>"));
    EXPECT_THAT(cached(), Not(HasSubstr("gone")));
    EXPECT_EQ(flagRuns(), 1U);
    EXPECT_EQ(get(L"Telephony_Enabled"), L"false");
}

TEST_F(Download, OnAnotherThreadIsReportedOnTheDispatcherThread) {
    switchOn();
    elsewhere([this] { ASSERT_TRUE(deliver({{"key", "value"}})); });
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_FALSE(isCached());
    EXPECT_THAT(dispatcher->waitingNames(), Contains("TftpConfigStore::fireOnConfigDownloaded").Times(1));
    dispatcher->runAll();
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_TRUE(isCached());
}

TEST_F(Download, KeepsSensitiveValuesOutOfTheCacheFile) {
    switchOn();
    ASSERT_TRUE(transport->deliver("<Corvid><Any><key>plain</key><pin Sensitive=\"true\">marked secret</pin>"
                                   "<ConnectionPassword>known secret</ConnectionPassword>"
                                   "<BDIConnectionUsername>name secret</BDIConnectionUsername></Any></Corvid>"));
    EXPECT_EQ(get(L"pin"), L"marked secret");
    EXPECT_THAT(cached(), HasSubstr("<key>plain</key>"));
    for (const char* const part : {"secret", "pin", "connectionpassword", "bdiconnectionusername"}) {
        EXPECT_THAT(cached(), Not(HasSubstr(part)));
    }
    EXPECT_FALSE(log->mentions("marked secret"));
    EXPECT_FALSE(log->mentions("known secret"));
}

TEST_F(Download, KeepsASensitiveValueUnderAnOldNameOutOfLogsAndTheCacheFile) {
    for (const std::string name : {"VVM_Mailstore_Server_0", "VoicemailPrimaryServer"}) {
        switchOn();
        ASSERT_TRUE(transport->deliver("<Corvid><Any><key>plain</key><" + name + " sensitive=\"true\">marked secret</" +
                                       name + "></Any></Corvid>"));
        EXPECT_EQ(get(L"VoicemailPrimaryServer"), L"marked secret");
        EXPECT_EQ(get(L"VVM_Mailstore_Server_0"), L"marked secret");
        service()->logConfig();
        EXPECT_THAT(cached(), HasSubstr("<key>plain</key>"));
        EXPECT_THAT(cached(), Not(HasSubstr("secret"))) << name;
        EXPECT_FALSE(log->mentions("marked secret")) << name;
        adapter()->stopTftpConfigSource();
    }
}

TEST_F(Download, KeepsAKeyThatIsMarkedUnderItsOtherNameOutOfTheCacheFile) {
    switchOn();
    adapter()->setKeySensitive(L"VoicemailPrimaryServer");
    adapter()->setKeySensitive(L"TftpServer2");
    ASSERT_TRUE(deliver({{"key", "plain"}, {"VVM_Mailstore_Server_0", "secret"}, {"TFTPBackupServer1", "secret too"}}));
    EXPECT_THAT(cached(), HasSubstr("plain"));
    EXPECT_THAT(cached(), Not(HasSubstr("secret")));
}

TEST_F(Download, KeepsAKeyThatIsMarkedLaterOutOfTheNextCacheFile) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "secret"}}));
    EXPECT_THAT(cached(), HasSubstr("secret"));
    adapter()->setKeySensitive(L"KEY");
    download({{"key", "secret"}, {"other", "value"}});
    EXPECT_THAT(cached(), Not(HasSubstr("secret")));
}

TEST_F(Download, ServesFromTheCacheAfterARestart) {
    switchOn();
    ASSERT_TRUE(
        transport->deliver("<Corvid><Any><key>server's</key><pin sensitive=\"true\">1234</pin></Any></Corvid>"));
    const NextRun next(*this);
    EXPECT_EQ(next.get(L"key"), L"server's");
    // A secret is missing until the next download.
    EXPECT_EQ(next.get(L"pin"), L"");
    const auto adapter =
        std::dynamic_pointer_cast<ConfigAdapter>(next.factory->getFeatureSetAdapter(CONFIG_SERVICE_ID));
    const auto copy = adapter->getConfigStoreManager()->findStore("cachedTFTPConfigStore.xml");
    ASSERT_NE(copy, nullptr);
    EXPECT_EQ(copy->getPriority(), 240);
}

TEST_F(Download, OfABadFileEmptiesTheStoreAndTheCacheWithoutAReport) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    const auto live = service()->getConfig(L"key");
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    ASSERT_TRUE(transport->deliver("no document"));
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_EQ(live->getValue(), L"value");
    EXPECT_TRUE(isCached());
    EXPECT_THAT(cached(), Not(HasSubstr("key")));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
    EXPECT_THAT(chain(), Contains("TFTPConfigStore").Times(1));
    // The store counts as new to the chain.
    EXPECT_EQ(flagRuns(), 2U);
}

TEST_F(Download, OfABadFileAtFirstPutsAnEmptyStoreInsteadOfTheCachedCopy) {
    Values local = oneServer();
    local["PrimaryConfigStores"] = "TFTPConfigStore:240;";
    writeCache("cachedTFTPConfigStore.xml", {{"key", "old"}});
    switchOn(local);
    ASSERT_TRUE(transport->deliver("no document"));
    EXPECT_THAT(chain(), Contains("TFTPConfigStore"));
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_THAT(cached(), Not(HasSubstr("old")));
}

TEST_F(Download, AfterABadFileTheNextOneJoinsAnew) {
    switchOn();
    ASSERT_TRUE(transport->deliver("no document"));
    download({{"CtiServer1", "host"}});
    EXPECT_EQ(get(L"CtiServer1"), L"host");
    EXPECT_EQ(get(L"Telephony_Enabled"), L"true");
    EXPECT_THAT(cached(), HasSubstr("host"));
}

TEST_F(Download, ThatFailsEverywhereLeavesAnEmptyStoreInTheChainWithoutAReport) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    const auto live = service()->getConfig(L"key");
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    ASSERT_TRUE(transport->fail());
    EXPECT_THAT(chain(), Contains("TFTPConfigStore"));
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_EQ(live->getValue(), L"value");
    EXPECT_THAT(cached(), HasSubstr("<key>value</key>"));
}

TEST_F(Download, AfterTheStoresRemovalWritesTheCacheAndTheListAndStaysOut) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "first"}}));
    EXPECT_TRUE(adapter()->removeConfigStore("TFTPConfigStore"));
    EXPECT_FALSE(isCached());
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"");
    EXPECT_NE(adapter()->getTftpConfigStore(), nullptr);
    download({{"key", "second"}});
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_THAT(cached(), HasSubstr("second"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
}

TEST_F(Download, WhoseReportWaitsDuringTheStoresRemovalWritesTheCacheAfterIt) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "first"}}));
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    elsewhere([&] { ASSERT_TRUE(deliver({{"key", "second"}})); });
    EXPECT_TRUE(adapter()->removeConfigStore("TFTPConfigStore"));
    EXPECT_FALSE(isCached());
    dispatcher->runAll();
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_THAT(cached(), HasSubstr("second"));
}

TEST_F(Download, AfterTheStoresRemovalJoinsAgainOnceItHasNoFormerKeys) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "first"}}));
    adapter()->removeConfigStore("TFTPConfigStore");
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    ASSERT_TRUE(transport->deliver("no document"));
    EXPECT_THAT(chain(), Contains("TFTPConfigStore"));
    download({{"key", "second"}});
    EXPECT_EQ(get(L"key"), L"second");
}

TEST_F(Download, OfAPolicyThatErasesTheServersStartsAnotherCycleThatClearsWhatJustJoined) {
    switchOn();
    ASSERT_TRUE(deliver({{"Customize_Phone_Server", "false"}, {"key", "value"}}));
    EXPECT_EQ(get(L"TFTPPrimaryServer"), L"<none>");
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_THAT(pool->allNames(), ElementsAre("processTftpInfoChanged task"));
    pool->runAll();
    EXPECT_EQ(log->count(3, "Failed to download TFTP config. No TFTP server address available in server queue."), 1U);
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_THAT(chain(), Contains("TFTPConfigStore"));
    // The next start has the policy from the cache, and the values that came with it.
    EXPECT_THAT(cached(), HasSubstr("<key>value</key>"));
}

TEST_F(Download, FromAnotherServerFollowsTheChangeOfItsAddress) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "one's"}}));
    adapter()->setConfig(L"TFTPPrimaryServer", L"two");
    EXPECT_EQ(pool->runAll(), 1U);
    EXPECT_THAT(transport->startedUrls(), Contains("https://two:6972/corvid-config.xml"));
    ASSERT_TRUE(deliver({{"key", "two's"}}));
    EXPECT_EQ(get(L"key"), L"two's");
    EXPECT_THAT(cached(), HasSubstr("two's"));
}

TEST_F(Download, OfTheFlagItselfIsLoggedWithTheStoresName) {
    switchOn();
    log->clear();
    ASSERT_TRUE(deliver({{"Telephony_Enabled", "yes"}}));
    EXPECT_THAT(adapterLines(4), Contains("SetTelephonyEnabled: Telephony_Enabled explicitly set to 'yes' in the "
                                          "'TFTPConfigStore' config store"));
    std::wstring value;
    EXPECT_FALSE(storeNamed("InMemoryConfigStore")->getValue(L"Telephony_Enabled", value));
}

TEST_F(Download, IsToldInTheJournalOfTheAdapter) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    adapter()->stopTftpConfigSource();
    adapter()->startTftpConfigSource();
    ASSERT_TRUE(transport->fail());
    const DownloadJournal::Snapshot snapshot = adapter()->getDownloadJournal()->snapshot();
    ASSERT_EQ(snapshot.cycles.size(), 2U);
    EXPECT_EQ(snapshot.cycles[0].end, DownloadJournal::CycleEnd::Delivered);
    EXPECT_EQ(snapshot.cycles[1].end, DownloadJournal::CycleEnd::Exhausted);
    EXPECT_TRUE(snapshot.settled);
}
