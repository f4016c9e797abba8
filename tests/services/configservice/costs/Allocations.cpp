#include "Allocations.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <new>

namespace {

std::atomic<std::size_t> blocksAskedFor{0};
std::atomic<std::size_t> bytesAskedFor{0};
std::atomic<std::size_t> bytesGivenBack{0};

/// Before each block lies its size.
std::size_t wholeSize(void* block) { return malloc_usable_size(block) + sizeof(std::size_t); }

void giveBack(void* block) {
    if (block != nullptr) {
        bytesGivenBack += wholeSize(block);
        std::free(block);
    }
}

}  // namespace

void* operator new(std::size_t size) {
    void* const block = std::malloc(std::max<std::size_t>(size, 1));
    if (block == nullptr) {
        throw std::bad_alloc();
    }
    ++blocksAskedFor;
    bytesAskedFor += wholeSize(block);
    return block;
}

void operator delete(void* block) noexcept { giveBack(block); }
void operator delete(void* block, std::size_t) noexcept { giveBack(block); }

Allocations::Sum Allocations::askedForBy(const std::function<void()>& action) {
    const Sum before{blocksAskedFor, bytesAskedFor};
    action();
    return {blocksAskedFor - before.blocks, bytesAskedFor - before.bytes};
}

std::size_t Allocations::bytesKeptBy(const std::function<void()>& action) {
    const std::size_t before = bytesAskedFor - bytesGivenBack;
    action();
    return bytesAskedFor - bytesGivenBack - before;
}
