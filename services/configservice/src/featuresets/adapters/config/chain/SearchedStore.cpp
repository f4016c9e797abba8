#include "chain/SearchedStore.h"

#include "quill/StringUtils.h"

SearchedStore::SearchedStore(const std::shared_ptr<ConfigStore>& store)
    : store_(store), inside_(dynamic_cast<FoldedLookup*>(store.get())) {
    if (inside_ != nullptr) {
        readOnly_ = store->isReadOnly();
        name_ = QuillCoreUtils::toWideString(store->getName());
    }
}

std::wstring SearchedStore::name() const {
    return inside_ != nullptr ? name_ : QuillCoreUtils::toWideString(store_->getName());
}
