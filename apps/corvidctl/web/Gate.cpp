#include "web/Gate.h"

#include <algorithm>
#include <charconv>
#include <utility>
#include <vector>

#include "web/HttpAnswer.h"
#include "web/Token.h"

namespace corvidctl {

namespace {

constexpr std::string_view HTTP = "http://";

Gate::Verdict refused(int status, std::string sentence, std::string allow = {}) {
    return {Gate::Entrance::Refused, {status, std::move(sentence), std::move(allow)}};
}

/// Letters from A to Z as a to z, whatever the locale is.
std::string inLowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return lower;
}

/// The values of all fields of a name, which may stand in any case.
std::vector<std::string_view> valuesOf(const httplib::Request& request, const std::string& name) {
    const auto [first, end] = request.headers.equal_range(name);
    std::vector<std::string_view> values;
    std::for_each(first, end, [&values](const auto& field) { values.push_back(field.second); });
    return values;
}

/// The cookies of a request, each as "NAME=VALUE".
std::vector<std::string_view> cookiesOf(const httplib::Request& request) {
    std::vector<std::string_view> pairs;
    for (std::string_view cookies : valuesOf(request, "Cookie")) {
        while (!cookies.empty()) {
            const std::string_view cookie = cookies.substr(0, cookies.find(';'));
            cookies.remove_prefix(std::min(cookie.size() + 1, cookies.size()));
            pairs.push_back(cookie.substr(std::min(cookie.find_first_not_of(' '), cookie.size())));
        }
    }
    return pairs;
}

bool isReading(const httplib::Request& request) { return request.method == "GET" || request.method == "HEAD"; }

/// The type alone, without parameters such as the charset.
bool isJson(std::string_view contentType) {
    std::string_view type = contentType.substr(0, contentType.find(';'));
    while (type.ends_with(' ') || type.ends_with('\t')) {
        type.remove_suffix(1);
    }
    return inLowerCase(type) == "application/json";
}

/// The library unpacks what is packed, however much that becomes.
bool carriesJson(const httplib::Request& request) {
    const auto types = valuesOf(request, "Content-Type");
    return types.size() == 1 && isJson(types.front()) && !request.has_header("Content-Encoding");
}

}  // namespace

Gate::Gate(std::uint16_t port, std::string token, std::string place, std::size_t mostBytes)
    : port_(std::to_string(port)), token_(std::move(token)), place_(std::move(place)), mostBytes_(mostBytes) {}

Gate::Verdict Gate::judge(const httplib::Request& request) const {
    if (!isAskedForByName(request)) {
        return refused(403, "This server answers at http://127.0.0.1:" + port_ + " alone.");
    }
    if (!comesFromOwnPage(request)) {
        return refused(403, "Requests of other sites' pages are refused.");
    }
    if (hasLink(request)) {
        return {Entrance::ByLink, {}};
    }
    if (!hasCookie(request)) {
        return refused(401,
                       "Open the link that \"corvidctl inspect\" has printed: it carries the token that lets you in.");
    }
    return judgeMethod(request);
}

std::string Gate::link() const { return "http://127.0.0.1:" + port_ + "/?token=" + token_; }

std::string Gate::cookie() const { return cookieStart() + token_ + "; HttpOnly; SameSite=Strict; Path=" + place_; }

std::string Gate::cookieStart() const { return "corvid-inspector-" + port_ + "="; }

bool Gate::isOwnHost(std::string_view host) const {
    const std::string lower = inLowerCase(host);
    return lower == "127.0.0.1:" + port_ || lower == "localhost:" + port_;
}

bool Gate::isAskedForByName(const httplib::Request& request) const {
    const auto hosts = valuesOf(request, "Host");
    return hosts.size() == 1 && isOwnHost(hosts.front());
}

bool Gate::comesFromOwnPage(const httplib::Request& request) const {
    const auto origins = valuesOf(request, "Origin");
    const bool ownOrigins = std::all_of(origins.begin(), origins.end(), [this](std::string_view origin) {
        return origin.starts_with(HTTP) && isOwnHost(origin.substr(HTTP.size()));
    });
    const auto sites = valuesOf(request, "Sec-Fetch-Site");
    const bool ownSites = std::all_of(sites.begin(), sites.end(),
                                      [](std::string_view site) { return site == "same-origin" || site == "none"; });
    return ownOrigins && ownSites && origins.size() <= 1 && (isReading(request) || origins.size() == 1);
}

bool Gate::hasLink(const httplib::Request& request) const {
    return isReading(request) && request.path == "/" && isSameToken(request.get_param_value("token"), token_);
}

bool Gate::hasCookie(const httplib::Request& request) const {
    const std::string start = cookieStart();
    const std::vector<std::string_view> cookies = cookiesOf(request);
    return std::any_of(cookies.begin(), cookies.end(), [this, &start](std::string_view cookie) {
        return cookie.starts_with(start) && isSameToken(cookie.substr(start.size()), token_);
    });
}

/// What an answer to a request that may know what there is says about its method.
Gate::Verdict Gate::judgeMethod(const httplib::Request& request) const {
    if (isReading(request)) {
        return {Entrance::Open, {}};
    }
    if (!isForApi(request)) {
        return refused(405, "Here is only something to read: use GET.", "GET, HEAD");
    }
    if (request.method != "POST") {
        return refused(405, "Use GET to read and POST to change something.", "GET, HEAD, POST");
    }
    return judgeBody(request);
}

/// The library would wait for all of a body that is too large, and knows no limit for one that does not tell its size.
Gate::Verdict Gate::judgeBody(const httplib::Request& request) const {
    if (!carriesJson(request)) {
        return refused(415, "The body must be JSON, sent with \"Content-Type: application/json\".");
    }
    const auto lengths = valuesOf(request, "Content-Length");
    if (lengths.size() != 1 || request.has_header("Transfer-Encoding")) {
        return refused(411, "A body must come in one piece, with its Content-Length.");
    }
    const std::string_view length = lengths.front();
    std::size_t bytes = 0;
    const auto [end, error] = std::from_chars(length.data(), length.data() + length.size(), bytes);
    if (end != length.data() + length.size() || error == std::errc::invalid_argument) {
        return refused(400, "Content-Length must be one number.");
    }
    if (error == std::errc::result_out_of_range || bytes > mostBytes_) {
        return refused(413,
                       "The request's body is too large: at most " + std::to_string(mostBytes_) + " bytes are read.");
    }
    return {Entrance::Open, {}};
}

}  // namespace corvidctl
