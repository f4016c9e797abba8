#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "Campaign.h"
#include "ModelWorld.h"
#include "ModuleWorld.h"

namespace simulation {

/// What to hold the module to after each step.
struct Comparison {
    /// The calls of the chain. With watchers that act, two observers of the chain see nested calls in an order that
    /// depends on their addresses, so that only the watchers' own tale can be compared.
    bool chainCalls = true;

    /// Puts files into the world before the module starts. The model goes through the same start, over what a second
    /// reader finds in the XML documents among them, as far as that is exact, and over what the stores themselves have
    /// read of the others; then chain, stores and live values are held to it. Nothing: empty directories.
    std::function<void(fakes::ScopedWorld&)> prepare = {};
};

/// Runs the steps on a fresh module and a fresh model, on this thread as the dispatcher thread, and compares them after
/// each step. @return the first difference; none if the module does what the model says.
std::optional<Difference> firstDifference(const std::vector<Step>& steps, const Comparison& comparison);

/// The whole report of a failing sequence: seed, the steps that are left, and the difference.
std::string failureReport(std::uint64_t seed, const std::vector<Step>& steps, const Comparison& comparison);

/// The difference between live values and model over every object that exists.
std::optional<std::string> differenceOfLiveValues(LiveOracle& model, ConfigService& service);

/// The difference between what the watchers heard and should have heard, from the given entry on.
std::optional<std::string> differenceOfHeard(const std::vector<Heard>& expected, const std::vector<Heard>& actual,
                                             std::size_t from);

}  // namespace simulation
