#pragma once

#include <string>

#include "chain/FoldedKey.h"

/// The inside way to a store of this module: ConfigStore::getValue() for a key that is folded already. Stores from
/// outside do without.
class FoldedLookup {
public:
    /// Answers as getValue() does. Any thread.
    virtual bool lookUp(const FoldedKey& key, std::wstring& value) = 0;

protected:
    ~FoldedLookup() = default;
};
