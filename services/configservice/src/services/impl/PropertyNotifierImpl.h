#pragma once

#include <memory>

#include "PropertyNotifierConnectionImpl.h"
#include "contracts/PropertyNotifier.h"

/// The change signal of one property of a business object. Has no lock: dispatcher thread only.
///
/// Its end disconnects nobody. Connections that are left over keep themselves alive through the list that they share.
class PropertyNotifierImpl : public virtual PropertyNotifier,
                             public std::enable_shared_from_this<PropertyNotifierImpl> {
public:
    PropertyNotifierImpl();

    std::weak_ptr<PropertyNotifierConnection> connect(const boost::function<void()>& callback) override;
    std::weak_ptr<PropertyNotifierConnection> addConnection(const std::function<void()>& callback) override;

    /// Calls the callbacks of connect(), then those of addConnection(), each kind in the order of connection.
    ///
    /// A callback may connect and disconnect while the fire runs. One that is disconnected before its turn is not
    /// called; one that is connected is called only if it is of the second kind and the first kind is still running.
    /// What a callback throws goes on to the caller.
    void fire();

    /// Fetches ahead, of what a fire will read, what lies so many steps from this pointer, this object at first. Reads
    /// what lies nearer. @return whether anything lies further.
    bool fetchAhead(unsigned step) const;

private:
    using BoostConnection = PropertyNotifierConnectionImpl<boost::function<void()>>;
    using StandardConnection = PropertyNotifierConnectionImpl<std::function<void()>>;

    /// Side by side in one piece of memory, since a fire reads both.
    struct Lists {
        BoostConnection::List boost;
        StandardConnection::List standard;
    };

    explicit PropertyNotifierImpl(const std::shared_ptr<Lists>& lists);

    const std::shared_ptr<BoostConnection::List> boostConnections_;
    const std::shared_ptr<StandardConnection::List> standardConnections_;
};
