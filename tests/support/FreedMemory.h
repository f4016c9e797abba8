#pragma once

#include <functional>
#include <string_view>

namespace support {

/// What the secrets of these tests contain, and nothing else does.
inline constexpr std::string_view SECRET_MARK = " hunter22 is";
inline constexpr std::wstring_view WIDE_SECRET_MARK = L" hunter22 is";

/// Looks into every block of memory that the program gives back, on whichever thread, while something is done. Whoever
/// links this replaces operator new and delete; not with sanitizers, which bring an allocator of their own.
/// @return how many of the blocks held a mark.
int blocksLeftBy(const std::function<void()>& action);

}  // namespace support
