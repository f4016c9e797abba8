#pragma once

#include <memory>
#include <string>

#include "chain/ConfigStoreManager.h"
#include "fakes/TemporaryDirectory.h"
#include "support/Layers.h"

namespace bench {

/// The chain by itself, over the module's own kinds of stores.
class ModuleChain {
public:
    using Key = std::wstring;

    explicit ModuleChain(const Layers& layers);

    static Key keyOf(const std::string& key) { return widen(key); }
    bool lookUp(const Key& key) { return manager_.getValue(key, value_, false); }

    bool answer(const Key& key) {
        manager_.updateKey(key, false);
        return true;
    }

private:
    std::shared_ptr<ConfigStore> makeBootstrap(const Entries& entries);
    std::shared_ptr<ConfigStore> makeFileStore(const std::string& name, std::int32_t priority, bool readOnly,
                                               const Entries& entries);

    const fakes::TemporaryDirectory directory_;
    ConfigStoreManager manager_{nullptr};
    std::wstring value_;
};

}  // namespace bench
