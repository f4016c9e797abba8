#pragma once

#include <httplib.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "OpenSsl.h"

namespace callcontrol {

/// Listens on one port. Each connection carries one request.
///
/// The library's own way to stop does nothing until its loop has begun, closes the listening socket under the feet of
/// that loop, and waits for clients that say nothing. So connections are opened and closed here, where they can be cut,
/// and the loop is ended by shutting its socket down, which works at any moment and leaves the closing to the loop.
class PortListener : private httplib::Server {
public:
    /// Told of the client's address, the request and its answer.
    using Logger = std::function<void(const std::string&, const httplib::Request&, const httplib::Response&)>;

    /// Answers a request, whose body is not read. On several threads at once.
    using Answer = std::function<void(const httplib::Request&, httplib::Response&)>;

    /// @param tls null for plain HTTP; must outlive this.
    /// @param logger told of each request that was answered, on several threads at once.
    PortListener(SSL_CTX* tls, const Answer& answer, const Logger& logger);

    /// Stops.
    ~PortListener() override;

    PortListener(const PortListener&) = delete;
    PortListener& operator=(const PortListener&) = delete;

    /// From here on clients can connect. @throws std::runtime_error that names the address and the port.
    void bind(const std::string& address, std::uint16_t port);

    /// After bind(): from here on they are answered.
    void listen();

    /// Nothing listens, no client is connected and no thread is left when this returns.
    void stop();

private:
    bool process_and_close_socket(int socket) override;
    void serve(int socket);
    bool enter(int socket);
    void leave(int socket);

    SSL_CTX* const tls_;
    /// Another descriptor of the library's own socket, which closes that at a time of its choosing.
    int listeningSocket_ = -1;
    std::thread thread_;
    std::mutex mutex_;
    bool stopping_ = false;      ///< under the mutex
    std::set<int> connections_;  ///< under the mutex
};

}  // namespace callcontrol
