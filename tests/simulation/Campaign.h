#pragma once

#include <cstdint>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

namespace simulation {

/// The seeds of a campaign: CORVID_TEST_SEED alone if it is set, and otherwise count seeds from the first one on.
std::vector<std::uint64_t> campaignSeeds(std::uint64_t first, std::size_t count);

/// Where a sequence went wrong.
struct Difference {
    std::size_t step = 0;
    std::string text;
};

/// A failing sequence with every step left out that the failure does not need.
/// @param firstDifference gives an optional Difference for a sequence, none if it passes.
template <typename Step, typename FirstDifference>
std::vector<Step> shrunk(std::vector<Step> steps, const FirstDifference& firstDifference) {
    for (bool smaller = true; smaller;) {
        smaller = false;
        if (const auto difference = firstDifference(steps)) {
            steps.resize(difference->step + 1);
        }
        for (std::size_t index = steps.size(); index-- > 0;) {
            std::vector<Step> without = steps;
            without.erase(without.begin() + static_cast<std::ptrdiff_t>(index));
            if (!without.empty() && firstDifference(without)) {
                steps = std::move(without);
                smaller = true;
            }
        }
    }
    return steps;
}

/// The report of a failing sequence: the steps that are left, and the difference.
template <typename Step, typename FirstDifference>
std::string reportOfFailure(const std::vector<Step>& steps, const FirstDifference& firstDifference) {
    const std::vector<Step> few = shrunk(steps, firstDifference);
    std::ostringstream report;
    report << "fails with these steps:\n";
    for (const Step& step : few) {
        report << "    " << describe(step) << "\n";
    }
    if (const auto difference = firstDifference(few)) {
        report << "after step " << difference->step << " of these: " << difference->text;
    }
    return report.str();
}

/// The same with the seed at its head.
template <typename Step, typename FirstDifference>
std::string reportOfFailure(std::uint64_t seed, const std::vector<Step>& steps,
                            const FirstDifference& firstDifference) {
    return "CORVID_TEST_SEED=" + std::to_string(seed) + " " + reportOfFailure(steps, firstDifference);
}

}  // namespace simulation
