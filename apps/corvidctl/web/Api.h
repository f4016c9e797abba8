#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace corvidctl {

/// A request for data that has been let in: it comes from this machine, with the token, and from the page itself.
struct ApiRequest {
    std::string method;                             ///< "GET" or "POST"
    std::string path;                               ///< below "/api/", without it: "keys"
    std::map<std::string, std::string> parameters;  ///< of the query, decoded; UTF-8
    std::string body;                               ///< of a POST: JSON as it came, within the limit of its size
};

/// The answer: a JSON document, whatever the status is. That of a failure has a sentence in "error".
struct ApiAnswer {
    int status = 200;
    std::string json;
};

/// Something that happened, for all pages that are open. One event of a stream (WHATWG HTML, server-sent events).
struct ServerEvent {
    std::string name;      ///< "batch", "chain", "server", "reload"
    std::string json;      ///< on one line
    std::uint64_t id = 0;  ///< of a batch: its number, for a page that comes back; 0: none
};

/// What stands behind the page: answers requests, and knows what a page has missed.
class Api {
public:
    virtual ~Api() = default;

    /// Any thread, several at once. Does not throw.
    virtual ApiAnswer answer(const ApiRequest& request) = 0;

    /// The first events of a page's stream: what it missed since the event with that id, or what tells it to load
    /// everything anew. @param lastId 0: a page that has just been loaded. Any thread.
    virtual std::vector<ServerEvent> eventsSince(std::uint64_t lastId) = 0;
};

}  // namespace corvidctl
