#include "impl/http/CurlMemory.h"

#include <malloc.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "tessel/SecureStringUtils.h"

namespace {

void wipeAndFree(void* block) {
    if (block != nullptr) {
        tessel::SecureStringUtils::TesselZeroMemory(block, malloc_usable_size(block));
        std::free(block);
    }
}

/// Always moves: the allocator's own way would leave the old place as it is.
void* moveTo(void* block, std::size_t size) {
    void* const moved = std::malloc(size);
    if (moved != nullptr && block != nullptr) {
        std::memcpy(moved, block, std::min(size, malloc_usable_size(block)));
        wipeAndFree(block);
    }
    return moved;
}

}  // namespace

CURLcode platform::initialiseCurlWithWipedMemory() {
    return curl_global_init_mem(CURL_GLOBAL_DEFAULT, std::malloc, wipeAndFree, moveTo, strdup, std::calloc);
}
