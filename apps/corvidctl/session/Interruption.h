#pragma once

#include <chrono>

namespace corvidctl {

/// Turns SIGINT and SIGTERM into something to wait for. To be made before any other thread is: threads inherit what it
/// blocks, so that no signal finds a thread that would die of it. Nothing runs inside a signal handler.
class Interruption {
public:
    /// @throws std::system_error if the system gives no descriptor.
    Interruption();
    ~Interruption();

    Interruption(const Interruption&) = delete;
    Interruption& operator=(const Interruption&) = delete;

    /// Returns when a signal has come, or end() was called.
    void wait();

    /// Returns then, too, but also after each nudge(), and when the time is over.
    /// @return true if a signal has come or end() was called, now or earlier.
    bool waitForNews(std::chrono::milliseconds atMost);

    /// Ends the wait from inside the program. Any thread.
    void end();

    /// Readable as soon as a signal has come or end() was called, and from then on; for whoever waits for something
    /// else besides. Not to be read.
    int descriptor() const { return interrupted_; }

    /// Something has changed that whoever waits for news wants to look at. One that comes while nobody waits ends the
    /// next wait. Any thread.
    void nudge();

private:
    int signals_ = -1;
    int ended_ = -1;
    int interrupted_ = -1;  ///< tells of both
    int nudged_ = -1;
};

}  // namespace corvidctl
