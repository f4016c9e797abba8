#pragma once

#include <algorithm>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace simulation {

inline const std::string& describe(const std::string& line) { return line; }

/// The first place at which two lists part, from an entry on; the expected one may have extra entries at its head.
template <typename Item>
std::optional<std::string> differenceOf(const char* what, const std::vector<Item>& allExpected,
                                        const std::vector<Item>& actual, std::size_t from = 0, std::size_t extra = 0) {
    const std::span<const Item> expected = std::span(allExpected).subspan(extra);
    for (std::size_t index = from; index < std::max(expected.size(), actual.size()); ++index) {
        const bool both = index < expected.size() && index < actual.size();
        if (both && expected[index] == actual[index]) {
            continue;
        }
        return std::string(what) + " " + std::to_string(index) +
               "\n  expected: " + (index < expected.size() ? describe(expected[index]) : "nothing") +
               "\n  actual:   " + (index < actual.size() ? describe(actual[index]) : "nothing");
    }
    return std::nullopt;
}

}  // namespace simulation
