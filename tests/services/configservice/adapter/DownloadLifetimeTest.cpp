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
    explicit ActingObserver(std::function<void()> action) : action_(std::move(action)) {}
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

TEST_F(DownloadLifetime, AnAdapterWhoseDestructionHasBegunTakesNoReport) {
    switchOn();
    observe();
    const auto chainOfIt = manager();
    const std::weak_ptr<ConfigAdapter> gone = adapter();
    const pid_t here = gettid();
    std::latch inside(1);
    std::atomic<bool> delivering = false;
    std::atomic<bool> delivered = false;
    observer.onReport([&](const fakes::ManagerReport& report) {
        if (report.key == L"held") {
            inside.count_down();
            delivering.wait(false);
            // A report that was taken would wait for this one.
            support::untilItWaits(here, [&] { return delivered.load(); });
        }
    });
    support::OtherThread client([&] { chainOfIt->NotifyFireIfRequired(L"held"); });
    inside.wait();
    // The destructor leaves the observers of the chain first, and waits there; the remote store still knows the
    // adapter.
    support::OtherThread host([this] { factory->clear(); });
    host.untilItWaitsOrEnds();
    EXPECT_TRUE(gone.expired());
    EXPECT_FALSE(host.hasEnded());
    delivering = true;
    delivering.notify_all();
    EXPECT_TRUE(deliver({{"key", "value"}}));
    delivered = true;
    client.join();
    host.join();
    EXPECT_FALSE(chainOfIt->containsStore("TFTPConfigStore"));
    EXPECT_FALSE(isCached());
    chainOfIt->RemoveObserver(&observer);
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
