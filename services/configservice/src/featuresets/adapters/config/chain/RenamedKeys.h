#pragma once

#include "chain/KeyedValues.h"

/// The two tables of renamed keys, as lookups ask them.
class RenamedKeys {
public:
    /// @param aliasMap old name to current name. @param legacyMap current name to old name.
    RenamedKeys(const ConfigMap& aliasMap, const ConfigMap& legacyMap) {
        current_.exchange(aliasMap);
        old_.exchange(legacyMap);
    }

    /// The current name of an old one; null for any other key.
    const std::wstring* currentNameOf(const FoldedKey& key) const {
        return currentFilter_.mayHold(key.hash()) ? current_.find(key) : nullptr;
    }

    /// The old name of a current one; null for any other key.
    const std::wstring* oldNameOf(const FoldedKey& key) const {
        return oldFilter_.mayHold(key.hash()) ? old_.find(key) : nullptr;
    }

private:
    KeyFilter currentFilter_;
    KeyFilter oldFilter_;
    KeyedValues current_{currentFilter_};
    KeyedValues old_{oldFilter_};
};
