#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <string>

#include "unified/ServicesDispatcher.h"

namespace simulation {

/// A dispatcher in the hands of a scheduler that plays all threads on one: it says whether the step under way is on the
/// dispatcher thread, and when a task runs.
class ScheduledDispatcher : public ServicesDispatcher {
public:
    /// Whether the step under way is on the dispatcher thread.
    void setOnDispatcher(bool on) { on_ = on; }

    /// Called before each task from the queue.
    void beforeTasks(std::function<void(const std::string& name)> hook) { beforeTasks_ = std::move(hook); }

    /// Called when another thread's step waits for the dispatcher thread: others may take theirs.
    void whileBlocked(std::function<void()> hook) { whileBlocked_ = std::move(hook); }

    /// Runs one waiting task, or none. @return whether one ran.
    bool runOne();

    std::size_t waiting() const { return queue_.size(); }

    /// The name of the oldest task; there must be one.
    const std::string& nextName() const { return queue_.front()->getName(); }

    /// Drops what waits: the process has ended.
    void drop();

    bool checkForUpdateAccess() const override { return on_; }
    void enqueue(std::shared_ptr<tessel::Task> task) override { queue_.push_back(std::move(task)); }
    void enqueueBlock(std::shared_ptr<tessel::Task> task) override;
    void serveBlockedCallersUntil(const std::function<bool()>& done) override { done(); }
    void wake() override {}

private:
    bool on_ = true;
    std::deque<std::shared_ptr<tessel::Task>> queue_;
    std::function<void(const std::string&)> beforeTasks_;
    std::function<void()> whileBlocked_;
};

}  // namespace simulation
