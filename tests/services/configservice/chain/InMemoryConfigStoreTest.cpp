#include "stores/InMemoryConfigStore.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "fakes/OwnStoreContract.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScriptedStore.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

StoreContractCase inMemoryConfigStore() {
    const auto make = [](const std::map<std::wstring, std::wstring>& values, const std::filesystem::path&) {
        auto store = std::make_shared<InMemoryConfigStore>();
        for (const auto& [key, value] : values) {
            store->storeValue(key, value);
        }
        return store;
    };
    return {.kind = "InMemoryConfigStore", .make = make, .name = "InMemoryConfigStore", .priority = 600};
}

INSTANTIATE_TEST_SUITE_P(InMemory, StoreContract, testing::Values(inMemoryConfigStore()), nameOfStoreContractCase);
INSTANTIATE_TEST_SUITE_P(InMemory, OwnStoreContract, testing::Values(inMemoryConfigStore()), nameOfStoreContractCase);

TEST(InMemoryConfigStore, IsReadyAtOnce) { EXPECT_TRUE(InMemoryConfigStore().waitForStoreReady()); }

TEST(InMemoryConfigStore, KeepsTheSpellingOfTheFirstWrite) {
    InMemoryConfigStore store;
    store.storeValue(L"Domain", L"first");
    store.storeValue(L"DOMAIN", L"second");
    EXPECT_THAT(store.getKeys(), ElementsAre(L"Domain"));
}

TEST(InMemoryConfigStore, SaysThatItDoesNotPersist) {
    const fakes::ScopedRecordingLog log;
    InMemoryConfigStore().persistValues();
    EXPECT_THAT(log->lines(), ElementsAre(fakes::RecordingLogSink::Line{
                                  5, "InMemoryConfigStore", "persistValues",
                                  "PersistValues() is not implemented for InMemoryConfigStore ignoring"}));
}

TEST(InMemoryConfigStore, SaysNothingWithoutDebugLogging) {
    const fakes::ScopedRecordingLog log(4);
    InMemoryConfigStore().persistValues();
    EXPECT_THAT(log->lines(), IsEmpty());
}

/// Answers only what it must, so that the base's answers show.
class PlainStore : public ConfigStore {
public:
    bool getValue(const std::wstring&, std::wstring&) override { return false; }
    bool storeValue(const std::wstring&, const std::wstring&) override { return false; }
    std::vector<std::wstring> getKeys() override { return {}; }
    bool removeValue(const std::wstring&) override { return false; }
    void removeAllValues() override {}
    bool isReadOnly() override { return true; }
    std::string getName() override { return "Plain"; }
    std::int32_t getPriority() override { return 301; }
    void persistValues() override {}
    void destroy() override {}
    bool isLocal() override { return true; }
    bool waitForStoreReady() override { return true; }
};

TEST(ConfigStore, IsNotCachedUnlessItSaysSo) { EXPECT_FALSE(PlainStore().shouldCacheConfigStore()); }

TEST(ConfigStore, CachedCopyStandsTwoHundredPlacesBehind) { EXPECT_EQ(PlainStore().getCachedPriority(), 501); }

TEST(ConfigStore, CachedCopyOfOneOfTheLastPlacesStandsInTheLast) {
    EXPECT_EQ(ConfigStore::twoHundredBehind(2147483447), 2147483647);
    EXPECT_EQ(ConfigStore::twoHundredBehind(2147483446), 2147483646);
    EXPECT_EQ(fakes::ScriptedStore("Last", 2147483647).getCachedPriority(), 2147483647);
    EXPECT_EQ(fakes::ScriptedStore("First", -2147483647 - 1).getCachedPriority(), -2147483448);
}

}  // namespace
