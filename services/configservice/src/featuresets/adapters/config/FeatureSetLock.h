#pragma once

#include <memory>

#include "tessel/Mutex.h"
#include "unified/ServicesDispatcher.h"

/// Holds the mutex of the feature set's lifecycle for the length of a scope. Reentrant, as the mutex is.
///
/// The start and the stop hold this mutex while they wait for the dispatcher thread. So a dispatcher thread that has to
/// wait for the mutex meanwhile runs, in place, the tasks that such callers wait for; and every release wakes it up.
class FeatureSetLock {
public:
    enum class IfBusy {
        Wait,    ///< until the mutex is free
        GiveUp,  ///< without the mutex
    };

    /// @param dispatcher may be null.
    FeatureSetLock(tessel::Mutex& mutex, std::shared_ptr<ServicesDispatcher> dispatcher, IfBusy ifBusy);
    ~FeatureSetLock();

    FeatureSetLock(const FeatureSetLock&) = delete;
    FeatureSetLock& operator=(const FeatureSetLock&) = delete;

    /// False only after IfBusy::GiveUp.
    bool isHeld() const { return held_; }

private:
    void wait();

    tessel::Mutex& mutex_;
    const std::shared_ptr<ServicesDispatcher> dispatcher_;
    bool held_;
};
