#pragma once

#include <utility>

#include "tessel/Mutex.h"

/// A value that several threads read and replace whole. Its lock is held for a copy and across no call, so it may be
/// used under any other lock.
template <typename T>
class GuardedValue {
public:
    GuardedValue() = default;
    explicit GuardedValue(T value) : value_(std::move(value)) {}

    T get() const {
        const tessel::ScopedLock lock(mutex_);
        return value_;
    }

    void set(T value) { exchange(std::move(value)); }

    /// Puts the new value and gives the old one, which so is never destroyed under the lock.
    T exchange(T value) {
        const tessel::ScopedLock lock(mutex_);
        return std::exchange(value_, std::move(value));
    }

private:
    mutable tessel::Mutex mutex_;
    T value_ TESSEL_GUARDED_BY(mutex_){};
};
