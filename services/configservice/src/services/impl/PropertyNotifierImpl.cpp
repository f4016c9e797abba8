#include "PropertyNotifierImpl.h"

#include "chain/FetchAhead.h"

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

/// The first connection alone: hardly ever there are more.
template <typename List>
void fetchConnectionAhead(const List& connections) {
    if (!connections.empty()) {
        FetchAhead::bytes(connections.front().get(), sizeof(*connections.front()));
    }
}

}  // namespace

PropertyNotifierImpl::PropertyNotifierImpl() : PropertyNotifierImpl(std::make_shared<Lists>()) {}

PropertyNotifierImpl::PropertyNotifierImpl(const std::shared_ptr<Lists>& lists)
    : boostConnections_(lists, &lists->boost), standardConnections_(lists, &lists->standard) {}

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

bool PropertyNotifierImpl::fetchAhead(unsigned step) const {
    switch (step) {
    case 0:
        FetchAhead::bytes(this, sizeof(*this));
        return true;
    case 1:
        FetchAhead::bytes(boostConnections_.get(), sizeof(Lists));
        return true;
    case 2:
        FetchAhead::line(boostConnections_->data());
        FetchAhead::line(standardConnections_->data());
        return true;
    default:
        fetchConnectionAhead(*boostConnections_);
        fetchConnectionAhead(*standardConnections_);
        return false;
    }
}
