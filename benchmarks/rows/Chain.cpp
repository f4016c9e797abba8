#include "chain/ConfigStoreManager.h"

#include "fakes/TemporaryDirectory.h"
#include "stores/BootstrapConfigStore.h"
#include "stores/InMemoryConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "support/Harness.h"
#include "support/ModuleHost.h"
#include "support/Subjects.h"

namespace bench {
namespace {

void fill(ConfigStore& store, const Entries& entries) {
    for (const auto& [key, value] : entries) {
        store.storeValue(widen(key), widen(value));
    }
}

std::shared_ptr<ConfigStore> makeBootstrap(const fakes::TemporaryDirectory& directory, const Entries& entries) {
    return std::make_shared<BootstrapConfigStore>("BootstrapConfigStore",
                                                  directory.write("bootstrap", bootstrapDocument(entries)), 500);
}

/// The chain by itself, over the module's own kinds of stores.
class ModuleChain {
public:
    using Key = std::wstring;

    explicit ModuleChain(const Layers& layers) {
        manager_.addStore(makeReadOnlyStore("First", 10, layers[0].entries));
        manager_.addStore(makeFileStore("LocalFileConfigStore", 20, false, layers[1].entries));
        manager_.addStore(makeReadOnlyStore("Third", 30, layers[2].entries));
        manager_.addStore(makeReadOnlyStore("Fourth", 40, layers[3].entries));
        manager_.addStore(makeReadOnlyStore("Fifth", 240, layers[4].entries));
        manager_.addStore(makeBootstrap(directory_, layers[5].entries));
        const auto memory = std::make_shared<InMemoryConfigStore>();
        fill(*memory, layers[6].entries);
        manager_.addStore(memory);
        manager_.addStore(makeFileStore("corvid-config-defaults.xml", 2147483647, true, layers[7].entries));
    }

    static Key keyOf(const std::string& key) { return widen(key); }
    bool lookUp(const Key& key) { return manager_.getValue(key, value_, false); }

    bool answer(const Key& key) {
        manager_.updateKey(key, false);
        return true;
    }

private:
    std::shared_ptr<ConfigStore> makeFileStore(const std::string& name, std::int32_t priority, bool readOnly,
                                               const Entries& entries) {
        auto store = std::make_shared<LocalFileConfigStore>(name, priority, directory_.path(), name, true, readOnly);
        fill(*store, entries);
        return store;
    }

    const fakes::TemporaryDirectory directory_;
    ConfigStoreManager manager_{nullptr};
    std::wstring value_;
};

}  // namespace

void addModuleChain(const Scale& scale) {
    addLookups<ModuleChain>(scale, "corvid");
    addAnswer<ModuleChain>(scale, "corvid");
}

}  // namespace bench
