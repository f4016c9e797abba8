#pragma once

#include <cstddef>
#include <functional>

/// What operator new has handed out in this program, on whichever thread.
namespace Allocations {

struct Sum {
    std::size_t blocks = 0;
    std::size_t bytes = 0;  ///< with what the allocator itself adds to each block
};

/// Everything that an action asks for, whether it gives it back or not.
Sum askedForBy(const std::function<void()>& action);

/// What an action has asked for and not given back when it returns.
std::size_t bytesKeptBy(const std::function<void()>& action);

}  // namespace Allocations
