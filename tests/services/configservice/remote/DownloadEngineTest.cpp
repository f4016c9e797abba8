#include "RemoteFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// How a cycle runs through its queue of addresses.
class DownloadEngine : public RemoteFixture {
protected:
    std::shared_ptr<TftpConfigStore> makeDownloading(const TftpServerDetails& details = three()) {
        const auto store = makeObserved(details);
        store->attemptDownloadFromCachedAddress();
        return store;
    }

    using Queue = std::deque<std::string>;
};

const std::string NO_ADDRESS =
    "attemptTftpFileDownload: Failed to download TFTP config. No TFTP server address available in server queue.";
const std::string NO_VERSION = "attemptTftpFileDownload: No attempt will be made to download TFTP config.";

}  // namespace

TEST_F(DownloadEngine, QueuesEachAddressOnceInOrder) {
    EXPECT_EQ(TftpConfigStore::getUniqueServerQueue({"a", "", "b", "a"}), (Queue{"a", "b"}));
    EXPECT_EQ(TftpConfigStore::getUniqueServerQueue({"a", "a", "a"}), (Queue{"a"}));
    EXPECT_EQ(TftpConfigStore::getUniqueServerQueue({"b", "a", "c"}), (Queue{"b", "a", "c"}));
    EXPECT_EQ(TftpConfigStore::getUniqueServerQueue({"", "", ""}), Queue{});
}

TEST_F(DownloadEngine, QueuesAddressesThatDifferInCaseTwice) {
    EXPECT_EQ(TftpConfigStore::getUniqueServerQueue({"a", "A"}), (Queue{"a", "A"}));
}

TEST_F(DownloadEngine, AsksAServerBelowVersion11ByHttp) {
    holdVersion(L"10");
    const auto store = make();
    log->clear();
    store->attemptDownloadFromCachedAddress();
    ASSERT_THAT(transport->running(), SizeIs(1));
    EXPECT_EQ(transport->running().front().url, "http://one:6970/file.xml");
    EXPECT_EQ(transport->running().front().timeoutSeconds, 3);
    EXPECT_FALSE(transport->running().front().watched);
    EXPECT_THAT(lines(4), ElementsAre("getTftpUrl: The Tftp version is less than 11.0 (10). Setting protocol to HTTP "
                                      "and request timeout to 3 seconds.",
                                      "attemptTftpFileDownload: *-----* Downloading file from: "
                                      "http://one:6970/file.xml with a timeout of 3 seconds."));
}

TEST_F(DownloadEngine, AsksAServerOfVersion11ByHttps) {
    holdVersion(L"11");
    const auto store = make();
    log->clear();
    store->attemptDownloadFromCachedAddress();
    ASSERT_THAT(transport->running(), SizeIs(1));
    EXPECT_EQ(transport->running().front().url, "https://one:6972/file.xml");
    EXPECT_EQ(transport->running().front().timeoutSeconds, 10);
    EXPECT_THAT(lines(4), ElementsAre("getTftpUrl: The Tftp version is 11.0 or greater (11). Setting protocol to HTTPS "
                                      "and request timeout to 10 seconds.",
                                      "attemptTftpFileDownload: *-----* Downloading file from: "
                                      "https://one:6972/file.xml with a timeout of 10 seconds."));
}

TEST_F(DownloadEngine, GoesBackToTheShortTimeoutForAnOlderServer) {
    const auto store = make();
    holdVersion(L"12");
    EXPECT_EQ(store->getTftpUrl("host"), "https://host:6972/file.xml");
    holdVersion(L"10.9");
    EXPECT_EQ(store->getTftpUrl("host"), "http://host:6970/file.xml");
    EXPECT_EQ(log->count(4,
                         "The Tftp version is less than 11.0 (10). Setting protocol to HTTP and request timeout to 3 "
                         "seconds."),
              1U);
}

TEST_F(DownloadEngine, GivesNoUrlWithoutAVersion) {
    const auto store = make({});
    log->clear();
    EXPECT_EQ(store->getTftpUrl("host"), "");
    EXPECT_THAT(lines(4), IsEmpty());
}

TEST_F(DownloadEngine, MayAskAnyOfTheLastServersForTheVersion) {
    transport->setAnswer([](const std::string& url) {
        return url.find("three") == std::string::npos ? "" : "<v><version>11.5</version></v>";
    });
    EXPECT_EQ(make()->getTftpUrl("elsewhere"), "https://elsewhere:6972/file.xml");
    EXPECT_THAT(transport->sentUrls(),
                ElementsAre("https://one:8443/hubm-uds/version", "https://two:8443/hubm-uds/version",
                            "https://three:8443/hubm-uds/version"));
}

TEST_F(DownloadEngine, TakesTheValuesOfTheFile) {
    const auto store = makeDownloading();
    log->clear();
    transport->deliver(serverFile({{"first", "1"}, {"Second", "2"}}));
    EXPECT_THAT(store->getKeys(), ElementsAre(L"first", L"second"));
    EXPECT_EQ(valueOf(store, L"SECOND"), L"2");
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_EQ(store->lastSuccessfulServer(), L"one");
    EXPECT_THAT(lines(4), ElementsAre("onDownloadComplete: Downloading of TFTP file complete for server one.........",
                                      "logConfigMap: \nfirst: 1\nsecond: 2",
                                      "onDownloadComplete: Config updated with TFTP server information.........##"));
    EXPECT_THAT(lines(3), IsEmpty());
}

TEST_F(DownloadEngine, ReplacesAllValues) {
    const auto store = makeDownloading();
    transport->deliver(serverFile({{"gone", "1"}, {"kept", "1"}}));
    store->attemptDownloadFromCachedAddress();
    transport->deliver(serverFile({{"kept", "2"}}));
    EXPECT_THAT(store->getKeys(), ElementsAre(L"kept"));
    EXPECT_EQ(valueOf(store, L"kept"), L"2");
}

TEST_F(DownloadEngine, AnswersFromTheFileWithoutALine) {
    const auto store = makeDownloading();
    transport->deliver(serverFile({{"key", "value"}, {"CertificateValidationEnabled", "false"}}));
    log->clear();
    EXPECT_EQ(valueOf(store, L"key"), L"value");
    EXPECT_EQ(valueOf(store, L"CertificateValidationEnabled"), L"<none>");
    EXPECT_THAT(log->lines(), IsEmpty());
}

TEST_F(DownloadEngine, GoesOnToTheNextServerAfterAFailure) {
    const auto store = makeDownloading();
    log->clear();
    transport->fail(TIMED_OUT);
    EXPECT_THAT(lines(3), ElementsAre("onDownloadComplete: Download of TFTP File failed for server one........."));
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml", "http://two:6970/file.xml"));
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_EQ(store->lastSuccessfulServer(), L"two");
    EXPECT_EQ(store->lastServerDetails().server1, L"one");
}

TEST_F(DownloadEngine, CountsTheServerThatDeliveredAtTheNextChange) {
    const auto store = makeDownloading();
    transport->fail();
    transport->deliver(serverFile({{"key", "value"}}));
    log->clear();
    announce(*store, {L"one", L"two", L"other", L"file.xml"});
    EXPECT_THAT(lines(4), ElementsAre("shouldAttemptDownload: Disallowing download. Reason: This tftp server 2 (two) "
                                      "address has already been used for a successful download."));
}

TEST_F(DownloadEngine, EndsEmptyWhenEveryServerFails) {
    const auto store = makeObserved();
    store->storeValue(L"old", L"value");
    store->attemptDownloadFromCachedAddress();
    transport->fail();
    transport->fail();
    log->clear();
    EXPECT_FALSE(isReady(store));
    transport->fail();
    EXPECT_THAT(lines(3),
                ElementsAre("onDownloadComplete: Download of TFTP File failed for server three.........", NO_ADDRESS));
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_THAT(store->getKeys(), IsEmpty());
    EXPECT_TRUE(isReady(store));
    EXPECT_THAT(observer.reports, IsEmpty());
    EXPECT_EQ(store->lastSuccessfulServer(), L"");
}

TEST_F(DownloadEngine, LosesEarlierValuesWhenEveryServerFails) {
    const auto store = makeDownloading({L"one", L"", L"", L"file.xml"});
    transport->deliver(serverFile({{"key", "value"}}));
    store->attemptDownloadFromCachedAddress();
    transport->fail();
    EXPECT_THAT(store->getKeys(), IsEmpty());
    EXPECT_EQ(store->lastSuccessfulServer(), L"one");
    EXPECT_THAT(observer.reports, SizeIs(1));
}

TEST_F(DownloadEngine, TriesAnAddressOnceInACycle) {
    makeDownloading({L"one", L"one", L"one", L"file.xml"});
    transport->fail();
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml"));
    EXPECT_THAT(transport->running(), IsEmpty());
}

TEST_F(DownloadEngine, CountsABadFileAsASuccess) {
    const auto store = makeObserved();
    store->storeValue(L"old", L"value");
    store->attemptDownloadFromCachedAddress();
    transport->deliver("no document");
    EXPECT_THAT(store->getKeys(), IsEmpty());
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_EQ(store->lastSuccessfulServer(), L"one");
    EXPECT_THAT(observer.reports, ElementsAre(IsEmpty()));
    EXPECT_TRUE(isReady(store));
    EXPECT_THAT(transport->startedUrls(), SizeIs(1));
    EXPECT_EQ(log->count(4, "Config updated with TFTP server information.........##"), 1U);
    EXPECT_EQ(log->count(2, "\n************\nError Invalid XML syntax detected - Unable to read xml "
                            "configuration.\n************"),
              1U);
}

TEST_F(DownloadEngine, CountsAnEmptyFileAsASuccess) {
    const auto store = makeDownloading();
    transport->deliver("");
    EXPECT_EQ(store->lastSuccessfulServer(), L"one");
    EXPECT_THAT(observer.reports, ElementsAre(IsEmpty()));
}

TEST_F(DownloadEngine, DoesNothingFromTheCacheWithoutAnAddress) {
    const auto store = makeObserved({L"", L"", L"", L"file.xml"});
    store->attemptDownloadFromCachedAddress();
    EXPECT_EQ(store->queryState(), State::NOT_STARTED);
    EXPECT_FALSE(store->isTftpConfigured());
    EXPECT_FALSE(isReady(store));
    EXPECT_THAT(log->lines(), IsEmpty());
    store->fireOnConfigDownloaded({}, store);
    store->attemptDownloadFromCachedAddress();
    EXPECT_TRUE(isReady(store));
}

TEST_F(DownloadEngine, DownloadsFromTheCacheWhateverWasDownloaded) {
    const auto store = makeDownloading();
    EXPECT_TRUE(store->isTftpConfigured());
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_TRUE(isReady(store));
    store->attemptDownloadFromCachedAddress();
    EXPECT_FALSE(isReady(store));
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml", "http://one:6970/file.xml"));
}

TEST_F(DownloadEngine, DownloadsFromTheCacheBesideARunningTransfer) {
    const auto store = makeDownloading();
    store->attemptDownloadFromCachedAddress();
    EXPECT_THAT(transport->running(), SizeIs(2));
    EXPECT_EQ(transport->cancellations(), 0U);
}

TEST_F(DownloadEngine, TakesBothFilesOfTwoTransfers) {
    const auto store = makeDownloading();
    store->attemptDownloadFromCachedAddress();
    transport->complete(2, serverFile({{"second", "2"}}), SUCCESS);
    EXPECT_THAT(store->getKeys(), ElementsAre(L"second"));
    transport->complete(1, serverFile({{"first", "1"}}), SUCCESS);
    EXPECT_THAT(store->getKeys(), ElementsAre(L"first"));
    EXPECT_THAT(observer.reports, ElementsAre(IsEmpty(), ElementsAre(L"second")));
}

TEST_F(DownloadEngine, LosesTheFileOfTheLaterTransferWhenTheEarlierOneFailsWithNoServerLeft) {
    const auto store = makeDownloading({L"one", L"", L"", L"file.xml"});
    store->attemptDownloadFromCachedAddress();
    transport->complete(2, serverFile({{"key", "value"}}), SUCCESS);
    EXPECT_THAT(store->getKeys(), ElementsAre(L"key"));
    EXPECT_THAT(observer.reports, SizeIs(1));
    transport->complete(1, "", TIMED_OUT);
    EXPECT_THAT(store->getKeys(), IsEmpty());
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_THAT(observer.reports, SizeIs(1));
    EXPECT_EQ(store->lastSuccessfulServer(), L"one");
}

TEST_F(DownloadEngine, SharesOneQueueBetweenTwoTransfers) {
    const auto store = makeDownloading();
    store->attemptDownloadFromCachedAddress();
    transport->complete(1, "", TIMED_OUT);
    transport->complete(2, "", TIMED_OUT);
    EXPECT_THAT(transport->startedUrls(), ElementsAre("http://one:6970/file.xml", "http://one:6970/file.xml",
                                                      "http://two:6970/file.xml", "http://three:6970/file.xml"));
}

TEST_F(DownloadEngine, StallsWithoutAVersion) {
    const auto store = make();
    store->storeValue(L"old", L"value");
    store->addObserver(&observer);
    store->attemptDownloadFromCachedAddress();
    EXPECT_THAT(lines(3), ElementsAre(NO_VERSION));
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_FALSE(isReady(store));
    EXPECT_THAT(store->getKeys(), ElementsAre(L"old"));
    EXPECT_THAT(transport->startedUrls(), IsEmpty());
    EXPECT_THAT(observer.reports, IsEmpty());
}

TEST_F(DownloadEngine, StallsAtAVersionWithoutANumber) {
    transport->setAnswer([](const std::string&) { return "<v><version>.</version></v>"; });
    const auto store = make();
    log->clear();
    store->attemptDownloadFromCachedAddress();
    EXPECT_THAT(transport->sentUrls(), ElementsAre("https://one:8443/hubm-uds/version"));
    EXPECT_THAT(lines(3), ElementsAre(NO_VERSION));
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    EXPECT_THAT(transport->startedUrls(), IsEmpty());
}

TEST_F(DownloadEngine, StaysStalledWhenTheDetailsChange) {
    const auto store = make();
    store->attemptDownloadFromCachedAddress();
    holdVersion(L"10");
    announce(*store, {L"new", L"", L"", L"file.xml"});
    pool->runAll();
    EXPECT_EQ(store->queryState(), State::RESTART_PENDING);
    EXPECT_EQ(transport->cancellations(), 1U);
    EXPECT_THAT(transport->startedUrls(), IsEmpty());
}

TEST_F(DownloadEngine, EndsAStallFromTheCache) {
    const auto store = make();
    store->attemptDownloadFromCachedAddress();
    holdVersion(L"10");
    announce(*store, {L"new", L"", L"", L"file.xml"});
    pool->runAll();
    store->attemptDownloadFromCachedAddress();
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_EQ(store->lastSuccessfulServer(), L"new");
}

TEST_F(DownloadEngine, StallsInTheMiddleOfAQueueWhenTheVersionIsGone) {
    const auto store = makeDownloading();
    featureSet->dropValue(L"HomeUdsVersion");
    transport->fail();
    EXPECT_EQ(lines(3).back(), NO_VERSION);
    EXPECT_THAT(transport->startedUrls(), SizeIs(1));
    EXPECT_EQ(store->queryState(), State::IN_PROGRESS);
}

TEST_F(DownloadEngine, GoesOnWithoutANetwork) {
    world.change([](platform::World& changed) { changed.httpTransport = nullptr; });
    const auto store = makeDownloading();
    EXPECT_EQ(pool->runAll(), 3U);
    EXPECT_EQ(store->queryState(), State::FINISHED);
    EXPECT_TRUE(isReady(store));
    EXPECT_TRUE(journalOf(store).settled);
}

TEST_F(DownloadEngine, KeepsTheStoreAliveDuringATransfer) {
    auto store = makeDownloading();
    const std::weak_ptr<TftpConfigStore> alive = store;
    store.reset();
    EXPECT_FALSE(alive.expired());
    dispatcher->setUpdateAccess(false);
    transport->deliver(serverFile({{"key", "value"}}));
    EXPECT_FALSE(alive.expired());
    dispatcher->runAll();
    EXPECT_THAT(observer.reports, SizeIs(1));
    EXPECT_TRUE(alive.expired());
}

TEST_F(DownloadEngine, DoesNotCancelWhenTheStoreIsDropped) {
    auto store = makeDownloading();
    const std::weak_ptr<TftpConfigStore> alive = store;
    transport->deliver(serverFile({{"key", "value"}}));
    store.reset();
    EXPECT_TRUE(alive.expired());
    EXPECT_EQ(transport->cancellations(), 0U);
}
