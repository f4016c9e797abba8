#pragma once

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "chain/FoldedKey.h"

/// Items with a key and a value, by pointers to where they lie, in the order of a ConfigMap. Many keys begin alike and
/// none lies near the next one: what is compared is copied beside the pointers, some letters at a time.
///
/// @tparam Item has a `key` and a `value`, both wide texts.
template <typename Item>
class KeyOrder {
public:
    /// Sorts the items from that place on. Those whose keys differ only in case stay as they stand.
    static void sort(std::vector<Item*>& items, std::size_t from) {
        std::vector<Place> places;
        places.reserve(items.size() - from);
        for (auto item = items.begin() + static_cast<std::ptrdiff_t>(from); item != items.end(); ++item) {
            places.push_back({{}, *item});
        }
        sort({places.begin(), places.end()}, 0);
        for (const Place& place : places) {
            items[from++] = place.item;
        }
    }

    static bool precedes(const Item* a, const Item* b) { return KeyUnits::compare(a->key, b->key) < 0; }

    /// Calls visit(item) for each. They lie here and there, and the next one would be waited for each time: the
    /// processor hears of those that follow while one is being visited.
    template <typename Visit>
    static void visit(const std::vector<Item*>& items, const Visit& visit) {
        for (auto item = items.begin(); item != items.end(); ++item) {
            if (items.end() - item > 2 * AHEAD) {
                __builtin_prefetch(item[2 * AHEAD]);
                __builtin_prefetch(item[AHEAD]->key.data());
                __builtin_prefetch(item[AHEAD]->value.data());
            }
            visit(**item);
        }
    }

private:
    static constexpr std::ptrdiff_t AHEAD = 4;
    /// Where keys are still alike here, they are compared as they are.
    static constexpr std::size_t DEEPEST = 64;

    /// Sixteen letters of a key, in lower case; zeros behind its end.
    struct Letters {
        static constexpr std::size_t COUNT = 16;

        std::uint64_t first = 0;
        std::uint64_t second = 0;

        auto operator<=>(const Letters&) const = default;

        bool reachTheEnd() const { return (second & 0xFFU) == 0; }
    };

    struct Place {
        Letters letters;
        Item* item;
    };

    struct Range {
        typename std::vector<Place>::iterator begin;
        typename std::vector<Place>::iterator end;
    };

    /// Keys that are alike up to the offset.
    static void sort(Range range, std::size_t offset) {
        if (offset == DEEPEST || !takeLetters(range, offset)) {
            std::stable_sort(range.begin, range.end,
                             [](const Place& a, const Place& b) { return precedes(a.item, b.item); });
            return;
        }
        const auto areInOrder = [](const Place& a, const Place& b) { return a.letters < b.letters; };
        if (!std::is_sorted(range.begin, range.end, areInOrder)) {
            std::stable_sort(range.begin, range.end, areInOrder);
        }
        sortAlike(range, offset + Letters::COUNT);
    }

    /// Goes on with those whose letters are the same.
    static void sortAlike(Range range, std::size_t offset) {
        while (range.begin != range.end) {
            const Letters letters = range.begin->letters;
            const auto next = std::find_if(range.begin + 1, range.end,
                                           [&letters](const Place& place) { return place.letters != letters; });
            if (next - range.begin > 1 && !letters.reachTheEnd()) {
                sort({range.begin, next}, offset);
            }
            range.begin = next;
        }
    }

    /// @return false if that cannot be done: a letter beyond ASCII may stand for one of ASCII, and a zero is no end.
    static bool takeLetters(Range range, std::size_t offset) {
        std::uint32_t all = 0;
        bool hasZero = false;
        for (auto place = range.begin; place != range.end; ++place) {
            const std::ptrdiff_t left = range.end - place;
            if (left > 2 * AHEAD) {
                __builtin_prefetch(place[2 * AHEAD].item);
                __builtin_prefetch(place[AHEAD].item->key.data() + offset);
            }
            const std::wstring_view key = place->item->key;
            const std::wstring_view part = key.substr(std::min(offset, key.size()), Letters::COUNT);
            std::uint64_t words[2] = {0, 0};
            for (std::size_t index = 0; index < part.size(); ++index) {
                const auto unit = static_cast<std::uint32_t>(part[index]);
                all |= unit;
                hasZero |= unit == 0;
                words[index / 8] |= static_cast<std::uint64_t>(unit) << (56 - 8 * (index % 8));
            }
            place->letters = {KeyUnits::fold(words[0]), KeyUnits::fold(words[1])};
        }
        return all < 0x80 && !hasZero;
    }
};
