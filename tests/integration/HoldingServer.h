#pragma once

#include <memory>
#include <string>

#include "fakes/ScriptedServer.h"

namespace integration {

/// A server that can keep its answers back until it is told to send them.
class HoldingServer {
public:
    /// Holds from the beginning on. @param body what every request is answered with.
    HoldingServer(const std::string& body, const fakes::ScriptedServer::Options& options);

    /// With the file: HTTP, port 6970.
    HoldingServer(const std::string& address, const std::string& file);

    /// Sends what is held back, and stops.
    ~HoldingServer();

    HoldingServer(const HoldingServer&) = delete;
    HoldingServer& operator=(const HoldingServer&) = delete;

    void hold();
    void release();

    /// Returns when so many requests have come, ever.
    void waitForRequests(std::size_t count) { server_.waitForRequests(count); }

private:
    struct Gate;
    const std::shared_ptr<Gate> gate_;
    fakes::ScriptedServer server_;
};

}  // namespace integration
