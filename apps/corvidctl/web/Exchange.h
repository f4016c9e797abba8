#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "web/Connection.h"
#include "web/Gate.h"
#include "web/HttpAnswer.h"
#include "web/WebHouse.h"

namespace corvidctl {

/// The requests of one connection, one after the other, and their answers. One thread.
class Exchange {
public:
    /// @param house must outlive this.
    /// @param socket not blocking; stays the caller's.
    Exchange(WebHouse& house, int socket) : house_(house), connection_(socket) {}

    /// Returns when the client has nothing more to say, or is not let say more.
    void run();

private:
    // Each of these that gives a bool: true if another request may follow.
    bool serveRequest();
    bool answer(const RequestHead& head, const std::string& body);
    bool answerFromApi(const RequestHead& head, const std::string& body);
    bool answerWithStream(const RequestHead& head);
    bool send(const RequestHead& head, const HttpAnswer& answer);
    bool refuse(const RequestHead& head, const Refusal& refusal);

    std::optional<Refusal> readHead(RequestHead& head, Deadline deadline);
    std::optional<Refusal> readBody(std::size_t size, std::string& body, Deadline deadline);

    WebHouse& house_;
    Connection connection_;
};

}  // namespace corvidctl
