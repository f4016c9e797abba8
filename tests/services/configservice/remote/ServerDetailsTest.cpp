#include "RemoteFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// What the store makes of a change that the chain reports.
class ServerDetailsChange : public RemoteFixture {
protected:
    /// A store that has downloaded from its first server.
    std::shared_ptr<TftpConfigStore> makeAfterSuccess() {
        const auto store = makeObserved();
        hold(three());
        store->attemptDownloadFromCachedAddress();
        transport->deliver(serverFile({{"key", "value"}}));
        log->clear();
        return store;
    }
};

/// Runs each function at once, on the caller's thread.
class PoolInPlace : public platform::ThreadPool {
public:
    bool run(const boost::function<void()>& function, const std::string&) override {
        function();
        return true;
    }
};

const std::string NO_SUCCESS_YET =
    "shouldAttemptDownload: Allowing download. Reason: There has not already been a successful tftp file download.";

}  // namespace

TEST_F(ServerDetailsChange, StartsADownloadOnThePool) {
    const auto store = makeObserved({});
    announce(*store, {L"one", L"two", L"", L"file.xml"});
    EXPECT_TRUE(store->isTftpConfigured());
    EXPECT_EQ(store->lastServerDetails(), (TftpServerDetails{L"one", L"two", L"", L"file.xml"}));
    EXPECT_THAT(lines(4), ElementsAre(NO_SUCCESS_YET));
    EXPECT_THAT(pool->allNames(), ElementsAre("processTftpInfoChanged task"));
    EXPECT_THAT(transport->startedUrls(), IsEmpty());
    pool->runAll();
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml"));
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
}

TEST_F(ServerDetailsChange, ReadsAllFourKeysInOrder) {
    const auto store = make({});
    announce(*store, three());
    using Call = fakes::ScriptedFeatureSet::Call;
    EXPECT_THAT(featureSet->calls(), ElementsAre(Call{"getConfig", {L"TFTPPrimaryServer", L"false"}},
                                                 Call{"getConfig", {L"TFTPBackupServer1", L"false"}},
                                                 Call{"getConfig", {L"TFTPBackupServer2", L"false"}},
                                                 Call{"getConfig", {L"configurationfile", L"false"}}));
}

TEST_F(ServerDetailsChange, IsSeenAtEachOfTheFourKeysInAnyCase) {
    for (const std::wstring key :
         {L"tftpprimaryserver", L"TFTPBACKUPSERVER1", L"TFTPBackupServer2", L"ConfigurationFile"}) {
        const auto store = make({});
        hold({L"one", L"", L"", L""});
        report(*store, key);
        EXPECT_EQ(store->lastServerDetails().server1, L"one");
    }
    EXPECT_EQ(pool->waiting(), 4U);
}

TEST_F(ServerDetailsChange, OfAnotherKeyIsIgnored) {
    const auto store = make({});
    hold(three());
    report(*store, L"TFTPBackupServer3");
    EXPECT_THAT(featureSet->calls(), IsEmpty());
    EXPECT_EQ(store->lastServerDetails(), TftpServerDetails());
}

TEST_F(ServerDetailsChange, ReportedByTheStoreItselfIsIgnored) {
    const auto store = make({});
    hold(three());
    report(*store, L"TFTPPrimaryServer", L"tftpconfigSTORE");
    EXPECT_THAT(featureSet->calls(), IsEmpty());
    EXPECT_FALSE(store->isTftpConfigured());
}

TEST_F(ServerDetailsChange, ThatTheStoreItselfHeldBeforeIsJudged) {
    const auto store = makeObserved({});
    hold(three());
    report(*store, L"TFTPPrimaryServer", L"LocalFileConfigStore", L"TFTPConfigStore");
    EXPECT_EQ(store->lastServerDetails(), three());
    EXPECT_EQ(pool->waiting(), 1U);
}

TEST_F(ServerDetailsChange, ReportedByAStoreOfAnotherNameIsIgnoredByThatNameAlone) {
    const auto store = std::make_shared<TftpConfigStore>(factory, "Other", 7, L"", L"", L"", L"");
    hold(three());
    report(*store, L"TFTPPrimaryServer", L"OTHER");
    EXPECT_FALSE(store->isTftpConfigured());
    report(*store, L"TFTPPrimaryServer", L"TFTPConfigStore");
    EXPECT_TRUE(store->isTftpConfigured());
    EXPECT_EQ(pool->waiting(), 1U);
}

TEST_F(ServerDetailsChange, ReportedSilentlyStartsADownloadAsWell) {
    const auto store = makeObserved({});
    hold(three());
    report(*store, L"TFTPPrimaryServer", L"LocalFileConfigStore", L"", true);
    pool->runAll();
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml"));
}

TEST_F(ServerDetailsChange, ToTheSameDetailsDoesNothingAtAll) {
    const auto store = makeAfterSuccess();
    EXPECT_EQ(store->lastSuccessfulServer(), L"one");
    announce(*store, three());
    EXPECT_THAT(log->lines(), IsEmpty());
    EXPECT_EQ(pool->waiting(), 0U);
    EXPECT_TRUE(isReady(store));
}

TEST_F(ServerDetailsChange, WithAValueThatTheChainDoesNotHoldCountsAsAbsent) {
    const auto store = make({L"one", L"", L"", L"file.xml"});
    featureSet->holdValue(L"TFTPBackupServer1", L"two");
    report(*store, L"TFTPBackupServer1");
    EXPECT_EQ(store->lastServerDetails(), (TftpServerDetails{L"", L"two", L"", L"file.xml"}));
}

TEST_F(ServerDetailsChange, TakesNoDetailsFromWhatTheChainLeavesOnAMiss) {
    const auto careless = makeCareless();
    const auto store = makeOver(careless);
    report(*store, L"TFTPPrimaryServer");
    EXPECT_EQ(store->lastServerDetails(), (TftpServerDetails{L"", L"", L"", L"file.xml"}));
    careless->clear();
}

TEST_F(ServerDetailsChange, BehindTheSuccessfulServerIsRefusedButRemembered) {
    const auto store = makeAfterSuccess();
    announce(*store, {L"one", L"other", L"three", L"file.xml"});
    EXPECT_THAT(lines(4), ElementsAre("shouldAttemptDownload: Disallowing download. Reason: This tftp server 1 (one) "
                                      "address has already been used for a successful download."));
    EXPECT_EQ(pool->waiting(), 0U);
    EXPECT_TRUE(isReady(store));
    EXPECT_EQ(store->lastServerDetails().server2, L"other");
}

TEST_F(ServerDetailsChange, BehindTheSuccessfulServerIsAllowedWithANewFile) {
    const auto store = makeAfterSuccess();
    announce(*store, {L"one", L"other", L"three", L"new.xml"});
    EXPECT_THAT(lines(4),
                ElementsAre("shouldAttemptDownload: Allowing download. Reason: The server file (new.xml)  to download "
                            "is different to last server (file.xml) file already downloaded."));
    EXPECT_FALSE(isReady(store));
    pool->runAll();
    EXPECT_EQ(transport->startedUrls().back(), "http://one:6970/new.xml");
}

TEST_F(ServerDetailsChange, OfCaseAloneIsSeenAndRefused) {
    const auto store = makeAfterSuccess();
    announce(*store, {L"ONE", L"two", L"three", L"file.xml"});
    EXPECT_THAT(lines(4), ElementsAre("shouldAttemptDownload: Disallowing download. Reason: This tftp server 1 (ONE) "
                                      "address has already been used for a successful download."));
    EXPECT_EQ(store->lastServerDetails().server1, L"ONE");
}

TEST_F(ServerDetailsChange, WithAnEmptyFileKeepsTheOldName) {
    const auto store = make();
    announce(*store, {L"other", L"", L"", L""});
    EXPECT_EQ(store->lastServerDetails(), (TftpServerDetails{L"other", L"", L"", L"file.xml"}));
}

TEST_F(ServerDetailsChange, OfTheSuccessfulServerIsToldUnderDebugOnly) {
    const auto store = makeAfterSuccess();
    tessel::LogControl::setLevel(4);
    EXPECT_TRUE(store->shouldAttemptDownload(L"other", L"", L"", L""));
    EXPECT_THAT(log->lines(), IsEmpty());
    tessel::LogControl::setLevel(5);
    EXPECT_TRUE(store->shouldAttemptDownload(L"other", L"", L"", L""));
    EXPECT_THAT(lines(5), ElementsAre("shouldAttemptDownload: Allowing download. Reason: This tftp server 1 address "
                                      "(other) is different to the last successful tftp server 1 (one) already address "
                                      "used."));
}

TEST_F(ServerDetailsChange, IsJudgedWithoutChangingAnything) {
    const auto store = makeAfterSuccess();
    store->shouldAttemptDownload(L"other", L"x", L"y", L"new.xml");
    EXPECT_EQ(store->lastServerDetails(), three());
    EXPECT_EQ(store->lastSuccessfulServer(), L"one");
    EXPECT_EQ(store->queryState(), State::FINISHED);
}

TEST_F(ServerDetailsChange, ToNoServerAtAllIsActedOnOnce) {
    const auto store = makeObserved({});
    report(*store, L"TFTPPrimaryServer");
    EXPECT_THAT(lines(4), ElementsAre(NO_SUCCESS_YET));
    EXPECT_EQ(pool->runAll(), 1U);
    EXPECT_THAT(lines(3), ElementsAre("attemptTftpFileDownload: Failed to download TFTP config. No TFTP server address "
                                      "available in server queue."));
    log->clear();
    report(*store, L"TFTPPrimaryServer");
    EXPECT_THAT(log->lines(), IsEmpty());
    EXPECT_EQ(pool->waiting(), 0U);
}

TEST_F(ServerDetailsChange, LeavesAStoreReadyWhoseCycleHasEndedBeforeThePoolsCallReturns) {
    world.change([](platform::World& changed) { changed.threadPool = std::make_shared<PoolInPlace>(); });
    const auto store = makeObserved({});
    announce(*store, {});
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_TRUE(isReady(store));
}

TEST_F(ServerDetailsChange, AfterForgottenAddressesIsComparedWithNone) {
    const auto store = makeAfterSuccess();
    store->clearCachedAddresses();
    EXPECT_EQ(store->lastSuccessfulServer(), L"one");
    EXPECT_TRUE(store->isTftpConfigured());
    announce(*store, three());
    EXPECT_THAT(lines(4),
                ElementsAre("shouldAttemptDownload: Allowing download. Reason: The server file (file.xml)  to "
                            "download is different to last server () file already downloaded."));
}

TEST_F(ServerDetailsChange, AfterForgottenAddressesIsJudgedByThePositions) {
    const auto store = makeAfterSuccess();
    store->clearCachedAddresses();
    announce(*store, {L"one", L"", L"", L""});
    EXPECT_THAT(lines(4), ElementsAre("shouldAttemptDownload: Allowing download. Reason: This tftp server 1 address "
                                      "(one) is different to the last tftp server 1 () used."));
}

TEST_F(ServerDetailsChange, WithoutAFeatureSetIsPassedOver) {
    const auto store = makeOver(std::make_shared<UnifiedFactory>(dispatcher, nullptr));
    report(*store, L"TFTPPrimaryServer");
    EXPECT_THAT(lines(3),
                ElementsAre("onConfigAddedOrUpdated: There is no feature set, skipped: onConfigAddedOrUpdated"));
    EXPECT_EQ(store->lastServerDetails(), three());
    EXPECT_FALSE(store->isTftpConfigured());
}

TEST_F(ServerDetailsChange, AllowedDuringATransferCancelsItAndUsesTheNewServers) {
    const auto store = makeObserved();
    store->attemptDownloadFromCachedAddress();
    announce(*store, {L"new", L"newer", L"", L"file.xml"});
    EXPECT_EQ(transport->cancellations(), 0U);
    pool->runAll();
    EXPECT_EQ(store->queryState(), State::RESTART_PENDING);
    EXPECT_EQ(transport->cancellations(), 1U);
    EXPECT_TRUE(transport->running().front().cancelled);
    transport->fail(WAS_CANCELLED);
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml", "http://new:6970/file.xml"));
}

TEST_F(ServerDetailsChange, RefusedDuringATransferLeavesItAlone) {
    const auto store = makeAfterSuccess();
    store->attemptDownloadFromCachedAddress();
    announce(*store, {L"one", L"other", L"three", L"file.xml"});
    EXPECT_EQ(pool->runAll(), 0U);
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_EQ(transport->cancellations(), 0U);
}

TEST_F(ServerDetailsChange, ThatIsNewestWinsInWhateverOrderThePoolRuns) {
    const auto store = makeObserved({});
    announce(*store, {L"first", L"", L"", L"file.xml"});
    announce(*store, {L"second", L"", L"", L"file.xml"});
    announce(*store, {L"third", L"", L"", L"file.xml"});
    EXPECT_TRUE(pool->runOne(2));
    EXPECT_TRUE(pool->runOne(0));
    EXPECT_TRUE(pool->runOne(0));
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://first:6970/file.xml"));
    transport->fail(WAS_CANCELLED);
    EXPECT_EQ(transport->startedUrls().back(), "http://third:6970/file.xml");
}

TEST_F(ServerDetailsChange, ThatThePoolDropsIsForgotten) {
    const auto store = makeObserved({});
    world.change([](platform::World& changed) { changed.threadPool = nullptr; });
    announce(*store, {L"dropped", L"", L"", L"file.xml"});
    EXPECT_TRUE(journalOf(store).settled);
    world.change([this](platform::World& changed) { changed.threadPool = pool; });
    announce(*store, {L"taken", L"", L"", L"file.xml"});
    pool->runAll();
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://taken:6970/file.xml"));
}

TEST_F(ServerDetailsChange, KeepsTheStoreAliveUntilThePoolHasRun) {
    auto store = makeObserved({});
    announce(*store, {});
    const std::weak_ptr<TftpConfigStore> alive = store;
    store.reset();
    EXPECT_FALSE(alive.expired());
    pool->runAll();
    EXPECT_TRUE(alive.expired());
}

TEST_F(ServerDetailsChange, KnowsTheSuccessfulServerWithoutRegardToCase) {
    const auto store = makeAfterSuccess();
    EXPECT_TRUE(store->hasServerAlreadyBeenSuccessful(L"ONE"));
    EXPECT_FALSE(store->hasServerAlreadyBeenSuccessful(L"two"));
    EXPECT_FALSE(store->hasServerAlreadyBeenSuccessful(L""));
}

TEST_F(ServerDetailsChange, BeforeAnySuccessKnowsTheEmptyAddressAlone) {
    const auto store = makeObserved();
    EXPECT_TRUE(store->hasServerAlreadyBeenSuccessful(L""));
    EXPECT_FALSE(store->hasServerAlreadyBeenSuccessful(L"one"));
}
