#pragma once

#include <string>
#include <vector>

#include "ConfigStore.h"
#include "chain/ConfigMap.h"

namespace corvidctl {

/// Stands ahead of everything and leads a profile to other servers than its own: to the demonstration's, or to the one
/// that a simulated download comes from. Holds for one run; nothing of it reaches a file.
class DetourStore : public ConfigStore {
public:
    static constexpr const char* NAME = "DemonstrationStore";

    explicit DetourStore(ConfigMap values) : values_(std::move(values)) {}

    bool getValue(const std::wstring& key, std::wstring& value) override;
    bool storeValue(const std::wstring&, const std::wstring&) override { return false; }
    std::vector<std::wstring> getKeys() override;
    bool removeValue(const std::wstring&) override { return false; }
    void removeAllValues() override {}
    bool isReadOnly() override { return true; }
    std::string getName() override { return NAME; }
    std::int32_t getPriority() override { return std::numeric_limits<std::int32_t>::min(); }
    void persistValues() override {}
    void destroy() override {}
    bool isLocal() override { return true; }
    bool waitForStoreReady() override { return true; }

private:
    const ConfigMap values_;
};

}  // namespace corvidctl
