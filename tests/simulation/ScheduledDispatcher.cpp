#include "ScheduledDispatcher.h"

#include <utility>

#include "quill/FunctionTask.h"

namespace simulation {

bool ScheduledDispatcher::runOne() {
    if (queue_.empty()) {
        return false;
    }
    const std::shared_ptr<tessel::Task> task = std::move(queue_.front());
    queue_.pop_front();
    const bool former = std::exchange(on_, true);
    if (beforeTasks_) {
        beforeTasks_(task->getName());
    }
    task->run();
    on_ = former;
    return true;
}

void ScheduledDispatcher::drop() {
    // What is dropped may queue again while it ends.
    while (!queue_.empty()) {
        std::deque<std::shared_ptr<tessel::Task>> dropped;
        dropped.swap(queue_);
    }
}

void ScheduledDispatcher::enqueueBlock(std::shared_ptr<tessel::Task> task) {
    if (on_) {
        task->run();
        return;
    }
    bool ran = false;
    const std::string name = task->getName();
    enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(
        [&ran, task] {
            ran = true;
            task->run();
        },
        name));
    if (whileBlocked_) {
        whileBlocked_();
    }
    while (!ran && runOne()) {
    }
}

}  // namespace simulation
