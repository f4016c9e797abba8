#include "fakes/HandSteppedThreadPool.h"

namespace fakes {

bool HandSteppedThreadPool::run(const boost::function<void()>& function, const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    waiting_.push_back(function);
    names_.push_back(name);
    changed_.notify_all();
    return true;
}

void HandSteppedThreadPool::take(std::size_t index, std::unique_lock<std::mutex>& lock) {
    const boost::function<void()> function = waiting_[index];
    waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(index));
    lock.unlock();
    function();
}

bool HandSteppedThreadPool::runOne(std::size_t index) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (index >= waiting_.size()) {
        return false;
    }
    take(index, lock);
    return true;
}

bool HandSteppedThreadPool::runNext(std::size_t index) {
    std::unique_lock<std::mutex> lock(mutex_);
    changed_.wait(lock, [this] { return waitsEnded_ || !waiting_.empty(); });
    if (waitsEnded_) {
        return false;
    }
    take(index < waiting_.size() ? index : 0, lock);
    return true;
}

void HandSteppedThreadPool::endWaits() {
    const std::lock_guard<std::mutex> lock(mutex_);
    waitsEnded_ = true;
    changed_.notify_all();
}

std::size_t HandSteppedThreadPool::runAll() {
    std::size_t count = 0;
    while (runOne()) {
        ++count;
    }
    return count;
}

std::size_t HandSteppedThreadPool::waiting() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return waiting_.size();
}

std::vector<std::string> HandSteppedThreadPool::allNames() const {
    const std::lock_guard<std::mutex> lock(mutex_);
    return names_;
}

}  // namespace fakes
