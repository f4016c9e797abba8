#include "web/Gate.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "web/FormText.h"
#include "web/Token.h"

namespace corvidctl {

namespace {

constexpr std::string_view HTTP = "http://";

Gate::Verdict refused(int status, std::string sentence, std::string allow = {}) {
    return {Gate::Entrance::Refused, {status, std::move(sentence), std::move(allow)}};
}

bool isReading(const RequestHead& head) { return head.method == "GET" || head.method == "HEAD"; }

/// The type alone, without parameters such as the charset.
bool isJson(std::string_view contentType) {
    std::string_view type = contentType.substr(0, contentType.find(';'));
    while (type.ends_with(' ') || type.ends_with('\t')) {
        type.remove_suffix(1);
    }
    return inLowerCase(type) == "application/json";
}

bool carriesJson(const RequestHead& head) {
    const auto types = head.valuesOf("content-type");
    return types.size() == 1 && isJson(types.front());
}

/// What an answer to a request that may know what there is says about its method and its body.
Gate::Verdict judgeMethod(const RequestHead& head) {
    if (isReading(head)) {
        return {Gate::Entrance::Open, {}};
    }
    if (!head.isForApi()) {
        return refused(405, "Here is only something to read: use GET.", "GET, HEAD");
    }
    if (head.method != "POST") {
        return refused(405, "Use GET to read and POST to change something.", "GET, HEAD, POST");
    }
    if (!carriesJson(head)) {
        return refused(415, "The body must be JSON, sent with \"Content-Type: application/json\".");
    }
    return {Gate::Entrance::Open, {}};
}

}  // namespace

Gate::Gate(std::uint16_t port, std::string token) : port_(std::to_string(port)), token_(std::move(token)) {}

Gate::Verdict Gate::judge(const RequestHead& head) const {
    if (!isAskedForByName(head)) {
        return refused(403, "This server answers at http://127.0.0.1:" + port_ + " alone.");
    }
    if (!comesFromOwnPage(head)) {
        return refused(403, "Requests of other sites' pages are refused.");
    }
    if (hasLink(head)) {
        return {Entrance::ByLink, {}};
    }
    if (!hasCookie(head)) {
        return refused(401,
                       "Open the link that \"corvidctl inspect\" has printed: it carries the token that lets you in.");
    }
    return judgeMethod(head);
}

std::string Gate::link() const { return "http://127.0.0.1:" + port_ + "/?token=" + token_; }

std::string Gate::cookie() const { return cookieStart() + token_ + "; HttpOnly; SameSite=Strict; Path=/"; }

std::string Gate::cookieStart() const { return "corvid-inspector-" + port_ + "="; }

bool Gate::isOwnHost(std::string_view host) const {
    const std::string lower = inLowerCase(host);
    return lower == "127.0.0.1:" + port_ || lower == "localhost:" + port_;
}

bool Gate::isAskedForByName(const RequestHead& head) const {
    const auto hosts = head.valuesOf("host");
    return hosts.size() == 1 && isOwnHost(hosts.front());
}

bool Gate::comesFromOwnPage(const RequestHead& head) const {
    const auto origins = head.valuesOf("origin");
    const bool ownOrigins = std::all_of(origins.begin(), origins.end(), [this](std::string_view origin) {
        return origin.starts_with(HTTP) && isOwnHost(origin.substr(HTTP.size()));
    });
    const auto sites = head.valuesOf("sec-fetch-site");
    const bool ownSites = std::all_of(sites.begin(), sites.end(),
                                      [](std::string_view site) { return site == "same-origin" || site == "none"; });
    return ownOrigins && ownSites && origins.size() <= 1 && (isReading(head) || origins.size() == 1);
}

bool Gate::hasLink(const RequestHead& head) const {
    const auto token = head.parameters.find("token");
    return isReading(head) && head.path == "/" && token != head.parameters.end() && isSameToken(token->second, token_);
}

bool Gate::hasCookie(const RequestHead& head) const {
    const std::string start = cookieStart();
    for (std::string_view cookies : head.valuesOf("cookie")) {
        while (!cookies.empty()) {
            const std::string_view cookie = cookies.substr(0, cookies.find(';'));
            cookies.remove_prefix(std::min(cookie.size() + 1, cookies.size()));
            const std::string_view pair = cookie.substr(std::min(cookie.find_first_not_of(' '), cookie.size()));
            if (pair.starts_with(start) && isSameToken(pair.substr(start.size()), token_)) {
                return true;
            }
        }
    }
    return false;
}

}  // namespace corvidctl
