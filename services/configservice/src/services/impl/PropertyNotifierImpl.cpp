#include "PropertyNotifierImpl.h"

namespace {

template <typename Connection, typename Callback>
std::weak_ptr<PropertyNotifierConnection> connectTo(const std::shared_ptr<typename Connection::List>& list,
                                                    const Callback& callback) {
    const auto connection = std::make_shared<Connection>(callback, list);
    connection->connect();
    return connection;
}

template <typename List>
void fireConnections(const List& connections) {
    // Copies of the list and of each callback: a callback may change the list, and end its own connection.
    const auto fireOne = [](const auto& connection) {
        if (connection->connected()) {
            const auto callback = connection->callback();
            callback();
        }
    };
    if (connections.size() == 1) {
        fireOne(typename List::value_type(connections.front()));  // the same without memory for a list
        return;
    }
    const List snapshot = connections;
    for (const auto& connection : snapshot) {
        fireOne(connection);
    }
}

}  // namespace

PropertyNotifierImpl::PropertyNotifierImpl()
    : boostConnections_(std::make_shared<BoostConnection::List>()),
      standardConnections_(std::make_shared<StandardConnection::List>()) {}

std::weak_ptr<PropertyNotifierConnection> PropertyNotifierImpl::connect(const boost::function<void()>& callback) {
    return connectTo<BoostConnection>(boostConnections_, callback);
}

std::weak_ptr<PropertyNotifierConnection> PropertyNotifierImpl::addConnection(const std::function<void()>& callback) {
    return connectTo<StandardConnection>(standardConnections_, callback);
}

void PropertyNotifierImpl::fire() {
    if (boostConnections_->empty()) {
        fireConnections(*standardConnections_);
        return;
    }
    // A callback of the first list may drop the last reference to this object.
    const auto standardConnections = standardConnections_;
    fireConnections(*boostConnections_);
    fireConnections(*standardConnections);
}
