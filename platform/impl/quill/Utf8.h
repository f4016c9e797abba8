#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace QuillCoreUtils {

/// U+FFFD, which stands wherever the input is no text.
inline constexpr char32_t replacementCharacter = 0xFFFD;

/// The code point that a wide unit stands for: itself if it is a Unicode scalar value, else U+FFFD.
constexpr char32_t scalarValue(wchar_t unit) {
    const auto value = static_cast<char32_t>(unit);
    const bool surrogate = value >= 0xD800 && value <= 0xDFFF;
    return surrogate || value > 0x10FFFF ? replacementCharacter : value;
}

/// Takes the first code point off a UTF-8 text that starts with a byte beyond ASCII.
///
/// Of ill-formed input the longest start of a well-formed sequence (a "maximal subpart", and at least one byte) is
/// taken and given as one U+FFFD: this is the practice of the Unicode Standard, section 3.9, and of web browsers.
/// A byte that could start a sequence of its own is never swallowed.
char32_t takeBeyondAscii(std::string_view& text);

/// Takes the first code point off a non-empty UTF-8 text, with a short way for ASCII.
inline char32_t takeCodePoint(std::string_view& text) {
    const auto first = static_cast<unsigned char>(text.front());
    if (first >= 0x80) {
        return takeBeyondAscii(text);
    }
    text.remove_prefix(1);
    return first;
}

/// Takes the first code point off a non-empty wide text, see scalarValue().
inline char32_t takeCodePoint(std::wstring_view& text) {
    const char32_t codePoint = scalarValue(text.front());
    text.remove_prefix(1);
    return codePoint;
}

/// The bytes that a wide text needs as UTF-8.
std::size_t utf8Length(std::wstring_view text);

/// Appends a Unicode scalar value as UTF-8.
void appendUtf8(std::string& text, char32_t codePoint);

}  // namespace QuillCoreUtils
