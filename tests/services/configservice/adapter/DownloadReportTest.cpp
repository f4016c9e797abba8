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
