#pragma once

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>

#include "unified/TaskDispatcher.h"

/// The host's queue for work that waits for a disk: one worker of its own, from construction to stop().
/// Must not be destroyed by one of its own tasks.
class TaskDispatcherImpl : public Processing::TaskDispatcher {
public:
    TaskDispatcherImpl();

    /// Stops.
    ~TaskDispatcherImpl() override;

    TaskDispatcherImpl(const TaskDispatcherImpl&) = delete;
    TaskDispatcherImpl& operator=(const TaskDispatcherImpl&) = delete;

    /// Dropped after stop(), with a level 3 line that names the task.
    void enqueue(std::shared_ptr<tessel::Task> task) override;

    /// Returns when everything that was queued before the call, and what those tasks queued, has run; it waits for an
    /// idle worker, and so for what other threads queue meanwhile too. Any thread that holds no lock which a task
    /// wants; on the worker, which cannot wait for itself, it returns at once.
    void drain();

    /// Returns when everything that was queued before the call has run, whatever is queued meanwhile. Otherwise as
    /// drain().
    void drainWhatIsQueued();

    /// Drains, takes no more work and joins the worker. Any thread, any number of times. On the worker it only takes
    /// no more work: what is queued runs after the task that called, and another stop() or the destructor joins.
    void stop();

private:
    void runWorker();
    bool onWorker() const { return std::this_thread::get_id() == workerId_; }

    std::mutex mutex_;  ///< guards all fields up to the next mutex
    std::condition_variable work_;
    std::condition_variable idle_;
    std::condition_variable ended_;
    std::deque<std::shared_ptr<tessel::Task>> queue_;
    std::uint64_t queuedTasks_ = 0;  ///< ever
    std::uint64_t endedTasks_ = 0;   ///< ever
    bool running_ = false;           ///< a task is under way
    bool closed_ = false;

    std::mutex threadMutex_;  ///< guards the worker's handle, while it is joined
    std::thread worker_;      ///< last but its identifier: it uses all of the above
    const std::thread::id workerId_;
};
