#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChainFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Replacement : public ChainFixture {
protected:
    static std::shared_ptr<fakes::ScriptedStore> withKeys(const std::shared_ptr<fakes::ScriptedStore>& store,
                                                          const std::vector<std::wstring>& keys,
                                                          const std::wstring& value) {
        for (const std::wstring& key : keys) {
            store->with(key, value);
        }
        return store;
    }

    std::shared_ptr<fakes::ScriptedStore> old = withKeys(makeReadOnly("Server", 100), {L"a", L"b"}, L"old");
};

TEST_F(Replacement, ByAStoreOfTheSameNameInAnotherCase) {
    addQuietly({old});
    manager.addStore(withKeys(makeReadOnly("SERVER", 100), {L"a", L"b"}, L"new"));
    EXPECT_THAT(chainNames(), ElementsAre("SERVER"));
    EXPECT_EQ(valueOf(L"a"), L"new");
}

TEST_F(Replacement, ReportsTheKeysThatTheNewStoreLacksAtOnceAndFirst) {
    addQuietly({old});
    manager.addStore(withKeys(makeReadOnly("Server", 100), {L"B", L"c"}, L"new"));
    EXPECT_THAT(observer.course(), ElementsAre("a-", "~B=new", "~c=new", "B!", "c!"));
}

TEST_F(Replacement, ReportsALostKeyAsUndefinedWhereNoOtherStoreHoldsIt) {
    addQuietly({old});
    manager.addStore(makeReadOnly("Server", 100));
    const auto reports = observer.changes();
    ASSERT_EQ(reports.size(), 2u);
    EXPECT_EQ(reports[0].key, L"a");
    EXPECT_FALSE(reports[0].isDefined);
    EXPECT_FALSE(reports[0].silent);
}

TEST_F(Replacement, ReportsALostKeyFromTheOtherStores) {
    const auto defaults = withKeys(makeReadOnly("Defaults", 900), {L"a"}, L"default");
    addQuietly({old, defaults});
    manager.addStore(makeReadOnly("Server", 100));
    EXPECT_THAT(observer.course(), ElementsAre("a=default", "b-"));
}

TEST_F(Replacement, TakesThePlaceOfTheNewPriority) {
    addQuietly({old, makeReadOnly("Middle", 200)});
    manager.addStore(makeReadOnly("Server", 50));
    EXPECT_THAT(chainNames(), ElementsAre("Server", "Middle"));
}

TEST_F(Replacement, ByAStoreFurtherDownIsMetAndReportedOnceMore) {
    addQuietly({old, makeReadOnly("Middle", 200)});
    manager.addStore(withKeys(makeReadOnly("Server", 300), {L"b"}, L"new"));
    EXPECT_THAT(chainNames(), ElementsAre("Middle", "Server"));
    EXPECT_THAT(observer.course(), ElementsAre("a-", "~b=new", "b!", "~b=new", "b!"));
}

TEST_F(Replacement, ByItselfReportsItsKeys) {
    addQuietly({old});
    manager.updateStoreValues(old);
    EXPECT_THAT(chainNames(), ElementsAre("Server"));
    EXPECT_THAT(observer.course(), ElementsAre("~a=old", "~b=old", "a!", "b!"));
}

TEST_F(Replacement, OfAStoreThatIsNotThereDoesNothing) {
    addQuietly({old});
    manager.updateStoreValues(makeReadOnly("Other", 50));
    manager.updateStoreValues(makeReadOnly("Other", 50), {L"a"});
    EXPECT_THAT(chainNames(), ElementsAre("Server"));
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Replacement, OfNullOrInAnEmptyChainDoesNothing) {
    manager.updateStoreValues(nullptr);
    manager.updateStoreValues(nullptr, {L"a"});
    manager.updateStoreValues(old);
    manager.updateStoreValues(old, {L"a"});
    EXPECT_THAT(chainNames(), IsEmpty());
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Replacement, GoesByTheOldKeysThatItIsGiven) {
    addQuietly({old});
    manager.updateStoreValues(withKeys(makeReadOnly("Server", 100), {L"b"}, L"new"), {L"gone", L"B", L"away"});
    EXPECT_THAT(observer.course(), ElementsAre("gone-", "away-", "~b=new", "b!"));
}

TEST_F(Replacement, ReportsLostKeysInTheOrderThatItIsGivenAndAsOftenAsGiven) {
    addQuietly({old});
    manager.updateStoreValues(makeReadOnly("Server", 100), {L"z", L"a", L"z"});
    EXPECT_THAT(observer.course(), ElementsAre("z-", "a-", "z-"));
}

TEST_F(Replacement, KnowsAKeyInEverySpellingAndInWhateverOrderTheKeysCome) {
    addQuietly({old});
    manager.updateStoreValues(withKeys(makeReadOnly("Server", 100), {L"d", L"b"}, L"new"),
                              {L"z", L"B", L"c", L"b", L"D", L"a"});
    EXPECT_THAT(observer.course(), ElementsAre("z-", "c-", "a-", "~b=new", "~d=new", "b!", "d!"));
}

TEST_F(Replacement, OfACachedStoreTakesItsCopyOutOfTheChainAndLeavesTheFile) {
    const std::string file = world.directory().write("config/Cache/cachedServer.xml", "<config/>");
    old->cached();
    addQuietly({makeReadOnly("cachedServer.xml", 300), old});
    manager.addStore(makeReadOnly("Server", 100));
    EXPECT_THAT(chainNames(), ElementsAre("Server"));
    EXPECT_TRUE(world.directory().exists("config/Cache/cachedServer.xml"));
}

TEST_F(Replacement, OfAStoreThatIsNotCachedLeavesACopyAlone) {
    addQuietly({makeReadOnly("cachedServer.xml", 300), old});
    manager.addStore(makeReadOnly("Server", 100));
    EXPECT_THAT(chainNames(), ElementsAre("Server", "cachedServer.xml"));
}

class SilentRemoval : public Replacement {};

TEST_F(SilentRemoval, TellsNobody) {
    addQuietly({old});
    manager.removeStoreOnDuplicateAdded("SERVER");
    EXPECT_THAT(chainNames(), IsEmpty());
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(SilentRemoval, OfAnUnknownNameOrInAnEmptyChainDoesNothing) {
    manager.removeStoreOnDuplicateAdded("Server");
    addQuietly({old});
    manager.removeStoreOnDuplicateAdded("Other");
    EXPECT_THAT(chainNames(), ElementsAre("Server"));
}

TEST_F(SilentRemoval, ErasesTheStoreItselfWhenTheRemovalOfItsCopyHasMovedIt) {
    old->cached();
    addQuietly({makeReadOnly("cachedServer.xml", 50), makeReadOnly("Bystander", 80), old, makeReadOnly("Behind", 300)});
    manager.removeStoreOnDuplicateAdded("Server");
    EXPECT_THAT(chainNames(), ElementsAre("Bystander", "Behind"));
}

TEST_F(SilentRemoval, TakesACopyOfACopyToo) {
    old->cached();
    const auto copy = makeReadOnly("cachedServer.xml", 300);
    copy->cached();
    addQuietly({old, copy, makeReadOnly("cachedcachedServer.xml.xml", 500)});
    manager.removeStoreOnDuplicateAdded("Server");
    EXPECT_THAT(chainNames(), IsEmpty());
}

}  // namespace
