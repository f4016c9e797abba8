#pragma once

#include <memory>

#include "tessel/Task.h"

namespace Processing {

/// A queue with one worker of its own: tasks run one after another, in the order of their queueing, on no thread of the
/// caller's. A task that throws is logged with its name at level 2, and the next one runs.
class TaskDispatcher {
public:
    virtual ~TaskDispatcher() = default;

    /// Queues a task and returns at once; the queue keeps the task alive until it has run. Any thread, any lock.
    virtual void enqueue(std::shared_ptr<tessel::Task> task) = 0;
};

}  // namespace Processing
