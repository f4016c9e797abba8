#include "chain/SearchedStore.h"

#include <gtest/gtest.h>

#include "fakes/ScriptedStore.h"

namespace {

/// A store of the module's own, which counts the lookups that come to it.
class CountingStore : public fakes::ScriptedStore, public FoldedLookup {
public:
    CountingStore() : ScriptedStore("Counting", 300) {}

    bool lookUp(const FoldedKey& key, std::wstring& value) override {
        ++lookups;
        return getValue(key.text(), value);
    }

    void expect(std::span<const FoldedKey> coming) override { expected += coming.size(); }

    const KeyFilter* filter() const override { return &keys; }

    KeyFilter keys;
    int lookups = 0;
    std::size_t expected = 0;
};

TEST(SearchedStore, AsksNoStoreForAKeyThatItsFilterRulesOut) {
    const auto store = std::make_shared<CountingStore>();
    store->with(L"Theme", L"dark");
    const SearchedStore searched(store);
    const std::wstring key = L"theme";
    std::wstring value = L"of a store before";
    EXPECT_FALSE(searched.lookUp(FoldedKey(key), value));
    EXPECT_EQ(value, L"");
    EXPECT_EQ(store->lookups, 0);
    EXPECT_TRUE(searched.answersQuietly());

    store->keys.add(FoldedKey(key).mark());
    EXPECT_TRUE(searched.lookUp(FoldedKey(key), value));
    EXPECT_EQ(value, L"dark");
    EXPECT_EQ(store->lookups, 1);
}

TEST(SearchedStore, ExpectsTheKeysOfWhichItMayHoldTheFirst) {
    const auto store = std::make_shared<CountingStore>();
    const SearchedStore searched(store);
    const std::vector<std::wstring> keys = {L"theme", L"language"};
    const std::vector<FoldedKey> folded(keys.begin(), keys.end());
    searched.expect(folded);
    EXPECT_EQ(store->expected, 0U);
    store->keys.add(folded.front().mark());
    searched.expect(folded);
    EXPECT_EQ(store->expected, 2U);
    EXPECT_EQ(store->lookups, 0);
    SearchedStore(std::make_shared<fakes::ScriptedStore>("Outside", 300)).expect(folded);
}

}  // namespace
