#include <latch>
#include <thread>

#include "DownloadFixture.h"
#include "OnceClient.h"
#include "quill/FunctionTask.h"

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

namespace {

class DownloadThreads : public DownloadFixture {
protected:
    static std::string versionDocument() {
        return "<versionInformation><version>12.5.1</version></versionInformation>";
    }
};

/// The server is asked for its version on a thread that is at the start of the source, and does not answer yet.
class SlowVersion : public DownloadThreads {
protected:
    SlowVersion() {
        transport->setAnswer([this](const std::string&) {
            asked.count_down();
            answered.wait();
            return answer;
        });
        writeLocal(oneServer());
        injectAndStart();
        starter = std::thread([held = adapter()] { held->startTftpConfigSource(); });
        asked.wait();
    }

    void answerNow() {
        answered.count_down();
        starter.join();
    }

    std::latch asked{1};
    std::latch answered{1};
    std::string answer = versionDocument();
    std::thread starter;
};

}  // namespace

TEST_F(SlowVersion, LeavesLookupsAndWritesAlone) {
    EXPECT_EQ(get(L"TFTPPrimaryServer"), L"one");
    EXPECT_TRUE(adapter()->setConfig(L"key", L"value"));
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("Other", 30));
    EXPECT_THAT(chain(), Contains("Other"));
    answerNow();
    EXPECT_EQ(transport->running().size(), 1U);
}

TEST_F(SlowVersion, IsFollowedByTheFormerServerWhateverServerIsNamedMeanwhile) {
    EXPECT_TRUE(adapter()->setConfig(L"TFTPPrimaryServer", L"two"));
    EXPECT_EQ(pool->waiting(), 0U);
    answerNow();
    ASSERT_EQ(transport->running().size(), 1U);
    EXPECT_THAT(transport->running().front().url, testing::StartsWith("https://one:6972/"));
    EXPECT_EQ(pool->waiting(), 0U);
}

TEST_F(SlowVersion, KeepsALifecycleOperationOfTheDispatcherThreadWaitingAndNoLonger) {
    std::thread other([this] {
        // The answer comes while the dispatcher thread is on its way into the refresh, or waits there.
        answered.count_down();
    });
    adapter()->refreshConfigFeatureSet();
    starter.join();
    other.join();
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(SlowVersion, IsStoredWhileAClientInsideANotificationWantsTheLifecycle) {
    const auto live = service()->getConfig(L"key");
    const auto client = std::make_shared<OnceClient>([this] {
        // The thread that has the lifecycle wants the chain now, which this one has.
        answered.count_down();
        adapter()->refreshConfigFeatureSet();
    });
    live->addObserver(std::weak_ptr<ConfigValueObserver>(client));
    adapter()->setConfig(L"key", L"value");
    starter.join();
    EXPECT_THAT(dispatcher->waitingNames(), Contains("ConfigAdapter::refreshConfigFeatureSet").Times(1));
    EXPECT_EQ(get(L"HomeUdsVersion"), L"12.5.1");
    dispatcher->runAll();
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
}

TEST_F(SlowVersion, IsOutlivedByTheAdapterThatIsLetGoMeanwhile) {
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    factory->clear();
    EXPECT_FALSE(gone.expired());
    answerNow();
    EXPECT_TRUE(gone.expired());
}

TEST_F(DownloadThreads, APresenceStoreWaitsForTheReportOfTheDownload) {
    switchOn();
    const auto remote = adapter()->getTftpConfigStore();
    bool joinedBefore = false;
    std::thread client([&, held = adapter()] {
        held->addConfigStore(std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 41));
        joinedBefore = held->getConfigStoreManager()->containsStore("TFTPConfigStore");
    });
    log->waitFor("TftpConfigStore::waitForStoreReady() - Starting timed wait. Timeout of 20 seconds");
    // Neither the lifecycle nor the chain is held meanwhile.
    EXPECT_THAT(chain(), Contains("PresenceConfigStore"));
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_EQ(flagRuns(), 0U);
    ASSERT_TRUE(deliver({{"key", "value"}}));
    client.join();
    EXPECT_TRUE(joinedBefore);
    // Once for the file, once after the wait, once for the store.
    EXPECT_EQ(flagRuns(), 3U);
}

TEST_F(DownloadThreads, APresenceStoreDoesNotWaitForASourceWithoutServers) {
    switchOn({});
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 41));
    EXPECT_FALSE(log->mentions("Starting timed wait"));
    EXPECT_EQ(flagRuns(), 2U);
}

TEST_F(DownloadThreads, APresenceStoreDoesNotWaitWithoutASource) {
    writeDefaults({{"Telephony_Enabled", "default"}});
    injectAndStart();
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 41));
    EXPECT_FALSE(log->mentions("Starting timed wait"));
    EXPECT_EQ(flagRuns(), 1U);
}

TEST_F(DownloadThreads, APresenceStoreThatComesAfterTheDownloadDoesNotWaitLong) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "value"}}));
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("PresenceConfigStore", 41));
    EXPECT_EQ(log->count(5, "TftpConfigStore::waitForStoreReady() - Finished timed wait"), 1U);
    // The remote store is in the chain, so the wait has no branch of its own.
    EXPECT_EQ(flagRuns(), 2U);
}

TEST_F(DownloadThreads, StartsStopsAndEndsOfTransfersOnSeveralThreadsLeaveNoTrace) {
    switchOn();
    std::thread network([&] {
        std::size_t number = 0;
        while (const auto transfer = transport->waitForRunning()) {
            transport->complete(transfer->number, serverDocument({{"key", std::to_string(++number)}}),
                                fakes::ScriptedHttpTransport::Result::Success);
        }
    });
    std::thread deciding([&] {
        while (pool->runNext()) {
        }
    });
    bool over = false;  // told on the dispatcher thread
    std::thread host([&, held = adapter()] {
        for (int round = 0; round < 40; ++round) {
            held->stopTftpConfigSource();
            held->startTftpConfigSource();
            held->refreshConfigFeatureSet();
            held->startTftpConfigSource();
        }
        dispatcher->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>([&] { over = true; }, "over"));
    });
    while (!over) {
        dispatcher->waitForWaiting(1);
        dispatcher->runAll();
    }
    host.join();
    pool->endWaits();
    transport->endWaits();
    deciding.join();
    network.join();
    pool->runAll();
    dispatcher->runAll();
    adapter()->stopTftpConfigSource();
    adapter()->startTftpConfigSource();
    while (deliver({{"key", "last"}})) {
    }
    dispatcher->runAll();
    EXPECT_EQ(get(L"key"), L"last");
    EXPECT_TRUE(adapter()->getDownloadJournal()->snapshot().settled);
}
