#pragma once

#include <utility>

#include "chain/ConfigKeyAliasesMapper.h"
#include "chain/KeyedValues.h"

/// The two tables of renamed keys, as lookups ask them. Constant; any thread, without a lock.
class RenamedKeys {
public:
    /// @param aliasMap old name to current name. @param legacyMap current name to old name.
    RenamedKeys(ConfigMap aliasMap, ConfigMap legacyMap)
        : currentNames_(std::move(aliasMap)), oldNames_(std::move(legacyMap)) {
        current_.exchange(currentNames_);
        old_.exchange(oldNames_);
    }

    /// Those of the one table there is, ConfigKeyAliasesMapper's.
    static RenamedKeys read() {
        ConfigMap aliasMap;
        ConfigMap legacyMap;
        ConfigKeyAliasesMapper::GetConfigKeyAliases(aliasMap, legacyMap);
        return RenamedKeys(std::move(aliasMap), std::move(legacyMap));
    }

    /// Old name to current name.
    const ConfigMap& currentNames() const { return currentNames_; }

    /// Current name to old name.
    const ConfigMap& oldNames() const { return oldNames_; }

    /// The current name of an old one; null for any other key.
    const std::wstring* currentNameOf(const FoldedKey& key) const {
        return currentFilter_.mayHold(key.mark()) ? current_.find(key) : nullptr;
    }

    /// The old name of a current one; null for any other key.
    const std::wstring* oldNameOf(const FoldedKey& key) const {
        return oldFilter_.mayHold(key.mark()) ? old_.find(key) : nullptr;
    }

private:
    const ConfigMap currentNames_;
    const ConfigMap oldNames_;
    KeyFilter currentFilter_;
    KeyFilter oldFilter_;
    KeyedValues current_{currentFilter_};
    KeyedValues old_{oldFilter_};
};
