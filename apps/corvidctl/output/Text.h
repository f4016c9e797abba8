#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Text for people's eyes.
namespace corvidctl {

/// The text with everything that could act on a terminal or forge a line made visible: control characters, line and
/// paragraph separators and the marks that turn the writing direction. Ill-formed UTF-8 becomes U+FFFD.
/// @param keepLines leave line feeds as they are.
std::string escaped(std::string_view text, bool keepLines = false);

/// Columns that the text takes on a terminal: two for a wide character, none for a combining one.
std::size_t displayWidth(std::string_view text);

/// The text cut to a number of columns, with an ellipsis for what is missing.
std::string shortened(std::string_view text, std::size_t columns);

/// The same with its beginning missing: for what is told apart by its end.
std::string shortenedInFront(std::string_view text, std::size_t columns);

/// The text with blanks up to a number of columns.
std::string padded(std::string_view text, std::size_t columns);

}  // namespace corvidctl
