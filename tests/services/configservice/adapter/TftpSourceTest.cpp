#include "AdapterFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class TftpSource : public AdapterFixture {};

/// Notes when the remote source is stopped by way of the interface.
class AdapterWithStops : public ConfigAdapter {
public:
    using ConfigAdapter::ConfigAdapter;
    void stopTftpConfigSource() override {
        stopsWhileStarted.push_back(IsFeatureSetStarted(CONFIG_SERVICE_ID));
        ConfigAdapter::stopTftpConfigSource();
    }
    std::vector<bool> stopsWhileStarted;
};

}  // namespace

TEST_F(TftpSource, TakesItsServersAndItsFileFromTheConfiguration) {
    writeLocal({{"TFTPPrimaryServer", "one"},
                {"TFTPBackupServer1", "two"},
                {"TFTPBackupServer2", "three"},
                {"configurationfile", "mine.xml"}});
    injectAndStart();
    adapter()->startTftpConfigSource();
    EXPECT_EQ(adapter()->getTftpConfigStore()->lastServerDetails(),
              (TftpServerDetails{L"one", L"two", L"three", L"mine.xml"}));
    EXPECT_EQ(adapter()->getTftpConfigStore()->getName(), "TFTPConfigStore");
    EXPECT_EQ(adapter()->getTftpConfigStore()->getPriority(), 40);
}

TEST_F(TftpSource, AsksForTheUsualFileIfNoneIsConfigured) {
    injectAndStart();
    adapter()->startTftpConfigSource();
    EXPECT_EQ(adapter()->getTftpConfigStore()->lastServerDetails(),
              (TftpServerDetails{L"", L"", L"", L"corvid-config.xml"}));
}

TEST_F(TftpSource, KeepsAFileNameThatIsConfiguredAsEmpty) {
    writeLocal({{"configurationfile", ""}});
    injectAndStart();
    adapter()->startTftpConfigSource();
    EXPECT_EQ(adapter()->getTftpConfigStore()->lastServerDetails().file, L"");
}

TEST_F(TftpSource, TakesNoServerFromWhatAStoreLeavesOnAMiss) {
    inject();
    const auto careless = std::make_shared<fakes::ScriptedStore>("Careless", 2147483647);
    careless->leavingOnMiss(L"rubbish");
    manager()->addStore(careless);
    adapter()->startTftpConfigSource();
    EXPECT_EQ(adapter()->getTftpConfigStore()->lastServerDetails(),
              (TftpServerDetails{L"", L"", L"", L"corvid-config.xml"}));
}

TEST_F(TftpSource, DoesNotEnterTheChainBeforeADownload) {
    injectAndStart();
    adapter()->startTftpConfigSource();
    EXPECT_FALSE(manager()->containsStore("TFTPConfigStore"));
}

TEST_F(TftpSource, StartedTwiceKeepsItsStore) {
    injectAndStart();
    adapter()->startTftpConfigSource();
    const auto store = adapter()->getTftpConfigStore();
    adapter()->startTftpConfigSource();
    EXPECT_EQ(adapter()->getTftpConfigStore(), store);
}

TEST_F(TftpSource, StoppedWithoutAStartDoesNothing) {
    injectAndStart();
    const std::vector<std::string> before = chain();
    adapter()->stopTftpConfigSource();
    EXPECT_EQ(chain(), before);
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
}

TEST_F(TftpSource, StartedAfterAStopMakesAStoreWithTheServersOfThatMoment) {
    injectAndStart();
    adapter()->startTftpConfigSource();
    const std::weak_ptr<TftpConfigStore> former = adapter()->getTftpConfigStore();
    adapter()->stopTftpConfigSource();
    EXPECT_TRUE(former.expired());
    adapter()->setConfig(L"TFTPPrimaryServer", L"later");
    adapter()->startTftpConfigSource();
    EXPECT_EQ(adapter()->getTftpConfigStore()->lastServerDetails().server1, L"later");
}

TEST_F(TftpSource, StartedBeforeTheFeatureSetReadsAllTheSame) {
    writeLocal({{"TFTPPrimaryServer", "one"}});
    inject();
    log->clear();
    adapter()->startTftpConfigSource();
    EXPECT_EQ(adapter()->getTftpConfigStore()->lastServerDetails().server1, L"one");
    EXPECT_EQ(log->count(2, "Config FeatureSet Not Started"), 8U);
}

TEST_F(TftpSource, IsOffAfterARefreshAndCanBeTurnedOnAgain) {
    injectAndStart();
    adapter()->startTftpConfigSource();
    const auto former = adapter()->getTftpConfigStore();
    adapter()->refreshConfigFeatureSet();
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
    adapter()->startTftpConfigSource();
    EXPECT_NE(adapter()->getTftpConfigStore(), nullptr);
    EXPECT_NE(adapter()->getTftpConfigStore(), former);
}

TEST_F(TftpSource, IsStoppedByARefreshAndByAStopThroughTheInterface) {
    factory->setService<ConfigService>(CONFIG_SERVICE_ID, std::make_shared<ConfigServiceImpl>(factory));
    const auto made = std::make_shared<AdapterWithStops>(factory);
    factory->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, made);
    made->startTftpConfigSource();
    made->refreshConfigFeatureSet();
    EXPECT_THAT(made->stopsWhileStarted, ElementsAre(false));
    EXPECT_EQ(made->getTftpConfigStore(), nullptr);
    start();
    made->startTftpConfigSource();
    stop();
    EXPECT_THAT(made->stopsWhileStarted, ElementsAre(false, true));
    EXPECT_EQ(made->getTftpConfigStore(), nullptr);
    stop();
    EXPECT_EQ(made->stopsWhileStarted.size(), 2U);
    EXPECT_THAT(dispatcher->waitingNames(), IsEmpty());
}

TEST_F(TftpSource, IsLetGoByAnAdapterThatIsDestroyed) {
    inject();
    adapter()->startTftpConfigSource();
    const std::weak_ptr<TftpConfigStore> store = adapter()->getTftpConfigStore();
    const auto keptManager = manager();
    factory->clear();
    EXPECT_TRUE(store.expired());
    // The manager would call the store that is gone, were it still an observer.
    EXPECT_TRUE(keptManager->storeValue(L"TFTPPrimaryServer", L"host"));
}
