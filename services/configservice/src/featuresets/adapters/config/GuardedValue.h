#pragma once

#include <utility>

#include "tessel/Mutex.h"

/// A value that several threads read and replace whole. Its lock is held for a copy or a small change and across no
/// call that could wait, so it may be used under any other lock.
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

    /// Changes the value in place, in one step.
    /// @param change receives the value, under the lock: it may look at it and change it, and calls nobody else.
    /// @return a copy of what change returns.
    template <typename Change>
    auto update(const Change& change) {
        const tessel::ScopedLock lock(mutex_);
        return change(value_);
    }

private:
    mutable tessel::Mutex mutex_;
    T value_ TESSEL_GUARDED_BY(mutex_){};
};
