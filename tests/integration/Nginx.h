#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "callcontrol/CertificateAuthority.h"
#include "fakes/TemporaryDirectory.h"

namespace integration {

/// One port that an Nginx listens on.
struct NginxPort {
    std::uint16_t number;
    std::string rules = {};  ///< directives of its server block; empty: files of the root, as they are
    std::optional<callcontrol::Credentials> credentials = {};  ///< HTTPS with these; none: HTTP
};

/// A real web server (nginx) for one test: in a temporary folder of its own, on one address.
class Nginx {
public:
    /// Answers on all ports when this returns. @throws std::runtime_error, with what the server said, if it will not.
    Nginx(const std::string& address, const std::vector<NginxPort>& ports);

    /// Stops.
    ~Nginx();

    Nginx(const Nginx&) = delete;
    Nginx& operator=(const Nginx&) = delete;

    /// Nothing of the server runs any more when this returns. Any number of times.
    void stop();

    /// Puts a file into the root, or another one in its place.
    void serve(const std::string& name, const std::string& contents) const;

    /// Stops, after which the server's record is whole.
    /// @return all requests that were ever answered, in order, as "PORT PATH STATUS".
    std::vector<std::string> stopAndTell();

private:
    void configure(const std::string& address, const std::vector<NginxPort>& ports) const;
    std::string serverBlock(const std::string& address, const NginxPort& port) const;
    void start();

    const fakes::TemporaryDirectory directory_;
    int process_ = -1;  ///< descriptor of the daemon, once it runs
};

}  // namespace integration
