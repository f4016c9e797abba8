#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "ChainFixture.h"
#include "ConfigStoreConstants.h"
#include "chain/CacheFiles.h"
#include "stores/InMemoryConfigStore.h"
#include "support/StrangersLink.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Membership : public ChainFixture {
protected:
    void writeCacheFile(const std::string& name) { world.directory().write("config/Cache/" + name, "<config/>"); }
    bool cacheFileExists(const std::string& name) { return world.directory().exists("config/Cache/" + name); }
};

TEST_F(Membership, RemovalReportsTheKeysWithoutTheStore) {
    const auto front = makeReadOnly("Front", 100);
    const auto back = makeReadOnly("Back", 200);
    front->with(L"a", L"front").with(L"b", L"front");
    back->with(L"a", L"back");
    addQuietly({front, back});
    EXPECT_TRUE(manager.removeStoreWithSameName("FRONT"));
    EXPECT_THAT(chainNames(), ElementsAre("Back"));
    EXPECT_THAT(observer.course(), ElementsAre("~a=back", "~b-", "a!", "b!"));
}

TEST_F(Membership, RemovalOfAnUnknownNameOrInAnEmptyChainSaysFalse) {
    EXPECT_FALSE(manager.removeStoreWithSameName("Server"));
    addQuietly({makeReadOnly("Server", 100)});
    EXPECT_FALSE(manager.removeStoreWithSameName("Other"));
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Membership, RemovalOfACachedStoreTakesItsFileButNotItsCopyInTheChain) {
    writeCacheFile("cachedTFTPConfigStore.xml");
    const auto remote = makeReadOnly("TFTPConfigStore", 200);
    remote->remote().cached().with(L"a", L"1");
    addQuietly({remote, makeReadOnly("cachedTFTPConfigStore.xml", 400)});
    observer.onReport([&](const fakes::ManagerReport&) {
        EXPECT_FALSE(cacheFileExists("cachedTFTPConfigStore.xml"));
        EXPECT_FALSE(manager.containsStore("TFTPConfigStore"));
    });
    EXPECT_TRUE(manager.removeStoreWithSameName("TFTPConfigStore"));
    EXPECT_THAT(observer.course(), ElementsAre("~a-", "a!"));
    EXPECT_THAT(chainNames(), ElementsAre("cachedTFTPConfigStore.xml"));
    EXPECT_TRUE(manager.removeStoreWithSameName("cachedTFTPConfigStore.xml"));
    EXPECT_THAT(chainNames(), IsEmpty());
}

TEST_F(Membership, RemovalUnderAnotherCaseTakesTheFileOfTheStoresOwnSpelling) {
    writeCacheFile("cachedServer.xml");
    const auto store = makeReadOnly("Server", 200);
    store->cached();
    addQuietly({store});
    EXPECT_TRUE(manager.removeStoreWithSameName("sERVER"));
    EXPECT_FALSE(cacheFileExists("cachedServer.xml"));
}

TEST_F(Membership, RemovalOfAStoreThatIsNotCachedLeavesAFileAlone) {
    writeCacheFile("cachedServer.xml");
    addQuietly({makeReadOnly("Server", 200)});
    EXPECT_TRUE(manager.removeStoreWithSameName("Server"));
    EXPECT_TRUE(cacheFileExists("cachedServer.xml"));
}

TEST_F(Membership, RemovalOfTheStoreMadeFromALinkTakesItsFile) {
    writeCacheFile("cachedUrlProvisioningConfigStore.xml");
    addQuietly({makeReadOnly("UrlProvisioningConfigStore", 499)});
    EXPECT_TRUE(manager.removeStoreWithSameName("urlprovisioningconfigstore"));
    EXPECT_FALSE(cacheFileExists("cachedUrlProvisioningConfigStore.xml"));
}

TEST_F(Membership, RemovalOfACacheFileSaysWhetherItWasThere) {
    writeCacheFile("cachedServer.xml");
    EXPECT_TRUE(manager.removeCacheFile("cachedServer.xml"));
    EXPECT_FALSE(cacheFileExists("cachedServer.xml"));
    EXPECT_FALSE(manager.removeCacheFile("cachedServer.xml"));
}

TEST_F(Membership, RemovalOfACacheFileThatStaysStillSaysTrue) {
    // A folder is there, and cannot be removed as a file.
    world.directory().write("config/Cache/cachedFolder.xml/inner", "text");
    EXPECT_TRUE(manager.removeCacheFile("cachedFolder.xml"));
    EXPECT_TRUE(cacheFileExists("cachedFolder.xml"));
}

TEST_F(Membership, RemovalOfAllCopiesTakesStoresAndFiles) {
    writeCacheFile("cachedA.xml");
    writeCacheFile("cachedB.XML");
    writeCacheFile("notes.txt");
    const auto copy = makeReadOnly("cachedA.xml", 400);
    copy->with(L"a", L"copy");
    addQuietly({copy, makeReadOnly("Server", 200)});
    manager.removeAllCachedConfigStores();
    EXPECT_THAT(chainNames(), ElementsAre("Server"));
    EXPECT_THAT(observer.course(), ElementsAre("~a-", "a!"));
    EXPECT_FALSE(cacheFileExists("cachedA.xml"));
    EXPECT_FALSE(cacheFileExists("cachedB.XML"));
    EXPECT_TRUE(cacheFileExists("notes.txt"));
}

TEST_F(Membership, RemovalOfAllCopiesTakesEachStoreThenItsFileAndLeavesTheChainFreeInBetween) {
    std::vector<std::size_t> copiesLeft;
    for (const char* const name : {"cachedA.xml", "cachedB.xml"}) {
        writeCacheFile(name);
        auto copy = makeReadOnly(name, 400);
        // A store that has left goes as soon as its thread no longer has the chain.
        copy->onDestruction([&, name] {
            EXPECT_TRUE(cacheFileExists(name));
            copiesLeft.push_back(chainNames().size());
        });
        manager.addStore(std::move(copy));
    }
    manager.removeAllCachedConfigStores();
    EXPECT_THAT(copiesLeft, ElementsAre(1, 0));
    EXPECT_FALSE(cacheFileExists("cachedA.xml"));
    EXPECT_FALSE(cacheFileExists("cachedB.xml"));
}

TEST_F(Membership, RemovalOfCopiesLeavesFilesBehindAStrangersLink) {
    for (const char* file : {"cachedA.xml", "cachedServer.xml", "report.xml"}) {
        world.directory().write(std::string("elsewhere/") + file, "text");
    }
    std::filesystem::create_directories(world.configDirectory());
    if (!support::makeStrangersLink(world.directory().path("elsewhere"), CacheFiles::directory())) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    const fakes::ScopedRecordingLog log;
    const auto server = makeReadOnly("Server", 200);
    server->cached();
    addQuietly({makeReadOnly("cachedA.xml", 400), server});
    EXPECT_TRUE(manager.removeStoreWithSameName("Server"));
    manager.removeAllCachedConfigStores();
    EXPECT_THAT(chainNames(), ElementsAre());
    for (const char* file : {"cachedA.xml", "cachedServer.xml", "report.xml"}) {
        EXPECT_TRUE(cacheFileExists(file)) << file;
    }
    const std::string text =
        "NOT removed, since somebody else has put a link in the place of the cache folder or the one around it: ";
    EXPECT_THAT(log->texts(3),
                ElementsAre(text + CacheFiles::path("cachedServer.xml"), text + CacheFiles::directory()));
}

TEST_F(Membership, RemovalOfCopiesLeavesFilesInAConfigurationFolderBehindAStrangersLink) {
    world.directory().write("elsewhere/Cache/cachedServer.xml", "text");
    std::filesystem::remove_all(world.configDirectory());
    if (!support::makeStrangersLink(world.directory().path("elsewhere"), world.configDirectory())) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    const auto server = makeReadOnly("Server", 200);
    server->cached();
    addQuietly({server});
    EXPECT_TRUE(manager.removeStoreWithSameName("Server"));
    manager.removeAllCachedConfigStores();
    EXPECT_TRUE(cacheFileExists("cachedServer.xml"));
}

TEST_F(Membership, RemovalOfAllCopiesWithoutACacheFolderDoesNothing) {
    addQuietly({makeReadOnly("cachedA.xml", 400)});
    manager.removeAllCachedConfigStores();
    EXPECT_THAT(chainNames(), ElementsAre("cachedA.xml"));
}

TEST_F(Membership, DestroyReachesEveryStoreAndRemovesNone) {
    const auto a = makeStore("A", 100);
    const auto b = makeReadOnly("B", 200);
    addQuietly({a, b});
    manager.destroy();
    EXPECT_THAT(a->calls(), ElementsAre("destroy"));
    EXPECT_THAT(b->calls(), ElementsAre("destroy"));
    EXPECT_THAT(chainNames(), ElementsAre("A", "B"));
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Membership, DestructionOfTheManagerDestroysNoStore) {
    const auto store = makeStore("A", 100);
    { ConfigStoreManager(factory).addStore(store); }
    EXPECT_THAT(store->calls(), IsEmpty());
    EXPECT_EQ(store.use_count(), 1);
}

TEST_F(Membership, ClearingRemovesWhatIsNotLocalFromTheLastToTheFirst) {
    const auto first = makeReadOnly("TFTPConfigStore", 200);
    const auto last = makeReadOnly("Other", 300);
    first->remote().with(L"a", L"first");
    last->remote().with(L"a", L"last").with(L"b", L"last");
    addQuietly({first, last});
    manager.clearConfigStores();
    EXPECT_THAT(chainNames(), IsEmpty());
    EXPECT_THAT(observer.course(), ElementsAre("~a=first", "~b-", "a!", "b!", "~a-", "a!"));
}

TEST_F(Membership, ClearingKeepsTheInMemoryStoreAndTheBootstrapStore) {
    manager.addStore(std::make_shared<InMemoryConfigStore>());
    const auto remote = makeReadOnly("TFTPConfigStore", 200);
    remote->remote();
    addQuietly({makeReadOnly("BootstrapConfigStore", 500), remote});
    manager.clearConfigStores();
    EXPECT_THAT(chainNames(), ElementsAre("BootstrapConfigStore", "InMemoryConfigStore"));
}

TEST_F(Membership, ClearingLeavesCacheFilesAlone) {
    writeCacheFile("cachedTFTPConfigStore.xml");
    const auto remote = makeReadOnly("TFTPConfigStore", 200);
    remote->remote().cached();
    addQuietly({remote});
    manager.reset();
    EXPECT_THAT(chainNames(), IsEmpty());
    EXPECT_TRUE(cacheFileExists("cachedTFTPConfigStore.xml"));
}

TEST_F(Membership, DataResetKeepsTheFourStoresOfTheInstallation) {
    writeCacheFile("cachedUrlProvisioningConfigStore.xml");
    addQuietly({makeReadOnly("UrlProvisioningConfigStore", 1), makeReadOnly("BootstrapConfigStore", 2),
                makeReadOnly("corvid-config-defaults.xml", 3), makeReadOnly("TftpOverrideConfigStore", 4)});
    manager.resetConfigData();
    EXPECT_THAT(chainNames(), ElementsAre("UrlProvisioningConfigStore", "BootstrapConfigStore",
                                          "corvid-config-defaults.xml", "TftpOverrideConfigStore"));
    EXPECT_TRUE(cacheFileExists("cachedUrlProvisioningConfigStore.xml"));
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Membership, DataResetRemovesAStoreWhoseNameDiffersInCaseOnly) {
    addQuietly({makeReadOnly("bootstrapConfigStore", 1), makeReadOnly("URLProvisioningConfigStore", 2),
                makeReadOnly("Corvid-config-defaults.xml", 3), makeReadOnly("TFTPOverrideConfigStore", 4)});
    manager.resetConfigData();
    EXPECT_THAT(chainNames(), IsEmpty());
}

TEST_F(Membership, DataResetRemovesTheUsersStoresFromTheLastToTheFirst) {
    const auto user = makeStore("LocalFileConfigStore", 100);
    const auto memory = makeStore("InMemoryConfigStore", 600);
    user->with(L"a", L"user");
    memory->with(L"a", L"memory").with(L"b", L"memory");
    addQuietly({user, memory, makeReadOnly("BootstrapConfigStore", 500)});
    manager.resetConfigData();
    EXPECT_THAT(chainNames(), ElementsAre("BootstrapConfigStore"));
    EXPECT_THAT(observer.course(), ElementsAre("~a=user", "~b-", "a!", "b!", "~a-", "a!"));
}

TEST_F(Membership, DataResetDeletesTheFilesOfCachedStores) {
    writeCacheFile("cachedTFTPConfigStore.xml");
    const auto remote = makeReadOnly("TFTPConfigStore", 200);
    remote->remote().cached();
    addQuietly({remote});
    manager.resetConfigData();
    EXPECT_FALSE(cacheFileExists("cachedTFTPConfigStore.xml"));
}

TEST_F(Membership, WaitingForAllAsksEachStoreInTurn) {
    const auto a = makeReadOnly("A", 100);
    const auto b = makeReadOnly("B", 200);
    addQuietly({a, b});
    EXPECT_TRUE(manager.waitForStoresReady());
    EXPECT_EQ(a->count("wait"), 1u);
    EXPECT_EQ(b->count("wait"), 1u);
}

TEST_F(Membership, WaitingForAllEndsWithTheFirstThatIsNotReady) {
    const auto a = makeReadOnly("A", 100);
    const auto b = makeReadOnly("B", 200);
    a->neverReady();
    addQuietly({a, b});
    EXPECT_FALSE(manager.waitForStoresReady());
    EXPECT_EQ(b->count("wait"), 0u);
}

TEST_F(Membership, WaitingForAllOfAnEmptyChainIsOver) { EXPECT_TRUE(manager.waitForStoresReady()); }

TEST_F(Membership, WaitingForOneAsksThatStoreOnly) {
    const auto a = makeReadOnly("A", 100);
    const auto b = makeReadOnly("B", 200);
    addQuietly({a, b});
    manager.waitForStoreReady("b");
    EXPECT_EQ(a->count("wait"), 0u);
    EXPECT_EQ(b->count("wait"), 1u);
}

TEST_F(Membership, WaitingForAnUnknownStoreReturnsAtOnce) {
    const auto a = makeReadOnly("A", 100);
    addQuietly({a});
    manager.waitForStoreReady("B");
    EXPECT_THAT(a->calls(), IsEmpty());
}

TEST_F(Membership, DestroysTheStoresInTheOrderOfTheChain) {
    std::vector<std::string> destroyed;
    const auto named = [&](const std::string& name, std::int32_t priority) {
        const auto store = makeStore(name, priority);
        store->onDestroy([&destroyed, name] { destroyed.push_back(name); });
        return store;
    };
    addQuietly({named("Last", 300), named("First", 100), named("Middle", 200)});
    manager.destroy();
    EXPECT_THAT(destroyed, ElementsAre("First", "Middle", "Last"));
}

TEST_F(Membership, FindsAStoreByItsNameInAnyCase) {
    const auto a = makeStore("Server", 100);
    addQuietly({a});
    EXPECT_EQ(manager.findStore("sERVER"), a);
    EXPECT_EQ(manager.findStore("Other"), nullptr);
}

}  // namespace
