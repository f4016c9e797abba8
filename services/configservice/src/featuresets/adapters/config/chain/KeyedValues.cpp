#include "chain/KeyedValues.h"

#include <algorithm>
#include <bit>

std::vector<std::wstring> KeyedValues::keys() const {
    std::vector<std::wstring> keys;
    keys.reserve(map_.size());
    for (const Entry& entry : map_) {
        keys.push_back(entry.first);
    }
    return keys;
}

const std::wstring* KeyedValues::find(const FoldedKey& key) const {
    const std::size_t slot = slotOf(key);
    return slot != NOWHERE ? &entries_[slot]->second : nullptr;
}

bool KeyedValues::set(const FoldedKey& key, const std::wstring& value) {
    const std::size_t slot = slotOf(key);
    if (slot == NOWHERE) {
        filter_.add(key.hash());
        insert(key.hash(), *map_.emplace(key.text(), value).first);
        return true;
    }
    std::wstring& text = entries_[slot]->second;
    const bool changed = text != value;
    text = value;
    return changed;
}

void KeyedValues::add(std::wstring key, std::wstring value) {
    const auto [entry, isNew] = map_.try_emplace(std::move(key), std::move(value));
    if (isNew) {
        const std::uint64_t hash = FoldedKey(entry->first).hash();
        filter_.add(hash);
        insert(hash, *entry);
    }
}

bool KeyedValues::erase(const FoldedKey& key) {
    const std::size_t slot = slotOf(key);
    if (slot == NOWHERE) {
        return false;
    }
    tags_[slot] = ERASED;
    entries_[slot] = nullptr;
    map_.erase(key.text());
    return true;
}

void KeyedValues::clear() {
    map_.clear();
    std::fill(tags_.begin(), tags_.end(), FREE);
    used_ = 0;
}

ConfigMap KeyedValues::exchange(ConfigMap map) {
    map_.swap(map);
    index();
    return map;
}

std::size_t KeyedValues::slotOf(const FoldedKey& key) const {
    if (tags_.empty()) {
        return NOWHERE;
    }
    const std::size_t mask = tags_.size() - 1;
    const Tag tag = tagOf(key.hash());
    for (std::size_t slot = key.hash() >> 8U & mask; tags_[slot] != FREE; slot = (slot + 1) & mask) {
        if (tags_[slot] == tag && key.equals(entries_[slot]->first)) {
            return slot;
        }
    }
    return NOWHERE;
}

void KeyedValues::insert(std::uint64_t hash, Entry& entry) {
    if (filter_.isFull() || 4 * (used_ + 1) > 3 * tags_.size()) {
        index();
    } else {
        enter(hash, entry);
    }
}

/// Of a key that is in no slot, so that the first one without an entry is its own: a search goes past no free slot.
void KeyedValues::enter(std::uint64_t hash, Entry& entry) {
    const std::size_t mask = tags_.size() - 1;
    std::size_t slot = hash >> 8U & mask;
    while (tags_[slot] != FREE && tags_[slot] != ERASED) {
        slot = (slot + 1) & mask;
    }
    used_ += tags_[slot] == FREE ? 1 : 0;
    tags_[slot] = tagOf(hash);
    entries_[slot] = &entry;
}

/// Builds the hash table anew with room for half as many again.
void KeyedValues::index() {
    std::vector<std::uint64_t> hashes;
    hashes.reserve(map_.size());
    for (const Entry& entry : map_) {
        hashes.push_back(FoldedKey(entry.first).hash());
    }
    filter_.renew(hashes);
    const std::size_t slots = map_.empty() ? 0 : std::bit_ceil(map_.size() * 3 / 2 + 2);
    tags_.assign(slots, FREE);
    entries_.assign(slots, nullptr);
    tags_.shrink_to_fit();
    entries_.shrink_to_fit();
    used_ = 0;
    auto hash = hashes.begin();
    for (Entry& entry : map_) {
        enter(*hash++, entry);
    }
}
