#pragma once

#include <functional>
#include <string_view>

namespace support {

/// What the secrets of these tests contain, and nothing else does.
inline constexpr std::string_view SECRET_MARK = " hunter22 is";
inline constexpr std::wstring_view WIDE_SECRET_MARK = L" hunter22 is";

/// Looks into every block of memory that C++ code of the program gives back, on whichever thread, while something is
/// done. Whoever links this replaces operator new and delete; not with sanitizers, which bring an allocator of their
/// own.
/// @return how many of the blocks held a mark.
int blocksLeftBy(const std::function<void()>& action);

/// For a program that stands before free(), too: looks into a block that is about to be given back, or does nothing for
/// null. Leaves it zeroed, so that nothing of it is found a second time, or in the block of a later owner.
void lookAtFreed(void* block) noexcept;

}  // namespace support
