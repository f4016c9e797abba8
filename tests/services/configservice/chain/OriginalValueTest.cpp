#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChainFixture.h"
#include "stores/InMemoryConfigStore.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class OriginalValue : public ChainFixture {
protected:
    bool exactly(const std::wstring& key) { return manager.getOriginalValueFromStores(key, value, storeName, found); }
    bool ask(const std::wstring& key) { return manager.getOriginalValue(key, value, storeName, usedOtherKeyName); }

    std::shared_ptr<fakes::ScriptedStore> user = makeStore("User", 100);
    std::shared_ptr<fakes::ScriptedStore> server = makeReadOnly("Server", 200);
    std::shared_ptr<fakes::ScriptedStore> defaults = makeReadOnly("Defaults", 300);
    std::wstring value = L"as given";
    std::wstring storeName = L"no store";
    bool found = true;
    bool usedOtherKeyName = true;
};

TEST_F(OriginalValue, IsThatOfTheFirstReadOnlyStore) {
    server->with(L"domain", L"server");
    defaults->with(L"domain", L"default");
    addQuietly({user, server, defaults});
    EXPECT_FALSE(exactly(L"domain"));
    EXPECT_EQ(value, L"server");
    EXPECT_EQ(storeName, L"Server");
    EXPECT_TRUE(found);
}

TEST_F(OriginalValue, IsOverriddenByAWritableStoreAhead) {
    user->with(L"domain", L"written");
    server->with(L"domain", L"server");
    addQuietly({user, server});
    EXPECT_TRUE(exactly(L"domain"));
    EXPECT_EQ(value, L"server");
}

TEST_F(OriginalValue, IsNotOverriddenByAWritableStoreBehind) {
    const auto late = makeStore("Late", 900);
    late->with(L"domain", L"written");
    server->with(L"domain", L"server");
    addQuietly({server, late});
    EXPECT_FALSE(exactly(L"domain"));
    EXPECT_EQ(value, L"server");
}

TEST_F(OriginalValue, IsAskedForUntilBothKindsOfStoresHaveGivenAText) {
    const auto missing = makeStore("Missing", 400);
    const auto answering = makeStore("Answering", 500);
    const auto last = makeStore("Last", 700);
    server->with(L"domain", L"server");
    defaults->with(L"domain", L"default");
    answering->with(L"domain", L"written");
    addQuietly({user, server, defaults, missing, answering, last});
    EXPECT_FALSE(exactly(L"domain"));
    EXPECT_THAT(user->lookups(), ElementsAre(L"domain"));
    EXPECT_THAT(server->lookups(), ElementsAre(L"domain"));
    EXPECT_THAT(defaults->lookups(), IsEmpty()) << "of its kind there is a text";
    EXPECT_THAT(missing->lookups(), ElementsAre(L"domain"));
    EXPECT_THAT(answering->lookups(), ElementsAre(L"domain"));
    EXPECT_THAT(last->lookups(), IsEmpty());
}

TEST_F(OriginalValue, IsNotAskedForOfWritableStoresBehindATextOfTheModulesOwnStore) {
    const auto behind = makeStore("Behind", 700);
    const auto memory = std::make_shared<InMemoryConfigStore>();
    manager.addStore(memory);
    memory->storeValue(L"domain", L"memory");
    memory->storeValue(L"empty", L"");
    addQuietly({behind});
    manager.updateKey(L"domain", false);
    EXPECT_THAT(behind->lookups(), IsEmpty());
    manager.updateKey(L"empty", false);
    EXPECT_THAT(behind->lookups(), ElementsAre(L"empty")) << "an empty value does not end the search";
}

TEST_F(OriginalValue, IsThatOfAStoreFromOutsideThatHasBecomeReadOnlyMeanwhile) {
    const auto outside = makeStore("Outside", 150);
    outside->with(L"domain", L"outside");
    server->with(L"domain", L"server");
    addQuietly({outside, server});
    EXPECT_TRUE(exactly(L"domain"));
    EXPECT_EQ(value, L"server");
    outside->readOnly();
    EXPECT_FALSE(exactly(L"domain"));
    EXPECT_EQ(value, L"outside");
    EXPECT_EQ(storeName, L"Outside");
}

TEST_F(OriginalValue, IsOverriddenButNotFoundWhereOnlyAWritableStoreHasTheKey) {
    user->with(L"domain", L"written");
    addQuietly({user, server});
    EXPECT_TRUE(exactly(L"domain"));
    EXPECT_FALSE(found);
    EXPECT_EQ(value, L"");
    EXPECT_EQ(storeName, L"no store");
}

TEST_F(OriginalValue, OfNobodyIsEmptyAndNotFound) {
    addQuietly({user, server});
    EXPECT_FALSE(exactly(L"domain"));
    EXPECT_FALSE(found);
    EXPECT_EQ(value, L"");
}

TEST_F(OriginalValue, EmptyReadOnlyHitDoesNotEndTheSearch) {
    server->with(L"domain", L"");
    defaults->with(L"domain", L"default");
    addQuietly({server, defaults});
    EXPECT_FALSE(exactly(L"domain"));
    EXPECT_EQ(value, L"default");
    EXPECT_EQ(storeName, L"Defaults");
}

TEST_F(OriginalValue, EmptyHitsOfTwoReadOnlyStoresNameTheLater) {
    server->with(L"domain", L"");
    defaults->with(L"domain", L"");
    addQuietly({server, defaults});
    EXPECT_FALSE(exactly(L"domain"));
    EXPECT_TRUE(found);
    EXPECT_EQ(value, L"");
    EXPECT_EQ(storeName, L"Defaults");
}

TEST_F(OriginalValue, EmptyReadOnlyHitLetsALaterWritableStoreOverride) {
    const auto late = makeStore("Late", 900);
    server->with(L"domain", L"");
    late->with(L"domain", L"written");
    addQuietly({server, late});
    EXPECT_TRUE(exactly(L"domain"));
}

TEST_F(OriginalValue, EmptyWritableHitOverrides) {
    user->with(L"domain", L"");
    server->with(L"domain", L"server");
    addQuietly({user, server});
    EXPECT_TRUE(exactly(L"domain"));
}

TEST_F(OriginalValue, StopsAskingOnceBothKindsHaveAnswered) {
    user->with(L"domain", L"written");
    server->with(L"domain", L"server");
    addQuietly({user, server, defaults});
    exactly(L"domain");
    EXPECT_THAT(defaults->lookups(), IsEmpty());
}

TEST_F(OriginalValue, IsNotOverriddenByAWritableStoreBehindOneThatLeavesATextOnAMiss) {
    const auto late = makeStore("Late", 900);
    user->leavingOnMiss(L"left");
    server->with(L"domain", L"server");
    late->with(L"domain", L"written");
    addQuietly({user, server, late});
    EXPECT_FALSE(exactly(L"domain"));
    EXPECT_EQ(value, L"server");
    EXPECT_THAT(late->lookups(), IsEmpty());
}

TEST_F(OriginalValue, IsTheTextThatAReadOnlyStoreLeavesOnAMissAndNotFound) {
    server->leavingOnMiss(L"left");
    defaults->with(L"domain", L"default");
    addQuietly({user, server, defaults});
    EXPECT_FALSE(exactly(L"domain"));
    EXPECT_EQ(value, L"left");
    EXPECT_FALSE(found);
    EXPECT_EQ(storeName, L"no store");
    EXPECT_THAT(defaults->lookups(), IsEmpty());
}

TEST_F(OriginalValue, IsNotForcedOffUnderFipsByTheChainItself) {
    server->with(L"Telephony_P2P_Enabled", L"true");
    addQuietly({server});
    world.setFips(true);
    exactly(L"Telephony_P2P_Enabled");
    EXPECT_EQ(value, L"true");
}

TEST_F(OriginalValue, OldNameStaysWithAnOverriddenCurrentName) {
    user->with(L"TFTPPrimaryServer", L"written");
    server->with(L"TFTPPrimaryServer", L"server").with(L"TftpServer1", L"old");
    addQuietly({user, server});
    EXPECT_TRUE(ask(L"TftpServer1"));
    EXPECT_EQ(value, L"server");
    EXPECT_FALSE(usedOtherKeyName);
}

TEST_F(OriginalValue, OldNameMovesOnFromACurrentNameThatIsNotOverridden) {
    server->with(L"TFTPPrimaryServer", L"server").with(L"TftpServer1", L"old");
    addQuietly({user, server});
    EXPECT_FALSE(ask(L"TftpServer1"));
    EXPECT_EQ(value, L"old");
    EXPECT_FALSE(usedOtherKeyName);
}

TEST_F(OriginalValue, OldNameThatIsOverriddenItselfIsToldAsTheOtherName) {
    user->with(L"TftpServer1", L"written");
    server->with(L"TftpServer1", L"old");
    addQuietly({user, server});
    EXPECT_TRUE(ask(L"TftpServer1"));
    EXPECT_EQ(value, L"old");
    EXPECT_TRUE(usedOtherKeyName);
}

TEST_F(OriginalValue, OldNameKeepsTheStoreOfTheCurrentNameWhenItFindsNothingItself) {
    server->with(L"TFTPPrimaryServer", L"server");
    addQuietly({user, server});
    EXPECT_FALSE(ask(L"TftpServer1"));
    EXPECT_EQ(value, L"");
    EXPECT_EQ(storeName, L"Server");
}

TEST_F(OriginalValue, CurrentNameStaysWithItselfWhereAReadOnlyStoreHasIt) {
    user->with(L"TftpServer1", L"written");
    server->with(L"TFTPPrimaryServer", L"server").with(L"TftpServer1", L"old");
    addQuietly({user, server});
    EXPECT_FALSE(ask(L"TFTPPrimaryServer"));
    EXPECT_EQ(value, L"server");
    EXPECT_FALSE(usedOtherKeyName);
}

TEST_F(OriginalValue, CurrentNameMovesOnToTheOldOneWhereNoReadOnlyStoreHasIt) {
    user->with(L"TftpServer1", L"written");
    server->with(L"TftpServer1", L"old");
    addQuietly({user, server});
    EXPECT_TRUE(ask(L"TFTPPrimaryServer"));
    EXPECT_EQ(value, L"old");
    EXPECT_TRUE(usedOtherKeyName);
}

TEST_F(OriginalValue, CurrentNameMovesOnEvenIfAWritableStoreHasIt) {
    user->with(L"TFTPPrimaryServer", L"written");
    server->with(L"TftpServer1", L"old");
    addQuietly({user, server});
    EXPECT_FALSE(ask(L"TFTPPrimaryServer"));
    EXPECT_EQ(value, L"old");
    EXPECT_FALSE(usedOtherKeyName);
}

TEST_F(OriginalValue, KeyWithOneNameIsAskedForOnce) {
    addQuietly({server});
    EXPECT_FALSE(ask(L"domain"));
    EXPECT_THAT(server->lookups(), ElementsAre(L"domain"));
    EXPECT_FALSE(usedOtherKeyName);
}

}  // namespace
