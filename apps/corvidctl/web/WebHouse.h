#pragma once

#include "web/Api.h"
#include "web/EventStreams.h"
#include "web/Gate.h"
#include "web/WebServer.h"

namespace corvidctl {

/// What all connections of a server share. Any thread.
struct WebHouse {
    const WebServer::Options options;
    const Gate gate;
    Api& api;
    EventStreams streams;
};

}  // namespace corvidctl
