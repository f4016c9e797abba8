#pragma once

#include <algorithm>
#include <atomic>
#include <memory>
#include <utility>
#include <vector>

#include "contracts/PropertyNotifierConnection.h"
#include "tessel/Mutex.h"

namespace platform {

/// The callbacks of one type that are connected to a notifier. Any thread; held by a shared reference.
///
/// The list owns its connections and they know it weakly, so a callback that is never disconnected goes with the list.
template <typename Callback>
class ConnectionList : public std::enable_shared_from_this<ConnectionList<Callback>> {
public:
    /// Appends a callback, which is called until its connection is disconnected.
    std::weak_ptr<PropertyNotifierConnection> connect(const Callback& callback) {
        const auto connection = std::make_shared<Connection>(callback, this->weak_from_this());
        const tessel::ScopedLock lock(mutex_);
        connections_.push_back(connection);
        return connection;
    }

    /// Calls what is connected at this moment, in the order of connection, on the calling thread and with no lock held.
    /// What is disconnected before its turn is not called. A disconnect() on another thread does not wait for a
    /// callback that is under way.
    template <typename... Arguments>
    void call(const Arguments&... arguments) {
        for (const std::shared_ptr<Connection>& connection : copy()) {
            if (connection->connected()) {
                connection->callback(arguments...);
            }
        }
    }

private:
    struct Connection : PropertyNotifierConnection {
        Connection(const Callback& function, std::weak_ptr<ConnectionList> owner)
            : callback(function), list(std::move(owner)) {}

        void disconnect() override {
            isConnected = false;
            if (const std::shared_ptr<ConnectionList> alive = list.lock()) {
                alive->remove(this);
            }
        }

        bool connected() const override { return isConnected; }

        const Callback callback;
        const std::weak_ptr<ConnectionList> list;
        std::atomic<bool> isConnected{true};
    };

    std::vector<std::shared_ptr<Connection>> copy() {
        const tessel::ScopedLock lock(mutex_);
        return connections_;
    }

    void remove(const Connection* connection) {
        std::shared_ptr<Connection> removed;  // goes after the lock, with whatever its callback holds
        const tessel::ScopedLock lock(mutex_);
        const auto found = std::find_if(connections_.begin(), connections_.end(),
                                        [&](const auto& candidate) { return candidate.get() == connection; });
        if (found != connections_.end()) {
            removed = std::move(*found);
            connections_.erase(found);
        }
    }

    tessel::Mutex mutex_;
    std::vector<std::shared_ptr<Connection>> connections_ TESSEL_GUARDED_BY(mutex_);
};

}  // namespace platform
