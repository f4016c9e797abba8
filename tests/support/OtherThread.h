#pragma once

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>

namespace support {

/// Returns when a thread of this process sleeps in the system, as it does in wait for a lock, or when it is said to be
/// over with what it was at.
inline void untilItWaits(pid_t thread, const std::function<bool()>& isOver) {
    const auto sleeps = [thread] {
        std::ifstream file("/proc/self/task/" + std::to_string(thread) + "/stat");
        const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        // "number (name) state ...", where the name may hold anything.
        const std::size_t name = text.rfind(')');
        return name != std::string::npos && name + 2 < text.size() && text[name + 2] == 'S';
    };
    // A thread may nod off for an instant elsewhere; one that waits for a lock is asleep whenever it is looked at.
    constexpr int LOOKS = 20;
    for (int looks = 0; looks < LOOKS && !isOver(); std::this_thread::yield()) {
        looks = sleeps() ? looks + 1 : 0;
    }
}

/// A thread of which a test can tell whether it has come to wait for something: a lock that the test holds, say.
class OtherThread {
public:
    explicit OtherThread(const std::function<void()>& work)
        : thread_([this, work] {
              number_ = gettid();
              work();
              ended_ = true;
          }) {}
    ~OtherThread() { join(); }

    OtherThread(const OtherThread&) = delete;
    OtherThread& operator=(const OtherThread&) = delete;

    /// Returns when the thread waits for something or has done its work.
    void untilItWaitsOrEnds() const {
        while (number_ == 0) {
            std::this_thread::yield();
        }
        untilItWaits(number_, [this] { return hasEnded(); });
    }

    bool hasEnded() const { return ended_; }

    void join() {
        if (thread_.joinable()) {
            thread_.join();
        }
    }

private:
    std::atomic<pid_t> number_ = 0;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

}  // namespace support
