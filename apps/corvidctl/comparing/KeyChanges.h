#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "comparing/Picture.h"

/// What has become of the keys of a chain between two moments. Pure functions.
namespace corvidctl {

/// One key that reads otherwise than before.
struct KeyChange {
    enum class Kind {
        Added,     ///< was not defined
        Removed,   ///< is not defined any more
        Changed,   ///< has another value
        Moved,     ///< has the same value from another store
        Original,  ///< reads the same; only the administrator's value, or whether the user overrides it, has changed
    };

    Kind kind = Kind::Changed;
    ValueView before;
    ValueView after;
    bool isSensitive = false;  ///< before or after
};

std::string nameOf(KeyChange::Kind kind);

/// The keys that changed, in key order. One pass.
/// @param reveal whether the texts of sensitive keys come out in clear; they are compared in clear in any case.
std::vector<KeyChange> changesBetween(const EffectiveValues& before, const EffectiveValues& after, bool reveal);

/// How many there are, of which kinds, in a sentence: "3 keys would change: 1 added, 2 changed."
std::string summaryOf(const std::vector<KeyChange>& changes);

}  // namespace corvidctl
