#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "callcontrol/CertificateAuthority.h"
#include "fakes/ScriptedNames.h"
#include "fakes/ScriptedServer.h"

namespace integration {

/// Where a server stands that is to go wrong, and what it needs for that.
struct FaultPlace {
    std::string host;     ///< its name, which "names" answers with its address
    std::string address;  ///< IPv4
    std::uint16_t port;   ///< 6970 for the file over HTTP, 6972 for the file and 8443 for the version over HTTPS
    const callcontrol::CertificateAuthority& trusted;  ///< by the client
    fakes::ScriptedNames& names;

    /// For a server of this place, with a certificate that is right if it is to have one.
    fakes::ScriptedServer::Options options() const;
};

/// A way in which a server, or the way to it, goes wrong.
struct NetworkFault {
    std::string name;  ///< a few words, for the table

    /// Lets it go wrong, as long as what is given lives. Empty: nothing is there at all.
    std::function<std::shared_ptr<void>(const FaultPlace&)> arrange;

    bool endless = false;  ///< only the client's own limit of time ends it
};

/// Below version 11 the file travels over HTTP, from there on over HTTPS: names, connections, heads, statuses, bodies.
std::vector<NetworkFault> faultsOverHttp();

/// What TLS adds, and some of the others once more.
std::vector<NetworkFault> faultsOverHttps();

/// Files that arrive as they were sent, and are not well-formed.
std::vector<NetworkFault> faultsOfFiles();

/// As over HTTPS, and some more, where a server is asked for its version, which travels over HTTPS. An error status is
/// none of them: a version that comes with it counts.
std::vector<NetworkFault> faultsOfVersions();

}  // namespace integration
