#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "chain/ConfigMap.h"
#include "chain/FoldedKey.h"
#include "chain/KeyFilter.h"
#include "chain/KeyTable.h"

/// A ConfigMap with a hash table beside it: in order for whoever walks it, and found in one step by whoever looks up.
/// Has no lock, but for what it tells its filter.
class KeyedValues {
public:
    using Entry = ConfigMap::value_type;

    /// @param filter knows every key before it can be found here; must outlive this.
    explicit KeyedValues(KeyFilter& filter) : filter_(filter) {}

    KeyedValues(const KeyedValues&) = delete;
    KeyedValues& operator=(const KeyedValues&) = delete;

    const ConfigMap& map() const { return map_; }

    /// The keys in order.
    std::vector<std::wstring> keys() const;

    /// The value; null if there is none. Good until the next change.
    const std::wstring* find(const FoldedKey& key) const;

    /// Puts a value; a key that is there keeps its spelling. @return false if it had this very value before.
    bool set(const FoldedKey& key, const std::wstring& value);

    /// Puts the value of a key that is not there; else does nothing.
    void add(std::wstring key, std::wstring value);

    /// @return true if the key was there.
    bool erase(const FoldedKey& key);
    void clear();

    /// Takes these values in place of its own. @return its own.
    ConfigMap exchange(ConfigMap map);

private:
    struct KeyOfEntry {
        const std::wstring& operator()(const Entry* entry) const { return entry->first; }
    };

    void insert(std::uint64_t hash, Entry& entry);
    void index();
    std::vector<std::uint64_t> hashes() const;

    KeyFilter& filter_;
    ConfigMap map_;
    KeyTable<Entry*, KeyOfEntry> table_;
};
