#include <gtest/gtest.h>

#include "Comparison.h"
#include "Sanitized.h"
#include "StepGenerator.h"

namespace simulation {
namespace {

TEST(TheModule, AnswersAndTellsAsTheModelSaysThroughRandomSequences) {
    const Comparison comparison;
    for (const std::uint64_t seed : campaignSeeds(1, sequences(2000))) {
        const std::vector<Step> steps = StepGenerator(seed).sequence(40);
        ASSERT_FALSE(firstDifference(steps, comparison)) << failureReport(seed, steps, comparison);
    }
}

TEST(TheModule, AnswersAndTellsAsTheModelSaysWhileObserversActInsideNotifications) {
    Comparison comparison;
    comparison.chainCalls = false;
    for (const std::uint64_t seed : campaignSeeds(100001, sequences(1000))) {
        StepGenerator generator(seed);
        generator.letWatchersAct();
        const std::vector<Step> steps = generator.sequence(40);
        ASSERT_FALSE(firstDifference(steps, comparison)) << failureReport(seed, steps, comparison);
    }
}

}  // namespace
}  // namespace simulation
