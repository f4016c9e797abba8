#pragma once

#include <chrono>

namespace corvidctl {

using Deadline = std::chrono::steady_clock::time_point;

/// How long poll() is to wait for a deadline, in milliseconds: 0 if it has passed.
int millisecondsUntil(Deadline deadline);

}  // namespace corvidctl
