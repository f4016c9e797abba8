#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChainFixture.h"
#include "stores/InMemoryConfigStore.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Lookup : public ChainFixture {
protected:
    bool lookUp(const std::wstring& key, bool skipLocal = false) {
        return manager.getValue(key, value, storeName, usedOtherKeyName, skipLocal);
    }

    std::wstring value = L"as given";
    std::wstring storeName = L"no store";
    bool usedOtherKeyName = false;
};

TEST_F(Lookup, TakesTheStoreWithTheSmallerPriorityNumber) {
    manager.addStore(makeReadOnly("Second", 200));
    manager.addStore(makeReadOnly("Third", 300));
    const auto second = makeReadOnly("Deep", 250);
    const auto first = makeReadOnly("Front", 100);
    second->with(L"domain", L"second");
    first->with(L"domain", L"first");
    addQuietly({second, first});
    EXPECT_TRUE(lookUp(L"domain"));
    EXPECT_EQ(value, L"first");
    EXPECT_EQ(storeName, L"Front");
}

TEST_F(Lookup, GoesOnToTheNextStoreAfterAMiss) {
    const auto front = makeReadOnly("Front", 100);
    const auto back = makeReadOnly("Back", 200);
    back->with(L"domain", L"second");
    addQuietly({front, back});
    EXPECT_TRUE(lookUp(L"domain"));
    EXPECT_EQ(value, L"second");
    EXPECT_EQ(storeName, L"Back");
}

TEST_F(Lookup, DoesNotAskBehindAHit) {
    const auto front = makeReadOnly("Front", 100);
    const auto back = makeReadOnly("Back", 200);
    front->with(L"domain", L"");
    back->with(L"domain", L"second");
    addQuietly({front, back});
    EXPECT_TRUE(lookUp(L"domain"));
    EXPECT_EQ(value, L"");
    EXPECT_THAT(back->lookups(), IsEmpty());
}

TEST_F(Lookup, SkipLocalHidesTheInMemoryStore) {
    const auto memory = std::make_shared<InMemoryConfigStore>();
    memory->storeValue(L"domain", L"in memory");
    manager.addStore(memory);
    const auto defaults = makeReadOnly("Defaults", 700);
    defaults->with(L"domain", L"default");
    addQuietly({defaults});
    EXPECT_TRUE(lookUp(L"domain", false));
    EXPECT_EQ(value, L"in memory");
    EXPECT_TRUE(lookUp(L"domain", true));
    EXPECT_EQ(value, L"default");
    EXPECT_EQ(storeName, L"Defaults");
}

TEST_F(Lookup, SkipLocalAsksForReadOnlyAndNotForLocal) {
    const auto localReadOnly = makeReadOnly("LocalReadOnly", 100);
    const auto remoteWritable = makeStore("RemoteWritable", 50);
    remoteWritable->remote().with(L"domain", L"written");
    localReadOnly->with(L"domain", L"administered");
    addQuietly({localReadOnly, remoteWritable});
    EXPECT_TRUE(lookUp(L"domain", true));
    EXPECT_EQ(value, L"administered");
    EXPECT_THAT(remoteWritable->lookups(), IsEmpty());
}

TEST_F(Lookup, OldNameFindsTheCurrentNameFirst) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"TftpServer1", L"old").with(L"TFTPPrimaryServer", L"current");
    addQuietly({store});
    EXPECT_TRUE(lookUp(L"TftpServer1"));
    EXPECT_EQ(value, L"current");
    EXPECT_FALSE(usedOtherKeyName);
}

TEST_F(Lookup, OldNameFallsBackToItself) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"TftpServer1", L"old");
    addQuietly({store});
    EXPECT_TRUE(lookUp(L"TftpServer1"));
    EXPECT_EQ(value, L"old");
    EXPECT_TRUE(usedOtherKeyName);
    EXPECT_THAT(store->lookups(), ElementsAre(L"TFTPPrimaryServer", L"TftpServer1"));
}

TEST_F(Lookup, CurrentNameFindsItselfFirst) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"TftpServer1", L"old").with(L"TFTPPrimaryServer", L"current");
    addQuietly({store});
    EXPECT_TRUE(lookUp(L"TFTPPrimaryServer"));
    EXPECT_EQ(value, L"current");
    EXPECT_FALSE(usedOtherKeyName);
}

TEST_F(Lookup, CurrentNameFallsBackToTheOldOne) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"TftpServer1", L"old");
    addQuietly({store});
    EXPECT_TRUE(lookUp(L"TFTPPrimaryServer"));
    EXPECT_EQ(value, L"old");
    EXPECT_EQ(storeName, L"Server");
    EXPECT_TRUE(usedOtherKeyName);
}

TEST_F(Lookup, CurrentNameInALaterStoreBeatsTheOldNameInAnEarlierOne) {
    const auto front = makeReadOnly("Front", 100);
    const auto back = makeReadOnly("Back", 200);
    front->with(L"TftpServer1", L"old");
    back->with(L"TFTPPrimaryServer", L"current");
    addQuietly({front, back});
    EXPECT_TRUE(lookUp(L"TftpServer1"));
    EXPECT_EQ(value, L"current");
}

TEST_F(Lookup, NeverSetsUsedOtherKeyNameToFalse) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"domain", L"text");
    addQuietly({store});
    usedOtherKeyName = true;
    EXPECT_TRUE(lookUp(L"domain"));
    EXPECT_TRUE(usedOtherKeyName);
}

TEST_F(Lookup, MissesWhenNeitherNameIsHeld) {
    addQuietly({makeReadOnly("Server", 100)});
    EXPECT_FALSE(lookUp(L"TftpServer1"));
    EXPECT_FALSE(lookUp(L"TFTPPrimaryServer"));
    EXPECT_FALSE(usedOtherKeyName);
    EXPECT_EQ(storeName, L"no store");
}

TEST_F(Lookup, PassesSkipLocalOnToTheOtherName) {
    const auto writable = makeStore("User", 100);
    writable->with(L"TFTPPrimaryServer", L"written").with(L"TftpServer1", L"written old");
    addQuietly({writable});
    EXPECT_FALSE(lookUp(L"TftpServer1", true));
    EXPECT_FALSE(lookUp(L"TFTPPrimaryServer", true));
}

TEST_F(Lookup, FindsAKeyGivenInAnotherCase) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"ServicesDomain", L"text");
    addQuietly({store});
    EXPECT_TRUE(lookUp(L"SERVICESDOMAIN"));
    EXPECT_EQ(value, L"text");
}

TEST_F(Lookup, PeerToPeerCallingIsOffUnderFipsWhateverTheStoresHold) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"telephony_p2p_enabled", L"true");
    addQuietly({store});
    world.setFips(true);
    EXPECT_TRUE(lookUp(L"Telephony_P2P_Enabled"));
    EXPECT_EQ(value, L"false");
}

TEST_F(Lookup, PeerToPeerCallingStaysUndefinedUnderFips) {
    world.setFips(true);
    EXPECT_FALSE(lookUp(L"Telephony_P2P_Enabled"));
    EXPECT_EQ(value, L"false");
    EXPECT_FALSE(manager.getValueFromStores(L"Telephony_P2P_Enabled", value, storeName, false));
}

TEST_F(Lookup, EmptyChainLeavesTheValueAsItWas) {
    EXPECT_FALSE(lookUp(L"domain"));
    EXPECT_EQ(value, L"as given");
    EXPECT_EQ(storeName, L"no store");
    EXPECT_FALSE(manager.getValue(L"domain", value, false));
    EXPECT_EQ(value, L"as given");
    EXPECT_FALSE(manager.getValueFromStores(L"domain", value, storeName, false));
    EXPECT_EQ(value, L"as given");
    EXPECT_EQ(storeName, L"no store");
}

TEST_F(Lookup, ChainWithNothingToAskLeavesTheValueAsItWas) {
    addQuietly({makeStore("User", 100)});
    EXPECT_FALSE(lookUp(L"domain", true));
    EXPECT_EQ(value, L"as given");
}

TEST_F(Lookup, MissLeavesWhatTheLastStoreHasLeft) {
    const auto front = makeReadOnly("Front", 100);
    const auto back = makeReadOnly("Back", 200);
    front->leavingOnMiss(L"from the front");
    back->leavingOnMiss(L"from the back");
    addQuietly({front, back});
    EXPECT_FALSE(lookUp(L"domain"));
    EXPECT_EQ(value, L"from the back");
}

TEST_F(Lookup, OfExactlyOneNameTriesNoOther) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"TftpServer1", L"old");
    addQuietly({store});
    EXPECT_FALSE(manager.getValueFromStores(L"TFTPPrimaryServer", value, storeName, false));
    EXPECT_EQ(storeName, L"no store");
    EXPECT_TRUE(manager.getValueFromStores(L"TftpServer1", value, storeName, false));
    EXPECT_EQ(value, L"old");
    EXPECT_EQ(storeName, L"Server");
}

TEST_F(Lookup, NamesTheStoreInWideText) {
    const auto store = makeReadOnly("Gr\xc3\xbc\xc3\x9f"
                                    "e",
                                    100);
    store->with(L"domain", L"text");
    addQuietly({store});
    EXPECT_TRUE(lookUp(L"domain"));
    EXPECT_EQ(storeName, L"Gr\u00fc\u00df"
                         L"e");
}

TEST_F(Lookup, ShortFormGivesTheSameAnswer) {
    const auto store = makeReadOnly("Server", 100);
    store->with(L"TftpServer1", L"old");
    addQuietly({store});
    EXPECT_TRUE(manager.getValue(L"TFTPPrimaryServer", value, false));
    EXPECT_EQ(value, L"old");
}

TEST_F(Lookup, StoreMayLookUpAndChangeTheChainFromInside) {
    const auto front = makeReadOnly("Front", 100);
    const auto back = makeReadOnly("Back", 200);
    back->with(L"domain", L"second");
    addQuietly({front, back});
    front->onGetValue([&](const std::wstring& key) {
        if (key == L"domain") {
            EXPECT_EQ(valueOf(L"other"), L"(none)");
            manager.removeStoreWithSameName("Front");
            manager.addStore(makeReadOnly("New", 50));
        }
    });
    EXPECT_TRUE(lookUp(L"domain"));
    EXPECT_EQ(value, L"second");
    EXPECT_THAT(chainNames(), ElementsAre("New", "Back"));
}

}  // namespace
