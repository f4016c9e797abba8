#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "Campaign.h"
#include "DownloadWorld.h"
#include "InjectConfigService.h"
#include "ModelTypes.h"
#include "QuietXml.h"
#include "Sanitized.h"
#include "SimulatedChain.h"
#include "fakes/JournalWatch.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedHttpTransport.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "impl/unified/ThreadPoolImpl.h"
#include "quill/FunctionTask.h"
#include "remote/TftpConfigStore.h"
#include "unified/UnifiedFactory.h"

namespace simulation {
namespace {

using Keys = std::vector<std::wstring>;

const Keys KEYS = {L"first", L"second", L"third"};

/// A document whose every value is its number, so that a mixture of two can be told from both.
std::string numberedDocument(std::uint64_t number) {
    const std::string value = std::to_string(number);
    return "<Server><Policies><first>" + value + "</first><second>" + value + "</second><third>" + value +
           "</third></Policies></Server>";
}

/// The line in which the store tells such values.
std::string numberedLine(const std::wstring& number) {
    std::string line;
    for (const std::wstring& key : KEYS) {
        line += "\n" + printable(key) + ": " + printable(number);
    }
    return line;
}

/// Lets other threads go first wherever a download asks the chain: between new values and the line that tells them, and
/// between the choice of an address and its transfer.
class YieldingChain : public SimulatedChain {
public:
    using SimulatedChain::getConfig;
    bool getConfig(const std::wstring& key, std::wstring& value, bool skipLocal) override {
        std::this_thread::yield();
        return SimulatedChain::getConfig(key, value, skipLocal);
    }

    bool isKeySensitive(const std::wstring& key) override {
        std::this_thread::yield();
        return SimulatedChain::isKeySensitive(key);
    }
};

/// Holds whether each download told the keys of a whole file before it, or none.
class KeysObserver : public TftpConfigStoreObserver {
public:
    void onTftpConfigDownloaded(Keys keys) override {
        ++calls;
        torn = torn || !(keys.empty() || keys == KEYS);
    }

    std::atomic<int> calls = 0;
    std::atomic<bool> torn = false;
};

/// One round: two threads change the details and force downloads, two end transfers, a pool of three decides, the
/// dispatcher thread tells, and one thread reads.
class DownloadRound {
public:
    struct Way {
        bool forces = true;              ///< or nothing but changes of the details starts a download
        bool versionsComeAndGo = false;  ///< or the server's version is known all the time
    };

    DownloadRound(std::uint64_t seed, Way way) : way_(way), log_(4) {
        setUp();
        std::vector<std::thread> network;
        for (int count = 0; count < 2; ++count) {
            network.emplace_back([this, seed] { endTransfers(seed); });
        }
        std::atomic<bool> busy = true;
        std::thread reader([&] { readWhile(busy); });
        std::thread first([this, seed] { act(seed * 10 + 1); });
        std::thread second([this, seed] { act(seed * 10 + 2); });
        first.join();
        second.join();
        watch_->waitUntilSettled();
        busy = false;
        reader.join();
        leftRunning_ = transport_->running().size();
        startedUrls_ = transport_->startedUrls();
        endNetwork(network);
    }

    ~DownloadRound() {
        watch_.reset();
        store_->removeObserver(&observer_);
        pool_->stop();
        dispatcher_->stop();
        store_ = nullptr;
        factory_->clear();
    }

    DownloadRound(const DownloadRound&) = delete;
    DownloadRound& operator=(const DownloadRound&) = delete;

    TftpConfigStore& store() { return *store_; }
    const KeysObserver& observer() const { return observer_; }
    std::size_t leftRunning() const { return leftRunning_; }
    bool isReady() { return TftpConfigStoreTestAccess::isReady(*store_); }
    bool hasEnded() { return store_->queryState() == TftpConfigStore::FINISHED; }
    bool sawTornValues() const { return sawTornValues_; }

    bool holdsValues() { return !store_->getKeys().empty(); }

    bool isStalled() {
        const DownloadJournal::Snapshot record = store_->journal()->snapshot();
        return !record.cycles.empty() && record.cycles.back().end == DownloadJournal::CycleEnd::Stalled;
    }

    /// Whether the values are those of the good file that was taken last, or none.
    bool holdsTheLastFileOrNothing() {
        const Keys keys = store_->getKeys();
        if (keys.empty()) {
            return true;
        }
        std::string last;
        for (const auto& line : log_->lines()) {
            last = line.function == "logConfigMap" ? line.text : last;
        }
        std::wstring value;
        store_->getValue(KEYS.front(), value);
        return keys == KEYS && last == numberedLine(value);
    }

    bool triedTheNewestDetails() {
        const std::string server = printable(store_->lastServerDetails().server1);
        const std::string file = printable(store_->lastServerDetails().file);
        for (const std::string& url : startedUrls_) {
            if (url.find(server + ":6972/" + file) != std::string::npos) {
                return true;
            }
        }
        return false;
    }

    std::size_t attemptsThatNeverEnded() {
        std::size_t count = 0;
        for (const DownloadJournal::Cycle& cycle : store_->journal()->snapshot().cycles) {
            for (const DownloadJournal::Attempt& attempt : cycle.attempts) {
                count += attempt.end == DownloadJournal::AttemptEnd::Running ? 1 : 0;
            }
        }
        return count;
    }

private:
    void setUp() {
        world_.change([this](platform::World& world) {
            world.threadPool = pool_;
            world.httpTransport = transport_;
        });
        dispatcher_->start();
        factory_->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, chain_);
        chain_->hold(L"HomeUdsVersion", L"12.5");
        store_ = std::make_shared<TftpConfigStore>(factory_, "TFTPConfigStore", 40, L"alpha.example", L"", L"",
                                                   L"corvid-config.xml");
        store_->addObserver(&observer_);
        watch_.emplace(store_->journal());
    }

    void act(std::uint64_t seed) {
        std::mt19937_64 engine(seed);
        for (int count = 0; count < 30; ++count) {
            const std::uint64_t choice = engine() % 8;
            if (choice < 4) {
                announce();
            } else if (choice < 7 && way_.forces) {
                store_->attemptDownloadFromCachedAddress();
            } else if (way_.versionsComeAndGo) {
                chain_->hold(L"HomeUdsVersion", engine() % 2 == 0 ? L"" : L"12.5");
            }
        }
    }

    /// The chain reports one change at a time.
    void announce() {
        const std::lock_guard<std::mutex> lock(announcing_);
        const std::wstring number = std::to_wstring(++announced_);
        chain_->hold(L"TFTPPrimaryServer", L"server" + number + L".example");
        chain_->hold(L"configurationfile", L"file" + number + L".xml");
        store_->onConfigAddedOrUpdated(L"TFTPPrimaryServer", {}, {}, false, true, L"LocalFileConfigStore", {}, false);
    }

    void endTransfers(std::uint64_t seed) {
        for (;;) {
            const std::uint64_t number = ++nextTransfer_;
            transport_->waitForStarted(number);
            if (networkEnds_) {
                return;
            }
            using namespace HttpDownloader::HttpDownloadResultEnum;
            const std::uint64_t choice = std::mt19937_64(seed * 1000 + number)() % 8;
            transport_->complete(number, choice == 0 ? "malformed" : numberedDocument(number),
                                 choice < 6    ? Success
                                 : choice == 6 ? Cancelled
                                               : TimedOut);
        }
    }

    void readWhile(const std::atomic<bool>& busy) {
        while (busy) {
            const Keys keys = store_->getKeys();
            sawTornValues_ = sawTornValues_ || !(keys.empty() || keys == KEYS);
            std::wstring value;
            store_->getValue(L"second", value);
            store_->lastServerDetails();
            store_->lastSuccessfulServer();
            store_->isTftpConfigured();
            store_->journal()->snapshot();
            std::this_thread::yield();
        }
    }

    /// Both threads wait for a transfer that would never come.
    void endNetwork(std::vector<std::thread>& network) {
        networkEnds_ = true;
        for (std::size_t count = 0; count < network.size(); ++count) {
            transport_->start({});
        }
        for (std::thread& thread : network) {
            thread.join();
        }
    }

    const Way way_;
    const QuietXml quietXml_;
    fakes::ScopedRecordingLog log_;
    fakes::ScopedWorld world_;
    const std::shared_ptr<ServicesDispatcherImpl> dispatcher_ = std::make_shared<ServicesDispatcherImpl>();
    const std::shared_ptr<ThreadPoolImpl> pool_ = std::make_shared<ThreadPoolImpl>(3);
    const std::shared_ptr<fakes::ScriptedHttpTransport> transport_ = std::make_shared<fakes::ScriptedHttpTransport>();
    const std::shared_ptr<YieldingChain> chain_ = std::make_shared<YieldingChain>();
    const std::shared_ptr<UnifiedFactory> factory_ = std::make_shared<UnifiedFactory>(dispatcher_, nullptr);
    KeysObserver observer_;
    std::shared_ptr<TftpConfigStore> store_;
    std::mutex announcing_;
    int announced_ = 0;  ///< guarded by announcing_
    std::atomic<std::uint64_t> nextTransfer_ = 0;
    std::atomic<bool> networkEnds_ = false;
    std::atomic<bool> sawTornValues_ = false;
    std::optional<fakes::JournalWatch> watch_;
    std::size_t leftRunning_ = 0;
    std::vector<std::string> startedUrls_;
};

/// What a whole campaign has come by: rounds in which nothing ever happened would all be right.
struct Harvest {
    std::size_t rounds = 0;
    int reports = 0;
    int roundsWithValues = 0;

    void add(DownloadRound& round) {
        ++rounds;
        reports += round.observer().calls;
        roundsWithValues += round.holdsValues() ? 1 : 0;
    }

    void expectSome() const {
        if (rounds == 1) {
            return;  // a single seed may end empty
        }
        EXPECT_GT(reports, 0);
        EXPECT_GT(roundsWithValues, 0);
    }
};

void expectWholeFiles(DownloadRound& round) {
    EXPECT_EQ(round.leftRunning(), 0U);
    EXPECT_EQ(round.attemptsThatNeverEnded(), 0U);
    EXPECT_TRUE(round.holdsTheLastFileOrNothing());
    EXPECT_FALSE(round.sawTornValues());
    EXPECT_FALSE(round.observer().torn);
}

TEST(TheRemoteStore, ComesToRestOnceAllThreadsAreQuiet) {
    Harvest harvest;
    for (const std::uint64_t seed : campaignSeeds(600001, sequences(100))) {
        SCOPED_TRACE("CORVID_TEST_SEED=" + std::to_string(seed));
        DownloadRound round(seed, {});
        expectWholeFiles(round);
        harvest.add(round);
        EXPECT_TRUE(round.hasEnded());
        EXPECT_TRUE(round.isReady());
        EXPECT_TRUE(round.triedTheNewestDetails());
    }
    harvest.expectSome();
}

TEST(TheRemoteStore, ComesToRestOrStallsWhileTheVersionComesAndGoes) {
    Harvest harvest;
    for (const std::uint64_t seed : campaignSeeds(700001, sequences(100))) {
        SCOPED_TRACE("CORVID_TEST_SEED=" + std::to_string(seed));
        DownloadRound round(seed, {.versionsComeAndGo = true});
        expectWholeFiles(round);
        harvest.add(round);
        EXPECT_TRUE(round.hasEnded() || round.isStalled());
    }
    harvest.expectSome();
}

TEST(TheRemoteStore, ComesToTheNewestDetailsInWhateverOrderThePoolWorks) {
    Harvest harvest;
    for (const std::uint64_t seed : campaignSeeds(800001, sequences(100))) {
        SCOPED_TRACE("CORVID_TEST_SEED=" + std::to_string(seed));
        DownloadRound round(seed, {.forces = false});
        expectWholeFiles(round);
        harvest.add(round);
        EXPECT_TRUE(round.hasEnded());
        EXPECT_TRUE(round.isReady());
        EXPECT_TRUE(round.triedTheNewestDetails());
    }
    harvest.expectSome();
}

}  // namespace
}  // namespace simulation
