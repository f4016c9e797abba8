#pragma once

#include <chrono>
#include <functional>
#include <future>
#include <limits>
#include <utility>

#include "remote/TftpConfigStore.h"

/// What no caller of the remote store can do or see.
struct TftpConfigStoreTestAccess {
    static void cancel(TftpConfigStore& store) { store.setState(TftpConfigStore::CANCELLED); }
    static bool isReady(TftpConfigStore& store) { return store.storeReady_.timedWait(0); }
    static void makeReady(TftpConfigStore& store) { store.storeReady_.set(); }

    static bool isObservedBy(TftpConfigStore& store, TftpConfigStoreObserver* observer) {
        return store.observers_.get().count(observer) != 0;
    }

    /// Whether another thread begins a cycle or ends a transfer.
    static bool isHeldElsewhere(TftpConfigStore& store) {
        if (!store.downloadMutex_.tryLock()) {
            return true;
        }
        store.downloadMutex_.unlock();
        return false;
    }

    /// Sets the limit of waitForStoreReady(), before anybody waits. @return the one before, in milliseconds.
    static unsigned long limitWaits(TftpConfigStore& store, unsigned long milliseconds) {
        return std::exchange(store.readyTimeoutMilliseconds_, milliseconds);
    }
};

namespace fakes {

/// Whether an action ends without waiting for a store that nobody makes ready: the limit of such waits is out of the
/// way here. One that waits all the same is released after a while, so that a test fails and does not hang.
inline bool endsWithoutWaitingFor(TftpConfigStore& store, const std::function<void()>& action) {
    const unsigned long limit = TftpConfigStoreTestAccess::limitWaits(store, std::numeric_limits<unsigned long>::max());
    std::promise<void> ended;
    auto endedByItself = std::async(std::launch::async, [&store, end = ended.get_future()] {
        const bool inTime = end.wait_for(std::chrono::minutes(1)) == std::future_status::ready;
        if (!inTime) {
            TftpConfigStoreTestAccess::makeReady(store);
        }
        return inTime;
    });
    action();
    ended.set_value();
    const bool result = endedByItself.get();
    TftpConfigStoreTestAccess::limitWaits(store, limit);
    return result;
}

}  // namespace fakes
