#include <algorithm>
#include <utility>
#include <vector>

#include "support/Replacement.h"
#include "support/Subjects.h"

namespace bench {
namespace {

using Sorted = std::vector<std::pair<std::wstring, std::wstring>>;

Sorted sorted(const Entries& entries) {
    Sorted result;
    for (const auto& [key, value] : entries) {
        result.emplace_back(widen(key), widen(value));
    }
    std::sort(result.begin(), result.end());
    return result;
}

/// The limit of a replacement: a walk along two versions that are sorted already.
class MergeWalk {
public:
    explicit MergeWalk(std::size_t count)
        : first_(sorted(makeEntries(50, count))), second_(sorted(otherVersion(makeEntries(50, count)))) {}

    std::size_t take(bool second) const {
        const Sorted& before = second ? first_ : second_;
        const Sorted& after = second ? second_ : first_;
        return countChanges(
            before.begin(), before.end(), after.begin(), after.end(),
            [](auto left, auto right) { return left->first.compare(right->first); },
            [](auto left, auto right) { return left->second == right->second; });
    }

private:
    const Sorted first_;
    const Sorted second_;
};

}  // namespace

void addMergeWalk(const Scale& scale) {
    for (const std::size_t count : {scale.small, scale.large}) {
        addReplacement<MergeWalk>(count, "limit: merge walk");
    }
}

}  // namespace bench
