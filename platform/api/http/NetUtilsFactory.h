#pragma once

#include <memory>

#include "http/BasicHttpClient.h"

namespace tessel::netutils {

/// Makes clients over the host's transport. Any thread.
class NetUtilsFactory {
public:
    /// Never null. Without a transport, its requests end with NoTransport.
    std::shared_ptr<http::BasicHttpClient> createBasicHttpClient() const;
};

}  // namespace tessel::netutils
