#include "tessel/Event.h"

#include <algorithm>
#include <chrono>

namespace tessel {
namespace {

/// Keeps the sum with the present time in the range of the clock, which the greatest argument would leave.
constexpr unsigned long longestWait = 365UL * 24 * 60 * 60 * 1000;

}  // namespace

// Waiters are told under the lock: one of them may destroy the event as soon as it has seen it set.
void Event::set() {
    const std::lock_guard<std::mutex> lock(mutex_);
    signalled_ = true;
    changed_.notify_all();
}

void Event::reset() {
    const std::lock_guard<std::mutex> lock(mutex_);
    signalled_ = false;
}

bool Event::timedWait(unsigned long milliseconds) {
    const std::chrono::milliseconds limit(std::min(milliseconds, longestWait));
    std::unique_lock<std::mutex> lock(mutex_);
    if (limit.count() == 0) {
        return signalled_;  // a wait of no time would still give the processor away
    }
    return changed_.wait_for(lock, limit, [this] { return signalled_; });
}

}  // namespace tessel
