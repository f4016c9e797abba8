#include "impl/tessel/WipedMemory.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

void tessel::wipeAndFree(void* block) noexcept {
    if (block != nullptr) {
        explicit_bzero(block, malloc_usable_size(block));
        std::free(block);
    }
}

void* tessel::moveWiped(void* block, std::size_t size) noexcept {
    void* const moved = std::malloc(size);
    if (moved != nullptr && block != nullptr) {
        std::memcpy(moved, block, std::min(size, malloc_usable_size(block)));
        wipeAndFree(block);
    }
    return moved;
}
