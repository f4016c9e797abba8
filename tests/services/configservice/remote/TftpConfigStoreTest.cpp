#include "remote/TftpConfigStore.h"

#include <filesystem>

#include "LockRanks.h"
#include "RemoteFixture.h"
#include "support/StrangersLink.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using RemoteStore = RemoteFixture;

const std::string NOT_FINISHED =
    "getValue: TftpConfigStore::getValue() currentQueryState is not FINISHED - Current State: 0";

}  // namespace

TEST_F(RemoteStore, GivesItsConstantAnswers) {
    const auto store = make();
    EXPECT_EQ(store->getName(), "TFTPConfigStore");
    EXPECT_EQ(store->getPriority(), 40);
    EXPECT_EQ(store->getCachedPriority(), 240);
    EXPECT_TRUE(store->isReadOnly());
    EXPECT_FALSE(store->isLocal());
    EXPECT_TRUE(store->shouldCacheConfigStore());
    EXPECT_FALSE(store->isTftpConfigured());
}

TEST_F(RemoteStore, KeepsTheNameAndThePriorityThatItIsGiven) {
    const auto store = std::make_shared<TftpConfigStore>(factory, "Other", 7, L"", L"", L"", L"");
    EXPECT_EQ(store->getName(), "Other");
    EXPECT_EQ(store->getPriority(), 7);
    EXPECT_EQ(store->getCachedPriority(), 207);
}

TEST_F(RemoteStore, RemovesTheCopyOfAnEarlierVersion) {
    world.directory().write("config/corvid-config.xml", "old");
    make();
    EXPECT_FALSE(world.directory().exists("config/corvid-config.xml"));
    EXPECT_THAT(lines(4), ElementsAre("removeLegacyTftpCachedFile: Removing file cached file : [" +
                                      world.configDirectory() + "/corvid-config.xml]"));
}

TEST_F(RemoteStore, LeavesTheCopyOfAnEarlierVersionBehindAStrangersLink) {
    world.directory().write("elsewhere/corvid-config.xml", "theirs");
    std::filesystem::remove_all(world.configDirectory());
    if (!support::makeStrangersLink(world.directory().path("elsewhere"), world.configDirectory())) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    make();
    EXPECT_TRUE(world.directory().exists("elsewhere/corvid-config.xml"));
    EXPECT_THAT(lines(3), ElementsAre("removeLegacyTftpCachedFile: NOT removed, since somebody else has put a link in "
                                      "the place of its folder: [" +
                                      world.configDirectory() + "/corvid-config.xml]"));
}

TEST_F(RemoteStore, SaysThatThereIsNoCopyOfAnEarlierVersion) {
    make();
    EXPECT_THAT(lines(4), ElementsAre("removeLegacyTftpCachedFile: Failed to remove legacy cached file: [" +
                                      world.configDirectory() + "/corvid-config.xml] file does not exist"));
}

TEST_F(RemoteStore, GoesOnWithACopyOfAnEarlierVersionThatCannotBeRemoved) {
    world.directory().write("config/corvid-config.xml/a file", "within a folder");
    const auto store = make();
    EXPECT_TRUE(world.directory().exists("config/corvid-config.xml/a file"));
    EXPECT_THAT(lines(4), ElementsAre("removeLegacyTftpCachedFile: Removing file cached file : [" +
                                      world.configDirectory() + "/corvid-config.xml]"));
    holdVersion(L"10");
    store->attemptDownloadFromCachedAddress();
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_EQ(valueOf(store, L"key"), L"value");
}

TEST_F(RemoteStore, AnswersBeforeADownloadWithALine) {
    const auto store = make();
    log->clear();
    std::wstring value = L"before";
    EXPECT_FALSE(store->getValue(L"key", value));
    EXPECT_EQ(value, L"");
    EXPECT_THAT(lines(4), ElementsAre(NOT_FINISHED));
}

TEST_F(RemoteStore, AnswersBeforeADownloadWithoutWaitingForOne) {
    const auto store = make();
    store->storeValue(L"key", L"value");
    log->clear();
    EXPECT_TRUE(fakes::endsWithoutWaitingFor(*store, [&] { EXPECT_EQ(valueOf(store, L"key"), L"value"); }));
    EXPECT_FALSE(isReady(store));
    EXPECT_THAT(lines(5), IsEmpty());
}

TEST_F(RemoteStore, HoldsWhatIsStoredWithoutRegardToCaseAlthoughItIsReadOnly) {
    const auto store = make();
    EXPECT_TRUE(store->isReadOnly());
    EXPECT_TRUE(store->storeValue(L"Key", L"value"));
    EXPECT_TRUE(store->storeValue(L"a", L""));
    std::wstring value;
    EXPECT_TRUE(store->getValue(L"kEY", value));
    EXPECT_EQ(value, L"value");
    EXPECT_TRUE(store->getValue(L"a", value));
    EXPECT_EQ(value, L"");
    EXPECT_THAT(store->getKeys(), ElementsAre(L"a", L"Key"));
}

TEST_F(RemoteStore, RemovesAKey) {
    const auto store = make();
    store->storeValue(L"key", L"value");
    EXPECT_TRUE(store->removeValue(L"KEY"));
    EXPECT_FALSE(store->removeValue(L"key"));
    EXPECT_THAT(store->getKeys(), IsEmpty());
}

TEST_F(RemoteStore, NeverAnswersForTheCheckOfCertificates) {
    const auto store = make();
    store->storeValue(L"CertificateValidationEnabled", L"false");
    std::wstring value = L"before";
    EXPECT_FALSE(store->getValue(L"certificatevalidationenabled", value));
    EXPECT_EQ(value, L"");
    EXPECT_THAT(store->getKeys(), ElementsAre(L"CertificateValidationEnabled"));
}

TEST_F(RemoteStore, ReadsPeerToPeerCallingAsOffInFipsMode) {
    const auto store = make();
    std::wstring value;
    world.setFips(true);
    EXPECT_FALSE(store->getValue(L"telephony_p2p_enabled", value));
    store->storeValue(L"Telephony_P2P_Enabled", L"true");
    EXPECT_TRUE(store->getValue(L"telephony_p2p_enabled", value));
    EXPECT_EQ(value, L"false");
}

TEST_F(RemoteStore, ReadsDownloadedPeerToPeerCallingAsOffInFipsModeOnly) {
    const auto store = makeObserved();
    store->attemptDownloadFromCachedAddress();
    transport->deliver(serverFile({{"Telephony_P2P_Enabled", "true"}}));
    EXPECT_EQ(valueOf(store, L"telephony_p2p_enabled"), L"true");
    world.setFips(true);
    EXPECT_EQ(valueOf(store, L"telephony_p2p_enabled"), L"false");
    world.setFips(false);
    EXPECT_EQ(valueOf(store, L"telephony_p2p_enabled"), L"true");
}

TEST_F(RemoteStore, KeepsItsValuesOnRemoveAll) {
    const auto store = make();
    store->storeValue(L"key", L"value");
    store->removeAllValues();
    EXPECT_THAT(store->getKeys(), ElementsAre(L"key"));
    EXPECT_THAT(lines(3), ElementsAre("removeAllValues: TftpConfigStore::removeAllValues() should not be called on "
                                      "read only store"));
}

TEST_F(RemoteStore, PersistsNothing) {
    const auto store = make();
    store->persistValues();
    EXPECT_TRUE(std::filesystem::is_empty(world.configDirectory()));
    EXPECT_THAT(lines(3), ElementsAre("persistValues: TftpConfigStore::persistValues() ignoring for TftpConfigStore"));
}

TEST_F(RemoteStore, KeepsItsValuesOnDestroy) {
    const auto store = make();
    store->storeValue(L"key", L"value");
    store->destroy();
    EXPECT_THAT(store->getKeys(), ElementsAre(L"key"));
}

TEST_F(RemoteStore, ForgetsItsAddresses) {
    const auto store = make();
    EXPECT_EQ(store->lastServerDetails(), (TftpServerDetails{L"one", L"two", L"three", L"file.xml"}));
    store->storeValue(L"key", L"value");
    store->clearCachedAddresses();
    EXPECT_EQ(store->lastServerDetails(), TftpServerDetails());
    EXPECT_THAT(store->getKeys(), ElementsAre(L"key"));
}

TEST_F(RemoteStore, IgnoresNullAndUnknownObservers) {
    const auto store = make();
    store->addObserver(nullptr);
    store->removeObserver(nullptr);
    store->removeObserver(&observer);
    store->fireOnConfigDownloaded({L"key"}, store);
    EXPECT_THAT(observer.reports, IsEmpty());
}

TEST_F(RemoteStore, LosesAnObserverWithoutAWaitWhereNobodyIsTold) {
    const auto store = make();
    store->addObserver(&observer);
    // Whoever holds the chain must not wait for a report, which takes the chain.
    tessel::Mutex chain{LockRanks::CHAIN};
    const tessel::ScopedLock lock(chain);
    store->removeObserver(&observer);
}

TEST_F(RemoteStore, AsksTheWholeChainForAnotherComponent) {
    featureSet->holdValue(L"key", L"value");
    std::wstring value;
    std::wstring storeName;
    EXPECT_TRUE(make()->getConfigStoreValue(L"key", value, storeName, true));
    EXPECT_EQ(value, L"value");
    EXPECT_EQ(storeName, L"ScriptedStore");
}

TEST_F(RemoteStore, AsksTheWholeChainWhateverTheFlag) {
    std::wstring value;
    std::wstring storeName;
    const auto store = make();
    store->getConfigStoreValue(L"key", value, storeName, true);
    store->getConfigStoreValue(L"key", value, storeName, false);
    using Call = fakes::ScriptedFeatureSet::Call;
    EXPECT_THAT(featureSet->calls(),
                ElementsAre(Call{"getConfig", {L"key", L"false"}}, Call{"getConfig", {L"key", L"false"}}));
}

TEST_F(RemoteStore, TakesATextThatTheChainLeavesOnAMissAsAValue) {
    const auto careless = makeCareless();
    std::wstring value;
    std::wstring storeName;
    EXPECT_TRUE(makeOver(careless)->getConfigStoreValue(L"key", value, storeName, false));
    EXPECT_EQ(value, L"left");
    careless->clear();
}

TEST_F(RemoteStore, TakesNoNoticeOfWhatDoesNotConcernIt) {
    const auto store = make();
    log->clear();
    hold(three());
    store->onFireIfRequired(L"TFTPPrimaryServer");
    store->onSensitiveKeyAddedOrUpdated(L"TFTPPrimaryServer");
    EXPECT_THAT(featureSet->calls(), IsEmpty());
    EXPECT_THAT(log->lines(), IsEmpty());
    EXPECT_EQ(pool->waiting(), 0U);
}

TEST_F(RemoteStore, TakesAnEmptyValueOfTheChainAsNone) {
    featureSet->holdValue(L"key", L"");
    std::wstring value;
    std::wstring storeName;
    EXPECT_FALSE(make()->getConfigStoreValue(L"key", value, storeName, false));
}

TEST_F(RemoteStore, AsksNobodyWithoutAFeatureSet) {
    const auto bare = std::make_shared<UnifiedFactory>(nullptr, nullptr);
    std::wstring value = L"before";
    std::wstring storeName;
    EXPECT_FALSE(makeOver(bare)->getConfigStoreValue(L"key", value, storeName, false));
    makeOver(bare)->setSensitiveKeys({L"key"});
    EXPECT_THAT(lines(3), ElementsAre("getConfigStoreValue: There is no feature set, skipped: getConfigStoreValue",
                                      "setSensitiveKeys: There is no feature set, skipped: setSensitiveKeys"));
}

TEST_F(RemoteStore, MarksSensitiveKeysInTheFeatureSet) {
    make()->setSensitiveKeys({L"b", L"A"});
    using Call = fakes::ScriptedFeatureSet::Call;
    EXPECT_THAT(featureSet->calls(), ElementsAre(Call{"setKeySensitive", {L"A"}}, Call{"setKeySensitive", {L"b"}}));
}

TEST_F(RemoteStore, MarksARenamedKeyUnderBothOfItsNames) {
    using Call = fakes::ScriptedFeatureSet::Call;
    const auto store = make();
    store->setSensitiveKeys({L"vvm_mailstore_server_0"});
    store->setSensitiveKeys({L"VOICEMAILPRIMARYSERVER"});
    EXPECT_THAT(featureSet->calls(), ElementsAre(Call{"setKeySensitive", {L"vvm_mailstore_server_0"}},
                                                 Call{"setKeySensitive", {L"VoicemailPrimaryServer"}},
                                                 Call{"setKeySensitive", {L"VOICEMAILPRIMARYSERVER"}},
                                                 Call{"setKeySensitive", {L"VVM_Mailstore_Server_0"}}));
}

TEST_F(RemoteStore, LogsItsValuesWithTheSensitiveOnesMasked) {
    const auto store = make();
    store->storeValue(L"a", L"1");
    store->storeValue(L"told", L"secret");
    log->clear();
    store->logConfigMap({L"TOLD"});
    EXPECT_THAT(lines(4), ElementsAre("logConfigMap: \na: 1\ntold: VALUE_HIDDEN"));
}

TEST_F(RemoteStore, LogsNoValueThatTheFeatureSetKnowsAsSensitive) {
    featureSet->answerTo("isKeySensitive", true);
    const auto store = make();
    store->storeValue(L"known", L"secret");
    log->clear();
    store->logConfigMap({});
    EXPECT_THAT(lines(4), ElementsAre("logConfigMap: \nknown: VALUE_HIDDEN"));
}

TEST_F(RemoteStore, LogsWithoutAFeatureSet) {
    const auto store = makeOver(std::make_shared<UnifiedFactory>(nullptr, nullptr));
    store->storeValue(L"a", L"1");
    log->clear();
    store->logConfigMap({});
    EXPECT_THAT(lines(4), ElementsAre("logConfigMap: \na: 1"));
}
