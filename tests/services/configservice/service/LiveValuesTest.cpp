#include "LiveValues.h"

#include <gtest/gtest.h>

#include "SharedText.h"

namespace {

std::shared_ptr<ConfigValueImpl> makeLive(const std::wstring& key) {
    return std::make_shared<ConfigValueImpl>(std::make_shared<UnifiedFactory>(nullptr, nullptr), key);
}

std::shared_ptr<ConfigValueImpl> findLive(const LiveValues& values, const std::wstring& key) {
    return values.find(FoldedKey(key));
}

TEST(LiveValues, FindsAnObjectWithoutRegardToCase) {
    LiveValues values;
    EXPECT_EQ(findLive(values, L"Theme"), nullptr);
    const auto theme = makeLive(L"Theme");
    values.add(theme);
    EXPECT_EQ(findLive(values, L"tHEME"), theme);
    EXPECT_EQ(findLive(values, L"Themes"), nullptr);
}

TEST(LiveValues, KeepsTheFirstObjectOfAKey) {
    LiveValues values;
    const auto first = makeLive(L"Theme");
    values.add(first);
    values.add(makeLive(L"THEME"));
    EXPECT_EQ(findLive(values, L"theme"), first);
    EXPECT_EQ(values.inOrder().size(), 1U);
}

TEST(LiveValues, FindsEachOfManyAndGivesThemInOrder) {
    LiveValues values;
    for (int index = 0; index < 3000; ++index) {
        values.add(makeLive(L"Key" + std::to_wstring(index * 7919 % 3000)));
    }
    for (int index = 0; index < 3000; ++index) {
        const auto found = findLive(values, L"kEY" + std::to_wstring(index));
        ASSERT_NE(found, nullptr);
        ASSERT_EQ(found->ownKey(), L"Key" + std::to_wstring(index));
    }
    const auto all = values.inOrder();
    ASSERT_EQ(all.size(), 3000U);
    for (std::size_t place = 1; place < all.size(); ++place) {
        ASSERT_LT(all[place - 1]->ownKey(), all[place]->ownKey());
    }
}

TEST(LiveValues, ForgetsAllAndStartsAnew) {
    LiveValues values;
    values.add(makeLive(L"a"));
    values.clear();
    EXPECT_EQ(findLive(values, L"a"), nullptr);
    EXPECT_TRUE(values.inOrder().empty());
    values.add(makeLive(L"A"));
    EXPECT_NE(findLive(values, L"a"), nullptr);
}

void fetchAheadOf(const LiveValues& values, const std::vector<std::wstring>& keys) {
    const std::vector<FoldedKey> folded(keys.begin(), keys.end());
    values.fetchAhead(folded);
}

TEST(LiveValues, FetchAheadWhateverTheyHoldAndChangeNothing) {
    const std::vector<std::wstring> keys = {L"bare",         L"asked for",         L"heard",
                                            L"heard by two", L"asked for its key", L"not there"};
    LiveValues values;
    fetchAheadOf(values, keys);
    std::vector<std::shared_ptr<ConfigValueImpl>> objects;
    for (std::size_t index = 0; index < 5; ++index) {
        objects.push_back(makeLive(keys[index]));
        values.add(objects.back());
    }
    int told = 0;
    std::vector<std::weak_ptr<PropertyNotifierConnection>> connections;
    const auto notifierOf = [&](std::size_t index) {
        return objects[index]->getConfigValueNotifiers()->getValueNotifier();
    };
    notifierOf(1);
    objects[4]->getConfigValueNotifiers()->getKeyNotifier();
    connections.push_back(notifierOf(2)->addConnection([&] { ++told; }));
    connections.push_back(notifierOf(3)->connect([&] { ++told; }));
    connections.push_back(notifierOf(3)->addConnection([&] { ++told; }));
    fetchAheadOf(values, keys);
    for (const auto& object : objects) {
        object->silentUpdate(L"value", L"original", true, true, L"store", L"other");
    }
    fetchAheadOf(values, keys);
    EXPECT_EQ(told, 0);
    for (const auto& object : objects) {
        EXPECT_EQ(object->getValue(), L"value");
        object->fireRequired();
    }
    EXPECT_EQ(told, 3);
    EXPECT_EQ(findLive(values, L"not there"), nullptr);
    for (const auto& connection : connections) {
        connection.lock()->disconnect();
    }
    objects[2]->silentUpdate(L"again", L"original", true, true, L"store", L"other");
    fetchAheadOf(values, keys);
    values.clear();
    objects.clear();
    fetchAheadOf(values, keys);
    EXPECT_TRUE(values.inOrder().empty());
}

TEST(SharedText, KeepsEqualTextsOnce) {
    const SharedText one(L"LocalFileConfigStore");
    const SharedText other(L"LocalFileConfigStore");
    EXPECT_EQ(&one.text(), &other.text());
    EXPECT_EQ(one.text(), L"LocalFileConfigStore");
    EXPECT_EQ(SharedText(L"localfileconfigstore").text(), L"localfileconfigstore");
    EXPECT_EQ(SharedText().text(), L"");
    EXPECT_EQ(SharedText(L"").text(), L"");
}

TEST(SharedText, OutlivesTheObjectItWasCopiedFromAmongManyThatComeAndGo) {
    SharedText kept;
    {
        const SharedText made(L"kept");
        kept = made;
    }
    for (int index = 0; index < 1000; ++index) {
        EXPECT_EQ(SharedText(std::to_wstring(index)).text(), std::to_wstring(index));
    }
    EXPECT_EQ(kept.text(), L"kept");
    const SharedText again(L"kept");
    EXPECT_EQ(&again.text(), &kept.text());
}

TEST(LiveValues, GivesKeysOfEveryScriptInTheOrderOfTheirSmallLetters) {
    LiveValues values;
    for (const wchar_t* const key : {L"\u0416uk", L"\u00c4pfel", L"apfel", L"\u00e4pfeL2", L"Zug", L"zu\u00df"}) {
        values.add(makeLive(key));
    }
    std::vector<std::wstring> order;
    for (const auto& object : values.inOrder()) {
        order.push_back(object->getKey());
    }
    const std::vector<std::wstring> expected = {L"apfel",      L"Zug",         L"zu\u00df",
                                                L"\u00c4pfel", L"\u00e4pfeL2", L"\u0416uk"};
    EXPECT_EQ(order, expected);
}

}  // namespace
