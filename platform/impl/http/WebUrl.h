#pragma once

#include <optional>
#include <string>

namespace platform {

/// Where a URL leads to.
struct WebUrl {
    std::string scheme;  ///< "http" or "https"
    std::string host;    ///< ASCII letters in lower case; an IPv6 address in its brackets
    std::string port;    ///< never empty
};

/// Nothing if the text is no absolute URL (RFC 3986) with the scheme http or https and a host. Any thread.
std::optional<WebUrl> parseWebUrl(const std::string& text);

/// The absolute URL that a reference (a Location field) found at an absolute URL means; empty if there is none.
std::string resolveUrl(const std::string& base, const std::string& reference);

/// Whether a host of parseWebUrl() is this machine itself: "localhost" and names below it, 127.0.0.0/8, ::1.
bool isLoopback(const std::string& host);

}  // namespace platform
