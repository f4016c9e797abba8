#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "unified/ServicesDispatcher.h"

/// The dispatcher queue of a host, on a thread of its own or on one that the host lends it.
///
/// A host calls start() or adoptCurrentThread(), once, and stop() at its end. What is enqueued before either waits for
/// it. The object must not be destroyed by one of its own tasks.
class ServicesDispatcherImpl : public ServicesDispatcher {
public:
    ServicesDispatcherImpl();

    /// Stops.
    ~ServicesDispatcherImpl() override;

    ServicesDispatcherImpl(const ServicesDispatcherImpl&) = delete;
    ServicesDispatcherImpl& operator=(const ServicesDispatcherImpl&) = delete;

    /// Starts a thread of its own and makes it the dispatcher thread. Returns when that thread has update access.
    void start();

    /// Makes the calling thread the dispatcher thread; its own loop then runs the tasks with pump(). It stays the
    /// dispatcher thread after stop(), so that business objects can be taken down on it.
    /// @param wakeUp called after each task that is queued, on the thread that queued it and under that thread's locks,
    ///               none of them the dispatcher's; makes the loop call pump() soon. May be empty.
    void adoptCurrentThread(std::function<void()> wakeUp);

    /// Runs what is queued, and what is queued meanwhile, until nothing is left. For the loop of an adopted thread;
    /// does nothing on any other thread. @return how many tasks ran.
    std::size_t pump();

    /// Takes no more work: later tasks are dropped without a word, later enqueueBlock() callers return at once. What is
    /// queued is run first, and the thread of start() is joined.
    ///
    /// Any thread, any number of times, holding no lock that a queued task may want. Two callers get less than that:
    /// - a task on the thread of start() cannot wait for itself: what is queued runs after it, and another stop() or
    ///   the destructor joins;
    /// - a thread other than the adopted one cannot run its tasks: blocked callers return, their tasks dropped, and the
    ///   rest waits for one more pump().
    void stop();

    bool checkForUpdateAccess() const override;
    void enqueue(std::shared_ptr<tessel::Task> task) override;
    void enqueueBlock(std::shared_ptr<tessel::Task> task) override;
    void serveBlockedCallersUntil(const std::function<bool()>& done) override;
    void wake() override;

private:
    struct Entry {
        std::shared_ptr<tessel::Task> task;
        bool* finished = nullptr;  ///< of a caller that waits for it; null for an ordinary task
    };

    void runThread();
    void runNext(std::deque<Entry>::iterator next, std::unique_lock<std::mutex>& lock);
    void runEntry(Entry entry, std::unique_lock<std::mutex>& lock);
    std::deque<Entry>::iterator firstBlocked();
    void releaseBlockedCallers();

    std::atomic<std::thread::id> dispatcherThread_;  ///< none until there is a dispatcher thread

    std::mutex mutex_;  ///< a leaf: guards all fields up to the next mutex
    std::condition_variable work_;
    std::condition_variable finished_;
    std::deque<Entry> queue_;
    std::function<void()> wakeUp_;
    std::size_t running_ = 0;  ///< tasks under way on the dispatcher thread, one inside another
    unsigned wakes_ = 0;
    bool adopted_ = false;
    bool closed_ = false;

    std::mutex threadMutex_;  ///< guards the thread's handle, while it is started and joined
    std::thread thread_;
};
