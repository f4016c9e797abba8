#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "ConfigValueNotifiers.h"
#include "ConfigValueObserver.h"
#include "Deeds.h"
#include "StressedModule.h"
#include "Trial.h"
#include "simulation/Sanitized.h"
#include "stores/LocalFileConfigStore.h"
#include "support/Watchdog.h"

namespace torture {
namespace {

constexpr std::uint64_t THREADS = 8;
constexpr std::uint64_t STEPS = 150;  // of each thread, in one round
constexpr std::chrono::minutes PATIENCE{3};
constexpr std::uint64_t FEWEST_ROUNDS_IN_CHECK = 40;  // enough for every deed; a replay has one

/// A client on the dispatcher thread: it comes and goes as an observer of live values, and does something about some of
/// the changes from inside their notifications.
class Listener : public std::enable_shared_from_this<Listener> {
public:
    Listener(StressedModule& module, support::Watchdog& watchdog, std::uint64_t seed)
        : module_(module), watchdog_(watchdog), deeds_(module, seed) {}

    /// What it does without having heard of a change.
    void act() {
        watchdog_.moved();
        const std::wstring& key = Deeds::keys()[deeds_.below(Deeds::keys().size())];
        switch (deeds_.below(6)) {
        case 0:
        case 1:
            observe(key);
            break;
        case 2:
            connect(key);
            break;
        case 3:
            forgetOne();
            break;
        case 4:
            module_.service().getAllConfig();
            module_.service().isKeySensitive(key);
            break;
        default:
            module_.service().logConfig();
        }
    }

    /// From here on it listens only.
    void becomeQuiet() { reactionsLeft_ = 0; }

    int heard() const { return heard_; }
    int reactions() const { return reactions_; }

    void end() {
        while (!connections_.empty()) {
            forgetOne();
        }
        observers_.clear();
    }

private:
    class Observer : public ConfigValueObserver {
    public:
        explicit Observer(std::weak_ptr<Listener> listener) : listener_(std::move(listener)) {}
        void OnValueChanged() override {
            if (const auto listener = listener_.lock()) {
                listener->hear();
            }
        }

    private:
        const std::weak_ptr<Listener> listener_;
    };

    void observe(const std::wstring& key) {
        if (const auto value = module_.service().getConfig(key)) {
            observers_.push_back(std::make_shared<Observer>(weak_from_this()));
            value->addObserver(std::weak_ptr<ConfigValueObserver>(observers_.back()));
        }
    }

    void connect(const std::wstring& key) {
        if (const auto value = module_.service().getConfig(key)) {
            connections_.push_back(
                value->getConfigValueNotifiers()->getValueNotifier()->connect([weak = weak_from_this()] {
                    if (const auto listener = weak.lock()) {
                        listener->hear();
                    }
                }));
        }
    }

    void forgetOne() {
        if (!connections_.empty()) {
            if (const auto connection = connections_.front().lock()) {
                connection->disconnect();
            }
            connections_.erase(connections_.begin());
        }
        if (!observers_.empty()) {
            observers_.erase(observers_.begin());
        }
    }

    void hear() {
        ++heard_;
        if (depth_ >= 2 || reactionsLeft_ == 0 || deeds_.below(3) != 0) {
            return;
        }
        --reactionsLeft_;
        ++reactions_;
        ++depth_;
        deeds_.below(4) == 0 ? act() : deeds_.doOne();
        --depth_;
    }

    StressedModule& module_;
    support::Watchdog& watchdog_;
    Deeds deeds_;
    std::vector<std::shared_ptr<Observer>> observers_;
    std::vector<std::weak_ptr<PropertyNotifierConnection>> connections_;
    int depth_ = 0;
    int reactionsLeft_ = 300;
    int heard_ = 0;
    int reactions_ = 0;
};

/// What all rounds have come by: those in which nothing ever happened would all end in order.
struct Harvest {
    std::size_t downloads = 0;
    std::size_t versionQueries = 0;
    int heard = 0;
    int reactions = 0;
    std::uint64_t profileRemovals = 0;

    void expectSome() const {
        EXPECT_GT(downloads, 0U);
        EXPECT_GT(versionQueries, 0U);
        EXPECT_GT(heard, 0);
        EXPECT_GT(reactions, 0);
        EXPECT_GT(profileRemovals, 0U) << "a changed profile has never taken a store out of the chain";
    }
};

/// One round: eight threads do what clients do, all at once.
class Storm {
public:
    Storm(support::Watchdog& watchdog, std::uint64_t seed)
        : watchdog_(watchdog), module_(seed % 2 == 0), listener_(std::make_shared<Listener>(module_, watchdog, seed)) {
        module_.adapter().getConfigStoreManager()->AddObserver(&profileRemovals_);
        module_.start();
        std::vector<std::thread> threads;
        for (std::uint64_t number = 1; number <= THREADS; ++number) {
            threads.emplace_back([this, seed = seed + number] { act(seed); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        // A notification may have put something off until after it, and be told of in its turn.
        module_.runOnDispatcher([this] { listener_->becomeQuiet(); });
        module_.runOnDispatcher([] {});
        module_.runOnDispatcher([] {});
        module_.start();
    }

    ~Storm() {
        module_.runOnDispatcher([this] { listener_->end(); });
    }

    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;

    /// What does not hold although it is calm; empty if all does.
    std::string complaint() {
        std::string complaint;
        module_.runOnDispatcher([&] {
            for (const wchar_t* key : {L"Theme", L"Language", L"Served"}) {
                complaint += complaintOf(key);
            }
        });
        module_.persist();
        LocalFileConfigStore file("file", 1, module_.world().configDirectory(), "corvidLocalConfig.xml", true, true);
        std::wstring value;
        if (complaint.empty() && (!file.getValue(L"Language", value) || value != CALM)) {
            complaint = "what was set last is not in the file";
        }
        return complaint;
    }

    void addTo(Harvest& harvest) {
        harvest.downloads += module_.downloads();
        harvest.versionQueries += module_.versionQueries();
        harvest.profileRemovals += profileRemovals_.count();
        module_.runOnDispatcher([&] {
            harvest.heard += listener_->heard();
            harvest.reactions += listener_->reactions();
        });
    }

    std::string folder() const { return module_.world().directory().path(); }
    std::weak_ptr<UnifiedFactory> factory() const { return module_.factory(); }

private:
    static constexpr const wchar_t* CALM = L"calm";

    void act(std::uint64_t seed) {
        Deeds deeds(module_, seed);
        for (std::uint64_t step = 0; step < STEPS; ++step) {
            if (deeds.below(5) == 0) {
                module_.post([listener = listener_] { listener->act(); });
            } else {
                deeds.doOne();
            }
            watchdog_.moved();
        }
    }

    /// Sets the key while no other thread can change the chain, a download that still runs for one.
    std::string complaintOf(const std::wstring& key) {
        std::string complaint;
        const std::string name(key.begin(), key.end());
        module_.adapter().getConfigStoreManager()->atomically([&] {
            std::wstring value;
            // In every writable store: that of a client's own may come before the user's file.
            if (!module_.featureSet().setConfig(std::map<std::wstring, std::wstring>{{key, CALM}})) {
                complaint = "no store took a value of " + name + "; ";
            } else if (!module_.featureSet().getConfig(key, value, false)) {
                complaint = "a lookup does not find " + name + "; ";
            } else if (module_.service().getConfig(key)->getValue() != value) {
                complaint = "the live value is not the chain's: " + name + "; ";
            }
        });
        return complaint;
    }

    support::Watchdog& watchdog_;
    ProfileRemovals profileRemovals_;  // outlives the module, which tells it
    StressedModule module_;
    const std::shared_ptr<Listener> listener_;
};

const char* nameOfBuild() {
#if defined(__SANITIZE_THREAD__)
    return "g++, ThreadSanitizer";
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
    return "clang, ThreadSanitizer";
#endif
#endif
    return "";
}

/// A deed that is never done would be missed by nobody.
void expectEveryDeed() {
    for (const char* const name :
         {"readValue",   "readStores",           "writeUserValue", "writeUserValues", "writeInMemory",
          "resetValue",  "markSensitive",        "addStore",       "removeStore",     "removeCachedStores",
          "startOrStop", "startOrStopDownloads", "changeServer",   "forceDownload",   "refresh",
          "provision",   "changeTelephony",      "changeProfile",  "resetData",       "powerDown"}) {
        EXPECT_GT(Deeds::done(name), 0U) << name;
    }
}

TEST(Stress, OfEightThreadsEndsInOrderAndLeavesNothingBehind) {
    // Half a minute where somebody looks on who knows data races. What takes a tenth of the rounds with a sanitizer is
    // not meant here.
    const std::uint64_t rounds = *nameOfBuild() != '\0' ? 100 : FEWEST_ROUNDS_IN_CHECK;
    Trial trial("stress", "steps", rounds * 10 / simulation::sequences(10), 500);
    trial.remark(nameOfBuild());
    support::Watchdog watchdog(PATIENCE);
    Harvest harvest;
    std::uint64_t done = 0;
    for (; trial.nextRound(); ++done) {
        auto storm = std::make_unique<Storm>(watchdog, trial.random()());
        trial.tried(THREADS * STEPS);
        if (const std::string complaint = storm->complaint(); !complaint.empty()) {
            trial.lost(complaint, storm->folder());
        }
        storm->addTo(harvest);
        const auto factory = storm->factory();
        storm.reset();
        if (!factory.expired()) {
            trial.lost("something of the module has outlived its end", "");
        }
    }
    if (done >= FEWEST_ROUNDS_IN_CHECK) {
        harvest.expectSome();
        expectEveryDeed();
    }
}

class WatchdogDeathTest : public testing::Test {};

TEST_F(WatchdogDeathTest, PrintsEveryStackOnceNothingMoves) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            support::Watchdog watchdog(std::chrono::milliseconds(1));
            std::mutex mutex;
            mutex.lock();
            mutex.lock();
        },
        "nothing has moved for 1 ms\nthread [0-9]+:\n(.*\n)*.*main");
}

}  // namespace
}  // namespace torture
