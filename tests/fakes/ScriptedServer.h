#pragma once

#include <openssl/types.h>

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "fakes/ScriptedConnection.h"

namespace fakes {

struct ScriptedServerOptions {
    std::string address = "127.0.0.1";  ///< IPv4 address to listen on
    std::uint16_t port = 0;             ///< 0: a free one

    std::string certificate = {};  ///< PEM; together with the key it makes this a TLS server
    std::string privateKey = {};   ///< PEM
    int newestTls = 0;             ///< TLS1_1_VERSION and the like; 0: whatever the library has

    /// Runs before anything is read or TLS begins; a connection that it closes is over.
    std::function<void(ScriptedConnection&)> onConnect = {};
};

/// A server that answers with whatever bytes the test's script sends: right, wrong, slow, cut or none at all. It
/// listens when its constructor returns. Each connection has a thread of its own, so scripts may wait, and several may
/// run at once.
class ScriptedServer {
public:
    using Options = ScriptedServerOptions;

    /// Runs once for each request, when its head has come whole.
    using Script = std::function<void(ScriptedConnection&)>;

    /// @throws std::runtime_error if the address cannot be listened on or the credentials cannot be used.
    explicit ScriptedServer(Script script, Options options = {});

    /// Stops.
    ~ScriptedServer();

    ScriptedServer(const ScriptedServer&) = delete;
    ScriptedServer& operator=(const ScriptedServer&) = delete;

    /// Drops every connection, in the middle of its script if need be, and joins all threads. Nothing listens on the
    /// port afterwards. Any thread, any number of times, but not from a script.
    void stop();

    std::uint16_t port() const { return port_; }

    /// "http://127.0.0.1:4711" or "https://..." and the path.
    std::string url(const std::string& path = "/") const;

    /// Ever accepted, and heads of requests that ever came whole, in order.
    std::size_t connections() const;
    std::vector<std::string> requests() const;

    /// Return when so many have come, ever.
    void waitForConnections(std::size_t count);
    void waitForRequests(std::size_t count);

private:
    void listen();
    void accept();
    void serve(int socket);
    void converse(ScriptedConnection& connection);

    const Script script_;
    const Options options_;
    const std::unique_ptr<SSL_CTX, void (*)(SSL_CTX*)> tls_;
    int stopEvent_ = -1;
    int listener_ = -1;
    std::uint16_t port_ = 0;

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t connections_ = 0;
    std::vector<std::string> requests_;

    std::mutex stopMutex_;
    std::vector<std::thread> conversations_;  ///< the acceptor's own until it has been joined
    std::thread acceptor_;
};

}  // namespace fakes
