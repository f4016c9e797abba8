#pragma once

#include <boost/function.hpp>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "system/World.h"

namespace fakes {

/// A pool that runs nothing by itself: the test runs what waits, in any order. Any thread.
class HandSteppedThreadPool : public platform::ThreadPool {
public:
    bool run(const boost::function<void()>& function, const std::string& name) override;

    /// Runs one waiting function on this thread. @param index in the order of their coming. @return whether it ran.
    bool runOne(std::size_t index = 0);

    /// Runs until nothing waits. @return how many ran.
    std::size_t runAll();

    /// What a thread of the pool does: waits for a function and runs it.
    /// @param index which one, if so many wait; the oldest otherwise. @return false once nobody is to wait any more.
    bool runNext(std::size_t index = 0);

    /// Ends the waits of runNext(), now and from here on.
    void endWaits();

    std::size_t waiting() const;

    /// Names of all functions that ever came, in order.
    std::vector<std::string> allNames() const;

private:
    void take(std::size_t index, std::unique_lock<std::mutex>& lock);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<boost::function<void()>> waiting_;
    std::vector<std::string> names_;
    bool waitsEnded_ = false;
};

}  // namespace fakes
