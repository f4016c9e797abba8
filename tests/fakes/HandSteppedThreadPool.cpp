#include "fakes/HandSteppedThreadPool.h"

namespace fakes {

bool HandSteppedThreadPool::run(const boost::function<void()>& function, const std::string& name) {
    const std::lock_guard<std::mutex> lock(mutex_);
    waiting_.push_back(function);
    names_.push_back(name);
    return true;
}

bool HandSteppedThreadPool::runOne(std::size_t index) {
    boost::function<void()> function;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (index >= waiting_.size()) {
            return false;
        }
        function = waiting_[index];
        waiting_.erase(waiting_.begin() + static_cast<std::ptrdiff_t>(index));
    }
    function();
    return true;
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
