#pragma once

#include <boost/function.hpp>

#include <memory>
#include <vector>

#include "contracts/PropertyNotifier.h"
#include "system/ResetDataProvider.h"
#include "system/ServerHealthInformation.h"

/// How the client's servers are doing, an entry for each.
using ServerHealthInformationList = std::vector<std::shared_ptr<ServerHealthInformation>>;

/// The change signal of the list of server health entries. Any thread.
class ServerHealthInformationListNotifier {
public:
    /// added (true) or removed (false), the whole list afterwards, and the entries concerned.
    using Callback = boost::function<void(bool, std::shared_ptr<ServerHealthInformationList>,
                                          std::shared_ptr<ServerHealthInformationList>)>;

    virtual ~ServerHealthInformationListNotifier() = default;

    /// Callbacks run on the thread that changed the list, in the order of their connection.
    virtual std::weak_ptr<PropertyNotifierConnection> connect(const Callback& callback) = 0;
};

/// The notifiers of the system service. Any thread.
class SystemServiceNotifiers {
public:
    virtual ~SystemServiceNotifiers() = default;

    /// Fires when another user's profile has been loaded, on the thread that loaded it. Never null.
    virtual std::shared_ptr<PropertyNotifier> getUserProfileNotifier() = 0;

    /// Never null.
    virtual std::shared_ptr<ServerHealthInformationListNotifier> getServerHealthInformationListNotifier() = 0;
};

/// What the host knows about the client as a whole. Registered with the factory as a service. Any thread.
class SystemService {
public:
    virtual ~SystemService() = default;

    /// True if the client reaches its servers from outside, through the edge.
    virtual bool isEdgeMode() const = 0;

    /// A copy of the list at this moment. Never null.
    virtual std::shared_ptr<ServerHealthInformationList> getServerHealthInformationList() const = 0;

    /// Never null.
    virtual std::shared_ptr<SystemServiceNotifiers> getSystemServiceNotifiers() = 0;

    /// Where modules register for a data reset; null if the host offers none.
    virtual std::shared_ptr<ResetDataProvider> getResetDataProvider() = 0;
};
