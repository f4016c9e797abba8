#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <condition_variable>
#include <mutex>

#include "unified/ServicesDispatcher.h"

namespace fakes {

/// A dispatcher that runs nothing by itself: the test's thread is the dispatcher thread, and steps it by hand.
/// Other threads may enqueue, and block in enqueueBlock() until the test runs their task.
class HandSteppedDispatcher : public ServicesDispatcher {
public:
    /// The thread that makes it is the dispatcher thread.
    HandSteppedDispatcher();

    /// Whether the dispatcher thread has update access; switch it off to see what an operation does on a foreign
    /// thread without starting one.
    void setUpdateAccess(bool access);

    /// Runs one waiting task, or none. @return whether one ran.
    bool runOne();

    /// Runs until nothing waits. @return how many ran.
    std::size_t runAll();

    /// Names of the waiting tasks, in order; blocked callers' tasks included.
    std::vector<std::string> waitingNames() const;

    /// Names of all tasks ever queued or run in place, in order; those given to enqueueBlock() have " (block)"
    /// appended.
    std::vector<std::string> allNames() const;

    /// Waits until at least count tasks are waiting. For tests with real threads.
    void waitForWaiting(std::size_t count);

    bool checkForUpdateAccess() const override;
    void enqueue(std::shared_ptr<tessel::Task> task) override;

    /// Without update access on the dispatcher thread itself the task runs in place: nobody else could step it.
    void enqueueBlock(std::shared_ptr<tessel::Task> task) override;
    void serveBlockedCallersUntil(const std::function<bool()>& done) override;
    void wake() override;

private:
    struct Entry {
        std::shared_ptr<tessel::Task> task;
        std::shared_ptr<bool> finished;  ///< set for blocked callers only
    };

    void runEntry(const Entry& entry, std::unique_lock<std::mutex>& lock);

    const std::thread::id thread_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Entry> queue_;
    std::vector<std::string> names_;
    unsigned wakes_ = 0;
    bool access_ = true;
};

}  // namespace fakes
