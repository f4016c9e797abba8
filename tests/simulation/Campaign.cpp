#include "Campaign.h"

#include <cstdlib>

namespace simulation {

std::vector<std::uint64_t> campaignSeeds(std::uint64_t first, std::size_t count) {
    if (const char* const seed = std::getenv("CORVID_TEST_SEED")) {
        return {std::strtoull(seed, nullptr, 10)};
    }
    std::vector<std::uint64_t> seeds(count);
    for (std::size_t index = 0; index < count; ++index) {
        seeds[index] = first + index;
    }
    return seeds;
}

}  // namespace simulation
