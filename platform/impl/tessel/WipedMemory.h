#pragma once

#include <cstddef>

namespace tessel {

/// An allocator for libraries in C whose buffers may hold secrets: malloc's blocks, overwritten before they are given
/// back. Blocks of malloc's own may be given back here and the other way round, so that a library can change over at
/// any time.

/// Overwrites all of a block and frees it; null is fine.
void wipeAndFree(void* block) noexcept;

/// As realloc, but always moves: the allocator's own way would leave the old place as it is.
void* moveWiped(void* block, std::size_t size) noexcept;

}  // namespace tessel
