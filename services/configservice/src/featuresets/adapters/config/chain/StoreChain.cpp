#include "chain/StoreChain.h"

#include <algorithm>
#include <utility>

#include "quill/StringUtils.h"

void StoreChain::unlockAndLetGo() {
    const auto departed = std::exchange(departed_, {});
    mutex_.unlock();
}

bool StoreChain::precedes(const std::shared_ptr<ConfigStore>& a, const std::shared_ptr<ConfigStore>& b) {
    return a->getPriority() < b->getPriority();
}

std::shared_ptr<const StoreList> StoreChain::stores() {
    const tessel::ScopedLock lock(mutex_);
    return {content_, &content_->stores};
}

std::shared_ptr<ConfigStore> StoreChain::at(std::size_t index) {
    const tessel::ScopedLock lock(mutex_);
    return index < content_->stores.size() ? content_->stores[index] : nullptr;
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
    return std::any_of(content_->stores.begin(), content_->stores.end(),
                       [&](const std::shared_ptr<ConfigStore>& member) { return member.get() == &store; });
}

void StoreChain::insert(const std::shared_ptr<ConfigStore>& store) {
    const Lock lock(*this);
    StoreList changed = *stores();
    changed.push_back(store);
    std::stable_sort(changed.begin(), changed.end(), precedes);
    replace(std::move(changed));
}

void StoreChain::erase(const std::shared_ptr<ConfigStore>& store) {
    const Lock lock(*this);
    StoreList changed = *stores();
    std::erase(changed, store);
    replace(std::move(changed));
}

void StoreChain::replace(StoreList stores) {
    SearchList search(stores.begin(), stores.end());
    auto content = std::make_shared<const Content>(Content{std::move(stores), std::move(search)});
    departed_.push_back(content_);
    content_ = std::move(content);
}
