#pragma once

#include <string>

#include "chain/DisableP2PCallOnFips.h"
#include "chain/FoldedKey.h"

/// The inside way to a store of this module: ConfigStore::getValue() for a key that is folded already. Stores from
/// outside do without.
class FoldedLookup {
public:
    /// Answers as getValue() does. Any thread.
    virtual bool lookUp(const FoldedKey& key, std::wstring& value) = 0;

protected:
    ~FoldedLookup() = default;

    /// How most stores answer: with the text that was found, under the rule for FIPS mode; null for a miss, which
    /// empties the value.
    static bool answer(const std::wstring* found, const FoldedKey& key, std::wstring& value) {
        if (found == nullptr) {
            value.clear();
            return false;
        }
        value = *found;
        DisableP2PCallOnFips::DisableP2PCallConfigValueOnFips(key.text(), value);
        return true;
    }
};
