#pragma once

#include <memory>

#include "contracts/PropertyNotifier.h"
#include "impl/system/ConnectionList.h"

/// The notifier of a property of a platform service. Any thread; no lock is held while a callback runs.
class SignalNotifier : public PropertyNotifier {
public:
    SignalNotifier();
    ~SignalNotifier() override;

    std::weak_ptr<PropertyNotifierConnection> connect(const boost::function<void()>& callback) override;
    std::weak_ptr<PropertyNotifierConnection> addConnection(const std::function<void()>& callback) override;

    /// Calls what is connected, on the calling thread: first the callbacks of connect(), then those of addConnection(),
    /// the latter as they stand when the former have run.
    void fire();

private:
    const std::shared_ptr<platform::ConnectionList<boost::function<void()>>> first_;
    const std::shared_ptr<platform::ConnectionList<std::function<void()>>> second_;
};
