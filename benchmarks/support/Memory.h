#pragma once

#include <malloc.h>

#include <cstddef>
#include <string>

#include "support/Harness.h"

namespace bench {

/// What the allocator has handed out and not got back, in bytes.
inline std::size_t bytesInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Adds a benchmark that reports what the allocator has handed out for each of so many entries, when make() has been
/// given them and what it gave back still lives.
template <typename Make>
void addMemory(const std::string& row, const std::string& subject, std::size_t count, const Make& make) {
    add(row, subject, [count, make](benchmark::State& state) {
        const Entries entries = makeEntries(50, count);
        std::size_t bytes = 0;
        for (auto _ : state) {
            const std::size_t before = bytesInUse();
            const auto made = make(entries);
            bytes = bytesInUse() - before;
        }
        state.counters["bytes"] = static_cast<double>(bytes) / static_cast<double>(count);
    })->Iterations(1);
}

/// Row "memory of a key": make() gives one layer with all the entries, ready to be asked.
template <typename Make>
void addKeyMemory(const Scale& scale, const std::string& subject, const Make& make) {
    addMemory("memory of a key in a store", subject, scale.small, make);
}

}  // namespace bench
