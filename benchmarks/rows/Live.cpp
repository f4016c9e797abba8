#include <thread>

#include "support/Harness.h"
#include "support/ModuleHost.h"
#include "support/Subjects.h"

namespace bench {
namespace {

/// The whole module over eight layers, nothing written to the disk.
class WholeModule {
public:
    using Key = std::wstring;

    explicit WholeModule(const Layers& layers) : profile_(layers) {
        profile_.enter();
        host_ = std::make_unique<ModuleHost>(std::make_shared<NoTaskDispatcher>());
        host_->addFurtherStores(layers);
        service_ = host_->service();
        featureSet_ = host_->adapter();
    }

    static Key keyOf(const std::string& key) { return widen(key); }

    void set(const Key& key, bool second) {
        if (observed_ == nullptr) {
            observed_ = service_->getConfig(key);
            observed_->getConfigValueNotifiers()->getValueNotifier()->addConnection([this] { ++told_; });
        }
        service_->setConfig(key, second ? L"value-second" : L"value--first");
    }

    std::size_t told() const { return told_; }

    ConfigServiceImpl& service() { return *service_; }
    ConfigFeatureSet& featureSet() { return *featureSet_; }
    ModuleHost& host() { return *host_; }

private:
    const Profile profile_;
    std::unique_ptr<ModuleHost> host_;
    std::shared_ptr<ConfigServiceImpl> service_;
    std::shared_ptr<ConfigFeatureSet> featureSet_;
    std::shared_ptr<ConfigValue> observed_;
    std::size_t told_ = 0;
};

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
    addLiveReads(scale.keys);
    addLiveReads(scale.large);
    addThreads(scale.keys, 1);
    addThreads(scale.keys, 2);
}

}  // namespace bench
