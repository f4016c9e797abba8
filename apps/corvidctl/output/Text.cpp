#include "output/Text.h"

#include <utf8proc.h>

#include <array>
#include <cstdio>

#include "quill/StringUtils.h"

namespace corvidctl {

namespace {

using QuillCoreUtils::toString;
using QuillCoreUtils::toWideString;

constexpr const char* ELLIPSIS = "\xE2\x80\xA6";

bool isDangerous(wchar_t character) {
    const auto code = static_cast<unsigned>(character);
    const bool control = code < 0x20 || (code >= 0x7F && code < 0xA0);
    const bool separator = code == 0x2028 || code == 0x2029;
    const bool direction = code == 0x61C || code == 0x200E || code == 0x200F || (code >= 0x202A && code <= 0x202E) ||
                           (code >= 0x2066 && code <= 0x2069);
    return control || separator || direction;
}

std::string escape(wchar_t character) {
    switch (character) {
    case L'\n':
        return "\\n";
    case L'\r':
        return "\\r";
    case L'\t':
        return "\\t";
    default:
        break;
    }
    const auto code = static_cast<unsigned>(character);
    std::array<char, 16> buffer{};
    std::snprintf(buffer.data(), buffer.size(), code < 0x100 ? "\\x%02x" : "\\u%04x", code);
    return buffer.data();
}

std::size_t widthOf(wchar_t character) {
    const int width = utf8proc_charwidth(static_cast<utf8proc_int32_t>(character));
    return width > 0 ? static_cast<std::size_t>(width) : 0;
}

}  // namespace

std::string escaped(std::string_view text, bool keepLines) {
    std::string result;
    for (const wchar_t character : toWideString(text)) {
        const bool kept = !isDangerous(character) || (keepLines && character == L'\n');
        result += kept ? toString(std::wstring_view(&character, 1)) : escape(character);
    }
    return result;
}

std::size_t displayWidth(std::string_view text) {
    std::size_t width = 0;
    for (const wchar_t character : toWideString(text)) {
        width += widthOf(character);
    }
    return width;
}

std::string shortened(std::string_view text, std::size_t columns) {
    if (displayWidth(text) <= columns) {
        return std::string(text);
    }
    std::string result;
    std::size_t width = 1;  // the ellipsis
    for (const wchar_t character : toWideString(text)) {
        width += widthOf(character);
        if (width > columns) {
            break;
        }
        result += toString(std::wstring_view(&character, 1));
    }
    return result + ELLIPSIS;
}

std::string shortenedInFront(std::string_view text, std::size_t columns) {
    if (displayWidth(text) <= columns) {
        return std::string(text);
    }
    const std::wstring characters = toWideString(text);
    std::size_t begin = characters.size();
    std::size_t width = 1;  // the ellipsis
    while (begin > 0 && width + widthOf(characters[begin - 1]) <= columns) {
        --begin;
        width += widthOf(characters[begin]);
    }
    return ELLIPSIS + toString(std::wstring_view(characters).substr(begin));
}

std::string padded(std::string_view text, std::size_t columns) {
    const std::size_t width = displayWidth(text);
    return std::string(text) + std::string(width < columns ? columns - width : 0, ' ');
}

}  // namespace corvidctl
