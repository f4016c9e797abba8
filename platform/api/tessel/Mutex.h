#pragma once

#include <pthread.h>

#include <mutex>

#include "tessel/LockRank.h"
#include "tessel/ThreadAnnotations.h"

namespace tessel {

/// A reentrant mutex: the thread that holds it may lock it again, and unlocks it as often as it locked it.
class TESSEL_CAPABILITY("mutex") Mutex {
public:
    /// @param rank its place in the order of locks.
    explicit Mutex(LockRank rank = LEAF_LOCK) : order_(rank) {}

    /// Says that the lock has ended, as the standard library's does not: programs that watch locks would take the next
    /// one at the same address for this one, and report an order that never was.
    ~Mutex() { pthread_mutex_destroy(mutex_.native_handle()); }

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Waits until no other thread holds it: at first, for some tens of microseconds, without sleeping.
    void lock() TESSEL_ACQUIRE() {
        checkOrder();
        if (!mutex_.try_lock()) {
            lockContended();
        }
        order_.taken();
    }

    /// Only by the thread that holds it.
    void unlock() TESSEL_RELEASE() {
        order_.released();
        mutex_.unlock();
    }

    /// True if the calling thread holds the mutex afterwards. Never waits, and so may be called against the order.
    bool tryLock() TESSEL_TRY_ACQUIRE(true) {
        if (!mutex_.try_lock()) {
            return false;
        }
        order_.taken();
        return true;
    }

    /// For a caller that waits for the mutex by its own means: holds it to the order as lock() does.
    void checkOrder() const { order_.check(true); }

private:
    /// Another thread holds it.
    void lockContended();

    std::recursive_mutex mutex_;
    [[no_unique_address]] LockOrder order_;
};

/// Holds a Mutex for the length of a scope.
class TESSEL_SCOPED_CAPABILITY ScopedLock {
public:
    /// Waits for the mutex.
    explicit ScopedLock(Mutex& mutex) TESSEL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~ScopedLock() TESSEL_RELEASE() { mutex_.unlock(); }

    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Mutex& mutex_;
};

}  // namespace tessel
