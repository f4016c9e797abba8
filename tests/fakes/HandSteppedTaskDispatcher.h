#pragma once

#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "unified/TaskDispatcher.h"

namespace fakes {

/// A task queue that runs nothing until the test says so, on the test's thread.
class HandSteppedTaskDispatcher : public Processing::TaskDispatcher {
public:
    void enqueue(std::shared_ptr<tessel::Task> task) override;

    /// Runs one waiting task, or none. @return whether one ran.
    bool runOne();

    /// Runs until nothing waits. @return how many ran.
    std::size_t runAll();

    std::vector<std::string> waitingNames() const;
    std::size_t waiting() const;

private:
    mutable std::mutex mutex_;
    std::deque<std::shared_ptr<tessel::Task>> queue_;
};

}  // namespace fakes
