#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <mutex>
#include <thread>

namespace support {

/// Ends a test in which threads wait for one another for ever: if nothing moves for a long time it prints the stack of
/// every thread of the process and aborts.
class Watchdog {
public:
    /// @param patience how long nothing need move; so long that only a deadlock takes it.
    explicit Watchdog(std::chrono::milliseconds patience);
    ~Watchdog();

    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

    /// Something has moved. Any thread.
    void moved() { moves_.fetch_add(1, std::memory_order_relaxed); }

private:
    void watch(std::chrono::milliseconds patience);

    std::atomic<std::uint64_t> moves_ = 0;
    std::mutex mutex_;
    std::condition_variable over_;
    bool isOver_ = false;  ///< under mutex_
    std::thread thread_;   ///< last: it uses all of the above
};

}  // namespace support
