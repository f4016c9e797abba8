#include "chain/KeyOrder.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

#include "chain/ConfigMap.h"
#include "support/Seed.h"

// The order that is found some letters at a time, held to the comparison of whole keys.

namespace {

struct Ordered {
    std::wstring key;
    std::wstring value;
};

/// The values in the order of their keys. @param from the first that is to be sorted.
std::vector<std::wstring> sorted(std::vector<Ordered>& items, std::size_t from = 0) {
    std::vector<Ordered*> pointers;
    for (Ordered& item : items) {
        pointers.push_back(&item);
    }
    KeyOrder<Ordered>::sort(pointers, from);
    std::vector<std::wstring> values;
    KeyOrder<Ordered>::visit(pointers, [&](const Ordered& item) { values.push_back(item.value); });
    return values;
}

std::vector<std::wstring> sortedPlainly(std::vector<Ordered> items) {
    const caseInsensitiveMapComparator precedes;
    std::stable_sort(items.begin(), items.end(),
                     [&](const Ordered& a, const Ordered& b) { return precedes(a.key, b.key); });
    std::vector<std::wstring> values;
    for (const Ordered& item : items) {
        values.push_back(item.value);
    }
    return values;
}

/// Keys that begin alike for longer than is compared at a time, of all lengths around its borders.
std::wstring alikeKey(const std::wstring& letters, std::mt19937& random) {
    const auto number = [&random](std::size_t most) {
        return std::uniform_int_distribution<std::size_t>(0, most)(random);
    };
    std::wstring key(16 * number(5) + number(2) * 8, L'm');
    for (std::size_t more = number(4); more > 0; --more) {
        key += letters[number(letters.size() - 1)];
    }
    if (!key.empty() && number(3) == 0) {
        key[number(key.size() - 1)] = letters[number(letters.size() - 1)];
    }
    return key;
}

void expectTheOrderOfWholeKeys(const std::wstring& letters) {
    const unsigned seed = support::seedOfThisRun();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 300 && !testing::Test::HasFailure(); ++round) {
        std::vector<Ordered> items;
        for (int index = 0; index < round; ++index) {
            items.push_back({alikeKey(letters, random), std::to_wstring(index)});
        }
        const std::vector<std::wstring> expected = sortedPlainly(items);
        ASSERT_EQ(sorted(items), expected) << "round " << round;
    }
}

TEST(KeyOrder, IsThatOfWholeKeysInAscii) { expectTheOrderOfWholeKeys(L"aAbBmMzZ_@[`{019~ "); }

TEST(KeyOrder, IsThatOfWholeKeysWithZeros) { expectTheOrderOfWholeKeys(std::wstring(L"aAmM_") + L'\0'); }

TEST(KeyOrder, IsThatOfWholeKeysInAnyScript) {
    expectTheOrderOfWholeKeys(std::wstring(L"aAmMkKsS_\u00e9\u00c9\u212a\u017f\u0130\U0001F600") + L'\0');
}

TEST(KeyOrder, LeavesKeysThatDifferOnlyInCaseAsTheyStand) {
    std::vector<Ordered> items{{L"b", L"1"}, {L"B", L"2"}, {L"a", L"3"}, {L"b", L"4"}, {L"A", L"5"}};
    EXPECT_EQ(sorted(items), (std::vector<std::wstring>{L"3", L"5", L"1", L"2", L"4"}));
}

TEST(KeyOrder, LeavesAloneWhatIsBeforeTheFirst) {
    std::vector<Ordered> items{{L"b", L"1"}, {L"a", L"2"}, {L"e", L"3"}, {L"d", L"4"}, {L"c", L"5"}};
    EXPECT_EQ(sorted(items, 2), (std::vector<std::wstring>{L"1", L"2", L"5", L"4", L"3"}));
}

TEST(KeyOrder, OfNothingIsNothing) {
    std::vector<Ordered> none;
    EXPECT_TRUE(sorted(none).empty());
}

// A key is as long as a document says: what begins alike is not gone through in ever deeper steps.
TEST(KeyOrder, TakesKeysOfAnyLength) {
    const std::wstring most(4'000'000, L'm');
    std::vector<Ordered> items{{most + L"b", L"1"}, {most + L"a", L"2"}, {most, L"3"}};
    EXPECT_EQ(sorted(items), (std::vector<std::wstring>{L"3", L"2", L"1"}));
}

}  // namespace
