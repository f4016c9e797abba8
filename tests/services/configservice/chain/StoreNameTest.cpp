#include "chain/StoreName.h"

#include <gtest/gtest.h>

namespace {

TEST(StoreName, IsEmptyAndNotGivenAtFirst) {
    const StoreName name;
    EXPECT_FALSE(name.isGiven());
    EXPECT_EQ(name.text(), L"");
}

TEST(StoreName, RefersToANameThatStays) {
    std::wstring own = L"LocalFileConfigStore";
    StoreName name;
    name.refer(own);
    EXPECT_TRUE(name.isGiven());
    EXPECT_EQ(&name.text(), &own);
}

TEST(StoreName, KeepsANameThatMayChange) {
    std::wstring outside = L"Plugin";
    StoreName name;
    name.keep(outside);
    outside = L"renamed";
    EXPECT_TRUE(name.isGiven());
    EXPECT_EQ(name.text(), L"Plugin");
}

TEST(StoreName, IsGivenEvenIfTheStoreHasTheEmptyName) {
    StoreName name;
    name.keep(L"");
    EXPECT_TRUE(name.isGiven());
}

TEST(StoreName, TellsTheLastNameThatItWasGiven) {
    const std::wstring own = L"Own";
    StoreName name;
    name.refer(own);
    name.keep(L"Outside");
    EXPECT_EQ(name.text(), L"Outside");
    name.refer(own);
    EXPECT_EQ(name.text(), L"Own");
    const StoreName copy = name;
    EXPECT_EQ(copy.text(), L"Own");
}

}  // namespace
