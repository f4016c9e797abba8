#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "ModelTypes.h"
#include "chain/ConfigMap.h"

namespace simulation {

/// A store as another component of the client would bring it: values in memory under a lock of its own, and whatever
/// answers the description asks for. Any thread.
class SimulatedStore : public ConfigStore {
public:
    /// @param description name, place, flags and first entries.
    explicit SimulatedStore(const ModelStore& description);

    /// Puts other entries in the place of all that it holds, as a store does that fetched its document again.
    /// @return the keys that it held.
    std::vector<std::wstring> refill(const ModelEntries& entries);

    bool getValue(const std::wstring& key, std::wstring& value) override;
    bool storeValue(const std::wstring& key, const std::wstring& value) override;
    std::vector<std::wstring> getKeys() override;
    bool removeValue(const std::wstring& key) override;
    void removeAllValues() override;
    bool isReadOnly() override { return readOnly_; }
    std::string getName() override { return name_; }
    std::int32_t getPriority() override { return priority_; }
    void persistValues() override {}
    void destroy() override {}
    bool isLocal() override { return local_; }
    bool waitForStoreReady() override { return true; }
    bool shouldCacheConfigStore() override { return cached_; }

private:
    std::vector<std::wstring> keys() const;

    const std::string name_;
    const std::int32_t priority_;
    const bool readOnly_;
    const bool local_;
    const bool cached_;
    const bool refusesWrites_;
    mutable std::mutex mutex_;
    ConfigMap values_;
};

}  // namespace simulation
