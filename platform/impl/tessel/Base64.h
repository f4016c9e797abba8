#pragma once

#include <optional>
#include <string>

namespace tessel {

/// Base64 of RFC 4648, section 4, with padding. At most maximumBase64Input bytes.
std::string encodeBase64(const std::string& bytes);

/// What the underlying library can count.
inline constexpr std::size_t maximumBase64Input = std::size_t{1} << 30U;

/// The reverse, strictly: nothing for a foreign character (white space too), a length that is no multiple of four,
/// padding in the wrong place, or bits set that no byte uses. So each sequence of bytes has one form only.
std::optional<std::string> decodeBase64(const std::string& text);

}  // namespace tessel
