#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "callcontrol/CertificateAuthority.h"

namespace callcontrol {

struct CallControlServerOptions {
    std::string address = "127.0.0.1";   ///< IPv4 address to listen on
    std::string file;                    ///< path of the file to serve, under its base name; read at each request
    std::string serverVersion = "12.5";  ///< what the version document says
    Credentials credentials;             ///< for both HTTPS ports
    std::uint16_t filePort = 6970;
    std::uint16_t secureFilePort = 6972;
    std::uint16_t versionPort = 8443;
};

/// A request that was answered. Method and path are empty where it was no HTTP that came.
struct ServedRequest {
    std::uint16_t port;
    std::string client;  ///< address
    std::string method;
    std::string path;  ///< percent signs resolved, without the query
    int status;
    std::size_t bytes;  ///< of the answer's body, as it was sent
};

/// A call-control server for trying and testing: an administrator's file over HTTP and HTTPS, and the version of the
/// directory service over HTTPS ("/hubm-uds/version"); 404 for everything else, also where the file cannot be read at
/// that moment. GET and HEAD, one request for each connection, TLS 1.2 or newer. Any thread.
///
/// The process ignores SIGPIPE from the first start() on.
class CallControlServer {
public:
    using Options = CallControlServerOptions;
    using Listener = std::function<void(const ServedRequest&)>;

    /// @param listener told of each request after its answer has gone out, on a thread of the server, one at a time;
    ///        may be empty. It must not start or stop the server. When stop() returns it has been told of all.
    explicit CallControlServer(Options options, Listener listener = {});

    /// Stops.
    ~CallControlServer();

    CallControlServer(const CallControlServer&) = delete;
    CallControlServer& operator=(const CallControlServer&) = delete;

    /// Answers on all three ports when this returns. Does nothing if it does so already.
    /// @throws std::runtime_error, in one line that names the address and the port, if a port cannot be listened on,
    ///         or the credentials cannot be used: nothing listens then.
    void start();

    /// Nothing listens and no thread is left when this returns; clients that are connected are cut off. At any moment,
    /// any number of times; start() may follow.
    void stop();

    /// From here on the version document says this. Any text; it is escaped.
    void setServerVersion(const std::string& version);

    /// An address for a server of one's own: the three ports that a server needs when nothing else is said are free
    /// there. The number of the process is part of it, so that two processes that run side by side hardly ever get the
    /// same one; if they do, the second to listen there fails.
    /// @return a loopback address (127.0.0.0/8) other than 127.0.x.y, a different one for each call of a process.
    /// @throws std::runtime_error if none was found.
    static std::string freeLoopbackAddress();

private:
    struct Listeners;
    const Options options_;
    const std::unique_ptr<Listeners> listeners_;
};

}  // namespace callcontrol
