#include "xml/EntryList.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "tessel/SecureStringUtils.h"

namespace {

/// Wipes all of the memory that a text has: one that was moved away leaves its first letters behind.
void wipe(std::wstring& text) {
    text.resize(text.capacity());
    tessel::SecureStringUtils::TesselZeroWstring(text);
}

/// Pointers to the items in the order of their keys, those of one key as they came. Documents that this system has
/// written are in order already.
template <typename Items>
auto inOrder(Items& items) {
    std::vector<typename Items::pointer> sorted;
    sorted.reserve(items.size());
    std::transform(items.begin(), items.end(), std::back_inserter(sorted), [](auto& item) { return &item; });
    const auto precedes = [](const auto* a, const auto* b) { return a->key < b->key; };
    if (!std::is_sorted(sorted.begin(), sorted.end(), precedes)) {
        std::stable_sort(sorted.begin(), sorted.end(), precedes);
    }
    return sorted;
}

}  // namespace

void EntryList::add(std::wstring key, std::wstring&& value, bool isSensitive) {
    Entry& entry = entries_.emplace_back();
    entry.key = std::move(key);
    entry.value = std::move(value);
    entry.isSensitive = isSensitive;
    wipe(value);
}

void EntryList::clear() {
    for (Entry& entry : entries_) {
        wipe(entry.value);
    }
    entries_.clear();
}

void EntryList::moveTo(ConfigMap& values, SensitiveKeySet& sensitiveKeys) {
    for (Entry* const entry : inOrder(entries_)) {
        const std::size_t before = values.size();
        const auto place = values.try_emplace(values.end(), std::move(entry->key), std::move(entry->value));
        if (values.size() > before && entry->isSensitive) {
            sensitiveKeys.insert(place->first);
        }
    }
    clear();
}
