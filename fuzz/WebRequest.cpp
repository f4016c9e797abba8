// Any bytes as what a client of the inspector says: whoever is let in has said the server's name, is no other site's
// page and has the token, and changes something with a body of JSON that tells its size, by a reading that looks at the
// lines alone. What is handed over as a change's body is as long as it tells, and stands behind the change's head;
// before it on the connection are whole requests that were let in, and no body that nobody reads. The port is 8080, the
// token "5ec8e7", the most bytes of a body 65536.

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "RequestReader.h"
#include "web/PageFiles.h"

/// In the place of the page's own files: nobody reads the answers, and a connection must hold them all.
std::span<const corvidctl::PageFile> corvidctl::pageFiles() { return {}; }

namespace {

std::string lowered(std::string_view text) {
    std::string lower;
    for (const char character : text) {
        lower += static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
    }
    return lower;
}

bool isDigit(char character) { return std::isxdigit(static_cast<unsigned char>(character)) != 0; }

/// The library reads "%XX" in what a field says as a byte.
std::string decoded(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        const bool isCode = text.size() > 2 && text.front() == '%' && isDigit(text[1]) && isDigit(text[2]);
        bytes += isCode ? static_cast<char>(std::stoi(std::string(text.substr(1, 2)), nullptr, 16)) : text.front();
        text.remove_prefix(isCode ? 3 : 1);
    }
    return bytes;
}

/// What stands in all lines of a name, without blanks around it.
std::vector<std::string> linesOf(const std::string& name, std::string_view text) {
    std::vector<std::string> values;
    std::string_view line;
    while (line != "\r" && !text.empty()) {
        line = text.substr(0, text.find('\n'));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
        if (line.ends_with('\r') && lowered(line).starts_with(name + ":")) {
            std::string value(line.substr(name.size() + 1, line.size() - name.size() - 2));
            value.erase(0, value.find_first_not_of(" \t"));
            value.erase(value.find_last_not_of(" \t") + 1);
            values.push_back(decoded(value));
        }
    }
    std::erase(values, "");  // the library leaves such a line out
    return values;
}

bool isOwn(const std::string& host) {
    const std::string lower = lowered(host);
    return lower == "127.0.0.1:8080" || lower == "localhost:8080";
}

bool isOwnOrigin(const std::string& origin) { return origin.starts_with("http://") && isOwn(origin.substr(7)); }

/// What stands between separators, without blanks around it; the library leaves out what is empty.
std::vector<std::string> piecesOf(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    while (!text.empty()) {
        std::string piece(text.substr(0, text.find(separator)));
        text.remove_prefix(std::min(piece.size() + 1, text.size()));
        piece.erase(0, piece.find_first_not_of(" \t"));
        piece.erase(piece.find_last_not_of(" \t") + 1);
        pieces.push_back(piece);
    }
    std::erase(pieces, "");
    return pieces;
}

/// Whether the request line asks for "/?token=5ec8e7", with or without other parameters.
bool isLink(std::string_view text) {
    const auto words = piecesOf(text.substr(0, text.find("\r\n")), ' ');
    const std::string target = words.size() < 2 ? "" : words[1].substr(0, words[1].find('#'));
    const auto parts = piecesOf(target, '?');
    if (parts.size() != 2 || decoded(parts[0]) != "/") {
        return false;
    }
    for (const std::string& parameter : piecesOf(parts[1], '&')) {
        const auto sides = piecesOf(parameter, '=');
        if (!sides.empty() && decoded(sides.front()) == "token") {
            return sides.size() > 1 && decoded(sides.back()) == "5ec8e7";
        }
    }
    return false;
}

bool hasCookie(std::string_view text) {
    for (std::string cookies : linesOf("cookie", text)) {
        for (cookies += ';'; !cookies.empty(); cookies.erase(0, cookies.find(';') + 1)) {
            const std::string cookie = cookies.substr(0, cookies.find(';'));
            if (cookie.substr(std::min(cookie.find_first_not_of(' '), cookie.size())) ==
                "corvid-inspector-8080=5ec8e7") {
                return true;
            }
        }
    }
    return false;
}

bool isOtherSite(const std::string& site) { return site != "same-origin" && site != "none"; }

const char* whatIsWrongWithBody(std::string_view text) {
    const auto types = linesOf("content-type", text);
    const auto lengths = linesOf("content-length", text);
    std::string type = types.size() == 1 ? types.front().substr(0, types.front().find(';')) : "";
    type.erase(type.find_last_not_of(" \t") + 1);
    if (lowered(type) != "application/json" || !linesOf("content-encoding", text).empty()) {
        return "a change is no JSON";
    }
    if (lengths.size() != 1 || !linesOf("transfer-encoding", text).empty()) {
        return "a change does not tell its size";
    }
    std::string digits = lengths.front();
    if (digits.find_first_not_of("0123456789") != std::string::npos) {
        return "the size of a change is no number";
    }
    digits.erase(0, digits.find_first_not_of('0'));
    return digits.size() <= 5 && std::atoi(digits.c_str()) <= 65536 ? nullptr : "a change is too large";
}

bool isReading(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));  // as the library does
    return text.starts_with("GET") || text.starts_with("HEAD");
}

const char* whatIsWrong(std::string_view text, bool byLink) {
    const auto hosts = linesOf("host", text);
    const auto origins = linesOf("origin", text);
    const auto sites = linesOf("sec-fetch-site", text);
    const bool reads = isReading(text);
    text.remove_prefix(std::min(text.find_first_not_of(" \t"), text.size()));
    if (hosts.size() != 1 || !isOwn(hosts.front())) {
        return "the host is another";
    }
    if (origins.size() > 1 || (!origins.empty() && !isOwnOrigin(origins.front()))) {
        return "the origin is another";
    }
    if (std::any_of(sites.begin(), sites.end(), isOtherSite)) {
        return "the site is another";
    }
    if (!reads && (origins.empty() || !text.starts_with("POST"))) {
        return "a change comes from nowhere";
    }
    if (byLink) {
        return reads && isLink(text) ? nullptr : "the link is another";
    }
    if (!hasCookie(text)) {
        return "nobody has the token";
    }
    return reads ? nullptr : whatIsWrongWithBody(text);
}

/// Up to the empty line, with it.
std::string_view headOf(std::string_view text) {
    const std::size_t end = text.find("\n\r\n");
    return text.substr(0, end == std::string_view::npos ? end : end + 3);
}

/// The bodies that may be handed over, in their order.
std::vector<std::string> changesIn(std::string_view text) {
    std::vector<std::string> bodies;
    while (!text.empty()) {
        const std::string_view head = headOf(text);
        const auto lengths = linesOf("content-length", head);
        text.remove_prefix(head.size());
        if (isReading(head)) {
            const bool isLetIn = whatIsWrong(head, false) == nullptr || whatIsWrong(head, true) == nullptr;
            if (!isLetIn || !lengths.empty() || !linesOf("transfer-encoding", head).empty()) {
                break;
            }
        } else {
            if (whatIsWrong(head, false) != nullptr || std::stoul(lengths.front()) > text.size()) {
                break;
            }
            bodies.emplace_back(text.substr(0, std::stoul(lengths.front())));
            text.remove_prefix(bodies.back().size());
        }
    }
    return bodies;
}

[[noreturn]] void complain(const char* sentence) {
    std::fprintf(stderr, "web request: %s\n", sentence);
    std::abort();
}

/// What is said of the first request.
void checkVerdict(const std::optional<corvidctl::Gate::Verdict>& verdict, std::string_view text) {
    if (!verdict || verdict->entrance == corvidctl::Gate::Entrance::Refused) {
        return;
    }
    const char* const wrong = whatIsWrong(text, verdict->entrance == corvidctl::Gate::Entrance::ByLink);
    if (wrong != nullptr) {
        complain(wrong);
    }
}

/// An exchange ends at the first request that it does not let in, or cannot read.
void checkChanges(const std::vector<std::string>& handedOver, std::string_view text) {
    const std::vector<std::string> said = changesIn(text);
    if (handedOver.size() > said.size() || !std::equal(handedOver.begin(), handedOver.end(), said.begin())) {
        complain("a body is handed over that is no change's");
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static const corvidctl::Gate gate(8080, "5ec8e7", "/4f1c/", 65536);
    const std::string text(reinterpret_cast<const char*>(data), size);
    const auto verdict = judgeText(gate, text);
    const std::vector<std::string> handedOver = changesHandedOver(text);
    if (text.find("%u") == std::string::npos) {  // which the library takes for a code, too
        checkVerdict(verdict, text);
        checkChanges(handedOver, text);
    }
    return 0;
}
