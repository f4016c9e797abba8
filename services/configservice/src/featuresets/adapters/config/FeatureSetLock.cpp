#include "FeatureSetLock.h"

#include <utility>

FeatureSetLock::FeatureSetLock(tessel::Mutex& mutex, std::shared_ptr<ServicesDispatcher> dispatcher,
                               IfBusy ifBusy) TESSEL_NO_THREAD_SAFETY_ANALYSIS : mutex_(mutex),
                                                                                 dispatcher_(std::move(dispatcher)),
                                                                                 held_(false) {
    if (ifBusy == IfBusy::Wait) {
        mutex_.checkOrder();
    }
    held_ = mutex_.tryLock();
    if (!held_ && ifBusy == IfBusy::Wait) {
        wait();
    }
}

FeatureSetLock::~FeatureSetLock() TESSEL_NO_THREAD_SAFETY_ANALYSIS {
    if (!held_) {
        return;
    }
    mutex_.unlock();
    if (dispatcher_ != nullptr) {
        dispatcher_->wake();
    }
}

void FeatureSetLock::wait() TESSEL_NO_THREAD_SAFETY_ANALYSIS {
    if (dispatcher_ != nullptr) {
        dispatcher_->serveBlockedCallersUntil([this]() TESSEL_NO_THREAD_SAFETY_ANALYSIS {
            held_ = mutex_.tryLock();
            return held_;
        });
    }
    // On any thread but the dispatcher's the call above has returned at once.
    if (!held_) {
        mutex_.lock();
        held_ = true;
    }
}
