#pragma once

#include <cstddef>
#include <vector>

namespace simulation {

/// One of several things, and how often it is to be chosen beside the others.
template <typename Item>
struct WeightedChoice {
    Item item;
    unsigned weight;
};

/// @param choices not empty, not all of weight 0. @param below gives a random number below its argument.
template <typename Item, typename Below>
Item pickByWeight(const std::vector<WeightedChoice<Item>>& choices, Below below) {
    std::size_t total = 0;
    for (const auto& choice : choices) {
        total += choice.weight;
    }
    std::size_t point = below(total);
    for (const auto& choice : choices) {
        if (point < choice.weight) {
            return choice.item;
        }
        point -= choice.weight;
    }
    return choices.front().item;
}

}  // namespace simulation
