#pragma once

#include <deque>
#include <map>
#include <optional>
#include <vector>

#include "ChainOracle.h"
#include "LiveOracle.h"
#include "Step.h"

namespace simulation {

/// The module as it ought to be: the chain's oracle coupled to the live values' oracle, and watchers that act.
class ModelWorld {
public:
    /// Goes through a start of the module: its stores join one after the other, in the order in which the module makes
    /// them, and those that it makes anew take their former places.
    /// @param stores those of the module's chain after its start, in any order, each with what it has found when it was
    /// made for the first time.
    explicit ModelWorld(const std::vector<ModelStore>& stores);

    /// @return what the operation answers, for steps that answer.
    std::optional<bool> apply(const Step& step);

    ChainOracle& chain() { return chain_; }
    LiveOracle& live() { return live_; }

    /// Every call that an observer of the chain has got, in order.
    const std::vector<ChainCall>& calls() const { return calls_; }

private:
    void makeStores(const std::vector<ModelStore>& stores);
    void makeSomeAnew(const std::vector<ModelStore>& stores);
    void take(const ChainCall& call);
    void react(int watcher);
    std::wstring keyOfObject(const std::wstring& key) { return live_.ask(key).key; }
    void refill(const ModelStore& description);

    ChainOracle chain_;
    LiveOracle live_;
    std::map<std::string, ChainOracle::StorePtr> known_;
    std::map<int, std::deque<Step>> reactions_;
    std::vector<ChainCall> calls_;
};

}  // namespace simulation
