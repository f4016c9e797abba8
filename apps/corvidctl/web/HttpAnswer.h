#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "web/RequestHead.h"

namespace corvidctl {

/// An answer, before it becomes bytes.
struct HttpAnswer {
    int status = 200;
    std::string type = {};  ///< the media type; empty: there is no body
    std::string body = {};
    std::vector<std::string> fields = {};  ///< more header fields, each as "Name: value"
};

/// What tells a client why it gets nothing. @param asJson as {"error": sentence}, else as a line of plain text.
HttpAnswer refusalAnswer(const Refusal& refusal, bool asJson);

/// Where an answer's body ends.
enum class Ending {
    Length,   ///< after so many bytes; more requests may follow
    Close,    ///< after so many bytes, and the connection with it
    Endless,  ///< with the connection: what follows is a stream
};

/// The answer's head, down to the blank line. Every one carries the fields that keep browsers from running, framing,
/// guessing, keeping or giving away what is served.
std::string headText(const HttpAnswer& answer, Ending ending);

}  // namespace corvidctl
