#include "impl/system/SignalNotifier.h"

SignalNotifier::SignalNotifier()
    : first_(std::make_shared<platform::ConnectionList<boost::function<void()>>>()),
      second_(std::make_shared<platform::ConnectionList<std::function<void()>>>()) {}

SignalNotifier::~SignalNotifier() = default;

std::weak_ptr<PropertyNotifierConnection> SignalNotifier::connect(const boost::function<void()>& callback) {
    return first_->connect(callback);
}

std::weak_ptr<PropertyNotifierConnection> SignalNotifier::addConnection(const std::function<void()>& callback) {
    return second_->connect(callback);
}

void SignalNotifier::fire() {
    // References of the fire's own: a callback may drop the last one to the notifier.
    const auto first = first_;
    const auto second = second_;
    first->call();
    second->call();
}
