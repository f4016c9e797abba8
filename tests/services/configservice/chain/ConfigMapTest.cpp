#include <gtest/gtest.h>

#include "chain/ConfigMap.h"

namespace {

TEST(ConfigMap, TakesKeysThatDifferInCaseForOneAndKeepsTheFirstSpelling) {
    ConfigMap map;
    map[L"ServicesDomain"] = L"first";
    map[L"SERVICESDOMAIN"] = L"second";
    ASSERT_EQ(map.size(), 1u);
    EXPECT_EQ(map.begin()->first, L"ServicesDomain");
    EXPECT_EQ(map.begin()->second, L"second");
}

TEST(ConfigMap, OrdersKeysWithoutRegardToCase) {
    const ConfigMap map = {{L"beta", L""}, {L"ALPHA", L""}, {L"Gamma", L""}};
    std::wstring order;
    for (const auto& entry : map) {
        order += entry.first + L" ";
    }
    EXPECT_EQ(order, L"ALPHA beta Gamma ");
}

TEST(ConfigMap, ComparatorIsStrict) {
    const caseInsensitiveMapComparator less;
    EXPECT_TRUE(less(L"a", L"B"));
    EXPECT_FALSE(less(L"B", L"a"));
    EXPECT_FALSE(less(L"a", L"A"));
    EXPECT_FALSE(less(L"A", L"a"));
}

TEST(SensitiveKeySet, IgnoresCase) {
    const SensitiveKeySet keys = {L"Password", L"PASSWORD", L"user"};
    EXPECT_EQ(keys.size(), 2u);
    EXPECT_EQ(keys.count(L"passWord"), 1u);
}

}  // namespace
