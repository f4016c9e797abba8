#pragma once

#include <span>
#include <string>

#include "chain/DisableP2PCallOnFips.h"
#include "chain/FoldedKey.h"
#include "chain/KeyFilter.h"

/// The inside way to a store of this module: ConfigStore::getValue() for a key that is folded already. Stores from
/// outside do without.
class FoldedLookup {
public:
    /// Answers as getValue() does. Any thread.
    virtual bool lookUp(const FoldedKey& key, std::wstring& value) = 0;

    /// Tells without a call of the store which keys it does not hold; lives as long as the store. A key that it rules
    /// out is a miss with an empty value, and what lookUp() found a moment ago need not be asked again. Null: the store
    /// wants to be asked each time, since it logs lookups, say, or leaves something else in a miss.
    virtual const KeyFilter* filter() const { return nullptr; }

    /// A hint that these keys, of which at least the first may be here, are looked up next. The store may fetch what it
    /// will need for them, and changes nothing. Any thread.
    virtual void expect(std::span<const FoldedKey> keys) { static_cast<void>(keys); }

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
