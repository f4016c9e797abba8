#include "quill/StringUtils.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include "impl/quill/CaseFolding.h"
#include "impl/quill/Utf8.h"

namespace QuillCoreUtils {
namespace {

/// One body for narrow and wide text, so that the two cannot disagree; narrow text is decoded as it is walked.
template <typename View>
std::int32_t compareFolded(View a, View b) {
    while (!a.empty() && !b.empty()) {
        const char32_t fromA = fold(takeCodePoint(a));
        const char32_t fromB = fold(takeCodePoint(b));
        if (fromA != fromB) {
            return fromA < fromB ? -1 : 1;
        }
    }
    return static_cast<std::int32_t>(b.empty()) - static_cast<std::int32_t>(a.empty());
}

template <typename View, typename Text>
void splitInto(View text, std::vector<Text>& parts, View separator) {
    parts.clear();
    if (!separator.empty()) {
        for (auto at = text.find(separator); at != View::npos; at = text.find(separator)) {
            parts.emplace_back(text.substr(0, at));
            text.remove_prefix(at + separator.size());
        }
    }
    parts.emplace_back(text);
}

template <typename View>
View withoutSpaceAtStart(View text, View space) {
    text.remove_prefix(std::min(text.find_first_not_of(space), text.size()));
    return text;
}

template <typename View>
View withoutSpace(View text, View space) {
    return withoutSpaceAtStart(text.substr(0, text.find_last_not_of(space) + 1), space);
}

// The units are looked at without a branch for each, so that many can be taken at a time.

bool isAscii(std::string_view text) {
    std::uint64_t all = 0;
    for (; text.size() >= sizeof(all); text.remove_prefix(sizeof(all))) {
        std::uint64_t eight = 0;
        std::memcpy(&eight, text.data(), sizeof(eight));
        all |= eight;
    }
    for (const char character : text) {
        all |= static_cast<unsigned char>(character);
    }
    return (all & 0x80808080'80808080U) == 0;
}

bool isAscii(std::wstring_view text) {
    std::uint32_t all = 0;
    for (const wchar_t unit : text) {
        all |= static_cast<std::uint32_t>(unit);
    }
    return all < 0x80;
}

wchar_t foldAscii(wchar_t unit) { return unit + (unit >= L'A' && unit <= L'Z' ? L'a' - L'A' : 0); }

constexpr std::string_view narrowSpace = " \t\r\n\v\f";
constexpr std::wstring_view wideSpace = L" \t\r\n\v\f";

}  // namespace

std::wstring toWideString(std::string_view text) {
    if (isAscii(text)) {
        return {text.begin(), text.end()};
    }
    std::wstring wide;
    wide.reserve(text.size());
    while (!text.empty()) {
        wide.push_back(static_cast<wchar_t>(takeCodePoint(text)));
    }
    return wide;
}

std::wstring toWideString(bool value) { return value ? L"true" : L"false"; }

std::wstring toWideString(int value) { return std::to_wstring(value); }

std::string toString(std::wstring_view text) {
    std::string narrow;
    if (isAscii(text)) {
        narrow.resize(text.size());
        std::transform(text.begin(), text.end(), narrow.begin(), [](wchar_t unit) { return static_cast<char>(unit); });
        return narrow;
    }
    // Counted first: a text that grows would leave an unwiped copy of a secret behind.
    narrow.reserve(utf8Length(text));
    while (!text.empty()) {
        appendUtf8(narrow, takeCodePoint(text));
    }
    return narrow;
}

void split(std::string_view text, std::vector<std::string>& parts, std::string_view separator) {
    splitInto(text, parts, separator);
}

void split(std::wstring_view text, std::vector<std::wstring>& parts, std::wstring_view separator) {
    splitInto(text, parts, separator);
}

std::string trim(std::string_view text) { return std::string(withoutSpace(text, narrowSpace)); }

std::string_view trimmed(std::string_view text) { return withoutSpace(text, narrowSpace); }

std::wstring trim(std::wstring_view text) { return std::wstring(withoutSpace(text, wideSpace)); }

std::string trimleft(std::string_view text) { return std::string(withoutSpaceAtStart(text, narrowSpace)); }

std::wstring trimleft(std::wstring_view text) { return std::wstring(withoutSpaceAtStart(text, wideSpace)); }

std::string inOneLine(std::string_view text) {
    std::string line;
    line.reserve(text.size());
    for (const char character : text) {
        if (character == '\n') {
            line += "\\x0a";
        } else {
            line += character;
        }
    }
    return line;
}

std::int32_t caseInsensitiveStringCompare(std::wstring_view a, std::wstring_view b) {
    // What two texts begin with alike folds alike.
    const auto alike = std::mismatch(a.begin(), a.end(), b.begin(), b.end()).first - a.begin();
    a.remove_prefix(static_cast<std::size_t>(alike));
    b.remove_prefix(static_cast<std::size_t>(alike));
    return compareFolded(a, b);
}

std::int32_t caseInsensitiveStringCompare(std::string_view a, std::string_view b) { return compareFolded(a, b); }

bool caseInsensitiveStringEquals(std::wstring_view a, std::wstring_view b) {
    return a.size() == b.size() && compareFolded(a, b) == 0;
}

bool caseInsensitiveStringEquals(std::string_view a, std::string_view b) { return compareFolded(a, b) == 0; }

std::size_t caseInsensitiveFind(std::wstring_view text, std::wstring_view part) {
    const auto sameLetter = [](wchar_t a, wchar_t b) { return fold(scalarValue(a)) == fold(scalarValue(b)); };
    const auto found = std::search(text.begin(), text.end(), part.begin(), part.end(), sameLetter);
    const bool missing = found == text.end() && !part.empty();
    return missing ? std::wstring_view::npos : static_cast<std::size_t>(found - text.begin());
}

std::wstring toLowercase(std::wstring_view text) {
    std::wstring lower(text);
    lowercase(lower);
    return lower;
}

void lowercase(std::wstring& text) {
    if (isAscii(text)) {
        std::transform(text.begin(), text.end(), text.begin(), foldAscii);
        return;
    }
    for (wchar_t& unit : text) {
        unit = static_cast<wchar_t>(fold(scalarValue(unit)));
    }
}

std::string toLowercase(std::string_view text) {
    std::string lower;
    lower.reserve(text.size());
    while (!text.empty()) {
        appendUtf8(lower, fold(takeCodePoint(text)));
    }
    return lower;
}

bool toBool(std::string_view text) {
    const std::string_view word = withoutSpace(text, narrowSpace);
    const auto isWord = [word](std::string_view known) { return caseInsensitiveStringEquals(word, known); };
    return isWord("true") || isWord("1") || isWord("yes") || isWord("on");
}

bool toBool(std::wstring_view text) { return toBool(toString(text)); }

std::int32_t toInt(std::string_view text, std::int32_t fallback) {
    std::string_view digits = withoutSpace(text, narrowSpace);
    // from_chars takes a minus sign but no plus sign; the digit check keeps "+-1" out.
    if (digits.size() > 1 && digits[0] == '+' && digits[1] != '-') {
        digits.remove_prefix(1);
    }
    std::int32_t number = 0;
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, number);
    return error == std::errc() && stop == end ? number : fallback;
}

std::int32_t toInt(std::wstring_view text, std::int32_t fallback) { return toInt(toString(text), fallback); }

}  // namespace QuillCoreUtils
