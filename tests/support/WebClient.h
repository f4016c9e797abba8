#pragma once

#include <string>

namespace support {

/// What came of a request.
struct WebAnswer {
    bool arrived = false;  ///< there was an answer, whatever it says
    bool trusted = true;   ///< false if the request ended because the server's certificate was not trusted
    long status = 0;
    std::string contentType;
    std::string contentLength;
    std::string body;
};

/// A client with nothing of this project inside.
class WebClient {
public:
    /// @param trusted certificates (PEM) that HTTPS relies on; there are no others.
    explicit WebClient(std::string trusted = {}) : trusted_(std::move(trusted)) {}

    /// Waits for the answer. The URL goes out letter by letter. Any thread.
    WebAnswer send(const std::string& method, const std::string& url) const;
    WebAnswer get(const std::string& url) const { return send("GET", url); }

private:
    const std::string trusted_;
};

}  // namespace support
