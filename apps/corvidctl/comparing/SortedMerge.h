#pragma once

#include "comparing/Picture.h"

namespace corvidctl {

/// Walks two maps at once in key order: visit(key, a, b) for each key of either, with null for the one that lacks it.
template <class Value, class Visit>
void mergeByKey(const ByKey<Value>& a, const ByKey<Value>& b, const Visit& visit) {
    const auto before = a.key_comp();
    auto left = a.begin();
    auto right = b.begin();
    while (left != a.end() || right != b.end()) {
        const bool fromLeft = right == b.end() || (left != a.end() && !before(right->first, left->first));
        const bool fromRight = left == a.end() || (right != b.end() && !before(left->first, right->first));
        visit(fromLeft ? left->first : right->first, fromLeft ? &left->second : nullptr,
              fromRight ? &right->second : nullptr);
        left = fromLeft ? std::next(left) : left;
        right = fromRight ? std::next(right) : right;
    }
}

}  // namespace corvidctl
