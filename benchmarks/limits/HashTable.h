#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// A table of texts under ASCII keys: open addressing, at most half full, never shrinking, the hashes side by side.
/// Written for nothing but speed, as what a hand-written answer may cost.
/// @tparam Way how keys are hashed and compared: `hashOf`, never 0, and `equal`.
template <typename Way>
class HashTable {
public:
    explicit HashTable(std::size_t entries) {
        std::size_t size = 8;
        while (size < 2 * entries) {
            size *= 2;
        }
        hashes_.resize(size);
        entries_.resize(size);
    }

    void put(std::wstring_view key, std::wstring_view value) {
        const std::uint64_t hash = Way::hashOf(key);
        const std::size_t place = placeOf(key, hash);
        hashes_[place] = hash;
        entries_[place] = {std::wstring(key), std::wstring(value)};
    }

    /// @param hash Way::hashOf(key). @return null if there is none.
    std::wstring* find(std::wstring_view key, std::uint64_t hash) {
        const std::size_t place = placeOf(key, hash);
        return hashes_[place] == FREE ? nullptr : &entries_[place].value;
    }

private:
    static constexpr std::uint64_t FREE = 0;

    struct Entry {
        std::wstring key;
        std::wstring value;
    };

    std::size_t placeOf(std::wstring_view key, std::uint64_t hash) const {
        const std::size_t mask = hashes_.size() - 1;
        std::size_t place = hash >> 8U & mask;
        while (hashes_[place] != FREE && !(hashes_[place] == hash && Way::equal(entries_[place].key, key))) {
            place = (place + 1) & mask;
        }
        return place;
    }

    std::vector<std::uint64_t> hashes_;  ///< FREE where no entry is
    std::vector<Entry> entries_;
};

}  // namespace bench
