#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace bench {

/// A table of texts under ASCII keys without regard to case: open addressing, at most half full, never shrinking.
/// Written for nothing but speed, as what a hand-written answer may cost.
class HashTable {
public:
    explicit HashTable(std::size_t entries) {
        std::size_t size = 8;
        while (size < 2 * entries) {
            size *= 2;
        }
        slots_.resize(size);
    }

    static std::uint64_t hashOf(std::wstring_view key) {
        std::uint64_t hash = 0;
        for (const wchar_t unit : key) {
            hash = (hash ^ lower(unit)) * 0x9E3779B97F4A7C15ULL;
            hash ^= hash >> 32U;
        }
        return hash | 1U;
    }

    void put(std::wstring_view key, std::wstring_view value) {
        const std::uint64_t hash = hashOf(key);
        Slot& slot = slots_[placeOf(key, hash)];
        slot.hash = hash;
        slot.key = key;
        slot.value = value;
    }

    /// @param hash hashOf(key). @return null if there is none.
    std::wstring* find(std::wstring_view key, std::uint64_t hash) {
        Slot& slot = slots_[placeOf(key, hash)];
        return slot.hash == 0 ? nullptr : &slot.value;
    }

private:
    struct Slot {
        std::uint64_t hash = 0;  ///< 0: free
        std::wstring key;
        std::wstring value;
    };

    static std::uint32_t lower(wchar_t unit) {
        const auto code = static_cast<std::uint32_t>(unit);
        return code - 'A' < 26U ? code + 32U : code;
    }

    static bool equal(std::wstring_view a, std::wstring_view b) {
        if (a.size() != b.size()) {
            return false;
        }
        for (std::size_t at = 0; at < a.size(); ++at) {
            if (lower(a[at]) != lower(b[at])) {
                return false;
            }
        }
        return true;
    }

    std::size_t placeOf(std::wstring_view key, std::uint64_t hash) const {
        const std::size_t mask = slots_.size() - 1;
        std::size_t place = hash >> 8U & mask;
        while (slots_[place].hash != 0 && !(slots_[place].hash == hash && equal(slots_[place].key, key))) {
            place = (place + 1) & mask;
        }
        return place;
    }

    std::vector<Slot> slots_;
};

}  // namespace bench
