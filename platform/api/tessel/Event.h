#pragma once

#include <condition_variable>
#include <mutex>

namespace tessel {

/// A manual-reset event: once set, every wait returns at once until reset() is called. Any thread.
class Event {
public:
    /// @param signalled the state to start in.
    explicit Event(bool signalled) : signalled_(signalled) {}

    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    /// Lets everybody go who waits, and who will.
    void set();

    /// Makes later waits wait again.
    void reset();

    /// Waits until the event is set, at most for the given number of milliseconds (0 does not wait;
    /// more than a year counts as a year).
    /// @return true if the event was set, false if the time ran out.
    bool timedWait(unsigned long milliseconds);

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool signalled_;
};

}  // namespace tessel
