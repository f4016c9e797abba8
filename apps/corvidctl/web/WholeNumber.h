#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

namespace corvidctl {

/// The number that a request has as text; nothing if that is anything but decimal digits, or too large.
std::optional<std::uint64_t> wholeNumberIn(std::string_view text);

}  // namespace corvidctl
