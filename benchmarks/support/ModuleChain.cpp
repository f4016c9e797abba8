#include "support/ModuleChain.h"

#include "stores/BootstrapConfigStore.h"
#include "stores/InMemoryConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "support/ModuleHost.h"

namespace bench {
namespace {

void fill(ConfigStore& store, const Entries& entries) {
    for (const auto& [key, value] : entries) {
        store.storeValue(widen(key), widen(value));
    }
}

}  // namespace

ModuleChain::ModuleChain(const Layers& layers) {
    manager_.addStore(makeReadOnlyStore("First", 10, layers[0].entries));
    manager_.addStore(makeFileStore("LocalFileConfigStore", 20, false, layers[1].entries));
    manager_.addStore(makeReadOnlyStore("Third", 30, layers[2].entries));
    manager_.addStore(makeServerStore("Fourth", 40, layers[3].entries));
    manager_.addStore(makeReadOnlyStore("Fifth", 240, layers[4].entries));
    manager_.addStore(makeBootstrap(layers[5].entries));
    const auto memory = std::make_shared<InMemoryConfigStore>();
    fill(*memory, layers[6].entries);
    manager_.addStore(memory);
    manager_.addStore(makeFileStore("corvid-config-defaults.xml", 2147483647, true, layers[7].entries));
}

std::shared_ptr<ConfigStore> ModuleChain::makeBootstrap(const Entries& entries) {
    return std::make_shared<BootstrapConfigStore>("BootstrapConfigStore",
                                                  directory_.write("bootstrap", bootstrapDocument(entries)), 500);
}

std::shared_ptr<ConfigStore> ModuleChain::makeFileStore(const std::string& name, std::int32_t priority, bool readOnly,
                                                        const Entries& entries) {
    auto store = std::make_shared<LocalFileConfigStore>(name, priority, directory_.path(), name, true, readOnly);
    fill(*store, entries);
    return store;
}

}  // namespace bench
