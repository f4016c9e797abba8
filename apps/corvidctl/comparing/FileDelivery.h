#pragma once

#include <string>

#include "comparing/Rehearsal.h"
#include "session/Session.h"

namespace corvidctl {

/// What came of a delivery.
struct DeliveryView {
    bool serverWasKnown = false;  ///< the configuration names a server; else one was made up for the occasion
    std::string failure;          ///< why the values are not in the chain, in one line; empty if they are
};

/// Gives a session's module a file as a server's new one, by the road that a download takes, without a network. When
/// this returns, all that follows from it has happened, and neither a made-up server nor a made-up version of it is in
/// the chain.
/// @param session its remote source off, and off again afterwards. @param file at most 16 MiB.
/// @throws std::runtime_error with one line if the file cannot be read, or the interruption comes.
DeliveryView deliver(Session& session, Rehearsal& rehearsal, const std::string& file);

}  // namespace corvidctl
