#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChainFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StoreOrder : public ChainFixture {};

TEST_F(StoreOrder, IsThatOfThePriorityNumbers) {
    for (const std::int32_t priority : {300, -5, 100, 200}) {
        manager.addStore(makeStore("At" + std::to_string(priority), priority));
    }
    EXPECT_THAT(chainNames(), ElementsAre("At-5", "At100", "At200", "At300"));
}

TEST_F(StoreOrder, PutsALaterStoreOfTheSamePriorityBehind) {
    manager.addStore(makeStore("First", 100));
    manager.addStore(makeStore("Second", 100));
    manager.addStore(makeStore("Ahead", 50));
    manager.addStore(makeStore("Third", 100));
    EXPECT_THAT(chainNames(), ElementsAre("Ahead", "First", "Second", "Third"));
}

TEST_F(StoreOrder, KeepsEqualPrioritiesInOrderInALongChainToo) {
    std::vector<std::string> expected;
    for (int number = 0; number < 40; ++number) {
        expected.push_back("Store" + std::to_string(number));
        manager.addStore(makeStore(expected.back(), 100));
    }
    EXPECT_EQ(chainNames(), expected);
}

TEST_F(StoreOrder, ComparerIsStrict) {
    const auto low = makeStore("Low", 1);
    const auto high = makeStore("High", 2);
    EXPECT_TRUE(ConfigStoreManager::ConfigStorePriorityComparer(low, high));
    EXPECT_FALSE(ConfigStoreManager::ConfigStorePriorityComparer(high, low));
    EXPECT_FALSE(ConfigStoreManager::ConfigStorePriorityComparer(low, low));
}

TEST_F(StoreOrder, NewStoreIsReportedSilentlyThenFired) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"a", L"1").with(L"b", L"2");
    manager.addStore(store);
    EXPECT_THAT(observer.course(), ElementsAre("~a=1", "~b=2", "a!", "b!"));
}

TEST_F(StoreOrder, NewStoreBehindAnotherIsReportedWithTheWinningValue) {
    const auto front = makeReadOnly("Front", 100);
    front->with(L"a", L"front");
    addQuietly({front});
    const auto back = makeReadOnly("Back", 200);
    back->with(L"a", L"back");
    manager.addStore(back);
    EXPECT_THAT(observer.course(), ElementsAre("~a=front", "a!"));
}

TEST_F(StoreOrder, NullStoreIsIgnored) {
    manager.addStore(nullptr);
    EXPECT_THAT(chainNames(), IsEmpty());
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(StoreOrder, MembershipIgnoresCase) {
    addQuietly({makeStore("Server", 100)});
    EXPECT_TRUE(manager.containsStore("SERVER"));
    EXPECT_FALSE(manager.containsStore("Server2"));
    EXPECT_FALSE(manager.containsStore(""));
}

TEST_F(StoreOrder, ChangeOfSeveralStepsMayCallAnything) {
    manager.atomically([&] {
        manager.addStore(makeStore("First", 100));
        manager.removeStoreWithSameName("First");
        manager.addStore(makeStore("Second", 100));
    });
    EXPECT_THAT(chainNames(), ElementsAre("Second"));
}

}  // namespace
