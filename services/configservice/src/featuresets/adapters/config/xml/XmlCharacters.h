#pragma once

#include <string>
#include <string_view>

/// The characters of a text as an XML 1.0 document can hold them.
struct XmlText {
    std::string text;       ///< UTF-8
    bool replaced = false;  ///< true if the text differs from the original
};

/// Wide to UTF-8; what no XML 1.0 document can hold (most control characters, NUL, surrogates, U+FFFE, U+FFFF, units
/// that are no code points) becomes U+FFFD, since one such character makes a whole document unreadable. Any thread.
XmlText toXmlText(std::wstring_view text);
