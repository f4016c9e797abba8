#include "chain/SearchedStore.h"

#include "ConfigStoreConstants.h"
#include "quill/StringUtils.h"

namespace {

bool hasNameOfInMemory(ConfigStore& store) {
    return QuillCoreUtils::caseInsensitiveStringEquals(store.getName(),
                                                       ConfigStoreConstants::IN_MEMORY_CONFIG_STORE_NAME);
}

}  // namespace

SearchedStore::SearchedStore(const std::shared_ptr<ConfigStore>& store)
    : store_(store),
      inside_(dynamic_cast<FoldedLookup*>(store.get())),
      insideWrite_(dynamic_cast<FoldedWrite*>(store.get())),
      persistRequests_(dynamic_cast<PersistRequests*>(store.get())) {
    if (inside_ != nullptr) {
        filter_ = inside_->filter();
        readOnly_ = store->isReadOnly();
        inMemory_ = hasNameOfInMemory(*store);
        name_ = QuillCoreUtils::toWideString(store->getName());
    }
}

bool SearchedStore::isInMemory() const { return inside_ != nullptr ? inMemory_ : hasNameOfInMemory(*store_); }

void SearchedStore::giveName(StoreName& name) const {
    if (inside_ != nullptr) {
        name.refer(name_);
    } else {
        name.keep(QuillCoreUtils::toWideString(store_->getName()));
    }
}
