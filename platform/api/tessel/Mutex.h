#pragma once

#include <mutex>

#include "tessel/ThreadAnnotations.h"

namespace tessel {

/// A reentrant mutex: the thread that holds it may lock it again, and unlocks it as often as it locked it.
class TESSEL_CAPABILITY("mutex") Mutex {
public:
    Mutex() = default;
    ~Mutex() { TESSEL_LOCK_HAS_ENDED(mutex_); }

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    void lock() TESSEL_ACQUIRE() { mutex_.lock(); }
    void unlock() TESSEL_RELEASE() { mutex_.unlock(); }

    /// True if the calling thread holds the mutex afterwards. Never waits.
    bool tryLock() TESSEL_TRY_ACQUIRE(true) { return mutex_.try_lock(); }

private:
    std::recursive_mutex mutex_;
};

/// Holds a Mutex for the length of a scope.
class TESSEL_SCOPED_CAPABILITY ScopedLock {
public:
    explicit ScopedLock(Mutex& mutex) TESSEL_ACQUIRE(mutex) : mutex_(mutex) { mutex_.lock(); }
    ~ScopedLock() TESSEL_RELEASE() { mutex_.unlock(); }

    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Mutex& mutex_;
};

}  // namespace tessel
