// Any bytes as the head of a request to the inspector: whoever is let in has said the server's name and has the token,
// by a reading that looks at the lines alone. The port is 8080, the token "5ec8e7".

#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

#include "web/Gate.h"

namespace {

constexpr std::string_view BLANK_LINE = "\r\n\r\n";

std::string lowered(std::string_view text) {
    std::string lower;
    for (const char character : text) {
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return lower;
}

/// What stands in all lines of a name, without blanks around it.
std::vector<std::string> linesOf(const std::string& name, std::string_view head) {
    const std::string lower = lowered(head);
    const std::string start = "\r\n" + name + ":";
    std::vector<std::string> values;
    for (auto found = lower.find(start); found != std::string::npos; found = lower.find(start, found + 1)) {
        const auto begin = found + start.size();
        std::string value = lower.substr(begin, lower.find("\r\n", begin) - begin);
        value.erase(0, value.find_first_not_of(" \t"));
        value.erase(value.find_last_not_of(" \t") + 1);
        values.push_back(value);
    }
    return values;
}

bool isOwn(const std::string& host) { return host == "127.0.0.1:8080" || host == "localhost:8080"; }

bool isOwnOrigin(const std::string& origin) { return origin.starts_with("http://") && isOwn(origin.substr(7)); }

const char* whatIsWrong(std::string_view text, const corvidctl::RequestHead& head, bool byLink) {
    const auto hosts = linesOf("host", text);
    const auto origins = linesOf("origin", text);
    const bool reads = text.starts_with("GET ") || text.starts_with("HEAD ");
    if (hosts.size() != 1 || !isOwn(hosts.front())) {
        return "the host is another";
    }
    if (origins.size() > 1 || (!origins.empty() && !isOwnOrigin(origins.front()))) {
        return "the origin is another";
    }
    if (!reads && (origins.empty() || !text.starts_with("POST /api/"))) {
        return "a change comes from nowhere";
    }
    // In the link the digits may be encoded.
    if (!byLink && text.find("corvid-inspector-8080=5ec8e7") == std::string_view::npos) {
        return "nobody has the token";
    }
    return head.path.find_first_of("\r\n ?") == std::string::npos ? nullptr : "the path is more than a path";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const corvidctl::Gate gate(8080, "5ec8e7");
    std::string text(reinterpret_cast<const char*>(data), size);
    text = text.substr(0, text.find(BLANK_LINE)).append(BLANK_LINE);
    corvidctl::RequestHead head;
    if (corvidctl::readRequestHead(text, head)) {
        return 0;
    }
    const auto entrance = gate.judge(head).entrance;
    if (entrance == corvidctl::Gate::Entrance::Refused) {
        return 0;
    }
    const char* const wrong = whatIsWrong(text, head, entrance == corvidctl::Gate::Entrance::ByLink);
    if (wrong != nullptr) {
        std::fprintf(stderr, "web request: %s\n", wrong);
        std::abort();
    }
    return 0;
}
