#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corvidctl {

/// Why a request is not answered.
struct Refusal {
    int status = 400;
    std::string sentence;    ///< for people
    std::string allow = {};  ///< of a 405: the methods that are taken, as the header Allow has them
};

/// What stands before the body of a request in HTTP/1.x (RFC 9112).
struct RequestHead {
    std::string method;                                       ///< as it came; methods are case-sensitive
    std::string path;                                         ///< as it came, not decoded: it starts with a slash
    std::map<std::string, std::string> parameters;            ///< of the query, decoded; well-formed UTF-8
    std::vector<std::pair<std::string, std::string>> fields;  ///< in their order; names in lower case
    std::size_t bodyBytes = 0;
    bool keepsAlive = false;  ///< the client means to ask for more on this connection

    /// The values of all fields of a name. @param name in lower case.
    std::vector<std::string_view> valuesOf(std::string_view name) const;

    /// A failure under this path is JSON.
    bool isForApi() const { return path.starts_with("/api/"); }
};

/// Reads a request's head. It takes less than the standard allows, and never guesses: whoever decides about a request
/// by its fields decides about what the client has sent.
/// @param text from the first line to the blank one, which is its end: "\r\n\r\n".
/// @param head a new one; of an unreadable head it gets what stands before the place that cannot be read.
/// @return why it is not answered; nothing if it has been read.
std::optional<Refusal> readRequestHead(std::string_view text, RequestHead& head);

}  // namespace corvidctl
