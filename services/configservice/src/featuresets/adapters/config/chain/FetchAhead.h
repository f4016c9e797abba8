#pragma once

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>

/// What will be read soon, named to the processor, which fetches it while other things are done. Many objects that lie
/// here and there are waited for one by one otherwise, each of them, and what it points to. Changes nothing.
namespace FetchAhead {

/// How many keys at once: so many that the waits lie side by side, so few that the cache keeps it all until it is read.
inline constexpr std::size_t KEYS = 16;

inline void line(const void* place) {
    __builtin_prefetch(place);
    // To the compiler a prefetch is nothing, and calls of a function that does nothing else may be left out.
    asm volatile("");
}

/// @param count not 0.
inline void bytes(const void* place, std::size_t count) {
    constexpr std::size_t LINE = 64;
    const char* const first = static_cast<const char*>(place);
    for (std::size_t offset = 0; offset < count; offset += LINE) {
        line(first + offset);
    }
    line(first + (count - 1));
}

inline void text(const std::wstring& units) { bytes(units.data(), (units.size() + 1) * sizeof(wchar_t)); }

/// Calls visit(part) for so many keys at a time, in their order.
template <typename Key, typename Visit>
void inParts(std::span<const Key> keys, const Visit& visit) {
    while (!keys.empty()) {
        const auto part = keys.first(std::min(KEYS, keys.size()));
        visit(part);
        keys = keys.subspan(part.size());
    }
}

}  // namespace FetchAhead
