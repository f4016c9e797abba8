#pragma once

#include <iosfwd>
#include <string>

#include "callcontrol/CallControlServer.h"

namespace corvidctl {

/// The address at which a client on this machine finds a server that listens on an address: another one only for
/// "0.0.0.0", which is none to connect to.
std::string reachableAddress(const std::string& listening);

/// Tells people where the server is to be found, in URLs as they can be used, a line for each port.
void printListeners(const callcontrol::CallControlServer::Options& options, std::ostream& out);

}  // namespace corvidctl
