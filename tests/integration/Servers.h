#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "callcontrol/CallControlServer.h"
#include "fakes/TemporaryDirectory.h"

namespace integration {

/// The server's file with these entries, in one group.
std::string document(const std::map<std::string, std::string>& entries);

/// A call-control server with a file of its own, "corvid-config.xml", on an address of its own. Runs from construction
/// on, and asks its authority for a certificate with its address.
class Server {
public:
    explicit Server(const callcontrol::CertificateAuthority& authority, const std::string& version = "12.5");

    const std::string& address() const { return address_; }

    /// What it serves from now on.
    void serve(const std::map<std::string, std::string>& entries) const;
    void serveText(const std::string& text) const;

    void stop() const { server_->stop(); }
    void setVersion(const std::string& version) const { server_->setServerVersion(version); }

    /// Stops, after which nobody is still about to be told of a request.
    /// @return all requests that were ever answered, in order, as "PORT PATH STATUS".
    std::vector<std::string> stopAndTell() const;

private:
    struct Answered;

    const std::string address_ = callcontrol::CallControlServer::freeLoopbackAddress();
    const fakes::TemporaryDirectory directory_;
    const std::shared_ptr<Answered> answered_;
    const std::unique_ptr<callcontrol::CallControlServer> server_;
};

}  // namespace integration
