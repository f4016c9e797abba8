#pragma once

#include "support/Layers.h"

namespace bench {

/// The next version of a store: of a hundred entries one has another value, or every other time is not there.
inline Entries nextVersion(const Entries& entries) {
    Entries result;
    for (std::size_t index = 0; index < entries.size(); ++index) {
        if (index % 200 == 100) {
            continue;
        }
        result.push_back(entries[index]);
        if (index % 200 == 0) {
            result.back().second = "another value";
        }
    }
    return result;
}

}  // namespace bench
