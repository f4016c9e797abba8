#include "limits/SingleBuffer.h"

#include <map>

#include "fakes/TemporaryDirectory.h"
#include "support/Documents.h"
#include "support/Harness.h"
#include "support/Subjects.h"

namespace bench {

void addSingleBuffer(const Scale& scale) {
    const std::size_t count = scale.small;
    add(saveRow(count), "limit: single buffer", [count](benchmark::State& state) {
        const fakes::TemporaryDirectory directory;
        std::map<std::wstring, std::wstring> values;
        for (const auto& [key, value] : makeEntries(50, count)) {
            values.emplace(widen(key), widen(value));
        }
        for (auto _ : state) {
            saveByHand(directory.path("file.xml"), values);
        }
    })->Unit(benchmark::kMillisecond);
}

}  // namespace bench
