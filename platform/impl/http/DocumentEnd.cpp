#include "impl/http/DocumentEnd.h"

#include <cstddef>

#include "impl/http/BodyBuffer.h"

namespace platform {

namespace {

constexpr std::size_t NOWHERE = std::string_view::npos;

/// @return where the start tag at the beginning of the text ends; an attribute's value may hold the mark.
std::size_t endOfStartTag(std::string_view text) {
    char quote = 0;
    for (std::size_t place = 0; place < text.size(); ++place) {
        const char character = text[place];
        if (quote != 0) {
            quote = character == quote ? '\0' : quote;
        } else if (character == '"' || character == '\'') {
            quote = character;
        } else if (character == '>') {
            return place + 1;
        }
    }
    return NOWHERE;
}

/// @return where the first such mark ends.
std::size_t behind(std::string_view text, std::string_view mark) {
    const std::size_t place = text.find(mark);
    return place == NOWHERE ? NOWHERE : place + mark.size();
}

/// @param text begins with '<'. @return where that markup ends; NOWHERE if it does not.
std::size_t endOfMarkup(std::string_view text) {
    if (text.starts_with("<!--")) {
        return behind(text, "-->");
    }
    if (text.starts_with("<![CDATA[")) {
        return behind(text, "]]>");
    }
    if (text.starts_with("<?")) {
        return behind(text, "?>");
    }
    if (text.starts_with("<!")) {
        const bool hasSubset = text.substr(0, text.find('>')).find('[') != NOWHERE;
        return behind(text, hasSubset ? "]>" : ">");
    }
    return endOfStartTag(text);
}

bool endsInAscii(std::string_view text) {
    bool hasElement = false;
    std::size_t depth = 0;
    for (std::size_t begin = text.find('<'); begin != NOWHERE; begin = text.find('<')) {
        text.remove_prefix(begin);
        const std::size_t end = endOfMarkup(text);
        if (end == NOWHERE) {
            return false;
        }
        const std::string_view markup = text.substr(0, end);
        text.remove_prefix(end);
        if (markup.starts_with("</")) {
            depth -= depth > 0 ? 1 : 0;
        } else if (!markup.starts_with("<!") && !markup.starts_with("<?")) {
            hasElement = true;
            depth += markup.ends_with("/>") ? 0 : 1;
        }
    }
    return hasElement && depth == 0 && text.find_first_not_of(" \t\r\n") == NOWHERE;
}

/// @param text in UTF-16.
/// @param low which byte of two has the lower bits.
bool endsInUtf16(std::string_view text, std::size_t low) {
    BodyBuffer ascii;
    for (std::size_t place = 0; place + 1 < text.size(); place += 2) {
        const char other = '?';  // mark-up is of ASCII alone
        ascii.append(text[place + 1 - low] == 0 ? &text[place + low] : &other, 1);
    }
    return text.size() % 2 == 0 && endsInAscii(ascii.view());
}

}  // namespace

bool endsAsDocument(std::string_view text) {
    if (text.starts_with("\xFE\xFF") || text.starts_with(std::string_view("\0<", 2))) {
        return endsInUtf16(text, 1);
    }
    if (text.starts_with("\xFF\xFE") || text.starts_with(std::string_view("<\0", 2))) {
        return endsInUtf16(text, 0);
    }
    return endsInAscii(text);
}

}  // namespace platform
