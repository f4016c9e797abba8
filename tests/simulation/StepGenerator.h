#pragma once

#include <cstdint>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "Step.h"

namespace simulation {

/// Random steps over a small alphabet of keys, values and store names, so that steps meet each other often. The same
/// seed gives the same steps on every machine.
class StepGenerator {
public:
    explicit StepGenerator(std::uint64_t seed);

    /// Chooses by numbers from elsewhere instead of by a seed.
    using Numbers = std::function<std::uint64_t()>;
    explicit StepGenerator(Numbers numbers);

    /// Uses these keys and no others.
    StepGenerator(std::uint64_t seed, std::vector<std::wstring> keys);

    /// Lets watchers ask, write, erase and sign off inside their notifications.
    void letWatchersAct();

    /// Lets them add and remove stores there as well, and drop the last reference to a watcher. A dropped watcher hears
    /// on for as long as a notification under way holds it, which no model here tells.
    void letWatchersChangeTheChain();

    std::vector<Step> sequence(std::size_t length);
    Step next();

    /// Only writes and erasures, by the roads that any thread may take.
    Step nextWrite();

    /// Only stores that come, go and change, by the roads that any thread may take.
    Step nextMembership();

    /// The keys that this generator uses: a few, chosen by the seed.
    const std::vector<std::wstring>& keys() const { return keys_; }

    /// Every key that any generator uses, each spelling once.
    static const std::vector<std::wstring>& alphabet();

private:
    struct Choice {
        StepKind kind;
        unsigned weight;
    };

    struct Watched {
        int watcher;
        std::wstring key;
    };

    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(numbers_() % bound); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <typename Items>
    const auto& anyOf(const Items& items) {
        return items[below(items.size())];
    }

    StepKind pick(const std::vector<Choice>& choices);
    Step make(StepKind kind);
    ModelStore anyStore();
    ModelEntries anyEntries();
    std::map<std::wstring, std::wstring> anyValues();
    void fillWatch(Step& step);
    void fillKnownWatcher(Step& step);

    Numbers numbers_;
    std::vector<std::wstring> keys_;
    std::vector<Watched> watched_;
    std::vector<Choice> reactions_;
    bool fips_ = false;
};

}  // namespace simulation
