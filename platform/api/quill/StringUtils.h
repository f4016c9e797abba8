#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Text operations. Narrow text is UTF-8; wide text has 32-bit units, one for each code point. All of them may be
/// called on any thread, none of them throws on ill-formed input.
namespace QuillCoreUtils {

/// UTF-8 to wide. Of ill-formed input each maximal subpart (the longest start of a well-formed sequence, at least one
/// byte; Unicode Standard, section 3.9) becomes one U+FFFD, and nothing after it is lost.
std::wstring toWideString(std::string_view text);
/// The same for a literal, which would otherwise be taken for a truth value. Not null.
inline std::wstring toWideString(const char* text) { return toWideString(std::string_view(text)); }
/// "true" or "false".
std::wstring toWideString(bool value);
/// Decimal.
std::wstring toWideString(int value);

/// Wide to UTF-8; a unit that is no Unicode scalar value becomes U+FFFD.
std::string toString(std::wstring_view text);

/// Splits at each separator and keeps every empty field: "a::b" gives three parts, "key=" two, "" one.
/// @param parts is emptied first. @param separator one character or more; an empty one gives the whole text.
void split(std::string_view text, std::vector<std::string>& parts, std::string_view separator);
/// The same for wide text.
void split(std::wstring_view text, std::vector<std::wstring>& parts, std::wstring_view separator);

/// The text without the ASCII white space (space, tab, CR, LF, VT, FF) at both ends.
std::string trim(std::string_view text);
/// The same for wide text.
std::wstring trim(std::wstring_view text);
/// At its start alone.
std::string trimleft(std::string_view text);
/// The same for wide text.
std::wstring trimleft(std::wstring_view text);

/// What trim() gives, as a part of the text itself: no copy is made.
std::string_view trimmed(std::string_view text);

/// The text with its line feeds written as "\x0a": a file's name, say, must not begin a line of its own in a log.
std::string inOneLine(std::string_view text);

/// Three-way comparison without regard to case: negative, 0 or positive. ASCII letters are folded by a table, other
/// code points by Unicode simple case folding; the order is that of the folded code points, a beginning before the
/// whole. What is no text counts as U+FFFD. Narrow and wide agree.
std::int32_t caseInsensitiveStringCompare(std::wstring_view a, std::wstring_view b);
/// The same for narrow text.
std::int32_t caseInsensitiveStringCompare(std::string_view a, std::string_view b);

/// True if caseInsensitiveStringCompare gives 0.
bool caseInsensitiveStringEquals(std::wstring_view a, std::wstring_view b);
/// The same for narrow text.
bool caseInsensitiveStringEquals(std::string_view a, std::string_view b);

/// Position of the first occurrence of part in text without regard to case; npos if there is none. An empty part is
/// found at 0.
std::size_t caseInsensitiveFind(std::wstring_view text, std::wstring_view part);

/// Lower-case copy, of the same length in code points: only one-to-one mappings are applied. It is the folding of the
/// comparison, so that two texts are equal without regard to case exactly when their lower-case copies are the same; a
/// few letters therefore become the form that stands for all of their kind (final sigma the common one, long s an s).
/// What is no text becomes U+FFFD. For matching, not for display.
std::wstring toLowercase(std::wstring_view text);
/// The same for narrow text.
std::string toLowercase(std::string_view text);
/// The same in place.
void lowercase(std::wstring& text);

/// True for "true", "1", "yes" and "on" in any case after trim(); anything else is false.
bool toBool(std::string_view text);
/// The same for wide text.
bool toBool(std::wstring_view text);

/// The whole trimmed text must be a decimal integer with an optional sign that fits 32 bits; else the fallback.
std::int32_t toInt(std::wstring_view text, std::int32_t fallback);
/// The same for narrow text.
std::int32_t toInt(std::string_view text, std::int32_t fallback);

}  // namespace QuillCoreUtils
