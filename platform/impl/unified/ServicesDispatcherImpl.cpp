#include "impl/unified/ServicesDispatcherImpl.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "impl/unified/TaskGuard.h"
#include "tessel/TesselLogger.h"

namespace {

TesselLogger* logger() {
    static TesselLogger* const instance = TesselLogger_getLogger("ServicesDispatcher");
    return instance;
}

}  // namespace

ServicesDispatcherImpl::ServicesDispatcherImpl() = default;

ServicesDispatcherImpl::~ServicesDispatcherImpl() { stop(); }

void ServicesDispatcherImpl::start() {
    const std::lock_guard<std::mutex> threadLock(threadMutex_);
    thread_ = std::thread([this] { runThread(); });
    std::unique_lock<std::mutex> lock(mutex_);
    finished_.wait(lock, [this] { return dispatcherThread_.load() == thread_.get_id() || closed_; });
}

void ServicesDispatcherImpl::adoptCurrentThread(std::function<void()> wakeUp) {
    const std::lock_guard<std::mutex> lock(mutex_);
    dispatcherThread_ = std::this_thread::get_id();
    wakeUp_ = std::move(wakeUp);
    adopted_ = true;
}

void ServicesDispatcherImpl::runThread() {
    std::unique_lock<std::mutex> lock(mutex_);
    dispatcherThread_ = std::this_thread::get_id();
    finished_.notify_all();
    for (;;) {
        work_.wait(lock, [this] { return !queue_.empty() || closed_; });
        if (queue_.empty()) {
            break;
        }
        runNext(queue_.begin(), lock);
    }
    // The identifier of an ended thread may be given to a new one.
    dispatcherThread_ = std::thread::id();
}

std::size_t ServicesDispatcherImpl::pump() {
    if (!checkForUpdateAccess()) {
        return 0;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    std::size_t count = 0;
    for (; !queue_.empty(); ++count) {
        runNext(queue_.begin(), lock);
    }
    return count;
}

void ServicesDispatcherImpl::stop() {
    bool adopted = false;
    std::function<void()> wakeUp;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
        adopted = adopted_;
        // Taken, so that it is called for the last time here: what it reaches may be gone at the next stop().
        wakeUp.swap(wakeUp_);
        work_.notify_all();
    }
    if (checkForUpdateAccess()) {
        if (adopted) {
            pump();
        }
        return;
    }
    {
        const std::lock_guard<std::mutex> threadLock(threadMutex_);
        if (thread_.joinable()) {
            thread_.join();
        }
    }
    releaseBlockedCallers();
    if (wakeUp) {
        wakeUp();
    }
}

void ServicesDispatcherImpl::releaseBlockedCallers() {
    std::vector<std::shared_ptr<tessel::Task>> dropped;  // destroyed after the lock: a task may call back as it goes
    const std::lock_guard<std::mutex> lock(mutex_);
    for (auto blocked = firstBlocked(); blocked != queue_.end(); blocked = firstBlocked()) {
        dropped.push_back(std::move(blocked->task));
        *blocked->finished = true;
        queue_.erase(blocked);
    }
    finished_.notify_all();
}

bool ServicesDispatcherImpl::checkForUpdateAccess() const {
    return dispatcherThread_.load(std::memory_order_relaxed) == std::this_thread::get_id();
}

void ServicesDispatcherImpl::enqueue(std::shared_ptr<tessel::Task> task) {
    std::function<void()> wakeUp;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        if (closed_) {
            return;
        }
        queue_.push_back({std::move(task)});
        work_.notify_all();
        wakeUp = wakeUp_;
    }
    if (wakeUp) {
        wakeUp();
    }
}

void ServicesDispatcherImpl::enqueueBlock(std::shared_ptr<tessel::Task> task) {
    std::unique_lock<std::mutex> lock(mutex_);
    if (checkForUpdateAccess()) {
        // Inside a task the end has not come yet, even while the last ones are run.
        if (!closed_ || running_ != 0) {
            runEntry({std::move(task)}, lock);
        }
        return;
    }
    if (closed_) {
        return;
    }
    bool finished = false;
    queue_.push_back({std::move(task), &finished});
    work_.notify_all();
    if (const std::function<void()> wakeUp = wakeUp_) {
        lock.unlock();
        wakeUp();
        lock.lock();
    }
    finished_.wait(lock, [&finished] { return finished; });
}

void ServicesDispatcherImpl::serveBlockedCallersUntil(const std::function<bool()>& done) {
    if (!checkForUpdateAccess()) {
        return;
    }
    std::unique_lock<std::mutex> lock(mutex_);
    for (;;) {
        // Counted before the condition is asked: a wake() that comes while it is being asked must not be lost.
        const unsigned wakes = wakes_;
        lock.unlock();
        if (done()) {
            return;
        }
        lock.lock();
        work_.wait(lock, [&] { return wakes_ != wakes || firstBlocked() != queue_.end(); });
        // What is waited for may have come with a wake(), and then nobody is served before his turn any more.
        if (wakes_ == wakes) {
            runNext(firstBlocked(), lock);
        }
    }
}

void ServicesDispatcherImpl::wake() {
    const std::lock_guard<std::mutex> lock(mutex_);
    ++wakes_;
    work_.notify_all();
}

std::deque<ServicesDispatcherImpl::Entry>::iterator ServicesDispatcherImpl::firstBlocked() {
    return std::find_if(queue_.begin(), queue_.end(), [](const Entry& entry) { return entry.finished != nullptr; });
}

void ServicesDispatcherImpl::runNext(std::deque<Entry>::iterator next, std::unique_lock<std::mutex>& lock) {
    Entry entry = std::move(*next);
    queue_.erase(next);
    runEntry(std::move(entry), lock);
}

void ServicesDispatcherImpl::runEntry(Entry entry, std::unique_lock<std::mutex>& lock) {
    ++running_;
    lock.unlock();
    platform::runGuarded(logger(), entry.task->getName(), [&entry] { entry.task->run(); });
    // What the task holds goes here, on the dispatcher thread and before its caller goes on.
    entry.task.reset();
    lock.lock();
    --running_;
    if (entry.finished != nullptr) {
        *entry.finished = true;
        finished_.notify_all();
    }
}
