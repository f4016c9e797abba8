#include "web/Exchange.h"

#include <chrono>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "quill/StringUtils.h"
#include "web/PageFiles.h"
#include "web/PageStream.h"
#include "web/WholeNumber.h"

namespace corvidctl {

namespace {

constexpr std::string_view API = "/api/";
constexpr const char* EVENTS = "/api/events";

Deadline after(std::chrono::milliseconds time) { return std::chrono::steady_clock::now() + time; }

/// What is no UTF-8 becomes U+FFFD.
std::string wellFormed(const std::string& bytes) {
    return QuillCoreUtils::toString(QuillCoreUtils::toWideString(bytes));
}

/// Of a name that stands twice the first.
std::map<std::string, std::string> parametersOf(const httplib::Request& request) {
    std::map<std::string, std::string> parameters;
    for (const auto& [name, value] : request.params) {
        parameters.emplace(wellFormed(name), wellFormed(value));
    }
    return parameters;
}

/// The number of the last batch that the page knows: what a browser says when it comes back, or what the page itself
/// says. 0 if nobody says anything, nothing if it is no number.
std::optional<std::uint64_t> lastKnownBatch(const httplib::Request& request) {
    std::string text = request.has_param("since") ? request.get_param_value("since") : "0";
    if (request.has_header("Last-Event-ID")) {
        text = request.get_header_value("Last-Event-ID");
    }
    return wholeNumberIn(text);
}

}  // namespace

Exchange::Exchange(WebHouse& house, int socket) : house_(house), connection_(socket) {
    set_default_headers(protectiveFields());
    set_pre_routing_handler([this](const auto& request, auto& response) { return answerHead(request, response); });
    Post(R"(/api/[\s\S]*)", [this](const auto& request, auto& response) { answerFromApi(request, response); });
    set_error_handler(Handler([this](const auto& request, auto& response) { explainFailure(request, response); }));
    set_post_routing_handler([this](const auto& /*request*/, auto& response) { finishAnswer(response); });
}

void Exchange::run() {
    while (connection_.hasMore(after(house_.options.idleTime)) && serveRequest()) {
    }
    connection_.finish(after(house_.options.goodbyeTime));
}

/// @return true if another request may follow.
bool Exchange::serveRequest() {
    closes_ = false;
    deadline_ = after(house_.options.requestTime);
    connection_.setDeadline(deadline_);
    connection_.setMostBytes(house_.options.headBytes);
    bool closedByClient = false;
    const bool answered =
        process_request(connection_, false, closedByClient, [this](auto& request) { beginRequest(request); });
    if (answered && events_) {
        PageStream(house_, *std::exchange(events_, nullptr), connection_).run(since_);
    }
    return answered && !closedByClient && !closes_;
}

/// The library knows the head by now. What it offers beyond that is of no use between two programs of one machine.
void Exchange::beginRequest(httplib::Request& request) {
    connection_.setMostBytes(house_.options.requestBytes);
    if (const std::string& place = house_.gate.place(); request.path.starts_with(place)) {
        request.path.erase(0, place.size() - 1);
    }
    request.ranges.clear();
    request.headers.erase("Accept-Encoding");
    if (request.method != "POST") {
        closes_ = request.has_header("Content-Length") || request.has_header("Transfer-Encoding");  // it stays unread
    }
}

/// @return Unhandled if there is a body to be read.
Exchange::HandlerResponse Exchange::answerHead(const httplib::Request& request, httplib::Response& response) {
    const Gate::Verdict verdict = house_.gate.judge(request);
    switch (verdict.entrance) {
    case Gate::Entrance::Refused:
        refuseAndClose(verdict.refusal, request, response);
        break;
    case Gate::Entrance::ByLink:
        response.set_redirect(house_.gate.place(), 303);
        response.set_header("Set-Cookie", house_.gate.cookie());
        break;
    case Gate::Entrance::Open:
        if (request.path == EVENTS) {
            answerWithStream(request, response);
        } else if (request.method == "POST") {
            return HandlerResponse::Unhandled;
        } else {
            answerReading(request, response);
        }
        break;
    }
    return HandlerResponse::Handled;
}

void Exchange::answerReading(const httplib::Request& request, httplib::Response& response) {
    if (isForApi(request)) {
        return answerFromApi(request, response);
    }
    const PageFile* file = pageFileAt(request.path);
    if (file == nullptr) {
        return refuse({404, "There is nothing here: the page is at \"/\"."}, request, response);
    }
    response.set_content(file->contents.data(), file->contents.size(), std::string(mediaTypeOf(file->name)));
}

void Exchange::answerFromApi(const httplib::Request& request, httplib::Response& response) {
    const std::string method = request.method == "POST" ? "POST" : "GET";
    const std::string path = wellFormed(request.path.substr(API.size()));
    const ApiAnswer answer = house_.api.answer({method, path, parametersOf(request), request.body});
    response.status = answer.status;
    response.set_content(answer.json, "application/json");
}

void Exchange::answerWithStream(const httplib::Request& request, httplib::Response& response) {
    if (request.method == "POST") {
        return refuseAndClose({405, "Events can only be read: use GET.", "GET, HEAD"}, request, response);
    }
    const auto since = lastKnownBatch(request);
    if (!since) {
        return refuse({400, "Last-Event-ID and \"since\" must be the number of a batch."}, request, response);
    }
    const auto events = house_.streams.open();
    if (!events) {
        return refuse({503, "Too many pages are open already: close one."}, request, response);
    }
    response.set_header("Content-Type", "text/event-stream");
    closes_ = true;
    if (request.method == "GET") {
        events_ = events;
        since_ = *since;
    }
}

/// Tells what the library alone has found out.
void Exchange::explainFailure(const httplib::Request& request, httplib::Response& response) {
    if (!response.body.empty()) {
        return;
    }
    if (connection_.isOverfull()) {
        const std::string most = std::to_string(house_.options.headBytes);
        refuseAndClose({431, "The request's header is too large: at most " + most + " bytes are read."}, request,
                       response);
    } else if (std::chrono::steady_clock::now() >= deadline_) {
        refuseAndClose({408, "The request did not come in time."}, request, response);
    } else {
        refuseAndClose({response.status, "The request cannot be read as one of HTTP/1.1."}, request, response);
    }
}

/// The last that is done before the head is written.
void Exchange::finishAnswer(httplib::Response& response) {
    response.headers.erase("Keep-Alive");  // it tells of the library's own limits
    if (events_) {
        response.headers.erase("Content-Length");
    }
    if (closes_ && !response.has_header("Connection")) {
        response.set_header("Connection", "close");
    }
    connection_.setDeadline(after(house_.options.requestTime));
}

void Exchange::refuseAndClose(const Refusal& refusal, const httplib::Request& request, httplib::Response& response) {
    closes_ = true;
    refuse(refusal, request, response);
}

}  // namespace corvidctl
