#pragma once

#include <cstdlib>
#include <iostream>
#include <random>

namespace support {

/// The seed of a test that tries random cases, printed for the log. Set CORVID_TEST_SEED to run a printed seed again.
inline unsigned seedOfThisRun() {
    const char* const given = std::getenv("CORVID_TEST_SEED");
    const unsigned seed =
        given != nullptr ? static_cast<unsigned>(std::strtoul(given, nullptr, 10)) : std::random_device()();
    std::cout << "CORVID_TEST_SEED=" << seed << std::endl;
    return seed;
}

}  // namespace support
