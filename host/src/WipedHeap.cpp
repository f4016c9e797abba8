// A program that is linked with this overwrites every block of memory that C++ code in it gives back, whichever library
// had it: values pass through many texts, and none of them stays behind for a core or a debugger to find. It replaces
// operator delete alone; operator new stays the library's own, which takes its blocks from malloc.

#include <cstddef>
#include <new>

#include "impl/tessel/WipedMemory.h"

void operator delete(void* block) noexcept { tessel::wipeAndFree(block); }
void operator delete[](void* block) noexcept { tessel::wipeAndFree(block); }
void operator delete(void* block, std::size_t) noexcept { tessel::wipeAndFree(block); }
void operator delete[](void* block, std::size_t) noexcept { tessel::wipeAndFree(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { tessel::wipeAndFree(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { tessel::wipeAndFree(block); }
void operator delete(void* block, std::align_val_t) noexcept { tessel::wipeAndFree(block); }
void operator delete[](void* block, std::align_val_t) noexcept { tessel::wipeAndFree(block); }
void operator delete(void* block, std::size_t, std::align_val_t) noexcept { tessel::wipeAndFree(block); }
void operator delete[](void* block, std::size_t, std::align_val_t) noexcept { tessel::wipeAndFree(block); }
