#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace tessel::http {

/// What a request may be given along.
struct RequestOptions {
    std::int64_t requestTimeout = 30000;  ///< in milliseconds, for the whole exchange; 0 or less counts as 1
};

/// A GET request (RFC 9110). Not for two threads at once.
class Request {
public:
    /// @param url http or https.
    explicit Request(const std::string& url);

    /// As it was given.
    const std::string& getUrl() const { return url_; }

    /// The request's own record, never null.
    const std::shared_ptr<RequestOptions>& getOptions() const { return options_; }

private:
    const std::string url_;
    const std::shared_ptr<RequestOptions> options_;
};

}  // namespace tessel::http
