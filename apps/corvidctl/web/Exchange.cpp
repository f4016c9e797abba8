#include "web/Exchange.h"

#include <charconv>
#include <chrono>
#include <cstdint>
#include <utility>

#include "web/PageFiles.h"
#include "web/PageStream.h"

namespace corvidctl {

namespace {

constexpr std::string_view HEAD_END = "\r\n\r\n";
constexpr std::string_view API = "/api/";
constexpr std::string_view JSON = "application/json";

Deadline after(std::chrono::milliseconds time) { return std::chrono::steady_clock::now() + time; }

/// The number of the last batch that the page knows: what a browser says when it comes back, or what the page itself
/// says. 0 if nobody says anything, nothing if it is no number.
std::optional<std::uint64_t> lastKnownBatch(const RequestHead& head) {
    const auto ids = head.valuesOf("last-event-id");
    const auto since = head.parameters.find("since");
    std::string_view text = since == head.parameters.end() ? std::string_view("0") : since->second;
    if (!ids.empty()) {
        text = ids.front();
    }
    std::uint64_t number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (end != text.data() + text.size() || error != std::errc()) {
        return {};
    }
    return number;
}

}  // namespace

void Exchange::run() {
    while (serveRequest()) {
    }
    connection_.finish(after(house_.options.goodbyeTime));
}

bool Exchange::serveRequest() {
    if (connection_.unread().empty() &&
        connection_.receive(after(house_.options.idleTime)) != Connection::Received::Something) {
        return false;
    }
    const Deadline deadline = after(house_.options.requestTime);
    RequestHead head;
    if (const auto refusal = readHead(head, deadline)) {
        return refuse(head, *refusal);
    }
    const Gate::Verdict verdict = house_.gate.judge(head);
    if (verdict.entrance == Gate::Entrance::Refused) {
        return refuse(head, verdict.refusal);
    }
    std::string body;
    if (const auto refusal = readBody(head.bodyBytes, body, deadline)) {
        return refuse(head, *refusal);
    }
    if (verdict.entrance == Gate::Entrance::ByLink) {
        return send(head, {.status = 303, .fields = {"Location: /", "Set-Cookie: " + house_.gate.cookie()}});
    }
    return answer(head, body);
}

bool Exchange::answer(const RequestHead& head, const std::string& body) {
    if (head.isForApi()) {
        return answerFromApi(head, body);
    }
    const PageFile* file = pageFileAt(head.path);
    if (file == nullptr) {
        return send(head, refusalAnswer({404, "There is nothing here: the page is at \"/\"."}, false));
    }
    return send(head, {.type = std::string(mediaTypeOf(file->name)), .body = std::string(file->contents)});
}

bool Exchange::answerFromApi(const RequestHead& head, const std::string& body) {
    const std::string path = head.path.substr(API.size());
    if (path == "events") {
        return answerWithStream(head);
    }
    const std::string method = head.method == "POST" ? "POST" : "GET";
    ApiAnswer answer = house_.api.answer({method, path, head.parameters, method == "POST" ? body : std::string()});
    return send(head, {.status = answer.status, .type = std::string(JSON), .body = std::move(answer.json)});
}

bool Exchange::answerWithStream(const RequestHead& head) {
    if (head.method == "POST") {
        return refuse(head, {405, "Events can only be read: use GET.", "GET, HEAD"});
    }
    const auto since = lastKnownBatch(head);
    if (!since) {
        return refuse(head, {400, "Last-Event-ID and \"since\" must be the number of a batch."});
    }
    const auto events = house_.streams.open();
    if (!events) {
        return refuse(head, {503, "Too many pages are open already: close one."});
    }
    const HttpAnswer start{.type = "text/event-stream"};
    if (connection_.send(headText(start, Ending::Endless), after(house_.options.requestTime)) && head.method == "GET") {
        PageStream(house_, *events, connection_).run(*since);
    }
    return false;
}

bool Exchange::send(const RequestHead& head, const HttpAnswer& answer) {
    std::string text = headText(answer, head.keepsAlive ? Ending::Length : Ending::Close);
    if (head.method != "HEAD") {
        text.append(answer.body);
    }
    return connection_.send(text, after(house_.options.requestTime)) && head.keepsAlive;
}

bool Exchange::refuse(const RequestHead& head, const Refusal& refusal) {
    const HttpAnswer answer = refusalAnswer(refusal, head.isForApi());
    const std::string text = headText(answer, Ending::Close);
    connection_.send(head.method == "HEAD" ? text : text + answer.body, after(house_.options.requestTime));
    return false;
}

std::optional<Refusal> Exchange::readHead(RequestHead& head, Deadline deadline) {
    const std::size_t most = house_.options.headBytes;
    std::size_t end = connection_.unread().find(HEAD_END);
    while (end == std::string::npos && connection_.unread().size() <= most) {
        if (connection_.receive(deadline) != Connection::Received::Something) {
            return Refusal{408, "The request did not come in time."};
        }
        end = connection_.unread().find(HEAD_END);
    }
    if (end == std::string::npos || end + HEAD_END.size() > most) {
        return Refusal{431, "The request's header is too large: at most " + std::to_string(most) + " bytes are read."};
    }
    return readRequestHead(connection_.take(end + HEAD_END.size()), head);
}

std::optional<Refusal> Exchange::readBody(std::size_t size, std::string& body, Deadline deadline) {
    const std::size_t most = house_.options.requestBytes;
    if (size > most) {
        return Refusal{413, "The request's body is too large: at most " + std::to_string(most) + " bytes are read."};
    }
    while (connection_.unread().size() < size) {
        if (connection_.receive(deadline) != Connection::Received::Something) {
            return Refusal{408, "The request did not come in time."};
        }
    }
    body = connection_.take(size);
    return {};
}

}  // namespace corvidctl
