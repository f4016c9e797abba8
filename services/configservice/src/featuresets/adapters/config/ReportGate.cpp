#include "ReportGate.h"

#include <limits>
#include <utility>

#include "quill/FunctionTask.h"

ReportGate::ReportGate(std::shared_ptr<ServicesDispatcher> dispatcher) : dispatcher_(std::move(dispatcher)) {}

bool ReportGate::isOnDispatcherThread() const { return dispatcher_ != nullptr && dispatcher_->checkForUpdateAccess(); }

bool ReportGate::nothingIsAhead() {
    // Each report that this thread must not pass by was put in before: its own ones, and those of other threads that it
    // knows of.
    return isOnDispatcherThread() && waiting_.load() == 0;
}

void ReportGate::passThroughBox(Delivery delivery, std::string_view taskName) {
    if (dispatcher_ == nullptr) {
        return;
    }
    const std::uint64_t ticket = put(std::move(delivery));
    if (isOnDispatcherThread()) {
        deliverUpTo(ticket);
        return;
    }
    dispatcher_->enqueue(std::make_shared<QuillCoreUtils::FunctionTask>(
        [weak = weak_from_this()] {
            if (const auto gate = weak.lock()) {
                gate->deliverOldest(std::numeric_limits<std::uint64_t>::max());
            }
        },
        std::string(taskName)));
}

void ReportGate::passFirst(Delivery delivery, std::string_view taskName) {
    if (isOnDispatcherThread()) {
        deliver(delivery);
        return;
    }
    passThroughBox(std::move(delivery), taskName);
}

bool ReportGate::isInsideNotification() const {
    return depth_.load(std::memory_order_relaxed) > 0 && dispatcher_->checkForUpdateAccess();
}

std::uint64_t ReportGate::put(Delivery delivery) {
    const tessel::ScopedLock lock(mutex_);
    box_.push_back({++lastTicket_, std::move(delivery)});
    waiting_ = box_.size();
    return lastTicket_;
}

bool ReportGate::take(std::uint64_t lastTicket, Delivery& delivery) {
    const tessel::ScopedLock lock(mutex_);
    if (box_.empty() || box_.front().ticket > lastTicket) {
        return false;
    }
    delivery = std::move(box_.front().delivery);
    box_.pop_front();
    waiting_ = box_.size();
    return true;
}

bool ReportGate::deliverOldest(std::uint64_t lastTicket) {
    Delivery delivery;
    if (!take(lastTicket, delivery)) {
        return false;
    }
    deliver(delivery);
    return true;
}

void ReportGate::deliverUpTo(std::uint64_t ticket) {
    // The caller's own report went through the box as well. An observer that writes while older reports are still being
    // delivered comes back in here, and delivers the rest of them, that own report included, before its newer one.
    const Depth depth(depth_);
    // Another's report that fails must not keep the caller's own from being told before this returns.
    toTheEnd([this, ticket] {
        while (deliverOldest(ticket)) {
        }
    });
}
