#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "ScheduleStep.h"

namespace simulation {

/// The scheduler's choices, all from one seed: the same seed gives the same schedule on every machine. Few keys, few
/// servers and few stores, so that what happens meets each other often.
class ScheduleGenerator {
public:
    explicit ScheduleGenerator(std::uint64_t seed);

    std::vector<ScheduleStep> schedule(std::size_t length);

private:
    struct Choice {
        ScheduleAct act;
        unsigned weight;
    };

    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(engine_() % bound); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <typename Items>
    const auto& anyOf(const Items& items) {
        return items[below(items.size())];
    }

    ScheduleAct pick(const std::vector<Choice>& choices);
    ScheduleStep make(ScheduleAct act);
    void fill(ScheduleStep& step);
    void fillAssignment(ScheduleStep& step);
    void fillTransfer(ScheduleStep& step);
    void fillWatch(ScheduleStep& step);
    void fillMeanwhile(ScheduleStep& step);
    ModelStore anyStore();

    std::mt19937_64 engine_;
    std::vector<std::wstring> keys_;
    std::vector<Choice> choices_;
    std::vector<std::wstring> watched_;
};

}  // namespace simulation
