#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

#include "ChainFixture.h"
#include "fakes/TemporaryDirectory.h"
#include "stores/InMemoryConfigStore.h"
#include "stores/LocalFileConfigStore.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class Writes : public ChainFixture {
protected:
    std::shared_ptr<fakes::ScriptedStore> user = makeStore("LocalFileConfigStore", 100);
    std::shared_ptr<fakes::ScriptedStore> server = makeReadOnly("Server", 200);
    std::shared_ptr<fakes::ScriptedStore> late = makeStore("Late", 300);
    std::shared_ptr<fakes::ScriptedStore> memory = makeStore("inMemoryCONFIGSTORE", 50);
};

TEST_F(Writes, GoToTheFirstWritableStoreThatIsNotInMemory) {
    const auto policy = makeReadOnly("Policy", 10);
    addQuietly({policy, memory, user, late});
    EXPECT_TRUE(manager.storeValue(L"domain", L"text"));
    EXPECT_THAT(policy->calls(), IsEmpty());
    EXPECT_THAT(memory->calls(), IsEmpty());
    EXPECT_THAT(user->calls(), ElementsAre("store domain=text"));
    EXPECT_THAT(late->calls(), IsEmpty());
}

TEST_F(Writes, PassTheRealStoreForThisRunByAndLeaveItAsItIs) {
    const auto real = std::make_shared<InMemoryConfigStore>();
    manager.addStore(real);
    manager.addStore(makeStore("Behind", 700));
    EXPECT_TRUE(manager.storeValue(L"domain", L"text"));
    EXPECT_TRUE(manager.storeValue({{L"other", L"text"}}));
    EXPECT_THAT(real->getKeys(), IsEmpty());
    EXPECT_THAT(manager.findStore("Behind")->getKeys(), ElementsAre(L"domain", L"other"));
}

TEST_F(Writes, QueueThePersistingOfTheStoreUnderItsName) {
    addQuietly({user});
    manager.storeValue(L"domain", L"text");
    EXPECT_THAT(tasks->waitingNames(), ElementsAre(PERSIST));
    EXPECT_EQ(user->count("persist"), 0u);
    tasks->runAll();
    EXPECT_EQ(user->count("persist"), 1u);
}

TEST_F(Writes, QueueThePersistingBeforeTheObserversAreTold) {
    addQuietly({user});
    std::vector<std::size_t> waiting;
    observer.onReport([&](const fakes::ManagerReport&) { waiting.push_back(tasks->waitingNames().size()); });
    manager.storeValue(L"domain", L"text");
    EXPECT_THAT(waiting, ElementsAre(1U));
    manager.storeValue({{L"a", L"1"}, {L"b", L"2"}});
    EXPECT_THAT(waiting, ElementsAre(1U, 2U, 2U));
}

TEST_F(Writes, OfABurstArePersistedByItsFirstTaskAndThoseBehindItByTheNext) {
    const fakes::TemporaryDirectory directory;
    manager.addStore(std::make_shared<LocalFileConfigStore>("LocalFileConfigStore", 20, directory.path(), "local.xml",
                                                            false, false));
    manager.storeValue(L"a", L"1");
    manager.storeValue(L"b", L"2");
    EXPECT_TRUE(tasks->runOne());
    EXPECT_THAT(directory.read("local.xml"), testing::HasSubstr("name=\"b\""));
    std::filesystem::remove(directory.path("local.xml"));
    EXPECT_TRUE(tasks->runOne());
    EXPECT_TRUE(directory.exists("local.xml")) << "what somebody has removed is written anew";
}

TEST_F(Writes, OfTheOldVoicemailKeyComeToTheUsersFileUnderItsCurrentName) {
    const fakes::TemporaryDirectory directory;
    const auto file =
        std::make_shared<LocalFileConfigStore>("LocalFileConfigStore", 20, directory.path(), "local.xml", false, false);
    manager.addStore(file);
    observer.clear();
    EXPECT_TRUE(manager.storeValue(L"vvm_Mailstore_Server_0", L"host"));
    EXPECT_THAT(file->getKeys(), ElementsAre(L"VoicemailPrimaryServer"));
    EXPECT_THAT(observer.course(), IsEmpty());
    EXPECT_EQ(valueOf(L"VoicemailPrimaryServer"), L"host");
}

TEST_F(Writes, PersistTaskKeepsTheStoreAlive) {
    addQuietly({user});
    const std::weak_ptr<fakes::ScriptedStore> watched = user;
    manager.storeValue(L"domain", L"text");
    manager.removeStoreWithSameName("LocalFileConfigStore");
    user.reset();
    EXPECT_FALSE(watched.expired());
    tasks->runAll();
    EXPECT_TRUE(watched.expired());
}

TEST_F(Writes, ReportTheWholeStateOfTheKeyAtOnce) {
    server->with(L"domain", L"server");
    addQuietly({user, server});
    manager.storeValue(L"domain", L"written");
    fakes::ManagerReport expected;
    expected.key = L"domain";
    expected.value = L"written";
    expected.originalValue = L"server";
    expected.isOverridden = true;
    expected.isDefined = true;
    expected.valueStoreName = L"LocalFileConfigStore";
    expected.originalValueStoreName = L"Server";
    EXPECT_THAT(observer.reports(), ElementsAre(expected));
}

TEST_F(Writes, BehindAReadOnlyValueReportThatValueAndAreStoredAllTheSame) {
    const auto policy = makeReadOnly("Policy", 10);
    policy->with(L"domain", L"policy");
    addQuietly({policy, user});
    EXPECT_TRUE(manager.storeValue(L"domain", L"written"));
    fakes::ManagerReport expected;
    expected.key = L"domain";
    expected.value = L"policy";
    expected.originalValue = L"policy";
    expected.isDefined = true;
    expected.valueStoreName = L"Policy";
    expected.originalValueStoreName = L"Policy";
    EXPECT_THAT(observer.reports(), ElementsAre(expected));
    std::wstring stored;
    EXPECT_TRUE(user->getValue(L"domain", stored));
    EXPECT_EQ(stored, L"written");
}

TEST_F(Writes, ThatAreRefusedArePersistedAndReportedAllTheSame) {
    user->refusing(L"domain");
    addQuietly({user, late});
    EXPECT_FALSE(manager.storeValue(L"domain", L"text"));
    EXPECT_THAT(tasks->waitingNames(), ElementsAre(PERSIST));
    EXPECT_THAT(observer.course(), ElementsAre("domain-"));
    EXPECT_THAT(late->calls(), IsEmpty());
}

TEST_F(Writes, WithoutAWritableStoreDoNothing) {
    addQuietly({server});
    EXPECT_FALSE(manager.storeValue(L"domain", L"text"));
    EXPECT_THAT(observer.reports(), IsEmpty());
    EXPECT_THAT(tasks->waitingNames(), IsEmpty());
    EXPECT_THAT(server->calls(), IsEmpty());
}

TEST_F(Writes, WithTheInMemoryStoreAloneDoNothing) {
    addQuietly({memory, server});
    EXPECT_FALSE(manager.storeValue(L"domain", L"text"));
    EXPECT_FALSE(manager.storeValue({{L"domain", L"text"}}));
    EXPECT_THAT(observer.reports(), IsEmpty());
    EXPECT_THAT(memory->calls(), IsEmpty());
    EXPECT_THAT(tasks->waitingNames(), IsEmpty());
}

TEST_F(Writes, OfAMapGoToEveryWritableStoreThatIsNotInMemory) {
    addQuietly({memory, user, server, late});
    EXPECT_TRUE(manager.storeValue({{L"a", L"1"}, {L"b", L"2"}}));
    EXPECT_THAT(memory->calls(), IsEmpty());
    EXPECT_THAT(user->calls(), ElementsAre("store a=1", "store b=2"));
    EXPECT_THAT(server->calls(), IsEmpty());
    EXPECT_THAT(late->calls(), ElementsAre("store a=1", "store b=2"));
}

TEST_F(Writes, OfAMapQueueOnePersistingForEachStore) {
    addQuietly({user, late});
    manager.storeValue({{L"a", L"1"}, {L"b", L"2"}});
    EXPECT_THAT(tasks->waitingNames(), ElementsAre(PERSIST, PERSIST));
    tasks->runAll();
    EXPECT_EQ(user->count("persist"), 1u);
    EXPECT_EQ(late->count("persist"), 1u);
}

TEST_F(Writes, OfAMapReportEveryKeyForEachStore) {
    addQuietly({user, late});
    manager.storeValue({{L"a", L"1"}, {L"b", L"2"}});
    EXPECT_THAT(observer.course(), ElementsAre("a=1", "b=2", "a=1", "b=2"));
}

TEST_F(Writes, OfAMapKeepKeysApartThatDifferInCase) {
    addQuietly({user});
    manager.storeValue(std::map<std::wstring, std::wstring>{{L"KEY", L"1"}, {L"key", L"2"}});
    EXPECT_THAT(user->calls(), ElementsAre("store KEY=1", "store key=2"));
    EXPECT_THAT(observer.course(), ElementsAre("KEY=2", "key=2"));
}

TEST_F(Writes, OfAMapLogARefusalByTheFirstCharacterOfTheKey) {
    const fakes::ScopedRecordingLog log(3);
    user->refusing(L"password");
    addQuietly({user});
    EXPECT_TRUE(manager.storeValue({{L"password", L"secret"}, {L"user", L"me"}}));
    EXPECT_THAT(log->lines(), ElementsAre(fakes::RecordingLogSink::Line{3, "ConfigStoreManager", "storeValue",
                                                                        "Unable to store the value with key: p"}));
    EXPECT_EQ(user->count("store user=me"), 1u);
    EXPECT_THAT(tasks->waitingNames(), ElementsAre(PERSIST));
    EXPECT_THAT(observer.course(), ElementsAre("password-", "user=me"));
}

TEST_F(Writes, OfAMapSurviveARefusedEmptyKey) {
    const fakes::ScopedRecordingLog log(3);
    user->refusing();
    addQuietly({user});
    EXPECT_TRUE(manager.storeValue(std::map<std::wstring, std::wstring>{{L"", L"text"}}));
    EXPECT_THAT(log->texts(3), ElementsAre("Unable to store the value with key: "));
}

TEST_F(Writes, OfAnEmptyMapStillPersistAndSayThatAStoreWasReached) {
    addQuietly({user});
    EXPECT_TRUE(manager.storeValue(std::map<std::wstring, std::wstring>{}));
    EXPECT_THAT(tasks->waitingNames(), ElementsAre(PERSIST));
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Writes, OfAMapWithoutAWritableStoreSayFalse) {
    addQuietly({server});
    EXPECT_FALSE(manager.storeValue({{L"a", L"1"}}));
    EXPECT_THAT(observer.reports(), IsEmpty());
}

TEST_F(Writes, InMemoryGoToTheInMemoryStoreAndMakeNoTask) {
    addQuietly({memory, user});
    EXPECT_TRUE(manager.storeInMemoryValue(L"domain", L"text"));
    EXPECT_THAT(memory->calls(), ElementsAre("store domain=text"));
    EXPECT_THAT(user->calls(), IsEmpty());
    EXPECT_THAT(tasks->waitingNames(), IsEmpty());
    EXPECT_THAT(observer.course(), ElementsAre("domain=text"));
}

TEST_F(Writes, InMemoryThatAreRefusedAreReportedAllTheSame) {
    memory->refusing();
    addQuietly({memory});
    EXPECT_FALSE(manager.storeInMemoryValue(L"domain", L"text"));
    EXPECT_THAT(observer.course(), ElementsAre("domain-"));
}

TEST_F(Writes, InMemoryWithoutThatStoreDoNothing) {
    addQuietly({user});
    EXPECT_FALSE(manager.storeInMemoryValue(L"domain", L"text"));
    EXPECT_THAT(observer.reports(), IsEmpty());
    EXPECT_THAT(user->calls(), IsEmpty());
}

TEST_F(Writes, InMemoryReachTheRealStore) {
    manager.addStore(std::make_shared<InMemoryConfigStore>());
    EXPECT_TRUE(manager.storeInMemoryValue(L"domain", L"text"));
    EXPECT_EQ(valueOf(L"domain"), L"text");
}

TEST_F(Writes, KnowTheInMemoryStoreByItsNameInAnyCase) {
    EXPECT_TRUE(ConfigStoreManager::isInMemoryConfigStore("InMemoryConfigStore"));
    EXPECT_TRUE(ConfigStoreManager::isInMemoryConfigStore("INMEMORYCONFIGSTORE"));
    EXPECT_FALSE(ConfigStoreManager::isInMemoryConfigStore("InMemoryConfigStore2"));
}

TEST_F(Writes, UnderAnOldNameAreStoredUnderItAndReportedUnderTheCurrentOne) {
    addQuietly({user});
    EXPECT_TRUE(manager.storeValue(L"TftpServer1", L"address"));
    EXPECT_THAT(user->calls(), ElementsAre("store TftpServer1=address"));
    EXPECT_THAT(observer.course(), ElementsAre("TFTPPrimaryServer=address"));
}

/// What is missing from the host: its factory, or the factory's queue.
class WritesWithoutAQueue : public testing::TestWithParam<std::shared_ptr<UnifiedFactory>> {};

TEST_P(WritesWithoutAQueue, AreStoredAndReportedAndTheMissingStepIsLogged) {
    const fakes::ScopedWorld world;
    const fakes::ScopedRecordingLog log(3);
    ConfigStoreManager manager(GetParam());
    fakes::RecordingManagerObserver observer;
    manager.AddObserver(&observer);
    manager.addStore(std::make_shared<fakes::ScriptedStore>("User", 100));
    EXPECT_TRUE(manager.storeValue(L"domain", L"text"));
    EXPECT_THAT(observer.course(), ElementsAre("domain=text"));
    EXPECT_THAT(log->texts(3), ElementsAre("No task dispatcher, the values are not persisted of store: User"));
    EXPECT_TRUE(manager.eraseKey(L"domain"));
}

INSTANTIATE_TEST_SUITE_P(Hosts, WritesWithoutAQueue,
                         testing::Values(nullptr, std::make_shared<UnifiedFactory>(nullptr, nullptr)));

}  // namespace
