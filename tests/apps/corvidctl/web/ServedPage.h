#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "web/Api.h"
#include "web/RawClient.h"
#include "web/WebServer.h"

/// Answers what a test tells it to, and remembers what was asked.
class ScriptedApi : public corvidctl::Api {
public:
    corvidctl::ApiAnswer answer(const corvidctl::ApiRequest& request) override;
    std::vector<corvidctl::ServerEvent> eventsSince(std::uint64_t lastId) override;

    std::vector<corvidctl::ApiRequest> requests() const;

    /// Set before the server is made. What is called for a request, on the server's thread.
    std::function<corvidctl::ApiAnswer(const corvidctl::ApiRequest&)> script;

    /// The same for streams.
    std::function<std::vector<corvidctl::ServerEvent>(std::uint64_t)> missed;

private:
    mutable std::mutex mutex_;
    std::vector<corvidctl::ApiRequest> requests_;
};

/// A server on a free port, and requests to it as a browser that has been let in makes them.
class ServedPage : public ::testing::Test {
protected:
    /// Makes the server, with options and script as they are.
    void serve();

    std::string host() const { return "127.0.0.1:" + std::to_string(server_->port()); }
    std::string token() const;
    /// The line that lets a request in.
    std::string cookie() const;
    /// "GET path HTTP/1.1" with host and cookie. @param more lines of more fields.
    std::string get(const std::string& path, const std::string& more = {}) const;
    /// A change as the page asks for it.
    std::string post(const std::string& path, const std::string& body, const std::string& more = {}) const;

    RawClient connect() const { return RawClient(server_->port()); }
    /// The answer to one request on a connection of its own.
    RawAnswer ask(const std::string& request) const;
    /// The same, asked until there is a place for it.
    RawAnswer askUntilServed(const std::string& request) const;
    /// A page's stream, after its greeting.
    RawClient listen(const std::string& more = {}) const;

    corvidctl::WebServer::Options options_;
    ScriptedApi api_;
    std::unique_ptr<corvidctl::WebServer> server_;
};
