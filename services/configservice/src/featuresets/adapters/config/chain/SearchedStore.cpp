#include "chain/SearchedStore.h"

#include "quill/StringUtils.h"

SearchedStore::SearchedStore(const std::shared_ptr<ConfigStore>& store)
    : store_(store), inside_(dynamic_cast<FoldedLookup*>(store.get())) {
    if (inside_ != nullptr) {
        filter_ = inside_->filter();
        readOnly_ = store->isReadOnly();
        name_ = QuillCoreUtils::toWideString(store->getName());
    }
}

void SearchedStore::giveName(StoreName& name) const {
    if (inside_ != nullptr) {
        name.refer(name_);
    } else {
        name.keep(QuillCoreUtils::toWideString(store_->getName()));
    }
}
