#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChainFixture.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Erase : public ChainFixture {
protected:
    std::shared_ptr<fakes::ScriptedStore> user = makeStore("User", 100);
    std::shared_ptr<fakes::ScriptedStore> server = makeReadOnly("Server", 200);
    std::shared_ptr<fakes::ScriptedStore> memory = makeStore("InMemoryConfigStore", 600);
};

TEST_F(Erase, RemovesTheKeyFromEveryWritableStoreTheInMemoryOneIncluded) {
    user->with(L"domain", L"user");
    memory->with(L"domain", L"memory");
    addQuietly({user, memory});
    EXPECT_TRUE(manager.eraseKey(L"domain"));
    EXPECT_EQ(valueOf(L"domain"), L"(none)");
    EXPECT_THAT(tasks->waitingNames(), ElementsAre(PERSIST, PERSIST));
}

TEST_F(Erase, LeavesReadOnlyStoresAlone) {
    user->with(L"domain", L"user");
    server->with(L"domain", L"server");
    addQuietly({user, server});
    EXPECT_TRUE(manager.eraseKey(L"domain"));
    EXPECT_THAT(server->calls(), IsEmpty());
    EXPECT_THAT(observer.course(), ElementsAre("domain=server"));
}

TEST_F(Erase, ReportsOnceAfterAllStores) {
    user->with(L"domain", L"user");
    memory->with(L"domain", L"memory");
    addQuietly({user, memory});
    manager.eraseKey(L"domain");
    EXPECT_THAT(observer.course(), ElementsAre("domain-"));
}

TEST_F(Erase, OfAKeyThatNoWritableStoreHoldsSaysFalseAndNothingElse) {
    server->with(L"domain", L"server");
    addQuietly({user, server});
    EXPECT_FALSE(manager.eraseKey(L"domain"));
    EXPECT_THAT(observer.reports(), IsEmpty());
    EXPECT_THAT(tasks->waitingNames(), IsEmpty());
}

TEST_F(Erase, OfAnOldNameRemovesTheCurrentOneToo) {
    user->with(L"TftpServer1", L"old").with(L"TFTPPrimaryServer", L"current");
    addQuietly({user});
    EXPECT_TRUE(manager.eraseKey(L"TftpServer1"));
    EXPECT_THAT(user->getKeys(), IsEmpty());
    EXPECT_THAT(user->calls(), ElementsAre("remove TftpServer1", "remove TFTPPrimaryServer"));
    EXPECT_THAT(observer.course(), ElementsAre("TFTPPrimaryServer-"));
}

TEST_F(Erase, OfACurrentNameRemovesTheOldOneToo) {
    user->with(L"TftpServer1", L"old").with(L"TFTPPrimaryServer", L"current");
    addQuietly({user});
    EXPECT_TRUE(manager.eraseKey(L"TFTPPrimaryServer"));
    EXPECT_THAT(user->getKeys(), IsEmpty());
    EXPECT_THAT(user->calls(), ElementsAre("remove TFTPPrimaryServer", "remove TftpServer1"));
    EXPECT_THAT(observer.course(), ElementsAre("TFTPPrimaryServer-"));
}

TEST_F(Erase, QueuesOnePersistingForEachRemoval) {
    user->with(L"TftpServer1", L"old").with(L"TFTPPrimaryServer", L"current");
    addQuietly({user});
    manager.eraseKey(L"TftpServer1");
    EXPECT_THAT(tasks->waitingNames(), ElementsAre(PERSIST, PERSIST));
    tasks->runAll();
    EXPECT_EQ(user->count("persist"), 2u);
}

TEST_F(Erase, QueuesNothingForAStoreThatHadNothing) {
    memory->with(L"domain", L"memory");
    addQuietly({user, memory});
    manager.eraseKey(L"domain");
    tasks->runAll();
    EXPECT_EQ(user->count("persist"), 0u);
    EXPECT_EQ(memory->count("persist"), 1u);
}

TEST_F(Erase, OfAnOldNameSaysNothingWhileTheCurrentOneHasAReadOnlyValue) {
    user->with(L"TftpServer1", L"old");
    server->with(L"TFTPPrimaryServer", L"server");
    addQuietly({user, server});
    EXPECT_TRUE(manager.eraseKey(L"TftpServer1"));
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Erase, ResetsTheLatchOfLinks) {
    user->with(L"AllowUrlProvisioning", L"False");
    addQuietly({user});
    EXPECT_TRUE(manager.resetAllowUriProvisioningData());
    EXPECT_THAT(observer.course(), ElementsAre("AllowUrlProvisioning-"));
    EXPECT_FALSE(manager.resetAllowUriProvisioningData());
}

}  // namespace
