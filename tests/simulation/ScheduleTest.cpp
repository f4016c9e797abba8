#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "../torture/Trial.h"
#include "Campaign.h"
#include "ScheduleGenerator.h"
#include "ScheduledWorld.h"
#include "fakes/TemporaryDirectory.h"
#include "support/ForkedChild.h"

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

/// What must happen in a campaign for it to have tried everything, and in how many schedules it must once on average; a
/// short one may well miss some.
const std::map<std::string, std::uint64_t> LANDMARKS = {
    {"quiet moments", 1000},
    {"steps while another one waited", 1000},
    {"links taken", 1000},
    {"data resets", 1000},
    {"copies kept of other modules' stores", 1000},
    {"files of the server that joined", 5},
    {"files of the server that changed", 200},
    {"server's values that a changed profile took away", 1000},
    {"persists of the user's file that a disk refused", 1000},
    {"copies that a disk refused", 1000},
    {"processes that went on with another's files", 1000},
};

constexpr std::uint64_t SCHEDULES_THAT_PASS_ALL_LANDMARKS = 1000;

/// The landmarks that so many schedules should have passed and have not.
std::vector<std::string> missedLandmarks(const ScheduleTally& tally, std::uint64_t schedules) {
    std::vector<std::string> missed;
    if (schedules < SCHEDULES_THAT_PASS_ALL_LANDMARKS) {
        return missed;
    }
    for (const auto& [landmark, schedulesForOne] : LANDMARKS) {
        const auto times = tally.find(landmark);
        if (times == tally.end() || times->second < schedules / schedulesForOne) {
            missed.push_back(landmark);
        }
    }
    return missed;
}

/// Tries schedules until the trial is over, or one of them fails. The first one is that of the run's seed: a seed that
/// was printed for a failure, or was left by a process that died, replays its schedule at once.
/// @param firstDifference gives an optional Difference for a schedule, none if it passes.
/// @return the schedule that failed, no step if none did; and its seed.
template <typename FirstDifference>
std::pair<std::vector<ScheduleStep>, unsigned> firstFailure(torture::Trial& trial,
                                                            const FirstDifference& firstDifference) {
    for (unsigned seed = trial.seed(); trial.nextRound(); ++seed) {
        trial.begin(seed);
        trial.tried();
        std::vector<ScheduleStep> steps =
            ScheduleGenerator(seed).schedule(FEWEST_STEPS + seed % (MOST_STEPS - FEWEST_STEPS + 1));
        if (firstDifference(steps)) {
            return {std::move(steps), seed};
        }
    }
    return {};
}

TEST(Schedules, LoseNothingAndTellAllInWhateverOrderTheThreadsTakeTheirSteps) {
    torture::Trial trial("schedules", "schedules", SCHEDULES_IN_CHECK, SCHEDULES);
    ScheduleTally tally;
    std::uint64_t schedules = 0;
    const auto [steps, seed] = firstFailure(trial, [&](const std::vector<ScheduleStep>& some) {
        ++schedules;
        return firstDifferenceOf(some, tally);
    });
    if (!steps.empty()) {
        trial.lost(reportOfSchedule(steps), "", seed);
        return;
    }
    for (const auto& [landmark, schedulesForOne] : LANDMARKS) {
        RecordProperty(landmark, std::to_string(tally[landmark]));
    }
    EXPECT_EQ(missedLandmarks(tally, schedules), std::vector<std::string>());
}

TEST(CampaignOfSchedules, ExpectsEachLandmarkOfAThousandSchedulesAsOftenAsItMustBeAndNoneOfAFew) {
    ScheduleTally tally;
    EXPECT_EQ(missedLandmarks(tally, 3), std::vector<std::string>());
    EXPECT_EQ(missedLandmarks(tally, 999), std::vector<std::string>());
    EXPECT_EQ(missedLandmarks(tally, 1000).size(), LANDMARKS.size());
    for (const auto& [landmark, schedulesForOne] : LANDMARKS) {
        tally[landmark] = 1000 / schedulesForOne;
    }
    EXPECT_EQ(missedLandmarks(tally, 1000), std::vector<std::string>());
    --tally["files of the server that joined"];
    EXPECT_EQ(missedLandmarks(tally, 1000), std::vector<std::string>{"files of the server that joined"});
}

std::string described(const std::vector<ScheduleStep>& steps) {
    std::string text;
    for (const ScheduleStep& step : steps) {
        text += describe(step) + "\n";
    }
    return text;
}

/// Tries schedules in a process of its own, which writes each of them into a file and dies in the middle of one.
/// @param number which of them it is. @param seed the run's, as CORVID_TEST_SEED has it; a random one if it is empty.
void dieInASchedule(const fakes::TemporaryDirectory& directory, int number, const std::string& seed = "") {
    const int status = support::runForked([&] {
        if (!seed.empty()) {
            setenv("CORVID_TEST_SEED", seed.c_str(), 1);
        }
        setenv("CORVID_TORTURE_KEEP", directory.path().c_str(), 1);
        torture::Trial trial("dying", "schedules", 100, 100);
        firstFailure(trial, [&](const std::vector<ScheduleStep>& steps) {
            directory.write("schedule", described(steps));
            if (--number == 0) {
                raise(SIGKILL);
            }
            return std::optional<Difference>();
        });
        return 0;
    });
    EXPECT_EQ(status, 128 + SIGKILL);
}

TEST(CampaignOfSchedules, LeavesTheSeedOfTheScheduleInWhichTheProcessDied) {
    const fakes::TemporaryDirectory directory;
    dieInASchedule(directory, 3);
    const std::string schedule = directory.read("schedule");
    const std::string left = directory.read("dying-under-way");
    ASSERT_TRUE(left.starts_with("CORVID_TEST_SEED=")) << left;

    dieInASchedule(directory, 1, left.substr(left.find('=') + 1));
    EXPECT_EQ(directory.read("schedule"), schedule);
    EXPECT_EQ(directory.read("dying-under-way"), left);
}

}  // namespace
}  // namespace simulation
