#pragma once

#include <pthread.h>

#include <shared_mutex>

#include "tessel/LockRank.h"
#include "tessel/ThreadAnnotations.h"

namespace tessel {

/// Many readers or one writer. Not reentrant: a thread that holds it must not lock it again in any way.
class TESSEL_CAPABILITY("rwlock") RWLock {
public:
    /// @param rank its place in the order of locks.
    explicit RWLock(LockRank rank = LEAF_LOCK) : order_(rank) {}

    /// Says that the lock has ended, as the standard library's does not: programs that watch locks would take the next
    /// one at the same address for this one, and report an order that never was.
    ~RWLock() { pthread_rwlock_destroy(static_cast<pthread_rwlock_t*>(mutex_.native_handle())); }

    RWLock(const RWLock&) = delete;
    RWLock& operator=(const RWLock&) = delete;

    /// Waits until nobody writes.
    void lockRead() TESSEL_ACQUIRE_SHARED() {
        order_.check(false);
        mutex_.lock_shared();
        order_.taken();
    }

    /// Only by a thread that has it for reading.
    void unlockRead() TESSEL_RELEASE_SHARED() {
        order_.released();
        mutex_.unlock_shared();
    }

    /// Waits until nobody reads or writes.
    void lockWrite() TESSEL_ACQUIRE() {
        order_.check(false);
        mutex_.lock();
        order_.taken();
    }

    /// Only by the thread that has it for writing.
    void unlockWrite() TESSEL_RELEASE() {
        order_.released();
        mutex_.unlock();
    }

private:
    std::shared_mutex mutex_;
    [[no_unique_address]] LockOrder order_;
};

/// Holds an RWLock for reading for the length of a scope.
class TESSEL_SCOPED_CAPABILITY ScopedReadLock {
public:
    /// Waits for the lock.
    explicit ScopedReadLock(RWLock& lock) TESSEL_ACQUIRE_SHARED(lock) : lock_(lock) { lock_.lockRead(); }
    ~ScopedReadLock() TESSEL_RELEASE_GENERIC() { lock_.unlockRead(); }

    ScopedReadLock(const ScopedReadLock&) = delete;
    ScopedReadLock& operator=(const ScopedReadLock&) = delete;

private:
    RWLock& lock_;
};

/// Holds an RWLock for writing for the length of a scope.
class TESSEL_SCOPED_CAPABILITY ScopedWriteLock {
public:
    /// Waits for the lock.
    explicit ScopedWriteLock(RWLock& lock) TESSEL_ACQUIRE(lock) : lock_(lock) { lock_.lockWrite(); }
    ~ScopedWriteLock() TESSEL_RELEASE() { lock_.unlockWrite(); }

    ScopedWriteLock(const ScopedWriteLock&) = delete;
    ScopedWriteLock& operator=(const ScopedWriteLock&) = delete;

private:
    RWLock& lock_;
};

}  // namespace tessel
