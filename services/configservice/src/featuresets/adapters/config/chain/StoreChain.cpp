#include "chain/StoreChain.h"

#include <algorithm>
#include <utility>

#include "quill/StringUtils.h"

StoreChain::Lock::Lock(StoreChain& chain) : chain_(chain) {
    chain_.mutex_.lock();
    ++chain_.depth_;
}

StoreChain::Lock::~Lock() {
    StoreList departed;
    if (--chain_.depth_ == 0) {
        departed.swap(chain_.departed_);
    }
    chain_.mutex_.unlock();
    // The departed stores end here, after the lock.
}

bool StoreChain::precedes(const std::shared_ptr<ConfigStore>& a, const std::shared_ptr<ConfigStore>& b) {
    return a->getPriority() < b->getPriority();
}

std::shared_ptr<const StoreList> StoreChain::stores() {
    const tessel::ScopedLock lock(mutex_);
    return stores_;
}

std::shared_ptr<ConfigStore> StoreChain::at(std::size_t index) {
    const tessel::ScopedLock lock(mutex_);
    return index < stores_->size() ? (*stores_)[index] : nullptr;
}

std::shared_ptr<ConfigStore> StoreChain::find(const std::string& name) {
    const Lock lock(*this);
    const std::shared_ptr<const StoreList> list = stores();
    const auto found = std::find_if(list->begin(), list->end(), [&](const std::shared_ptr<ConfigStore>& store) {
        return QuillCoreUtils::caseInsensitiveStringEquals(store->getName(), name);
    });
    return found != list->end() ? *found : nullptr;
}

bool StoreChain::contains(const ConfigStore& store) {
    const tessel::ScopedLock lock(mutex_);
    return std::any_of(stores_->begin(), stores_->end(),
                       [&](const std::shared_ptr<ConfigStore>& member) { return member.get() == &store; });
}

void StoreChain::insert(const std::shared_ptr<ConfigStore>& store) {
    const Lock lock(*this);
    auto changed = std::make_shared<StoreList>(*stores());
    changed->push_back(store);
    std::stable_sort(changed->begin(), changed->end(), precedes);
    stores_ = std::move(changed);
}

bool StoreChain::erase(const std::shared_ptr<ConfigStore>& store) {
    const Lock lock(*this);
    auto changed = std::make_shared<StoreList>(*stores());
    if (std::erase(*changed, store) == 0) {
        return false;
    }
    departed_.push_back(store);
    stores_ = std::move(changed);
    return true;
}
