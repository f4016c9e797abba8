#pragma once

#include <httplib.h>

#include <cstdint>
#include <memory>

#include "web/Connection.h"
#include "web/HttpAnswer.h"
#include "web/WebHouse.h"

namespace corvidctl {

/// The requests of one connection, one after the other, and their answers. One thread.
///
/// The HTTP library reads and writes them. Its own sockets, threads and time limits stay unused: they can be had only
/// for all clients together, and know no limit for a whole request.
class Exchange : private httplib::Server {
public:
    /// @param house must outlive this.
    /// @param socket not blocking; stays the caller's.
    Exchange(WebHouse& house, int socket);

    /// Returns when the client has nothing more to say, or is not let say more.
    void run();

private:
    bool serveRequest();

    // What the library calls while it serves a request, in this order.
    void beginRequest(httplib::Request& request);
    HandlerResponse answerHead(const httplib::Request& request, httplib::Response& response);
    void answerFromApi(const httplib::Request& request, httplib::Response& response);
    void explainFailure(const httplib::Request& request, httplib::Response& response);
    void finishAnswer(httplib::Response& response);

    void answerReading(const httplib::Request& request, httplib::Response& response);
    void answerWithStream(const httplib::Request& request, httplib::Response& response);
    void refuseAndClose(const Refusal& refusal, const httplib::Request& request, httplib::Response& response);

    WebHouse& house_;
    Connection connection_;

    // Of the request that is being served.
    Deadline deadline_;
    bool closes_ = false;                  ///< no other follows on this connection
    std::shared_ptr<EventStream> events_;  ///< what follows the answer's head, if any
    std::uint64_t since_ = 0;              ///< the last batch that the page knows
};

}  // namespace corvidctl
