#include <atomic>
#include <latch>
#include <thread>

#include "DataResetFixture.h"
#include "RealThreadsFixture.h"
#include "support/OtherThread.h"

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

namespace {

/// The provider asks on a thread of its own; the test's thread is the dispatcher thread.
class DataResetThreads : public DataResetFixture {
protected:
    std::thread resetElsewhere() {
        return std::thread([held = adapter()] { held->InvokeResetData(); });
    }
};

/// The same with the dispatcher and the task queue that hosts have.
class DataResetRealThreads : public RealThreadsFixture {
protected:
    DataResetRealThreads() {
        world.change([this](platform::World& changed) {
            changed.httpTransport = transport;
            changed.threadPool = pool;
        });
        world.directory().write("install/corvid-config-defaults.xml", localDocument({{"HomeUdsVersion", "12"}}));
        adapter->StartFeatureSet(CONFIG_SERVICE_ID, nullptr);
    }

    /// Whatever has been queued for the dispatcher thread, the disk and the pool is done when this returns.
    void settle() {
        while (transport->deliver(serverDocument({{"server", "last"}})) || pool->runAll() > 0) {
        }
        onDispatcher([] {});
        std::latch written(1);
        realTasks->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>([&] { written.count_down(); }, "test"));
        written.wait();
    }

    std::size_t filesLeft() const {
        std::size_t count = 0;
        for (const auto& entry : std::filesystem::recursive_directory_iterator(world.configDirectory())) {
            count += entry.is_directory() ? 0U : 1U;
        }
        return count;
    }

    const std::shared_ptr<fakes::ScriptedHttpTransport> transport = std::make_shared<fakes::ScriptedHttpTransport>();
    const std::shared_ptr<fakes::HandSteppedThreadPool> pool = std::make_shared<fakes::HandSteppedThreadPool>();
};

}  // namespace

TEST_F(DataResetThreads, OnAForeignThreadItIsDoneWhenItReturnsAndReportsLater) {
    writeLocal({{"key", "value"}});
    injectAndStart();
    const auto live = service()->getConfig(L"key");
    resetElsewhere().join();
    EXPECT_THAT(filesLeft(), IsEmpty());
    EXPECT_EQ(get(L"key"), L"<none>");
    EXPECT_EQ(live->getValue(), L"value");
    dispatcher->runAll();
    EXPECT_EQ(live->getValue(), L"");
}

TEST_F(DataResetThreads, OnTheDispatcherThreadItServesTheStartThatWaitsForIt) {
    writeLocal({{"key", "value"}});
    inject();
    std::thread starter([this] { start(); });
    dispatcher->waitForWaiting(1);
    reset();
    starter.join();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    expectNothingOfTheUsers({L"key"});
}

TEST_F(DataResetThreads, AReportThatIsUnderWayEndsFirst) {
    switchOn();
    std::thread provider;
    // Behind the notification the report goes on to write the list and the file.
    atNextChange(L"server", [&] { provider = resetElsewhere(); });
    ASSERT_TRUE(deliver({{"server", "value"}}));
    provider.join();
    expectNothingOfTheUsers({L"server", L"TFTPPrimaryServer"});
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
}

TEST_F(DataResetThreads, ACachedCopyThatIsBeingWrittenIsDeletedWithTheRest) {
    injectAndStart();
    std::unique_ptr<support::OtherThread> provider;
    // Said when the temporary file is there and has not become the file yet.
    log->atNext("characters that XML cannot hold were replaced in the entry: outside", [&] {
        provider = std::make_unique<support::OtherThread>([held = adapter()] { held->InvokeResetData(); });
        provider->untilItWaitsOrEnds();
    });
    const auto store = std::make_shared<fakes::ScriptedStore>("Outside", 45);
    store->cached().with(L"outside", L"value\x01");
    adapter()->addConfigStore(store);
    ASSERT_NE(provider, nullptr);
    provider->join();
    expectNothingOfTheUsers({L"outside"});
}

TEST_F(DataResetThreads, ALinkThatIsBeingWrittenKeepsItsFile) {
    inject();
    put("userFile");
    std::unique_ptr<support::OtherThread> provider;
    // Said when the temporary file is there and has not become the file yet.
    log->atNext("characters that XML cannot hold were replaced in the entry: ServicesDomain", [&] {
        provider = std::make_unique<support::OtherThread>([held = adapter()] { held->InvokeResetData(); });
        provider->untilItWaitsOrEnds();
    });
    EXPECT_TRUE(adapter()->setUrlProvisioningData(L"x?ServicesDomain=a\x01"));
    ASSERT_NE(provider, nullptr);
    provider->join();
    EXPECT_THAT(filesLeft(), ElementsAre("Cache/cachedUrlProvisioningConfigStore.xml"));
    EXPECT_THAT(cacheFile("cachedUrlProvisioningConfigStore.xml"), HasSubstr("<ServicesDomain>a\xEF\xBF\xBD<"));
    EXPECT_NE(get(L"ServicesDomain"), L"<none>");
}

TEST_F(DataResetThreads, AClientInsideANotificationDoesNotWaitForIt) {
    writeLocal({{"gone", "value"}});
    injectAndStart();
    std::thread provider;
    atNextChange(L"key", [&] {
        provider = resetElsewhere();
        adapter()->refreshConfigFeatureSet();
        adapter()->Destroy();
        adapter()->InvokeResetData();
    });
    adapter()->setConfig(L"key", L"value");
    provider.join();
    expectNothingOfTheUsers({L"key", L"gone"});
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
}

TEST_F(DataResetThreads, SeveralAtOnceComeOneAfterTheOther) {
    writeLocal({{"key", "value"}});
    injectAndStart();
    std::thread first = resetElsewhere();
    std::thread second = resetElsewhere();
    reset();
    first.join();
    second.join();
    expectNothingOfTheUsers({L"key"});
    EXPECT_TRUE(adapter()->setConfig(L"key", L"new"));
}

TEST_F(DataResetRealThreads, LeaveNothingOfWhatWasStoredDownloadedAndAddedMeanwhile) {
    std::atomic<bool> over = false;
    const auto untilOver = [&over](const std::function<void()>& action) {
        return std::thread([&over, action] {
            while (!over) {
                action();
                std::this_thread::yield();
            }
        });
    };
    std::atomic<unsigned> number = 0;
    std::thread network = untilOver([&] {
        transport->deliver(serverDocument({{"server", std::to_string(++number)}}));
        pool->runAll();
    });
    std::thread user = untilOver([&] {
        adapter->setConfig(L"key", std::to_wstring(++number));
        adapter->setConfig(L"TFTPPrimaryServer", L"one");
        adapter->resetConfig(L"key");
    });
    std::thread client = untilOver([&] {
        const auto store = std::make_shared<fakes::ScriptedStore>("Outside", 45);
        store->cached().with(L"outside", std::to_wstring(++number));
        adapter->addConfigStore(store);
        adapter->removeConfigStore("Outside");
    });
    watch(L"key");
    for (int round = 0; round < ROUNDS; ++round) {
        adapter->setConfig(L"TFTPPrimaryServer", L"one");
        adapter->startTftpConfigSource();
        if (round % 2 == 0) {
            adapter->InvokeResetData();
        } else {
            onDispatcher([this] { adapter->InvokeResetData(); });
        }
    }
    over = true;
    network.join();
    user.join();
    client.join();
    adapter->setConfig(L"TFTPPrimaryServer", L"one");
    adapter->startTftpConfigSource();
    adapter->InvokeResetData();
    settle();
    EXPECT_EQ(chainValue(L"key"), L"");
    EXPECT_EQ(chainValue(L"server"), L"");
    EXPECT_EQ(chainValue(L"PrimaryConfigStores"), L"");
    EXPECT_EQ(liveValue(), L"");
    EXPECT_EQ(filesLeft(), 0U);
    EXPECT_TRUE(adapter->getDownloadJournal()->snapshot().settled);
}

TEST_F(DataResetRealThreads, AndAPersistThatRunsLeaveNothing) {
    for (int round = 0; round < ROUNDS; ++round) {
        for (int i = 0; i < 10; ++i) {
            adapter->setConfig(L"key" + std::to_wstring(i), std::to_wstring(round));
        }
        // The queue is somewhere in the midst of these ten.
        adapter->InvokeResetData();
        settle();
        ASSERT_EQ(filesLeft(), 0U);
        ASSERT_EQ(chainValue(L"key0"), L"");
    }
}

TEST_F(DataResetRealThreads, AStoreThatIsBeingAddedGoesWithItsCopyIfItGoes) {
    for (int round = 0; round < ROUNDS; ++round) {
        std::thread client([this, round] {
            const auto store = std::make_shared<fakes::ScriptedStore>("Outside", 45);
            store->cached().with(L"outside", L"value");
            if (round % 2 == 0) {
                store->remote();
            }
            adapter->addConfigStore(store);
        });
        adapter->InvokeResetData();
        client.join();
        settle();
        const bool stays = adapter->getConfigStoreManager()->containsStore("Outside");
        ASSERT_EQ(chainValue(L"PrimaryConfigStores"), stays ? L"Outside:245;" : L"") << round;
        // The list lies in the user's file.
        ASSERT_EQ(filesLeft(), stays ? 2U : 0U) << round;
        adapter->InvokeResetData();
    }
}
