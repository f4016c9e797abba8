#include "support/Harness.h"
#include "support/ModuleHost.h"
#include "support/Replacement.h"
#include "support/Subjects.h"

namespace bench {
namespace {

constexpr std::int32_t PLACE = 50;

/// A module with a live value for each key of a store that comes and goes.
class ComingAndGoing {
public:
    explicit ComingAndGoing(std::size_t count)
        : profile_(makeLayers(10)),
          store_(makeReadOnlyStore("Many", PLACE, makeEntries(PLACE, count))),
          other_(makeReadOnlyStore("Many", PLACE, otherVersion(makeEntries(PLACE, count)))) {
        profile_.enter();
        host_ = std::make_unique<ModuleHost>(std::make_shared<NoTaskDispatcher>());
        for (std::size_t index = 0; index < count; ++index) {
            const auto value = host_->service()->getConfig(widen(makeKey(PLACE, index)));
            value->getConfigValueNotifiers()->getValueNotifier()->addConnection([this] { ++told_; });
        }
    }

    ConfigStoreManager& manager() { return host_->manager(); }
    const std::shared_ptr<ConfigStore>& version(bool second) const { return second ? other_ : store_; }
    std::size_t told() const { return told_; }

private:
    const Profile profile_;
    const std::shared_ptr<ConfigStore> store_;
    const std::shared_ptr<ConfigStore> other_;
    std::unique_ptr<ModuleHost> host_;
    std::size_t told_ = 0;
};

void addJoin(std::size_t count) {
    add("a store of " + std::to_string(count) + " keys joins, each observed", "corvid",
        [count](benchmark::State& state) {
            auto& module = kept<ComingAndGoing>(count);
            module.manager().removeStoreWithSameName("Many");
            for (auto _ : state) {
                const std::size_t before = module.told();
                module.manager().addStore(module.version(false));
                if (module.told() - before != count) {
                    state.SkipWithError("not every observer was told");
                }
                state.PauseTiming();
                module.manager().removeStoreWithSameName("Many");
                state.ResumeTiming();
            }
        })
        ->Unit(benchmark::kMillisecond);
}

void addModuleReplacement(std::size_t count) {
    add(replacementRow(count), "corvid", [count](benchmark::State& state) {
        auto& module = kept<ComingAndGoing>(count);
        module.manager().addStore(module.version(false));
        bool second = false;
        for (auto _ : state) {
            second = !second;
            const std::size_t before = module.told();
            module.manager().updateStoreValues(module.version(second));
            if (module.told() - before != changedCount(count)) {
                state.SkipWithError("not every observer of a change was told");
            }
        }
    })->Unit(benchmark::kMillisecond);
}

}  // namespace

void addModuleStores(const Scale& scale) {
    addJoin(scale.small);
    addJoin(scale.large);
    addModuleReplacement(scale.small);
    addModuleReplacement(scale.large);
}

}  // namespace bench
