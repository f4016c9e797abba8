#include <map>

#include "stores/InMemoryConfigStore.h"
#include "support/Memory.h"
#include "support/ModuleHost.h"
#include "support/Subjects.h"

namespace bench {
namespace {

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
    addKeyMemory(scale, "corvid", makeStore);
    addKeyMemory(scale, "limit: ordered map", makeMap);
    const auto factory = std::make_shared<UnifiedFactory>(nullptr, nullptr);
    addMemory("memory of a live value", "corvid", scale.small,
              [factory](const Entries& entries) { return makeLiveValues(factory, entries); });
}

}  // namespace bench
