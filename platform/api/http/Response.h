#pragma once

#include <string>
#include <utility>

namespace tessel::http {

/// The answer to a request: empty, with status 0, until there is one. Not for two threads at once.
class Response {
public:
    /// As the server sent it; empty if none arrived, or if it did not arrive whole.
    const std::string& getBody() const { return body_; }

    /// For the transport.
    void setBody(std::string body) { body_ = std::move(body); }

    /// 0 if the server sent none.
    int getStatusCode() const { return statusCode_; }

    /// For the transport.
    void setStatusCode(int statusCode) { statusCode_ = statusCode; }

private:
    std::string body_;
    int statusCode_ = 0;
};

}  // namespace tessel::http
