#pragma once

#include <unistd.h>

#include <atomic>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <thread>

namespace support {

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

    /// Returns when the thread sleeps in the system, as it does in wait for a lock, or has done its work.
    void untilItWaitsOrEnds() const {
        // A thread may nod off for an instant elsewhere; one that waits for a lock is asleep whenever it is looked at.
        for (int looks = 0; looks < LOOKS && !ended_; std::this_thread::yield()) {
            looks = sleeps() ? looks + 1 : 0;
        }
    }

    bool hasEnded() const { return ended_; }

    void join() {
        if (thread_.joinable()) {
            thread_.join();
        }
    }

private:
    static constexpr int LOOKS = 20;

    bool sleeps() const {
        std::ifstream file("/proc/self/task/" + std::to_string(number_) + "/stat");
        const std::string text{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
        // "number (name) state ...", where the name may hold anything.
        const std::size_t name = text.rfind(')');
        return name != std::string::npos && name + 2 < text.size() && text[name + 2] == 'S';
    }

    std::atomic<pid_t> number_ = 0;
    std::atomic<bool> ended_ = false;
    std::thread thread_;
};

}  // namespace support
