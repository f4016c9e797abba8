#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "chain/ConfigMap.h"
#include "chain/FoldedKey.h"
#include "chain/KeyFilter.h"
#include "chain/KeyOrder.h"
#include "chain/KeyTable.h"

/// What a ConfigMap holds, in less memory: the entries lie side by side as they came, a hash table finds each in one
/// step, and they are put in order only when somebody wants to walk them so. Keys that differ only in case are one key,
/// which keeps the spelling of its first insertion.
///
/// Has no lock, but for what it tells its filter. The const operations may run on several threads at once.
class KeyedValues {
public:
    struct Entry {
        std::wstring key;
        std::wstring value;
    };
    using Entries = std::deque<Entry>;

    /// @param filter knows every key before it can be found here; must outlive this.
    explicit KeyedValues(KeyFilter& filter) : filter_(filter) {}

    KeyedValues(const KeyedValues&) = delete;
    KeyedValues& operator=(const KeyedValues&) = delete;

    std::size_t size() const { return entries_.size(); }

    /// All, in the order in which they lie here, which means nothing.
    const Entries& entries() const { return entries_; }

    /// A copy of all.
    ConfigMap map() const;

    /// All in the order of a ConfigMap; good until the next change. Sorts what has come since it was last asked, and
    /// changes nothing, so that it may run on several threads at once, if nothing has.
    const std::vector<const Entry*>& inOrder();

    /// Calls visit(entry) for all in that order.
    template <typename Visit>
    void visitInOrder(const Visit& visit) {
        KeyOrder<const Entry>::visit(inOrder(), visit);
    }

    /// The keys in that order; the same holds.
    std::vector<std::wstring> keys();

    /// The value; null if there is none. Good until the next change.
    const std::wstring* find(const FoldedKey& key) const;

    /// Fetches ahead what find() will read for these keys.
    void fetchAhead(std::span<const FoldedKey> keys) const;

    /// Puts a value; a key that is there keeps its spelling. @return false if it had this very value before.
    bool set(const FoldedKey& key, const std::wstring& value);

    /// Puts the value of a key that is not there; else does nothing.
    void add(std::wstring key, std::wstring value);

    /// @return true if the key was there.
    bool erase(const FoldedKey& key);
    void clear();

    /// Takes these values, each of a key of its own, in place of its own. @return its own.
    Entries exchange(Entries entries);
    Entries exchange(ConfigMap map);

private:
    struct KeyOfEntry {
        const std::wstring& operator()(const Entry* entry) const { return entry->key; }
    };

    void insert(const KeyMark& mark, std::wstring key, std::wstring value);
    void index();
    std::vector<std::uint64_t> hashes() const;

    KeyFilter& filter_;
    Entries entries_;  ///< an entry stays where it is while others come
    KeyTable<Entry*, KeyOfEntry> table_;
    std::vector<const Entry*> order_;  ///< the first of the entries, as many as it is long, in order
};
