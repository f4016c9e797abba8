#pragma once

#include <cstdint>
#include <string_view>

#include "web/Connection.h"
#include "web/EventStreams.h"
#include "web/WebHouse.h"

namespace corvidctl {

/// Server-sent events on one connection (WHATWG HTML), after the answer's head. One thread.
class PageStream {
public:
    /// All must outlive this. @param events opened before the head was sent.
    PageStream(WebHouse& house, EventStream& events, Connection& connection)
        : house_(house), events_(events), connection_(connection) {}

    /// First what the page has missed, then what happens, until the page has gone, does not read, or the server ends.
    /// @param since the number of the last batch that the page knows; 0: none.
    void run(std::uint64_t since);

private:
    enum class News { Events, Silence, Gone };

    /// @return the number of the last batch that it has sent; 0: none.
    std::uint64_t sendMissed(std::uint64_t since);
    News waitForNews() const;
    bool send(std::string_view text);

    WebHouse& house_;
    EventStream& events_;
    Connection& connection_;
    bool reads_ = true;
};

}  // namespace corvidctl
