#include <malloc.h>

#include <map>

#include "stores/InMemoryConfigStore.h"
#include "support/Harness.h"
#include "support/ModuleHost.h"
#include "support/Subjects.h"

namespace bench {
namespace {

std::size_t bytesInUse() {
    const auto info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Adds a benchmark that reports the memory for each of so many things which make() brings into being and gives back.
template <typename Make>
void addMemory(const std::string& row, const std::string& subject, std::size_t count, const Make& make) {
    add(row, subject, [count, make](benchmark::State& state) {
        std::size_t bytes = 0;
        for (auto _ : state) {
            const std::size_t before = bytesInUse();
            const auto made = make();
            bytes = bytesInUse() - before;
        }
        state.counters["bytes"] = static_cast<double>(bytes) / static_cast<double>(count);
    })->Iterations(1);
}

std::shared_ptr<std::map<std::wstring, std::wstring>> makeMap(const Entries& entries) {
    auto map = std::make_shared<std::map<std::wstring, std::wstring>>();
    for (const auto& [key, value] : entries) {
        map->emplace(widen(key), widen(value));
    }
    return map;
}

std::shared_ptr<InMemoryConfigStore> makeStore(const Entries& entries) {
    auto store = std::make_shared<InMemoryConfigStore>();
    for (const auto& [key, value] : entries) {
        store->storeValue(widen(key), widen(value));
    }
    return store;
}

std::shared_ptr<ConfigServiceImpl> makeLiveValues(const std::shared_ptr<UnifiedFactory>& factory,
                                                  const Entries& entries) {
    auto service = std::make_shared<ConfigServiceImpl>(factory);
    for (const auto& [key, value] : entries) {
        service->OnConfigChanged(widen(key), widen(value), widen(value), false, true, L"LocalFileConfigStore",
                                 L"LocalFileConfigStore", false);
    }
    return service;
}

}  // namespace

void addModuleMemory(const Scale& scale) {
    const std::size_t count = scale.small;
    const auto entries = std::make_shared<const Entries>(makeEntries(50, count));
    addMemory("memory of a key in a store", "corvid", count, [entries] { return makeStore(*entries); });
    addMemory("memory of a key in a store", "limit: ordered map", count, [entries] { return makeMap(*entries); });
    const auto factory = std::make_shared<UnifiedFactory>(nullptr, nullptr);
    addMemory("memory of a live value", "corvid", count,
              [factory, entries] { return makeLiveValues(factory, *entries); });
}

}  // namespace bench
