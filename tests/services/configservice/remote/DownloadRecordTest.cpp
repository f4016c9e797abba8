#include "RemoteFixture.h"

using testing::SizeIs;

namespace {

/// What the store notes in the journal, and when it counts as settled.
class DownloadRecord : public RemoteFixture {
protected:
    using CycleEnd = Journal::CycleEnd;
    using AttemptEnd = Journal::AttemptEnd;

    static bool isSettled(const std::shared_ptr<TftpConfigStore>& store) { return journalOf(store).settled; }
    static Journal::Cycle newest(const std::shared_ptr<TftpConfigStore>& store) {
        return journalOf(store).cycles.back();
    }

    std::shared_ptr<TftpConfigStore> makeDownloading() {
        const auto store = makeObserved();
        store->attemptDownloadFromCachedAddress();
        return store;
    }
};

}  // namespace

TEST_F(DownloadRecord, HoldsAForcedCycleAndItsTransfer) {
    const auto store = makeDownloading();
    const Journal::Cycle cycle = newest(store);
    EXPECT_TRUE(cycle.forced);
    EXPECT_EQ(cycle.end, CycleEnd::Running);
    ASSERT_THAT(cycle.attempts, SizeIs(1));
    EXPECT_EQ(cycle.attempts[0].address, "one");
    EXPECT_EQ(cycle.attempts[0].url, "http://one:6970/file.xml");
    EXPECT_EQ(cycle.attempts[0].version, 10);
    EXPECT_EQ(cycle.attempts[0].timeoutSeconds, 3);
    EXPECT_EQ(cycle.attempts[0].end, AttemptEnd::Running);
}

TEST_F(DownloadRecord, HoldsHowManyKeysWereDelivered) {
    const auto store = makeDownloading();
    transport->deliver(serverFile({{"a", "1"}, {"b", "2"}}));
    EXPECT_EQ(newest(store).end, CycleEnd::Delivered);
    EXPECT_EQ(newest(store).keys, 2U);
    EXPECT_EQ(newest(store).attempts[0].end, AttemptEnd::Delivered);
    EXPECT_EQ(newest(store).attempts[0].result, SUCCESS);
}

TEST_F(DownloadRecord, TellsAFileThatCannotBeRead) {
    const auto store = makeDownloading();
    transport->deliver("no document");
    EXPECT_EQ(newest(store).end, CycleEnd::Unreadable);
    EXPECT_EQ(newest(store).attempts[0].end, AttemptEnd::Delivered);
}

TEST_F(DownloadRecord, TellsThatEveryServerFailed) {
    const auto store = makeDownloading();
    transport->fail(TIMED_OUT);
    transport->fail(TIMED_OUT);
    transport->fail(TIMED_OUT);
    EXPECT_EQ(newest(store).end, CycleEnd::Exhausted);
    ASSERT_THAT(newest(store).attempts, SizeIs(3));
    EXPECT_EQ(newest(store).attempts[2].end, AttemptEnd::Failed);
    EXPECT_EQ(newest(store).attempts[2].result, TIMED_OUT);
    EXPECT_TRUE(isSettled(store));
}

TEST_F(DownloadRecord, TellsAStall) {
    const auto store = make();
    store->attemptDownloadFromCachedAddress();
    EXPECT_EQ(newest(store).end, CycleEnd::Stalled);
    EXPECT_THAT(newest(store).versionQueries, SizeIs(3));
    EXPECT_TRUE(isSettled(store));
    store->processTftpInfoChanged(L"new", L"", L"", store);
    EXPECT_TRUE(isSettled(store));
    EXPECT_EQ(journalOf(store).cyclesEver, 1U);
}

TEST_F(DownloadRecord, HoldsACycleThatAChangeBegan) {
    const auto store = makeObserved({});
    store->processTftpInfoChanged(L"new", L"", L"", store);
    EXPECT_FALSE(newest(store).forced);
}

TEST_F(DownloadRecord, TellsACycleThatAChangeSuperseded) {
    const auto store = makeDownloading();
    store->processTftpInfoChanged(L"new", L"", L"", store);
    EXPECT_EQ(newest(store).end, CycleEnd::Running);
    transport->fail(WAS_CANCELLED);
    const auto cycles = journalOf(store).cycles;
    ASSERT_THAT(cycles, SizeIs(2));
    EXPECT_EQ(cycles[0].end, CycleEnd::Superseded);
    EXPECT_EQ(cycles[0].attempts[0].end, AttemptEnd::Failed);
    EXPECT_EQ(cycles[0].attempts[0].result, WAS_CANCELLED);
    EXPECT_FALSE(cycles[1].forced);
    EXPECT_EQ(cycles[1].attempts[0].address, "new");
}

TEST_F(DownloadRecord, TellsAFileThatWasDropped) {
    const auto store = makeDownloading();
    store->processTftpInfoChanged(L"new", L"", L"", store);
    transport->deliver(serverFile({}));
    EXPECT_EQ(journalOf(store).cycles[0].attempts[0].end, AttemptEnd::Dropped);
}

TEST_F(DownloadRecord, TellsACancelledDownloadAsExhausted) {
    const auto store = makeDownloading();
    TftpConfigStoreTestAccess::cancel(*store);
    transport->deliver(serverFile({}));
    EXPECT_EQ(newest(store).end, CycleEnd::Exhausted);
    EXPECT_EQ(newest(store).attempts[0].end, AttemptEnd::Dropped);
    EXPECT_TRUE(isSettled(store));
}

TEST_F(DownloadRecord, KeepsTwoTransfersApart) {
    const auto store = makeDownloading();
    store->attemptDownloadFromCachedAddress();
    transport->complete(2, serverFile({{"a", "1"}}), SUCCESS);
    EXPECT_FALSE(isSettled(store));
    transport->complete(1, "", TIMED_OUT);
    const auto cycles = journalOf(store).cycles;
    EXPECT_EQ(cycles[0].attempts[0].end, AttemptEnd::Failed);
    EXPECT_EQ(cycles[1].attempts[0].end, AttemptEnd::Delivered);
    EXPECT_EQ(cycles[1].attempts[1].address, "two");
    EXPECT_EQ(cycles[1].end, CycleEnd::Running);
}

TEST_F(DownloadRecord, IsUnsettledFromTheChangeToTheEndOfTheReport) {
    const auto store = makeObserved({});
    EXPECT_TRUE(isSettled(store));
    announce(*store, {L"one", L"", L"", L"file.xml"});
    EXPECT_FALSE(isSettled(store));
    pool->runAll();
    EXPECT_FALSE(isSettled(store));
    dispatcher->setUpdateAccess(false);
    transport->deliver(serverFile({{"a", "1"}}));
    EXPECT_FALSE(isSettled(store));
    observer.during = [&] { EXPECT_FALSE(isSettled(store)); };
    dispatcher->runAll();
    EXPECT_THAT(observer.reports, SizeIs(1));
    EXPECT_TRUE(isSettled(store));
}

TEST_F(DownloadRecord, IsUnsettledAtEveryChangeOfACycleThatGoesOn) {
    const auto store = makeDownloading();
    std::vector<bool> settled;
    store->journal()->setListener([&] { settled.push_back(isSettled(store)); });
    transport->fail();
    transport->deliver(serverFile({}));
    ASSERT_GT(settled.size(), 4U);
    EXPECT_TRUE(settled.back());
    settled.pop_back();
    EXPECT_THAT(settled, testing::Each(false));
    store->journal()->setListener({});
}

TEST_F(DownloadRecord, IsUnsettledDuringAForcedCyclesVersionQuery) {
    const auto store = make();
    std::vector<bool> settled;
    transport->setAnswer([&](const std::string&) {
        settled.push_back(isSettled(store));
        return std::string();
    });
    store->attemptDownloadFromCachedAddress();
    EXPECT_THAT(settled, testing::ElementsAre(false, false, false));
}

TEST_F(DownloadRecord, IsSettledAfterARefusedChange) {
    const auto store = makeDownloading();
    transport->deliver(serverFile({}));
    announce(*store, {L"one", L"other", L"", L"file.xml"});
    EXPECT_TRUE(isSettled(store));
}

TEST_F(DownloadRecord, IsSettledIfTheTransportTakesNoMoreWork) {
    transport->refuseWork();
    EXPECT_TRUE(isSettled(makeDownloading()));
}

TEST_F(DownloadRecord, GoesToTheJournalThatTheStoreWasGiven) {
    const auto journal = std::make_shared<DownloadJournal>();
    const auto store =
        std::make_shared<TftpConfigStore>(factory, "TFTPConfigStore", 40, L"one", L"", L"", L"file.xml", journal);
    EXPECT_EQ(store->journal(), journal);
    store->attemptDownloadFromCachedAddress();
    EXPECT_EQ(journal->snapshot().cyclesEver, 1U);
}
