#include "impl/tessel/PrintableText.h"

#include "impl/quill/Utf8.h"

namespace tessel {
namespace {

bool isControl(char32_t codePoint) {
    return codePoint != U'\n' && (codePoint < 0x20 || (codePoint >= 0x7F && codePoint <= 0x9F));
}

void appendEscaped(std::string& text, char32_t control) {
    constexpr std::string_view digits = "0123456789abcdef";
    text += "\\x";
    text += digits[control >> 4U];
    text += digits[control & 0xFU];
}

}  // namespace

std::string printableText(std::string_view text) {
    std::string printable;
    printable.reserve(text.size());
    while (!text.empty()) {
        const char32_t codePoint = QuillCoreUtils::takeCodePoint(text);
        if (isControl(codePoint)) {
            appendEscaped(printable, codePoint);
        } else {
            QuillCoreUtils::appendUtf8(printable, codePoint);
        }
    }
    return printable;
}

}  // namespace tessel
