#include "chain/KeyTable.h"

#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <random>

#include "support/Seed.h"

namespace {

struct KeyOfText {
    const std::wstring& operator()(const std::shared_ptr<std::wstring>& text) const { return *text; }
};

using TextTable = KeyTable<std::shared_ptr<std::wstring>, KeyOfText>;

TEST(KeyTable, AnswersAsAPlainMapWhateverComesAndGoes) {
    const unsigned seed = support::seedOfThisRun();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    TextTable table;
    std::map<std::wstring, std::shared_ptr<std::wstring>> plain;
    for (int step = 0; step < 20000; ++step) {
        const auto item = std::make_shared<std::wstring>(L"key" + std::to_wstring(random() % 200));
        const FoldedKey key(*item);
        const auto known = plain.find(*item);
        if (known == plain.end()) {
            ASSERT_EQ(table.find(key), nullptr);
            table.insert(key.hash(), item);
            plain.emplace(*item, item);
        } else {
            ASSERT_EQ(*table.find(key), known->second);
            ASSERT_EQ(table.erase(key), known->second);
            ASSERT_EQ(table.erase(key), nullptr);
            plain.erase(known);
        }
        ASSERT_EQ(table.size(), plain.size());
    }
    std::size_t visited = 0;
    table.forEach([&](const std::shared_ptr<std::wstring>& item) { visited += plain.count(*item); });
    EXPECT_EQ(visited, plain.size());
}

TEST(KeyTable, HandsOutWhatItHeldWhenItBeginsAnew) {
    TextTable table;
    for (int index = 0; index < 100; ++index) {
        const auto item = std::make_shared<std::wstring>(std::to_wstring(index));
        table.insert(FoldedKey(*item).hash(), item);
    }
    EXPECT_EQ(table.reset(5).size(), 100U);
    EXPECT_EQ(table.size(), 0U);
    const std::wstring text = L"7";
    EXPECT_EQ(table.find(FoldedKey(text)), nullptr);
}

/// The items that a table names at each step, for these keys in a row.
std::vector<std::vector<std::wstring>> namedAhead(const TextTable& table, const std::vector<std::wstring>& keys) {
    const std::vector<FoldedKey> folded(keys.begin(), keys.end());
    std::vector<std::vector<std::wstring>> named(2);
    table.fetchAhead(folded, [&](const std::shared_ptr<std::wstring>& item, unsigned step) {
        EXPECT_TRUE(step == 0 || named[0].size() >= named[1].size());
        EXPECT_TRUE(step == 1 || named[1].empty());
        named[step].push_back(*item);
        return step == 0 && *item != L"four";
    });
    return named;
}

TEST(KeyTable, NamesAheadTheItemsOfManyKeysStepByStep) {
    TextTable table;
    const std::vector<std::wstring> keys = {L"one", L"TWO", L"three"};
    EXPECT_EQ(namedAhead(table, keys), (std::vector<std::vector<std::wstring>>{{}, {}}));
    for (const std::wstring key : {L"One", L"two", L"four"}) {
        table.insert(FoldedKey(key).hash(), std::make_shared<std::wstring>(key));
    }
    const std::vector<std::wstring> both = {L"One", L"two"};
    EXPECT_EQ(namedAhead(table, keys), (std::vector<std::vector<std::wstring>>{both, both}));
    const std::vector<std::wstring> all = {L"One", L"two", L"four"};
    EXPECT_EQ(namedAhead(table, all), (std::vector<std::vector<std::wstring>>{all, both}));
    EXPECT_EQ(namedAhead(table, {}), (std::vector<std::vector<std::wstring>>{{}, {}}));
}

TEST(KeyTable, NamesAheadNothingThatHasGone) {
    TextTable table;
    std::vector<std::wstring> keys;
    for (int index = 0; index < 100; ++index) {
        keys.push_back(L"key" + std::to_wstring(index));
        table.insert(FoldedKey(keys.back()).hash(), std::make_shared<std::wstring>(keys.back()));
    }
    for (const std::wstring& key : keys) {
        table.erase(FoldedKey(key));
    }
    EXPECT_EQ(namedAhead(table, keys), (std::vector<std::vector<std::wstring>>{{}, {}}));
    table.reset(0);
    EXPECT_EQ(namedAhead(table, keys), (std::vector<std::vector<std::wstring>>{{}, {}}));
}

}  // namespace
