#include "impl/unified/TaskDispatcherImpl.h"

#include <utility>

#include "impl/unified/TaskGuard.h"
#include "tessel/TesselLogger.h"

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("TaskDispatcher");
    return instance;
}

}  // namespace

TaskDispatcherImpl::TaskDispatcherImpl() : worker_([this] { runWorker(); }), workerId_(worker_.get_id()) {}

TaskDispatcherImpl::~TaskDispatcherImpl() { stop(); }

void TaskDispatcherImpl::enqueue(std::shared_ptr<tessel::Task> task) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (!closed_) {
            queue_.push_back(std::move(task));
            ++queuedTasks_;
            work_.notify_one();
            return;
        }
    }
    TesselLog(logger(), 3, __FILE__, __LINE__, __func__, "Stopped, dropped task [" + task->getName() + "]");
}

void TaskDispatcherImpl::drain() {
    if (onWorker()) {
        return;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    idle_.wait(lock, [this] { return queue_.empty() && !running_; });
}

void TaskDispatcherImpl::drainWhatIsQueued() {
    if (onWorker()) {
        return;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    ended_.wait(lock, [this, last = queuedTasks_] { return endedTasks_ >= last; });
}

void TaskDispatcherImpl::stop() {
    drain();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
        work_.notify_one();
    }
    if (onWorker()) {
        return;
    }
    const std::lock_guard<std::mutex> threadLock(threadMutex_);
    if (worker_.joinable()) {
        worker_.join();
    }
}

void TaskDispatcherImpl::runWorker() {
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        work_.wait(lock, [this] { return !queue_.empty() || closed_; });
        if (queue_.empty()) {
            return;
        }
        std::shared_ptr<tessel::Task> task = std::move(queue_.front());
        queue_.pop_front();
        running_ = true;
        lock.unlock();
        platform::runGuarded(logger(), task->getName(), [&task] { task->run(); });
        // What the task holds goes before the queue counts as idle.
        task.reset();
        lock.lock();
        running_ = false;
        ++endedTasks_;
        ended_.notify_all();
        if (queue_.empty()) {
            idle_.notify_all();
        }
    }
}
