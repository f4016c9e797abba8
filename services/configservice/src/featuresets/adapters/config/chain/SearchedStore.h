#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ConfigStore.h"
#include "chain/FoldedLookup.h"
#include "chain/FoldedWrite.h"
#include "chain/PersistRequests.h"
#include "chain/StoreName.h"

/// A store with what a search wants to know of it. Of the module's own stores that stays the same for their lives, and
/// is asked once; a store from outside is asked each time.
class SearchedStore {
public:
    /// @param store not null.
    explicit SearchedStore(const std::shared_ptr<ConfigStore>& store);

    bool lookUp(const FoldedKey& key, std::wstring& value) const {
        if (filter_ != nullptr && !filter_->mayHold(key.mark())) {
            value.clear();
            return false;
        }
        return inside_ != nullptr ? inside_->lookUp(key, value) : store_->getValue(key.text(), value);
    }

    /// Tells a store of the module's own that these keys are looked up next, unless it rules out the first of them:
    /// many keys in a row are mostly those of one store. @param keys one at least.
    void expect(std::span<const FoldedKey> keys) const {
        if (inside_ != nullptr && (filter_ == nullptr || filter_->mayHold(keys.front().mark()))) {
            inside_->expect(keys);
        }
    }

    bool storeValue(const FoldedKey& key, const std::wstring& value) const {
        return insideWrite_ != nullptr ? insideWrite_->store(key, value) : store_->storeValue(key.text(), value);
    }

    const std::shared_ptr<ConfigStore>& store() const { return store_; }

    /// Null if each request to persist its values is a call of its own.
    PersistRequests* persistRequests() const { return persistRequests_; }

    bool isReadOnly() const { return inside_ != nullptr ? readOnly_ : store_->isReadOnly(); }

    /// True if it has the name of the store for values that live for this run only, without regard to case.
    bool isInMemory() const;

    /// Makes the name that of this store. It refers to this object for a store of the module's own.
    void giveName(StoreName& name) const;

    /// True if what a lookup answered a moment ago is as good as another one: a store from outside may count them.
    bool answersQuietly() const { return filter_ != nullptr; }

private:
    std::shared_ptr<ConfigStore> store_;
    FoldedLookup* inside_;      ///< null for a store from outside
    FoldedWrite* insideWrite_;  ///< null as well for one that takes no values
    PersistRequests* persistRequests_;
    const KeyFilter* filter_ = nullptr;  ///< this and the following: of a store of the module's own
    bool readOnly_ = false;
    bool inMemory_ = false;
    std::wstring name_;
};

/// Stores in the order in which they are searched.
using SearchList = std::vector<SearchedStore>;
