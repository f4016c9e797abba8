#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "../torture/Trial.h"
#include "Campaign.h"
#include "ScheduleGenerator.h"
#include "ScheduledWorld.h"

namespace simulation {
namespace {

/// Short schedules are many in the same time, long ones lead far from the start.
constexpr std::size_t FEWEST_STEPS = 4;
constexpr std::size_t MOST_STEPS = 24;
constexpr std::uint64_t SCHEDULES_IN_CHECK = 20000;
constexpr std::uint64_t SCHEDULES = 1000000;

std::optional<Difference> firstDifferenceOf(const std::vector<ScheduleStep>& steps, ScheduleTally& tally) {
    ScheduledWorld world(tally);
    for (std::size_t index = 0; index < steps.size(); ++index) {
        if (const auto text = world.apply(steps[index])) {
            return Difference{index, *text};
        }
    }
    if (const auto text = world.finish()) {
        return Difference{steps.size() - 1, "at the end: " + *text};
    }
    return std::nullopt;
}

/// The steps with as little as the failure needs of what happens while they wait.
template <typename FirstDifference>
std::vector<ScheduleStep> withLessMeanwhile(std::vector<ScheduleStep> steps, const FirstDifference& firstDifference) {
    for (std::size_t index = 0; index < steps.size(); ++index) {
        for (std::size_t other = steps[index].meanwhile.size(); other-- > 0;) {
            std::vector<ScheduleStep> without = steps;
            without[index].meanwhile.erase(without[index].meanwhile.begin() + static_cast<std::ptrdiff_t>(other));
            if (firstDifference(without)) {
                steps = std::move(without);
            }
        }
    }
    return steps;
}

std::string reportOfSchedule(const std::vector<ScheduleStep>& steps) {
    ScheduleTally untold;
    const auto firstDifference = [&](const std::vector<ScheduleStep>& some) { return firstDifferenceOf(some, untold); };
    return reportOfFailure(withLessMeanwhile(steps, firstDifference), firstDifference);
}

/// What must happen somewhere in a campaign for it to have tried everything.
const std::vector<std::string> LANDMARKS = {
    "quiet moments",
    "steps while another one waited",
    "links taken",
    "data resets",
    "copies kept of other modules' stores",
    "files of the server that joined or changed",
    "persists of the user's file that a disk refused",
    "copies that a disk refused",
    "processes that went on with another's files",
};

TEST(Schedules, LoseNothingAndTellAllInWhateverOrderTheThreadsTakeTheirSteps) {
    torture::Trial trial("schedules", "schedules", SCHEDULES_IN_CHECK, SCHEDULES);
    ScheduleTally tally;
    // The first schedule is that of the run's seed: a seed that is printed for a failure replays it at once.
    for (unsigned seed = trial.seed(); trial.nextRound(); ++seed) {
        trial.tried();
        const std::vector<ScheduleStep> steps =
            ScheduleGenerator(seed).schedule(FEWEST_STEPS + seed % (MOST_STEPS - FEWEST_STEPS + 1));
        if (firstDifferenceOf(steps, tally)) {
            trial.lost(reportOfSchedule(steps), "", seed);
            return;
        }
    }
    for (const std::string& landmark : LANDMARKS) {
        EXPECT_GT(tally[landmark], 0U) << landmark;
        RecordProperty(landmark, std::to_string(tally[landmark]));
    }
}

}  // namespace
}  // namespace simulation
