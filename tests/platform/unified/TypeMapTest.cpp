#include "unified/TypeMap.h"

#include <string>

namespace {

struct Left {
    virtual ~Left() = default;
    int left = 1;
};

struct Right {
    virtual ~Right() = default;
    int right = 2;
};

struct Both : Left, Right {};

}  // namespace

TEST(TypeMap, FindsNothingWhenEmpty) {
    const TypeMap map;
    EXPECT_EQ(map.getItem<Left>(), nullptr);
    EXPECT_FALSE(map.hasNumber(0));
    EXPECT_TRUE(map.empty());
}

TEST(TypeMap, FindsAnItemUnderTheTypeItWasSetWith) {
    TypeMap map;
    const auto both = std::make_shared<Both>();
    map.setItem<Right>(7, both);
    EXPECT_EQ(map.getItem<Right>(), both);
    EXPECT_EQ(map.getItem<Right>()->right, 2);
    EXPECT_EQ(map.getItem<Left>(), nullptr);
    EXPECT_EQ(map.getItem<Both>(), nullptr);
    EXPECT_TRUE(map.hasNumber(7));
    EXPECT_FALSE(map.empty());
}

TEST(TypeMap, OverwritesWhatStandsUnderTheType) {
    TypeMap map;
    map.setItem<Left>(1, std::make_shared<Left>());
    const auto later = std::make_shared<Left>();
    map.setItem<Left>(2, later);
    EXPECT_EQ(map.getItem<Left>(), later);
    EXPECT_TRUE(map.hasNumber(1));
    EXPECT_TRUE(map.hasNumber(2));
}

TEST(TypeMap, OverwritesWhatStandsUnderTheNumber) {
    TypeMap map;
    auto first = std::make_shared<Left>();
    const std::weak_ptr<Left> watch = first;
    map.setItem<Left>(1, first);
    first.reset();
    map.setItem<Right>(1, std::make_shared<Right>());
    EXPECT_NE(map.getItem<Left>(), nullptr);
    map.setItem<Left>(2, std::make_shared<Left>());
    EXPECT_TRUE(watch.expired());
}

TEST(TypeMap, ClearDropsWhatBothKeysHold) {
    TypeMap map;
    auto item = std::make_shared<Left>();
    const std::weak_ptr<Left> watch = item;
    map.setItem<Left>(1, item);
    item.reset();
    map.clear();
    EXPECT_TRUE(watch.expired());
    EXPECT_TRUE(map.empty());
    EXPECT_FALSE(map.hasNumber(1));
}

TEST(TypeMap, NamesATypeAsTheCompilerDoes) { EXPECT_EQ(typeMapName(typeid(Left)), typeid(Left).name()); }
