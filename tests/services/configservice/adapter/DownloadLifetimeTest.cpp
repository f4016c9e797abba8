#include <atomic>
#include <latch>
#include <thread>

#include "DownloadFixture.h"
#include "OnceClient.h"
#include "support/OtherThread.h"

using testing::HasSubstr;
using testing::Not;

namespace {

/// The adapter's end while it is being told of a download.
class DownloadLifetime : public DownloadFixture {
protected:
    void onNextValue(const std::function<void()>& action) {
        live_ = service()->getConfig(L"key");
        client_ = std::make_shared<OnceClient>(action);
        live_->addObserver(std::weak_ptr<ConfigValueObserver>(client_));
    }

    /// Another file's report, to whoever still listens.
    static void reportAgain(const std::shared_ptr<TftpConfigStore>& store) {
        store->storeValue(L"key", L"afterwards");
        store->fireOnConfigDownloaded({}, store);
    }

private:
    std::shared_ptr<ConfigValue> live_;
    std::shared_ptr<OnceClient> client_;
};

/// Another observer of the remote store, which acts inside its report.
class ActingObserver : public TftpConfigStoreObserver {
public:
    explicit ActingObserver(std::function<void()> action = nullptr) : action_(std::move(action)) {}
    void act(std::function<void()> action) { action_ = std::move(action); }
    void onTftpConfigDownloaded(std::vector<std::wstring>) override {
        if (const auto once = std::exchange(action_, nullptr)) {
            once();
        }
    }

private:
    std::function<void()> action_;
};

}  // namespace

TEST_F(DownloadLifetime, AClientMayDropTheAdapterInsideTheFirstReport) {
    switchOn();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    const auto chainOfIt = manager();
    bool goneInside = true;
    onNextValue([&] {
        factory->clear();
        goneInside = gone.expired();
    });
    ASSERT_TRUE(deliver({{"key", "value"}}));
    EXPECT_FALSE(goneInside);
    EXPECT_TRUE(gone.expired());
    // What the report still had to do was done.
    EXPECT_TRUE(chainOfIt->containsStore("TFTPConfigStore"));
    EXPECT_THAT(cached(), HasSubstr("<key>value</key>"));
}

TEST_F(DownloadLifetime, AClientMayDropTheAdapterInsideALaterReport) {
    switchOn();
    ASSERT_TRUE(deliver({{"key", "first"}}));
    const auto store = adapter()->getTftpConfigStore();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    bool goneInside = true;
    onNextValue([&] {
        factory->clear();
        goneInside = gone.expired();
    });
    download({{"key", "second"}});
    EXPECT_FALSE(goneInside);
    EXPECT_TRUE(gone.expired());
    EXPECT_THAT(cached(), HasSubstr("<key>second</key>"));
    reportAgain(store);
    EXPECT_THAT(cached(), HasSubstr("<key>second</key>"));
}

TEST_F(DownloadLifetime, AClientMayDropTheAdapterInsideAReportThatWaitedForTheDispatcher) {
    switchOn();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    onNextValue([&] { factory->clear(); });
    elsewhere([this] { ASSERT_TRUE(deliver({{"key", "value"}})); });
    EXPECT_FALSE(gone.expired());
    dispatcher->runAll();
    EXPECT_TRUE(gone.expired());
    EXPECT_THAT(cached(), HasSubstr("<key>value</key>"));
}

TEST_F(DownloadLifetime, AnotherThreadThatDropsTheAdapterInsideItsReportLeavesItToTheReportsEnd) {
    switchOn();
    const auto store = adapter()->getTftpConfigStore();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    bool goneInside = true;
    std::thread host;
    onNextValue([&] {
        host = std::thread([this] { factory->clear(); });
        while (factory->getFeatureSetAdapter(CONFIG_SERVICE_ID) != nullptr) {
            std::this_thread::yield();
        }
        goneInside = gone.expired();
    });
    ASSERT_TRUE(deliver({{"key", "first"}}));
    host.join();
    EXPECT_FALSE(goneInside);
    EXPECT_TRUE(gone.expired());
    EXPECT_THAT(cached(), HasSubstr("<key>first</key>"));
    reportAgain(store);
    EXPECT_THAT(cached(), Not(HasSubstr("afterwards")));
}

TEST_F(DownloadLifetime, AnAdapterThatIsBeingDestroyedTakesNoReport) {
    switchOn();
    const auto store = adapter()->getTftpConfigStore();
    const auto chainOfIt = manager();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    // Observers are told in the order of their addresses: one that stands in no heap is told first.
    static ActingObserver first;
    ASSERT_LT(static_cast<TftpConfigStoreObserver*>(&first), static_cast<TftpConfigStoreObserver*>(adapter().get()));
    std::unique_ptr<support::OtherThread> host;
    first.act([&] {
        host = std::make_unique<support::OtherThread>([this] { factory->clear(); });
        // The destruction begins, and waits for this report.
        host->untilItWaitsOrEnds();
    });
    store->addObserver(&first);
    ASSERT_TRUE(deliver({{"key", "value"}}));
    store->removeObserver(&first);
    host->join();
    EXPECT_TRUE(gone.expired());
    EXPECT_FALSE(chainOfIt->containsStore("TFTPConfigStore"));
    EXPECT_THAT(cached(), Not(HasSubstr("value")));
}

TEST_F(DownloadLifetime, TheDestructionOnAnotherThreadWaitsForTheReportOfAnotherObserver) {
    switchOn();
    const auto store = adapter()->getTftpConfigStore();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    std::latch inside(1);
    std::atomic<bool> destroyed = false;
    bool destroyedInside = true;
    bool reportEnded = false;
    bool endedBefore = false;
    ActingObserver other([&] {
        inside.count_down();
        while (!gone.expired()) {
            std::this_thread::yield();
        }
        // The destruction has begun. One that does not wait gets ample opportunity to end.
        for (int turn = 0; turn < 2000; ++turn) {
            std::this_thread::yield();
        }
        destroyedInside = destroyed;
        reportEnded = true;
    });
    store->addObserver(&other);
    std::thread host([&] {
        inside.wait();
        factory->clear();
        endedBefore = reportEnded;
        destroyed = true;
    });
    ASSERT_TRUE(deliver({{"key", "first"}}));
    host.join();
    EXPECT_FALSE(destroyedInside);
    EXPECT_TRUE(endedBefore);
    reportAgain(store);
    EXPECT_THAT(cached(), Not(HasSubstr("afterwards")));
}
