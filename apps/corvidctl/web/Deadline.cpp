#include "web/Deadline.h"

#include <algorithm>
#include <limits>

namespace corvidctl {

int millisecondsUntil(Deadline deadline) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    return static_cast<int>(std::clamp<decltype(left)>(left, 0, std::numeric_limits<int>::max()));
}

}  // namespace corvidctl
