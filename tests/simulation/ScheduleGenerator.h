#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "ScheduleStep.h"
#include "WeightedChoice.h"

namespace simulation {

/// The scheduler's choices, all from one seed: the same seed gives the same schedule on every machine. Few keys, few
/// servers and few stores, so that what happens meets each other often.
class ScheduleGenerator {
public:
    explicit ScheduleGenerator(std::uint64_t seed);

    /// @param length of what is random in it; half of the schedules have a server before that.
    std::vector<ScheduleStep> schedule(std::size_t length);

private:
    using Choice = WeightedChoice<ScheduleAct>;

    std::size_t below(std::size_t bound) { return static_cast<std::size_t>(engine_() % bound); }
    bool oneIn(std::size_t count) { return below(count) == 0; }
    template <typename Items>
    const auto& anyOf(const Items& items) {
        return items[below(items.size())];
    }

    ScheduleAct pick(const std::vector<Choice>& choices) {
        return pickByWeight(choices, [this](std::size_t bound) { return below(bound); });
    }
    /// A server is named, the source is on, and a file comes, in half of them a second one from another server: by
    /// chance alone one comes in few schedules.
    void beginWithAServer(std::vector<ScheduleStep>& steps);
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
