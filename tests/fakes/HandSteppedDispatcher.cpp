#include "fakes/HandSteppedDispatcher.h"

#include <algorithm>
#include <utility>

namespace fakes {

HandSteppedDispatcher::HandSteppedDispatcher() : thread_(std::this_thread::get_id()) {}

void HandSteppedDispatcher::setUpdateAccess(bool access) {
    const std::lock_guard<std::mutex> lock(mutex_);
    access_ = access;
}

void HandSteppedDispatcher::runEntry(const Entry& entry, std::unique_lock<std::mutex>& lock) {
    const bool access = std::exchange(access_, true);
    lock.unlock();
    entry.task->run();
    lock.lock();
    access_ = access;
    if (entry.finished != nullptr) {
        *entry.finished = true;
    }
    changed_.notify_all();
}

bool HandSteppedDispatcher::runOne() {
    std::unique_lock<std::mutex> lock(mutex_);
    if (queue_.empty()) {
        return false;
    }
    const Entry entry = std::move(queue_.front());
    queue_.pop_front();
    runEntry(entry, lock);
    return true;
}

std::size_t HandSteppedDispatcher::runAll() {
    std::size_t count = 0;
    while (runOne()) {
        ++count;
    }
    return count;
}

std::vector<std::string> HandSteppedDispatcher::waitingNames() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    std::vector<std::string> names;
    for (const Entry& entry : queue_) {
        names.push_back(entry.task->getName());
    }
    return names;
}

std::vector<std::string> HandSteppedDispatcher::allNames() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return names_;
}

void HandSteppedDispatcher::waitForWaiting(std::size_t count) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [&] { return queue_.size() >= count; });
}

bool HandSteppedDispatcher::checkForUpdateAccess() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return access_ && std::this_thread::get_id() == thread_;
}

void HandSteppedDispatcher::enqueue(std::shared_ptr<tessel::Task> task) {
    const std::lock_guard<std::mutex> lock(mutex_);
    names_.push_back(task->getName());
    queue_.push_back({std::move(task), nullptr});
    changed_.notify_all();
}

void HandSteppedDispatcher::enqueueBlock(std::shared_ptr<tessel::Task> task) {
    std::unique_lock<std::mutex> lock(mutex_);
    names_.push_back(task->getName() + " (block)");
    if (std::this_thread::get_id() == thread_) {
        runEntry({std::move(task), nullptr}, lock);
        return;
    }
    const auto finished = std::make_shared<bool>(false);
    queue_.push_back({std::move(task), finished});
    changed_.notify_all();
    changed_.wait(lock, [&] { return *finished; });
}

void HandSteppedDispatcher::serveBlockedCallersUntil(const std::function<bool()>& done) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (std::this_thread::get_id() != thread_) {
        return;
    }
    for (;;) {
        const unsigned wakes = wakes_;
        lock.unlock();
        const bool finished = done();
        lock.lock();
        if (finished) {
            return;
        }
        const auto isBlocked = [](const Entry& entry) { return entry.finished != nullptr; };
        changed_.wait(lock, [&] { return wakes_ != wakes || std::any_of(queue_.begin(), queue_.end(), isBlocked); });
        const auto blocked = std::find_if(queue_.begin(), queue_.end(), isBlocked);
        if (blocked != queue_.end()) {
            const Entry entry = std::move(*blocked);
            queue_.erase(blocked);
            runEntry(entry, lock);
        }
    }
}

void HandSteppedDispatcher::wake() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++wakes_;
    changed_.notify_all();
}

}  // namespace fakes
