#include "chain/KeyedValues.h"

std::vector<std::wstring> KeyedValues::keys() const {
    std::vector<std::wstring> keys;
    keys.reserve(map_.size());
    for (const Entry& entry : map_) {
        keys.push_back(entry.first);
    }
    return keys;
}

const std::wstring* KeyedValues::find(const FoldedKey& key) const {
    Entry* const* const found = table_.find(key);
    return found != nullptr ? &(*found)->second : nullptr;
}

bool KeyedValues::set(const FoldedKey& key, const std::wstring& value) {
    Entry* const* const found = table_.find(key);
    if (found == nullptr) {
        filter_.add(key.mark());
        insert(key.hash(), *map_.emplace(key.text(), value).first);
        return true;
    }
    std::wstring& text = (*found)->second;
    const bool changed = text != value;
    text = value;
    return changed;
}

void KeyedValues::add(std::wstring key, std::wstring value) {
    const auto [entry, isNew] = map_.try_emplace(std::move(key), std::move(value));
    if (isNew) {
        const FoldedKey folded(entry->first);
        filter_.add(folded.mark());
        insert(folded.hash(), *entry);
    }
}

bool KeyedValues::erase(const FoldedKey& key) {
    if (table_.erase(key) == nullptr) {
        return false;
    }
    map_.erase(key.text());
    return true;
}

void KeyedValues::clear() {
    map_.clear();
    table_.reset(0);
}

ConfigMap KeyedValues::exchange(ConfigMap map) {
    map_.swap(map);
    index();
    return map;
}

void KeyedValues::insert(std::uint64_t hash, Entry& entry) {
    table_.insert(hash, &entry);
    if (filter_.isFull()) {
        filter_.renew(hashes());
    }
}

/// Builds the filter and the hash table anew.
void KeyedValues::index() {
    const std::vector<std::uint64_t> all = hashes();
    filter_.renew(all);
    table_.reset(map_.size());
    auto hash = all.begin();
    for (Entry& entry : map_) {
        table_.insert(*hash++, &entry);
    }
}

std::vector<std::uint64_t> KeyedValues::hashes() const {
    std::vector<std::uint64_t> hashes;
    hashes.reserve(map_.size());
    for (const Entry& entry : map_) {
        hashes.push_back(FoldedKey(entry.first).hash());
    }
    return hashes;
}
