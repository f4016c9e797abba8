#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "chain/FoldedLookup.h"

/// A store with what a search wants to know of it, which stays the same for the store's life and so is asked once.
class SearchedStore {
public:
    /// @param store not null.
    explicit SearchedStore(const std::shared_ptr<ConfigStore>& store);

    bool lookUp(const FoldedKey& key, std::wstring& value) const {
        return inside_ != nullptr ? inside_->lookUp(key, value) : store_->getValue(key.text(), value);
    }

    bool isReadOnly() const { return readOnly_; }
    const std::wstring& name() const { return name_; }

private:
    std::shared_ptr<ConfigStore> store_;
    FoldedLookup* inside_;  ///< null for a store from outside
    bool readOnly_;
    std::wstring name_;
};

/// Stores in the order in which they are searched.
using SearchList = std::vector<SearchedStore>;
