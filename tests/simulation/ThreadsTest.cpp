#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>
#include <vector>

#include "Comparison.h"
#include "ModelWorld.h"
#include "ModuleWorld.h"
#include "Sanitized.h"
#include "StepGenerator.h"
#include "impl/unified/ServicesDispatcherImpl.h"
#include "quill/FunctionTask.h"

namespace simulation {
namespace {

/// The module on a dispatcher thread of its own, as in a client.
class ThreadedModule {
public:
    ThreadedModule() : dispatcher_(std::make_shared<ServicesDispatcherImpl>()) {
        dispatcher_->start();
        onDispatcher([this] { world_ = std::make_unique<ModuleWorld>(dispatcher_); });
    }

    ~ThreadedModule() {
        onDispatcher([this] { world_.reset(); });
        dispatcher_->stop();
    }

    ThreadedModule(const ThreadedModule&) = delete;
    ThreadedModule& operator=(const ThreadedModule&) = delete;

    ModuleWorld& world() { return *world_; }

    /// Runs after everything that has been queued so far.
    void onDispatcher(const std::function<void()>& function) {
        dispatcher_->enqueueBlock(std::make_shared<QuillCoreUtils::FunctionTask>(function, "test"));
    }

    void post(const std::function<void()>& function) {
        dispatcher_->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(function, "test"));
    }

private:
    const std::shared_ptr<ServicesDispatcherImpl> dispatcher_;
    std::unique_ptr<ModuleWorld> world_;
};

/// One round: a watcher on each key, three threads that write and change the chain, one that reads, and the
/// dispatcher thread that writes at the same time. Whatever order the threads fell into, the chain's own calls tell it.
class Round {
public:
    explicit Round(std::uint64_t seed) : keys_(StepGenerator(seed).keys()) {
        module_.onDispatcher([this] { watchAllKeys(); });
        std::atomic<bool> writing = true;
        std::thread reader([&] { readWhile(writing); });
        std::vector<std::thread> threads;
        for (std::uint64_t number = 1; number <= 3; ++number) {
            threads.emplace_back([this, seed, number] { write(seed * 10 + number); });
        }
        StepGenerator generator(seed, keys_);
        for (int count = 0; count < 40; ++count) {
            module_.post([this, step = generator.nextWrite()] { module_.world().apply(step); });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
        writing = false;
        reader.join();
    }

    std::optional<std::string> difference() {
        std::optional<std::string> difference;
        module_.onDispatcher([&] { difference = differenceFromReplay(); });
        return difference;
    }

    std::optional<std::string> differenceFromChain() {
        std::optional<std::string> difference;
        module_.onDispatcher([&] { difference = differenceOfAnyPlainKey(); });
        return difference;
    }

private:
    void watchAllKeys() {
        Step watch;
        watch.kind = StepKind::Watch;
        for (const std::wstring& key : keys_) {
            ++watch.watcher;
            watch.key = key;
            module_.world().apply(watch);
            expected_.watch(key, watch.watcher);
        }
    }

    void write(std::uint64_t seed) {
        StepGenerator generator(seed, keys_);
        for (int count = 0; count < 40; ++count) {
            const bool changesTheChain = count % 4 == 0;
            Step step = changesTheChain ? generator.nextMembership() : generator.nextWrite();
            // A replaced store takes its cached copy with it without a word about the keys of the copy.
            step.store.cached = false;
            module_.world().apply(step);
        }
    }

    void readWhile(const std::atomic<bool>& writing) {
        SimulatedModule& module = module_.world().module();
        while (writing) {
            for (const std::wstring& key : keys_) {
                std::wstring value;
                module.featureSet().getConfig(key, value, false);
                module.featureSet().isKeySensitive(key);
            }
            module.manager().waitForStoreReady("Alpha");
            module.manager().waitForStoresReady();
        }
    }

    std::optional<std::string> differenceFromReplay() {
        for (const ChainCall& call : module_.world().calls()) {
            expected_.take(call);
        }
        if (auto text = differenceOfHeard(expected_.heard(), module_.world().heard(), 0)) {
            return text;
        }
        return differenceOfLiveValues(expected_, module_.world().module().service());
    }

    std::optional<std::string> differenceOfAnyPlainKey() {
        for (const std::wstring& key : keys_) {
            if (ChainOracle::currentNameOf(key) != nullptr || ChainOracle::oldNameOf(key) != nullptr) {
                continue;
            }
            const ValueState state = stateOf(*module_.world().module().service().getConfig(key));
            std::wstring value;
            std::wstring storeName;
            bool otherName = false;
            const bool found = module_.world().module().manager().getValue(key, value, storeName, otherName, false);
            // A silent report never turns "defined" off, so a key that went with its store may still be defined.
            if (state.value != value || state.valueStoreName != storeName || (found && !state.isDefined)) {
                return describe(state) + "\nbut the chain says [" + printable(value) + "] of [" + printable(storeName) +
                       "]";
            }
        }
        return std::nullopt;
    }

    const std::vector<std::wstring> keys_;
    ThreadedModule module_;
    LiveOracle expected_;
};

TEST(TheModule, TellsClientsInTheOrderOfTheChainWhateverThreadsChangeIt) {
    for (const std::uint64_t seed : campaignSeeds(300001, sequences(60))) {
        Round round(seed);
        const auto difference = round.difference();
        ASSERT_FALSE(difference) << "CORVID_TEST_SEED=" << seed << "\n" << *difference;
    }
}

TEST(TheModule, HoldsTheChainsAnswersOnceAllThreadsAreQuiet) {
    for (const std::uint64_t seed : campaignSeeds(400001, sequences(60))) {
        Round round(seed);
        const auto difference = round.differenceFromChain();
        ASSERT_FALSE(difference) << "CORVID_TEST_SEED=" << seed << "\n" << *difference;
    }
}

}  // namespace
}  // namespace simulation
