#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "Campaign.h"
#include "DownloadOracle.h"
#include "DownloadStepGenerator.h"
#include "DownloadWorld.h"
#include "ListDifference.h"
#include "Sanitized.h"

namespace simulation {
namespace {

std::optional<std::string> differenceAfter(const DownloadStep& step, DownloadOracle& model, DownloadWorld& module) {
    model.apply(step);
    module.apply(step);
    if (auto text = differenceOf("line", model.facts(), module.facts())) {
        return text;
    }
    return module.brokenPromise();
}

std::optional<Difference> firstDifference(const ServerDetails& start, const std::vector<DownloadStep>& steps) {
    DownloadOracle model(start);
    DownloadWorld module(start);
    for (std::size_t index = 0; index < steps.size(); ++index) {
        if (auto text = differenceAfter(steps[index], model, module)) {
            return Difference{index, *text};
        }
    }
    if (auto text = module.leftBehind()) {
        return Difference{steps.size() - 1, *text};
    }
    return std::nullopt;
}

TEST(TheRemoteStore, DoesAsTheModelSaysThroughRandomSequences) {
    for (const std::uint64_t seed : campaignSeeds(500001, sequences(3000))) {
        DownloadStepGenerator generator(seed);
        const std::vector<DownloadStep> steps = generator.sequence(40);
        const auto difference = [&](const std::vector<DownloadStep>& some) {
            return firstDifference(generator.start(), some);
        };
        ASSERT_FALSE(difference(steps)) << "made with " << describe(generator.start()) << "\n"
                                        << reportOfFailure(seed, steps, difference);
    }
}

}  // namespace
}  // namespace simulation
