#include "xml/EntryList.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

#include "chain/KeyOrder.h"
#include "tessel/SecureStringUtils.h"

namespace {

/// Wipes all of the memory that a text has: one that was moved away leaves its first letters behind.
void wipe(std::wstring& text) {
    static const std::size_t shortest = std::wstring().capacity();
    if (text.capacity() == shortest) {
        // Nearly always: what lay elsewhere went away with its memory. Volatile, or nobody would see the need.
        std::fill_n(static_cast<volatile wchar_t*>(text.data()), shortest, L'\0');
        return;
    }
    text.resize(text.capacity());
    tessel::SecureStringUtils::TesselZeroWstring(text);
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
    std::vector<Entry*> ordered;
    ordered.reserve(entries_.size());
    std::transform(entries_.begin(), entries_.end(), std::back_inserter(ordered), [](Entry& entry) { return &entry; });
    KeyOrder<Entry>::sort(ordered, 0);
    KeyOrder<Entry>::visit(ordered, [&](Entry& entry) {
        const std::size_t before = values.size();
        const auto place = values.try_emplace(values.end(), std::move(entry.key), std::move(entry.value));
        if (values.size() > before && entry.isSensitive) {
            sensitiveKeys.insert(place->first);
        }
    });
    clear();
}
