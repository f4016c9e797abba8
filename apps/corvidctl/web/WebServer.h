#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

#include "web/Api.h"

namespace corvidctl {

/// Serves the inspector's page and its data to browsers of this machine: HTTP/1.1 on 127.0.0.1 alone.
///
/// Nobody gets anything without the token of the link, which a browser keeps in a cookie that scripts cannot read. A
/// request under another host's name (DNS rebinding) or from another page (cross-site) is refused, and so is what is
/// too large, too slow or one too many.
class WebServer {
public:
    struct Options {
        std::uint16_t port = 0;                 ///< 0: a free one
        std::size_t streams = 16;               ///< pages that listen at once
        std::size_t connections = 64;           ///< at once, the streams included
        std::size_t requestBytes = 64 * 1024;   ///< of a request's body
        std::size_t headBytes = 8 * 1024;       ///< of what stands before it
        std::size_t streamBytes = 1024 * 1024;  ///< that wait for one page

        /// For a whole request from its first byte on, and once more for its answer.
        std::chrono::milliseconds requestTime{5000};
        std::chrono::milliseconds idleTime{5000};       ///< of a connection without a request
        std::chrono::milliseconds goodbyeTime{1000};    ///< for a client that has been told the end, to go
        std::chrono::milliseconds pingInterval{15000};  ///< a stream that is silent so long carries a comment
    };

    /// Listens, and serves from threads of its own. @param api must outlive this.
    /// @throws std::runtime_error with one line if the port cannot be had.
    WebServer(Options options, Api& api);

    /// Ends every connection, the streams too, and waits for the threads.
    ~WebServer();

    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;

    /// What to open in a browser: the address with a token, made of 256 random bits for this object.
    std::string link() const;

    std::uint16_t port() const;

    /// True if a page listens. One that begins to listen later finds out by itself what it has missed. Any thread.
    bool isHeard() const;

    /// To every page that listens. Never waits for one: a page that does not read loses its stream, and comes back. Any
    /// thread.
    void send(const ServerEvent& event);

private:
    struct State;
    const std::unique_ptr<State> state_;
};

}  // namespace corvidctl
