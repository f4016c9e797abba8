#pragma once

#include <deque>
#include <string>

#include "chain/ConfigMap.h"

/// Entries of a document on their way into a map. They wait here until the document is known to be whole, and then go
/// over in the order of the map, where each finds its place without a search.
///
/// Values may be secrets: they are moved and never copied, and what is left of them is wiped. One thread.
class EntryList {
public:
    EntryList() = default;
    ~EntryList() { clear(); }

    EntryList(const EntryList&) = delete;
    EntryList& operator=(const EntryList&) = delete;

    /// Adds an entry behind the others. @param key in lower case, as QuillCoreUtils::toLowercase() gives it.
    /// @param value moved away; what is left of it is wiped.
    void add(std::wstring key, std::wstring&& value, bool isSensitive);

    /// Drops all entries.
    void clear();

    /// Moves the first entry of each key that the map does not hold into the map, and the key into the set if the entry
    /// is sensitive. All others are dropped.
    void moveTo(ConfigMap& values, SensitiveKeySet& sensitiveKeys);

private:
    struct Entry {
        std::wstring key;
        std::wstring value;
        bool isSensitive = false;
    };

    /// Not a vector: when that grows it leaves short texts behind at their old places.
    std::deque<Entry> entries_;
};
