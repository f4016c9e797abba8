#pragma once

#include <functional>
#include <memory>

#include "tessel/Task.h"

/// The queue of the dispatcher thread: the one thread on which business objects may be read and changed, and on which
/// every observer is called. Tasks run there one after another, in the order of their queueing. A task that throws is
/// logged with its name at level 2, and the next one runs.
class ServicesDispatcher {
public:
    virtual ~ServicesDispatcher() = default;

    /// True on the dispatcher thread. Any thread.
    virtual bool checkForUpdateAccess() const = 0;

    /// Queues a task and returns at once. Any thread, under any lock. Dropped after the dispatcher has stopped.
    virtual void enqueue(std::shared_ptr<tessel::Task> task) = 0;

    /// Queues a task and returns when it has run. On the dispatcher thread the task runs at once, in place. Returns
    /// without running it if the dispatcher has stopped, or stops before the task's turn. Any thread that holds no lock
    /// which the dispatcher thread waits for otherwise than by serveBlockedCallersUntil().
    virtual void enqueueBlock(std::shared_ptr<tessel::Task> task) = 0;

    /// For a dispatcher thread that must wait for something which another thread holds, while that thread may itself
    /// be waiting in enqueueBlock(): runs the tasks of enqueueBlock() callers in place, in their order, until the
    /// condition holds. Ordinary tasks stay queued.
    ///
    /// Dispatcher thread only; returns at once, without the condition, on any other thread.
    /// @param done asked first, then again after each task and each wake(). Called with no lock of the dispatcher held.
    virtual void serveBlockedCallersUntil(const std::function<bool()>& done) = 0;

    /// Makes a serveBlockedCallersUntil() that waits ask its condition again. Any thread, under any lock.
    virtual void wake() = 0;
};
