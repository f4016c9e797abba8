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
        Moved,     ///< has the same value from another store, which is not a store in place of its kept copy
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

/// The keys that read the same in all, but for a store that now answers in place of its own kept copy, in a sentence:
/// "9 more come from TFTPConfigStore instead of its kept copy." They are no changes. Empty if there are none.
std::string movesFromKeptCopies(const EffectiveValues& before, const EffectiveValues& after);

/// How many there are, of which kinds, in a sentence: "3 keys would change: 1 added, 2 changed."
std::string summaryOf(const std::vector<KeyChange>& changes);

}  // namespace corvidctl
