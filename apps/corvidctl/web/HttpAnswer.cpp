#include "web/HttpAnswer.h"

#include <nlohmann/json.hpp>

namespace corvidctl {

namespace {

constexpr const char* PLAIN_TEXT = "text/plain; charset=utf-8";

}  // namespace

const httplib::Headers& protectiveFields() {
    static const httplib::Headers fields{
        {"Accept-Ranges", "none"},
        {"Cache-Control", "no-store"},
        {"Content-Security-Policy",
         "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self'; "
         "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
        {"Cross-Origin-Resource-Policy", "same-origin"},
        {"Referrer-Policy", "no-referrer"},
        {"X-Content-Type-Options", "nosniff"}};
    return fields;
}

void refuse(const Refusal& refusal, const httplib::Request& request, httplib::Response& response) {
    response.status = refusal.status;
    if (isForApi(request)) {
        response.set_content(nlohmann::json{{"error", refusal.sentence}}.dump(), "application/json");
    } else {
        response.set_content(refusal.sentence + "\n", PLAIN_TEXT);
    }
    if (!refusal.allow.empty()) {
        response.set_header("Allow", refusal.allow);
    }
}

std::string noPlaceText(const std::string& sentence) {
    std::string text = "HTTP/1.1 503 Service Unavailable\r\nConnection: close\r\nContent-Type: ";
    text.append(PLAIN_TEXT).append("\r\nContent-Length: ").append(std::to_string(sentence.size() + 1)).append("\r\n");
    for (const auto& [name, value] : protectiveFields()) {
        text.append(name).append(": ").append(value).append("\r\n");
    }
    return text.append("\r\n").append(sentence).append("\n");
}

}  // namespace corvidctl
