#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "ChainFixture.h"
#include "stores/CacheConfigStore.h"
#include "support/OtherThread.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::string FILE_NAME = "config/Cache/cachedUrlProvisioningConfigStore.xml";

class ProvisioningStore : public ChainFixture {
protected:
    ProvisioningStore() { addQuietly({user}); }

    std::shared_ptr<fakes::ScriptedStore> user = makeStore("User", 100);
};

TEST_F(ProvisioningStore, IsALocalReadOnlyStoreOnePlaceAheadOfTheInstallersFile) {
    addQuietly({makeReadOnly("BootstrapConfigStore", 500)});
    EXPECT_TRUE(manager.setUrlProvisioningData(L"x?ServicesDomain=example.com"));
    EXPECT_THAT(chainNames(), ElementsAre("User", "UrlProvisioningConfigStore", "BootstrapConfigStore"));
    const auto store = manager.getStores()[1];
    EXPECT_EQ(store->getPriority(), 499);
    EXPECT_TRUE(store->isLocal());
    EXPECT_TRUE(store->isReadOnly());
    EXPECT_FALSE(store->shouldCacheConfigStore());
    EXPECT_EQ(valueOf(L"ServicesDomain"), L"example.com");
}

TEST_F(ProvisioningStore, WritesItsFileAtOnce) {
    EXPECT_TRUE(manager.setUrlProvisioningData(L"x?ServicesDomain=example.com"));
    EXPECT_TRUE(world.directory().exists(FILE_NAME));
    CacheConfigStore reread("UrlProvisioningConfigStore", 499, world.directory().path(FILE_NAME));
    std::wstring value;
    EXPECT_TRUE(reread.getValue(L"ServicesDomain", value));
    EXPECT_EQ(value, L"example.com");
}

TEST_F(ProvisioningStore, IsReportedBeforeTheLatchIsClosed) {
    manager.setUrlProvisioningData(L"x?ServicesDomain=a");
    EXPECT_THAT(observer.course(), ElementsAre("~ServicesDomain=a", "ServicesDomain!", "AllowUrlProvisioning=False"));
    EXPECT_THAT(user->calls(), ElementsAre("store AllowUrlProvisioning=False"));
    EXPECT_THAT(tasks->waitingNames(), ElementsAre("ConfigStore::persistValues"));
}

TEST_F(ProvisioningStore, IsThereWhileTheLatchIsStillOpen) {
    std::vector<std::wstring> seen;
    {
        auto former = makeReadOnly("UrlProvisioningConfigStore", 300);
        // It goes once the chain is free, which is between the two.
        former->onDestruction([&] { seen = {valueOf(L"ServicesDomain"), valueOf(L"AllowUrlProvisioning")}; });
        manager.addStore(std::move(former));
    }
    EXPECT_TRUE(manager.setUrlProvisioningData(L"x?ServicesDomain=a"));
    EXPECT_THAT(seen, ElementsAre(L"a", L"(none)"));
    EXPECT_EQ(valueOf(L"AllowUrlProvisioning"), L"False");
}

TEST_F(ProvisioningStore, WithOneKnownAndOneUnknownKeyHoldsTheKnownOneAndClosesTheLatch) {
    EXPECT_TRUE(manager.setUrlProvisioningData(L"x?ServicesDomain=a&Unknown=b"));
    EXPECT_EQ(valueOf(L"Unknown"), L"(none)");
    EXPECT_EQ(valueOf(L"ServicesDomain"), L"a");
    EXPECT_EQ(valueOf(L"AllowUrlProvisioning"), L"False");
}

TEST_F(ProvisioningStore, IsNotMadeFromALinkWithUnknownKeysOnlyAndTheLatchStaysOpen) {
    EXPECT_FALSE(manager.setUrlProvisioningData(L"x?Unknown=a"));
    EXPECT_THAT(chainNames(), ElementsAre("User"));
    EXPECT_EQ(valueOf(L"AllowUrlProvisioning"), L"(none)");
    EXPECT_FALSE(world.directory().exists(FILE_NAME));
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(ProvisioningStore, IsMadeEvenIfTheLatchCannotBeWritten) {
    manager.removeStoreWithSameName("User");
    EXPECT_TRUE(manager.setUrlProvisioningData(L"x?ServicesDomain=a"));
    EXPECT_EQ(valueOf(L"ServicesDomain"), L"a");
}

TEST_F(ProvisioningStore, IsOfTheLinkWhoseFileWasWrittenLastOfTwoAtOnce) {
    std::unique_ptr<support::OtherThread> first;
    manager.atomically([&] {
        first = std::make_unique<support::OtherThread>(
            [this] { EXPECT_TRUE(manager.setUrlProvisioningData(L"x?ServicesDomain=first")); });
        // Until it has written its file and would join the chain.
        first->untilItWaitsOrEnds();
        ASSERT_THAT(world.directory().read(FILE_NAME), testing::HasSubstr("first"));
        EXPECT_TRUE(manager.setUrlProvisioningData(L"x?ServicesDomain=second"));
    });
    first->join();
    EXPECT_THAT(world.directory().read(FILE_NAME), testing::HasSubstr("second"));
    EXPECT_EQ(valueOf(L"ServicesDomain"), L"second");
}

TEST_F(ProvisioningStore, WorksInMemoryIfItsFileCannotBeWritten) {
    world.directory().write("config/Cache", "a file where the folder should be");
    EXPECT_TRUE(manager.setUrlProvisioningData(L"x?ServicesDomain=a"));
    EXPECT_EQ(valueOf(L"ServicesDomain"), L"a");
    EXPECT_EQ(valueOf(L"AllowUrlProvisioning"), L"False");
}

TEST_F(ProvisioningStore, StaysAsItIsWhenALaterLinkIsRefused) {
    manager.setUrlProvisioningData(L"x?ServicesDomain=a");
    const auto store = manager.findStore("UrlProvisioningConfigStore");
    const std::string file = world.directory().read(FILE_NAME);
    EXPECT_FALSE(manager.setUrlProvisioningData(L"x?Unknown=b"));
    EXPECT_EQ(manager.findStore("UrlProvisioningConfigStore"), store);
    EXPECT_EQ(world.directory().read(FILE_NAME), file);
}

TEST_F(ProvisioningStore, SpellsItsKeysAsTheLink) {
    manager.setUrlProvisioningData(L"x?SERVICESdomain=a");
    EXPECT_THAT(manager.findStore("UrlProvisioningConfigStore")->getKeys(), ElementsAre(L"SERVICESdomain"));
    EXPECT_EQ(valueOf(L"ServicesDomain"), L"a");
}

TEST_F(ProvisioningStore, IsReplacedByALaterLink) {
    manager.setUrlProvisioningData(L"x?ServicesDomain=a&TelemetryEnabled=true");
    observer.clear();
    EXPECT_TRUE(manager.setUrlProvisioningData(L"x?ServicesDomain=b"));
    EXPECT_EQ(valueOf(L"ServicesDomain"), L"b");
    EXPECT_EQ(valueOf(L"TelemetryEnabled"), L"(none)");
    EXPECT_THAT(observer.course(),
                ElementsAre("TelemetryEnabled-", "~ServicesDomain=b", "ServicesDomain!", "AllowUrlProvisioning=False"));
}

TEST_F(ProvisioningStore, GoesWithItsFileWhenItIsRemoved) {
    manager.setUrlProvisioningData(L"x?ServicesDomain=a");
    EXPECT_TRUE(manager.removeStoreWithSameName("UrlProvisioningConfigStore"));
    EXPECT_FALSE(world.directory().exists(FILE_NAME));
}

TEST_F(ProvisioningStore, SurvivesADataResetWithItsFile) {
    manager.setUrlProvisioningData(L"x?ServicesDomain=a");
    manager.resetConfigData();
    EXPECT_THAT(chainNames(), ElementsAre("UrlProvisioningConfigStore"));
    EXPECT_TRUE(world.directory().exists(FILE_NAME));
}

TEST_F(ProvisioningStore, LatchOpensAgainWhenItIsReset) {
    manager.setUrlProvisioningData(L"x?ServicesDomain=a");
    EXPECT_TRUE(manager.resetAllowUriProvisioningData());
    EXPECT_EQ(valueOf(L"AllowUrlProvisioning"), L"(none)");
}

}  // namespace
