#include "web/RequestHead.h"

#include <algorithm>
#include <charconv>
#include <limits>

#include "web/FormText.h"

namespace corvidctl {

namespace {

using Fields = std::vector<std::pair<std::string, std::string>>;

constexpr std::string_view LINE_END = "\r\n";

bool isLetterOrDigit(char character) {
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
           (character >= '0' && character <= '9');
}

/// Of a "token", which is what methods and the names of fields are.
bool isTokenCharacter(char character) {
    return isLetterOrDigit(character) || std::string_view("!#$%&'*+-.^_`|~").find(character) != std::string_view::npos;
}

bool isToken(std::string_view text) { return !text.empty() && std::all_of(text.begin(), text.end(), isTokenCharacter); }

bool isVisible(char character) { return character > ' ' && character <= '~'; }

bool isFieldCharacter(char character) {
    const auto byte = static_cast<unsigned char>(character);
    return character == '\t' || (byte >= ' ' && byte != 0x7F);
}

std::string_view withoutBlanks(std::string_view text) {
    const auto first = text.find_first_not_of(" \t");
    if (first == std::string_view::npos) {
        return {};
    }
    return text.substr(first, text.find_last_not_of(" \t") - first + 1);
}

Refusal unreadable(const char* what) { return {400, what}; }

/// Takes the first line off a text that has one.
std::string_view takeLine(std::string_view& text) {
    const auto end = std::min(text.find(LINE_END), text.size());
    const std::string_view line = text.substr(0, end);
    text.remove_prefix(std::min(end + LINE_END.size(), text.size()));
    return line;
}

std::optional<Refusal> readTarget(std::string_view target, RequestHead& head) {
    if (!target.starts_with('/') || !std::all_of(target.begin(), target.end(), isVisible)) {
        return unreadable("A request must name a path of this server, such as \"/\".");
    }
    const auto question = std::min(target.find('?'), target.size());
    head.path = target.substr(0, question);
    const std::string_view query = target.substr(std::min(question + 1, target.size()));
    if (!readFormText(query, head.parameters)) {
        return unreadable("The query must consist of NAME=VALUE with each name once, joined by \"&\".");
    }
    return {};
}

std::optional<Refusal> readRequestLine(std::string_view line, RequestHead& head) {
    const auto first = line.find(' ');
    const auto last = line.rfind(' ');
    if (first == std::string_view::npos || first == last || !isToken(line.substr(0, first))) {
        return unreadable("A request must start with a method, a path and \"HTTP/1.1\".");
    }
    head.method = line.substr(0, first);
    const std::string_view version = line.substr(last + 1);
    if (version != "HTTP/1.1" && version != "HTTP/1.0") {
        return Refusal{505, "This server speaks HTTP/1.1."};
    }
    head.keepsAlive = version == "HTTP/1.1";
    return readTarget(line.substr(first + 1, last - first - 1), head);
}

bool readField(std::string_view line, Fields& fields) {
    const auto colon = line.find(':');
    if (colon == std::string_view::npos || !isToken(line.substr(0, colon)) ||
        !std::all_of(line.begin(), line.end(), isFieldCharacter)) {
        return false;
    }
    fields.emplace_back(inLowerCase(line.substr(0, colon)), withoutBlanks(line.substr(colon + 1)));
    return true;
}

/// How long the body is: more than fits into the number is the largest number.
std::optional<Refusal> readBodyLength(RequestHead& head) {
    if (!head.valuesOf("transfer-encoding").empty()) {
        return Refusal{411, "A body must come in one piece, with its Content-Length."};
    }
    const auto lengths = head.valuesOf("content-length");
    if (lengths.empty()) {
        return {};
    }
    const std::string_view length = lengths.front();
    const auto [end, error] = std::from_chars(length.data(), length.data() + length.size(), head.bodyBytes);
    if (lengths.size() != 1 || end != length.data() + length.size() || error == std::errc::invalid_argument) {
        return unreadable("Content-Length must be one number.");
    }
    if (error == std::errc::result_out_of_range) {
        head.bodyBytes = std::numeric_limits<std::size_t>::max();
    }
    return {};
}

bool wantsToClose(const RequestHead& head) {
    const auto wishes = head.valuesOf("connection");
    return std::any_of(wishes.begin(), wishes.end(),
                       [](std::string_view wish) { return inLowerCase(wish).find("close") != std::string::npos; });
}

}  // namespace

std::vector<std::string_view> RequestHead::valuesOf(std::string_view name) const {
    std::vector<std::string_view> values;
    for (const auto& [fieldName, value] : fields) {
        if (fieldName == name) {
            values.push_back(value);
        }
    }
    return values;
}

std::optional<Refusal> readRequestHead(std::string_view text, RequestHead& head) {
    if (const auto refusal = readRequestLine(takeLine(text), head)) {
        return refusal;
    }
    for (std::string_view line = takeLine(text); !line.empty(); line = takeLine(text)) {
        if (!readField(line, head.fields)) {
            return unreadable("Each header field must stand on a line of its own, as \"Name: value\".");
        }
    }
    if (!head.valuesOf("expect").empty()) {
        return Refusal{417, "Nothing can be expected of this server: send the body at once."};
    }
    head.keepsAlive = head.keepsAlive && !wantsToClose(head);
    return readBodyLength(head);
}

}  // namespace corvidctl
