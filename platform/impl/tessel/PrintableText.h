#pragma once

#include <string>
#include <string_view>

namespace tessel {

/// A UTF-8 text with its control characters (C0, DEL, C1) written as \x and two hexadecimal digits, line feeds kept,
/// and U+FFFD for ill-formed sequences: it can be shown on a terminal without speaking to it.
std::string printableText(std::string_view text);

}  // namespace tessel
