#pragma once

#include <cstdint>
#include <string>

#include "chain/ConfigMap.h"

/// The list of the stores of which a copy is kept on disk, as the key "PrimaryConfigStores" holds it: for each store
/// its plain name, ":", the priority of the copy in decimal, and ";". A value.
class PriorityList {
public:
    /// Entries that are not a name, one ":" and a priority are dropped; of two for one name, the later one counts.
    static PriorityList parse(const std::wstring& text);

    /// The entries in the map's order, each ended with ";".
    std::wstring toText() const;

    /// Puts the entry of a store, or replaces it, spelling of the name included.
    void set(const std::wstring& storeName, std::int32_t priority);

    /// Store name to the text of its priority, which need not be a number.
    const ConfigMap& entries() const { return entries_; }

    /// The text without the entry that begins at the first occurrence of the name, case ignored; to the end of the text
    /// if no ";" follows. The name is looked for anywhere, so one that is the tail of a longer name cuts that entry.
    /// Everything else stays as it is, malformed entries included.
    static std::wstring textWithout(const std::wstring& text, const std::wstring& storeName);

private:
    ConfigMap entries_;
};
