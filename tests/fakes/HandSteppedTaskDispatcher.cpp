#include "fakes/HandSteppedTaskDispatcher.h"

#include <utility>

namespace fakes {

void HandSteppedTaskDispatcher::enqueue(std::shared_ptr<tessel::Task> task) {
    const std::lock_guard<std::mutex> lock(mutex_);
    queue_.push_back(std::move(task));
}

bool HandSteppedTaskDispatcher::runOne() {
    std::shared_ptr<tessel::Task> task;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (queue_.empty()) {
            return false;
        }
        task = std::move(queue_.front());
        queue_.pop_front();
    }
    task->run();
    return true;
}

std::size_t HandSteppedTaskDispatcher::runAll() {
    std::size_t count = 0;
    while (runOne()) {
        ++count;
    }
    return count;
}

std::size_t HandSteppedTaskDispatcher::waiting() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return queue_.size();
}

std::vector<std::string> HandSteppedTaskDispatcher::waitingNames() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> names;
    for (const auto& task : queue_) {
        names.push_back(task->getName());
    }
    return names;
}

}  // namespace fakes
