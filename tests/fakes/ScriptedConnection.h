#pragma once

#include <openssl/types.h>

#include <chrono>
#include <memory>
#include <string>
#include <string_view>

namespace fakes {

/// A client's connection in the hands of a ScriptedServer's script. One thread at a time.
///
/// Whatever waits here ends when the server is stopped; it tells so by answering false. Nothing raises SIGPIPE.
class ScriptedConnection {
public:
    /// @param socket connected and non-blocking; owned from here on.
    /// @param stopEvent readable as soon as the server is stopped. @param tls null for a plain connection.
    ScriptedConnection(int socket, int stopEvent, SSL_CTX* tls);

    /// Closes.
    ~ScriptedConnection();

    ScriptedConnection(const ScriptedConnection&) = delete;
    ScriptedConnection& operator=(const ScriptedConnection&) = delete;

    /// For the server: TLS, if it is to be. @return false if it failed.
    bool shakeHands();

    /// For the server: waits for a request's head. @return false if none came whole.
    bool readRequest();

    /// The head of the request as it came, its empty line included.
    const std::string& request() const { return request_; }

    /// The request's target, "/file.xml?a=b"; empty if the head is none.
    std::string target() const;

    /// @return false if the client takes no more.
    bool send(std::string_view bytes);

    /// Byte by byte with a pause after each.
    bool sendSlowly(std::string_view bytes, std::chrono::milliseconds pause);

    /// An answer that says how long its body is. @param headers further ones, each with its line end.
    bool respond(int status, std::string_view body, std::string_view headers = "");

    /// An answer with this Location.
    bool redirect(std::string_view location, int status = 302);

    /// @return false at once if the client leaves, or if it has.
    bool pause(std::chrono::milliseconds time);

    /// Returns when something of the client's is there to be read, before TLS or the server read it.
    void waitUntilClientSpeaks();

    /// Returns when the client has closed its side. Nothing more can be read afterwards.
    void waitUntilClientLeaves();

    /// Sends the end of the stream; the client can still be heard.
    void halfClose();

    /// Drops everything and tells the client so (RST).
    void reset();

    /// Cuts a TLS connection off without the end that the protocol wants; the same as close() on a plain one.
    void breakOff();

    void close();

    /// When the script returns, the connection is closed, unless this has been called: then the next request is waited
    /// for, and the script runs anew.
    void keepOpen() { keptOpen_ = true; }

    /// For the server: whether another request is to be read.
    bool takeKeptOpen();

private:
    bool await(short events, std::chrono::milliseconds limit);
    bool awaitWhat(int sslError);
    long receive(char* buffer, std::size_t size);

    int socket_;
    const int stopEvent_;
    std::unique_ptr<SSL, void (*)(SSL*)> tls_;
    std::string request_;
    std::string unread_;
    bool keptOpen_ = false;
};

}  // namespace fakes
