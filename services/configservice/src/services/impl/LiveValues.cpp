#include "LiveValues.h"

#include <algorithm>

std::shared_ptr<ConfigValueImpl> LiveValues::find(const FoldedKey& key) const {
    const std::shared_ptr<ConfigValueImpl>* const found = table_.find(key);
    return found != nullptr ? *found : nullptr;
}

void LiveValues::fetchAhead(std::span<const FoldedKey> keys) const {
    table_.fetchAhead(
        keys, [](const std::shared_ptr<ConfigValueImpl>& object, unsigned step) { return object->fetchAhead(step); });
}

void LiveValues::add(const std::shared_ptr<ConfigValueImpl>& object) {
    const FoldedKey key(object->ownKey());
    if (table_.find(key) == nullptr) {
        table_.insert(key.hash(), object);
    }
}

void LiveValues::clear() {
    // The objects end after the table has been emptied: an end may come back here.
    const auto gone = table_.reset(0);
}

std::vector<std::shared_ptr<ConfigValueImpl>> LiveValues::inOrder() const {
    std::vector<std::shared_ptr<ConfigValueImpl>> all;
    all.reserve(table_.size());
    table_.forEach([&all](const std::shared_ptr<ConfigValueImpl>& object) { all.push_back(object); });
    std::sort(all.begin(), all.end(),
              [](const auto& a, const auto& b) { return KeyUnits::compare(a->ownKey(), b->ownKey()) < 0; });
    return all;
}
