#include "web/HttpAnswer.h"

#include <nlohmann/json.hpp>

namespace corvidctl {

namespace {

constexpr std::string_view PROTECTION =
    "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; "
    "img-src 'self'; base-uri 'none'; form-action 'none'; frame-ancestors 'none'\r\n"
    "X-Content-Type-Options: nosniff\r\n"
    "Referrer-Policy: no-referrer\r\n"
    "Cross-Origin-Resource-Policy: same-origin\r\n"
    "Cache-Control: no-store\r\n";

/// Browsers show it nowhere, and the standard lets it be empty; it is for people who look at the wire.
std::string_view reasonOf(int status) {
    switch (status) {
    case 200:
        return "OK";
    case 202:
        return "Accepted";
    case 303:
        return "See Other";
    case 400:
        return "Bad Request";
    case 401:
        return "Unauthorized";
    case 403:
        return "Forbidden";
    case 404:
        return "Not Found";
    case 405:
        return "Method Not Allowed";
    case 408:
        return "Request Timeout";
    case 413:
        return "Content Too Large";
    case 415:
        return "Unsupported Media Type";
    case 431:
        return "Request Header Fields Too Large";
    case 503:
        return "Service Unavailable";
    default:
        return "";
    }
}

}  // namespace

HttpAnswer refusalAnswer(const Refusal& refusal, bool asJson) {
    HttpAnswer answer{.status = refusal.status};
    if (asJson) {
        answer.type = "application/json";
        answer.body = nlohmann::json{{"error", refusal.sentence}}.dump();
    } else {
        answer.type = "text/plain; charset=utf-8";
        answer.body = refusal.sentence + "\n";
    }
    if (!refusal.allow.empty()) {
        answer.fields.push_back("Allow: " + refusal.allow);
    }
    return answer;
}

std::string headText(const HttpAnswer& answer, Ending ending) {
    std::string text = "HTTP/1.1 " + std::to_string(answer.status) + " ";
    text.append(reasonOf(answer.status)).append("\r\n").append(PROTECTION);
    if (!answer.type.empty()) {
        text.append("Content-Type: ").append(answer.type).append("\r\n");
    }
    if (ending != Ending::Endless) {
        text.append("Content-Length: ").append(std::to_string(answer.body.size())).append("\r\n");
    }
    if (ending != Ending::Length) {
        text.append("Connection: close\r\n");
    }
    for (const std::string& field : answer.fields) {
        text.append(field).append("\r\n");
    }
    return text.append("\r\n");
}

}  // namespace corvidctl
