#include "support/FreedMemory.h"

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

namespace {

std::atomic<bool> isWatching{false};
std::atomic<int> blocksWithTheSecret{0};

template <typename Unit>
bool holds(const void* block, std::size_t size, std::basic_string_view<Unit> mark) {
    const auto* const begin = static_cast<const char*>(block);
    const auto* const bytes = reinterpret_cast<const char*>(mark.data());
    return std::search(begin, begin + size, bytes, bytes + mark.size() * sizeof(Unit)) != begin + size;
}

void release(void* block) {
    support::lookAtFreed(block);
    std::free(block);
}

}  // namespace

// Every block of C++ passes here, whichever library had it; what libraries in C take and give back does not. New ones
// are zeroed, since what an earlier owner has left in one is nothing of the later one's.
void* operator new(std::size_t size) {
    if (void* const block = std::calloc(1, std::max<std::size_t>(size, 1))) {
        return block;
    }
    throw std::bad_alloc();
}

void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return std::calloc(1, std::max<std::size_t>(size, 1));
}

void operator delete(void* block) noexcept { release(block); }
void operator delete(void* block, std::size_t) noexcept { release(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { release(block); }

int support::blocksLeftBy(const std::function<void()>& action) {
    blocksWithTheSecret = 0;
    isWatching = true;
    action();
    isWatching = false;
    return blocksWithTheSecret;
}

void support::lookAtFreed(void* block) noexcept {
    if (block == nullptr) {
        return;
    }
    const std::size_t size = malloc_usable_size(block);
    if (isWatching && (holds(block, size, SECRET_MARK) || holds(block, size, WIDE_SECRET_MARK))) {
        ++blocksWithTheSecret;
    }
    std::memset(block, 0, size);
}
