#pragma once

#include <optional>
#include <string>
#include <vector>

#include "comparing/Picture.h"

/// Keys and values of any origin, and how two of them differ. Pure functions; texts in clear.
namespace corvidctl {

/// What one side of a comparison says of a key.
struct ContentsEntry {
    std::string value;
    std::string store;  ///< the one that wins; empty where the side is no chain
    bool isSensitive = false;
};

using Contents = ByKey<ContentsEntry>;

/// What one store holds. Of a key that it holds under both names the current one counts.
Contents contentsOf(const Layer& layer);

/// What a chain answers.
Contents contentsOf(const EffectiveValues& values);

/// What two sides say of one key.
struct ContentsDifference {
    enum class Kind { OnlyInA, OnlyInB, Different, Equal };

    Kind kind = Kind::Equal;
    std::wstring key;
    std::optional<ContentsEntry> a;
    std::optional<ContentsEntry> b;

    bool isSensitive() const { return (a && a->isSensitive) || (b && b->isSensitive); }
};

/// Every key of either side, in key order. One pass.
std::vector<ContentsDifference> differencesOf(const Contents& a, const Contents& b);

}  // namespace corvidctl
