#include "xml/XmlCharacters.h"

#include <algorithm>
#include <cstdint>

#include "quill/StringUtils.h"

namespace {

constexpr wchar_t replacementCharacter = 0xFFFD;

// The production "Char" of XML 1.0.
bool isXmlCharacter(wchar_t unit) {
    const auto code = static_cast<std::uint32_t>(unit);
    return code == 0x9 || code == 0xA || code == 0xD || (code >= 0x20 && code <= 0xD7FF) ||
           (code >= 0xE000 && code <= 0xFFFD) || (code >= 0x10000 && code <= 0x10FFFF);
}

}  // namespace

XmlText toXmlText(std::wstring_view text) {
    if (std::all_of(text.begin(), text.end(), isXmlCharacter)) {
        return {QuillCoreUtils::toString(text), false};
    }
    std::wstring held(text);
    std::replace_if(
        held.begin(), held.end(), [](wchar_t unit) { return !isXmlCharacter(unit); }, replacementCharacter);
    return {QuillCoreUtils::toString(held), true};
}
