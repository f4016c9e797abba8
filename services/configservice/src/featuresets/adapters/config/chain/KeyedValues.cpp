#include "chain/KeyedValues.h"

#include <algorithm>

#include "chain/ReplaceText.h"

ConfigMap KeyedValues::map() const {
    ConfigMap map;
    for (const Entry& entry : entries_) {
        map.emplace_hint(map.end(), entry.key, entry.value);  // nearly always they have come in order
    }
    return map;
}

const std::vector<const KeyedValues::Entry*>& KeyedValues::inOrder() {
    const auto known = static_cast<std::ptrdiff_t>(order_.size());
    if (order_.size() == entries_.size()) {
        return order_;
    }
    order_.reserve(entries_.size());
    for (auto entry = entries_.begin() + known; entry != entries_.end(); ++entry) {
        order_.push_back(&*entry);
    }
    KeyOrder<const Entry>::sort(order_, static_cast<std::size_t>(known));
    std::inplace_merge(order_.begin(), order_.begin() + known, order_.end(), KeyOrder<const Entry>::precedes);
    return order_;
}

std::vector<std::wstring> KeyedValues::keys() {
    std::vector<std::wstring> keys;
    keys.reserve(size());
    visitInOrder([&](const Entry& entry) { keys.push_back(entry.key); });
    return keys;
}

const std::wstring* KeyedValues::find(const FoldedKey& key) const {
    Entry* const* const found = table_.find(key);
    return found != nullptr ? &(*found)->value : nullptr;
}

void KeyedValues::fetchAhead(std::span<const FoldedKey> keys) const {
    table_.fetchAhead(keys, [](const Entry* entry, unsigned step) {
        if (step == 0) {
            FetchAhead::bytes(entry, sizeof(*entry));
            return true;
        }
        FetchAhead::text(entry->key);
        FetchAhead::line(entry->value.data());
        return false;
    });
}

bool KeyedValues::set(const FoldedKey& key, const std::wstring& value) {
    Entry* const* const found = table_.find(key);
    if (found == nullptr) {
        insert(key.mark(), key.text(), value);
        return true;
    }
    std::wstring& text = (*found)->value;
    const bool changed = text != value;
    replaceText(text, value);
    return changed;
}

void KeyedValues::add(std::wstring key, std::wstring value) {
    const FoldedKey folded(key);
    if (table_.find(folded) == nullptr) {
        insert(folded.mark(), std::move(key), std::move(value));
    }
}

bool KeyedValues::erase(const FoldedKey& key) {
    Entry* const gone = table_.erase(key);
    if (gone == nullptr) {
        return false;
    }
    order_.clear();
    Entry& last = entries_.back();
    if (gone != &last) {
        // The last one comes into its place, so that the entries stay side by side. Swapped, and not moved: a short
        // text would be copied over a long one, and leave the end of that.
        *table_.find(FoldedKey(last.key)) = gone;
        std::swap(*gone, last);
    }
    entries_.pop_back();
    return true;
}

void KeyedValues::clear() {
    order_.clear();
    table_.reset(0);
    entries_.clear();
}

KeyedValues::Entries KeyedValues::exchange(ConfigMap map) {
    Entries entries;
    while (!map.empty()) {
        auto node = map.extract(map.begin());
        entries.push_back({std::move(node.key()), std::move(node.mapped())});
    }
    return exchange(std::move(entries));
}

KeyedValues::Entries KeyedValues::exchange(Entries entries) {
    order_.clear();
    entries_.swap(entries);
    index();
    return entries;
}

void KeyedValues::insert(const KeyMark& mark, std::wstring key, std::wstring value) {
    filter_.add(mark);
    entries_.push_back({std::move(key), std::move(value)});
    table_.insert(mark.hash, &entries_.back());
    if (filter_.isFull()) {
        filter_.renew(hashes());
    }
}

/// Builds the filter and the hash table anew.
void KeyedValues::index() {
    const std::vector<std::uint64_t> all = hashes();
    filter_.renew(all);
    table_.reset(entries_.size());
    auto hash = all.begin();
    for (Entry& entry : entries_) {
        table_.insert(*hash++, &entry);
    }
}

std::vector<std::uint64_t> KeyedValues::hashes() const {
    std::vector<std::uint64_t> hashes;
    hashes.reserve(entries_.size());
    for (const Entry& entry : entries_) {
        hashes.push_back(FoldedKey(entry.key).hash());
    }
    return hashes;
}
