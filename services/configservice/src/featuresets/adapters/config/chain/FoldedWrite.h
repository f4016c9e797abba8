#pragma once

#include <string>

#include "chain/FoldedKey.h"

/// The inside way to write to a store of this module: ConfigStore::storeValue() for a key that is folded already.
/// Stores from outside do without.
class FoldedWrite {
public:
    /// Does what storeValue() does. Any thread.
    virtual bool store(const FoldedKey& key, const std::wstring& value) = 0;

protected:
    ~FoldedWrite() = default;
};
