#pragma once

#include <memory>

#include "contracts/PropertyNotifier.h"

/// The notifiers of a server health entry. Any thread.
class ServerHealthInformationNotifiers {
public:
    virtual ~ServerHealthInformationNotifiers() = default;

    /// Fires when the connection status changes, on the thread that reported it. Never null.
    virtual std::shared_ptr<PropertyNotifier> getConnectionStatusNotifier() = 0;
};

/// How one of the client's servers is doing. Any thread.
class ServerHealthInformation {
public:
    virtual ~ServerHealthInformation() = default;

    /// 2 is the softphone, 4 a second telephony entry; other values are other kinds of servers.
    virtual int getServerHealthType() const = 0;

    /// 1 is connected; every other value is not.
    virtual int getConnectionStatus() const = 0;

    /// Never null.
    virtual std::shared_ptr<ServerHealthInformationNotifiers> getServerHealthInformationNotifiers() = 0;
};
