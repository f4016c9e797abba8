#pragma once

#include <cstddef>
#include <string>

#include "support/Harness.h"

namespace bench {

/// Name of the row in which a layer of so many keys gets a new version, and what has changed is found.
inline std::string replacementRow(std::size_t count) {
    return "a store of " + std::to_string(count) + " keys is replaced, 1 % changed";
}

/// How many keys two sorted sequences hold differently, by one walk along both.
/// @param compare gives less than, equal to or greater than 0 for the keys of two iterators.
/// @param isEqual tells whether the values of two iterators are equal.
template <typename Iterator, typename Compare, typename IsEqual>
std::size_t countChanges(Iterator left, Iterator leftEnd, Iterator right, Iterator rightEnd, const Compare& compare,
                         const IsEqual& isEqual) {
    std::size_t changes = 0;
    while (left != leftEnd || right != rightEnd) {
        const int order = left == leftEnd ? 1 : right == rightEnd ? -1 : compare(left, right);
        changes += order != 0 || !isEqual(left, right) ? 1U : 0U;
        if (order <= 0) {
            ++left;
        }
        if (order >= 0) {
            ++right;
        }
    }
    return changes;
}

/// Row "replaced": a subject is made of the number of keys and has `std::size_t take(bool second)`, which puts that
/// version of a layer in the place of the one before and gives how many keys they hold differently. One that takes it
/// from a file has `void write(bool second)` besides, which is not counted.
template <typename Subject>
void addReplacement(std::size_t count, const std::string& subject) {
    add(replacementRow(count), subject, [count](benchmark::State& state) {
        auto& layer = kept<Subject>(count);
        const auto arrive = [&layer](bool second) {
            if constexpr (requires { layer.write(second); }) {
                layer.write(second);
            }
        };
        arrive(false);
        layer.take(false);
        bool second = false;
        for (auto _ : state) {
            second = !second;
            state.PauseTiming();
            arrive(second);
            state.ResumeTiming();
            if (layer.take(second) != changedCount(count)) {
                state.SkipWithError("not all changes were found");
            }
        }
    })->Unit(benchmark::kMillisecond);
}

}  // namespace bench
