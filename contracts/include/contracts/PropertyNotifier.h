#pragma once

#include <boost/function.hpp>

#include <functional>
#include <memory>

#include "contracts/PropertyNotifierConnection.h"

/// The change signal of one property: plain callbacks instead of an observer interface.
///
/// A notifier of a business object of a service module is confined to the dispatcher thread: connect, disconnect and
/// every callback happen there. A notifier of a platform service may be used from any thread and says so.
///
/// The list that keeps the connections alive is shared with them, so a client that connects must disconnect; callbacks
/// that are never disconnected live as long as the list does.
class PropertyNotifier {
public:
    /// Connects a callback. Callbacks given here run in the order of their connection, before all that were given to
    /// addConnection(). An empty callback is a programmer's mistake: the fire passes its bad-call exception on.
    virtual std::weak_ptr<PropertyNotifierConnection> connect(const boost::function<void()>& callback) = 0;

    /// The same for a function object of the standard library; these run after those of connect().
    virtual std::weak_ptr<PropertyNotifierConnection> addConnection(const std::function<void()>& callback) = 0;

    virtual ~PropertyNotifier() = default;
};
