#include <algorithm>
#include <memory>
#include <vector>

#include "support/Harness.h"
#include "support/Subjects.h"
#include "support/WholeModule.h"

namespace bench {
namespace {

/// Live values of one store of that many keys, in a module that has next to nothing besides.
class LiveValues {
public:
    explicit LiveValues(std::size_t count) : module_(makeLayers(10)) {
        module_.host().adapter()->addConfigStore(makeReadOnlyStore("Many", 50, makeEntries(50, count)));
        for (std::size_t index = 0; index < count; index += std::max<std::size_t>(1, count / 1000)) {
            values_.push_back(module_.service().getConfig(widen(makeKey(50, index))));
        }
    }

    const std::vector<std::shared_ptr<ConfigValue>>& values() const { return values_; }

private:
    WholeModule module_;
    std::vector<std::shared_ptr<ConfigValue>> values_;
};

void addLiveReads(std::size_t count) {
    add("live read, " + std::to_string(count) + " live values", "corvid", [count](benchmark::State& state) {
        const auto& values = kept<LiveValues>(count).values();
        askInTurn(state, values, [](const auto& value) { return value->getValue(); });
    });
}

std::size_t keysOfThreads = 0;

/// The module belongs to the thread that makes it, and is there before the others ask it.
void makeModuleOfThreads(const benchmark::State&) { kept<WholeModule>(keysOfThreads); }

void addThreads(std::size_t keys, int threads) {
    keysOfThreads = keys;
    add("read by " + std::to_string(threads) + (threads == 1 ? " thread" : " threads"), "corvid",
        [keys](benchmark::State& state) {
            const auto sample =
                convertAll<std::wstring>(sampleKeys(makeLayers(keys), Place::Fourth), WholeModule::keyOf);
            auto& featureSet = kept<WholeModule>(keys).featureSet();
            std::wstring value;
            askInTurn(state, sample, [&](const auto& key) { return featureSet.getConfig(key, value, false); });
        })
        ->Setup(makeModuleOfThreads)
        ->Threads(threads)
        ->UseRealTime();
}

}  // namespace

void addModuleLive(const Scale& scale) {
    addSet<WholeModule>(scale, "corvid");
    addSet<WritingModule>(scale, "corvid", "set, one observer told, with the host's queue");
    addLiveReads(scale.keys);
    addLiveReads(scale.large);
    addThreads(scale.keys, 1);
    addThreads(scale.keys, 2);
}

}  // namespace bench
