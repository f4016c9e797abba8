#include <algorithm>

#include "support/Harness.h"
#include "support/Subjects.h"
#include "support/Versions.h"

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

/// How many keys two versions hold differently, by one walk along both.
std::size_t countChanges(const Sorted& before, const Sorted& after) {
    std::size_t changes = 0;
    auto left = before.begin();
    auto right = after.begin();
    while (left != before.end() || right != after.end()) {
        const int order = left == before.end() ? 1 : right == after.end() ? -1 : left->first.compare(right->first);
        changes += order != 0 || left->second != right->second ? 1U : 0U;
        left += order <= 0 ? 1 : 0;
        right += order >= 0 ? 1 : 0;
    }
    return changes;
}

}  // namespace

void addMergeWalk(const Scale& scale) {
    const std::size_t count = scale.large;
    add("a store of " + std::to_string(count) + " keys is replaced, 1 % changed", "limit: merge walk",
        [count](benchmark::State& state) {
            const Entries entries = makeEntries(50, count);
            const Sorted before = sorted(entries);
            const Sorted after = sorted(nextVersion(entries));
            for (auto _ : state) {
                if (countChanges(before, after) != (count + 99) / 100) {
                    state.SkipWithError("not every change was found");
                }
            }
        })
        ->Unit(benchmark::kMillisecond);
}

}  // namespace bench
