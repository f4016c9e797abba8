#include "web/FormText.h"

#include <algorithm>
#include <charconv>
#include <optional>

#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

/// The byte that two hexadecimal digits stand for.
std::optional<char> byteOf(std::string_view digits) {
    unsigned char byte = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), byte, 16);
    if (digits.size() != 2 || end != digits.data() + 2 || error != std::errc()) {
        return {};
    }
    return static_cast<char>(byte);
}

std::optional<std::string> decoded(std::string_view text) {
    std::string bytes;
    while (!text.empty()) {
        const char first = text.front();
        const auto byte = first == '%' ? byteOf(text.substr(1, 2)) : std::optional(first == '+' ? ' ' : first);
        if (!byte) {
            return {};
        }
        bytes += *byte;
        text.remove_prefix(first == '%' ? 3 : 1);
    }
    return QuillCoreUtils::toString(QuillCoreUtils::toWideString(bytes));
}

bool readPair(std::string_view pair, std::map<std::string, std::string>& parameters) {
    const auto equals = std::min(pair.find('='), pair.size());
    const auto name = decoded(pair.substr(0, equals));
    const auto value = decoded(pair.substr(std::min(equals + 1, pair.size())));
    return name && value && parameters.emplace(*name, *value).second;
}

}  // namespace

std::string inLowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
    });
    return lower;
}

bool readFormText(std::string_view text, std::map<std::string, std::string>& parameters) {
    while (!text.empty()) {
        const auto end = std::min(text.find('&'), text.size());
        if (end > 0 && !readPair(text.substr(0, end), parameters)) {
            return false;
        }
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return true;
}

}  // namespace corvidctl
