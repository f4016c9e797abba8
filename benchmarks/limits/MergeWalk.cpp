#include <algorithm>

#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {
namespace {

using Sorted = std::vector<std::pair<std::wstring, std::wstring>>;

Sorted sorted(const Entries& entries) {
    Sorted result;
    for (std::size_t index = 0; index < entries.size(); ++index) {
        if (index % 200 != 100) {
            result.emplace_back(widen(entries[index].first), index % 200 == 0 ? L"another value" : L"a value");
        }
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
            Entries entries = makeEntries(50, count);
            const Sorted before = sorted(entries);
            entries.erase(entries.begin());
            const Sorted after = sorted(entries);
            for (auto _ : state) {
                benchmark::DoNotOptimize(countChanges(before, after));
            }
        })
        ->Unit(benchmark::kMillisecond);
}

}  // namespace bench
