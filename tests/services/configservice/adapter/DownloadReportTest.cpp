#include "AdapterFixture.h"

using testing::Contains;
using testing::HasSubstr;
using testing::Not;

namespace {

/// What the adapter does when its remote store tells it of a download.
class DownloadReport : public AdapterFixture {
protected:
    void switchOn() {
        writeDefaults({{"Telephony_Enabled", "default"}});
        injectAndStart();
        adapter()->startTftpConfigSource();
    }

    void download(const std::wstring& key, const std::wstring& value) {
        const auto store = adapter()->getTftpConfigStore();
        const std::vector<std::wstring> before = store->getKeys();
        store->storeValue(key, value);
        adapter()->onTftpConfigDownloaded(before);
    }

    std::size_t flagRuns() const { return log->count(4, "Setting telephonyEnabled flag: 1"); }
};

}  // namespace

TEST_F(DownloadReport, WithFirstContentPutsTheStoreIntoTheChain) {
    writeLocal({{"PrimaryConfigStores", "TFTPConfigStore:240;"}});
    writeCache("cachedTFTPConfigStore.xml", {{"key", "old"}});
    switchOn();
    download(L"CtiServer1", L"host");
    EXPECT_EQ(storeNamed("TFTPConfigStore")->getPriority(), 40);
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
    EXPECT_THAT(chain(), Not(Contains("cachedTFTPConfigStore.xml")));
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), HasSubstr("<CtiServer1>host</CtiServer1>"));
    EXPECT_EQ(flagRuns(), 1U);
}

TEST_F(DownloadReport, WithNewContentUpdatesTheStoreAndItsFileButNotTheFlags) {
    switchOn();
    download(L"CtiServer1", L"host");
    download(L"second", L"value");
    EXPECT_EQ(get(L"second"), L"value");
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), HasSubstr("<second>value</second>"));
    EXPECT_EQ(flagRuns(), 1U);
}

TEST_F(DownloadReport, AfterTheStoreWasRemovedWritesTheCacheAndLeavesTheChain) {
    switchOn();
    download(L"CtiServer1", L"host");
    adapter()->removeConfigStore("TFTPConfigStore");
    download(L"second", L"value");
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), HasSubstr("second"));
    EXPECT_EQ(get(L"PrimaryConfigStores"), L"TFTPConfigStore:240;");
}

TEST_F(DownloadReport, AfterTheSourceWasTurnedOffIsIgnored) {
    switchOn();
    adapter()->stopTftpConfigSource();
    adapter()->onTftpConfigDownloaded({});
    adapter()->onTftpConfigDownloaded({L"key"});
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(DownloadReport, WhileNotStartedAddsNothingAndSaysSoForFirstContentOnly) {
    inject();
    adapter()->startTftpConfigSource();
    log->clear();
    adapter()->onTftpConfigDownloaded({L"key"});
    EXPECT_THAT(adapterLines(2), testing::IsEmpty());
    adapter()->onTftpConfigDownloaded({});
    EXPECT_THAT(adapterLines(2), testing::ElementsAre("addConfigStore: Config FeatureSet Not Started, failed to add "
                                                      "ConfigStore with name: [TFTPConfigStore]"));
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(DownloadReport, APresenceStoreWorksOutTheFlagsTwiceWhileTheRemoteStoreHasNotJoined) {
    switchOn();
    adapter()->setConfig(L"CtiServer1", L"host");
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 41));
    EXPECT_EQ(flagRuns(), 2U);
}

TEST_F(DownloadReport, APresenceStoreWorksOutTheFlagsOnceWhileNoRemoteSourceIsOn) {
    writeDefaults({{"Telephony_Enabled", "default"}});
    injectAndStart();
    adapter()->setConfig(L"CtiServer1", L"host");
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 41));
    EXPECT_EQ(flagRuns(), 1U);
}

TEST_F(DownloadReport, WithoutFormerKeysPutsARemovedStoreBack) {
    switchOn();
    download(L"CtiServer1", L"host");
    adapter()->removeConfigStore("TFTPConfigStore");
    adapter()->onTftpConfigDownloaded({});
    EXPECT_EQ(storeOf(L"CtiServer1"), L"TFTPConfigStore");
}

TEST_F(DownloadReport, AfterANewStartOfTheSourcePutsARemovedStoreBack) {
    switchOn();
    download(L"CtiServer1", L"host");
    adapter()->removeConfigStore("TFTPConfigStore");
    adapter()->stopTftpConfigSource();
    adapter()->startTftpConfigSource();
    download(L"CtiServer1", L"another");
    EXPECT_EQ(get(L"CtiServer1"), L"another");
    EXPECT_EQ(storeOf(L"CtiServer1"), L"TFTPConfigStore");
}

TEST_F(DownloadReport, WithNewContentDoesNotApplyItsServerPolicy) {
    switchOn();
    download(L"key", L"value");
    adapter()->setConfig(L"CtiServer1", L"user's");
    download(L"Customize_Phone_Server", L"false");
    EXPECT_EQ(get(L"Customize_Phone_Server"), L"false");
    EXPECT_EQ(get(L"CtiServer1"), L"user's");
}

TEST_F(DownloadReport, WithFirstContentAppliesItsServerPolicy) {
    switchOn();
    adapter()->setConfig(L"CtiServer1", L"user's");
    download(L"Customize_Phone_Server", L"false");
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
}

TEST_F(DownloadReport, LeavesItsStoreInTheChainWhenTheSourceIsTurnedOff) {
    switchOn();
    download(L"key", L"value");
    const std::weak_ptr<TftpConfigStore> store = adapter()->getTftpConfigStore();
    adapter()->stopTftpConfigSource();
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
    EXPECT_FALSE(store.expired());
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_EQ(storeOf(L"key"), L"TFTPConfigStore");
}

TEST_F(DownloadReport, LeavesTheCheckOfCertificatesOutOfTheCacheFile) {
    switchOn();
    const auto store = adapter()->getTftpConfigStore();
    store->storeValue(L"CertificateValidationEnabled", L"false");
    store->storeValue(L"key", L"value");
    adapter()->onTftpConfigDownloaded({});
    EXPECT_THAT(store->getKeys(), Contains(L"CertificateValidationEnabled"));
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), HasSubstr("<key>value</key>"));
    EXPECT_THAT(cacheFile("cachedTFTPConfigStore.xml"), Not(HasSubstr("CertificateValidationEnabled")));
}

TEST_F(DownloadReport, StoresTheListAgainThoughItHasNotChanged) {
    switchOn();
    download(L"key", L"value");
    tasks->runAll();
    observe();
    adapter()->onTftpConfigDownloaded({L"key"});
    EXPECT_THAT(observer.course(), Contains("PrimaryConfigStores=TFTPConfigStore:240;").Times(1));
    EXPECT_THAT(tasks->waitingNames(), testing::ElementsAre("ConfigStore::persistValues"));
}
