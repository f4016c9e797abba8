#include "impl/quill/Utf8.h"

#include <boost/locale/utf.hpp>

#include <cstddef>
#include <iterator>

namespace QuillCoreUtils {
namespace {

/// What a lead byte promises: how many bytes follow, and in which range the first of them must lie. The narrowed
/// ranges keep out overlong forms, surrogates and what lies above U+10FFFF.
struct Lead {
    std::size_t trailing;
    unsigned char low;
    unsigned char high;
    char32_t bits;
};

/// trailing is 0 for a byte that starts no sequence of several bytes.
constexpr Lead leadOf(unsigned char byte) {
    if (byte >= 0xC2 && byte <= 0xDF) {
        return {1, 0x80, 0xBF, byte & 0x1FU};
    }
    if (byte >= 0xE0 && byte <= 0xEF) {
        const unsigned char low = byte == 0xE0 ? 0xA0 : 0x80;
        const unsigned char high = byte == 0xED ? 0x9F : 0xBF;
        return {2, low, high, byte & 0x0FU};
    }
    if (byte >= 0xF0 && byte <= 0xF4) {
        const unsigned char low = byte == 0xF0 ? 0x90 : 0x80;
        const unsigned char high = byte == 0xF4 ? 0x8F : 0xBF;
        return {3, low, high, byte & 0x07U};
    }
    return {0, 0, 0, 0};
}

}  // namespace

// Written out rather than left to utf_traits::decode, which swallows the byte after a broken sequence.
char32_t takeBeyondAscii(std::string_view& text) {
    const Lead lead = leadOf(static_cast<unsigned char>(text.front()));
    text.remove_prefix(1);
    if (lead.trailing == 0) {
        return replacementCharacter;
    }
    char32_t value = lead.bits;
    unsigned char low = lead.low;
    unsigned char high = lead.high;
    for (std::size_t i = 0; i < lead.trailing; ++i) {
        const unsigned char byte = text.empty() ? 0 : static_cast<unsigned char>(text.front());
        if (byte < low || byte > high) {
            return replacementCharacter;
        }
        value = (value << 6U) | (byte & 0x3FU);
        text.remove_prefix(1);
        low = 0x80;
        high = 0xBF;
    }
    return value;
}

std::size_t utf8Length(std::wstring_view text) {
    std::size_t length = 0;
    for (const wchar_t unit : text) {
        const char32_t codePoint = scalarValue(unit);
        length += 1U + (codePoint >= 0x80) + (codePoint >= 0x800) + (codePoint >= 0x10000);
    }
    return length;
}

void appendUtf8(std::string& text, char32_t codePoint) {
    boost::locale::utf::utf_traits<char>::encode(codePoint, std::back_inserter(text));
}

}  // namespace QuillCoreUtils
