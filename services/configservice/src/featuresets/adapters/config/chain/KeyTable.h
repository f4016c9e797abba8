#pragma once

#include <bit>
#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "chain/FetchAhead.h"
#include "chain/FoldedKey.h"

/// A hash table of items that know their own keys: found in one step without regard to case, and in no order.
///
/// An open table whose slots lie in two rows, so that a search goes through few bytes: a part of each hash, and the
/// items. Has no lock.
///
/// @tparam Item what is kept, cheap to move: a pointer of some kind; a fresh one, Item(), stands in empty slots.
/// @tparam KeyOf a function object: the key of an item, which stays the same while the item is here.
template <typename Item, typename KeyOf>
class KeyTable {
public:
    /// How many items there are.
    std::size_t size() const { return size_; }

    /// The item of that key; null if there is none. Good until the next change.
    const Item* find(const FoldedKey& key) const {
        const std::size_t slot = slotOf(key);
        return slot != NOWHERE ? &items_[slot] : nullptr;
    }

    /// The same, to be replaced by an item of the same key.
    Item* find(const FoldedKey& key) {
        const std::size_t slot = slotOf(key);
        return slot != NOWHERE ? &items_[slot] : nullptr;
    }

    /// Fetches ahead what find() will look at for these keys, and what their items lead to.
    /// @param fetch fetch(item, step) names what lies so many steps from an item, and may read what lies nearer; it
    ///              returns whether anything lies further. It is called for all items at step 0, then for those that go
    ///              on at the next one, and so on. An item may be that of another key.
    template <typename Fetch>
    void fetchAhead(std::span<const FoldedKey> keys, const Fetch& fetch) const {
        if (tags_.empty()) {
            return;
        }
        for (const FoldedKey& key : keys) {
            const std::size_t slot = firstSlotOf(key.hash()) & (tags_.size() - 1);
            FetchAhead::line(&tags_[slot]);
            FetchAhead::line(&items_[slot]);
        }
        std::vector<const Item*> items;
        items.reserve(keys.size());
        for (const FoldedKey& key : keys) {
            const std::size_t slot = slotOf(key.hash(), [](const Item&) { return true; });
            if (slot != NOWHERE) {
                items.push_back(&items_[slot]);
            }
        }
        for (unsigned step = 0; !items.empty(); ++step) {
            std::erase_if(items, [&](const Item* item) { return !fetch(*item, step); });
        }
    }

    /// Puts an item whose key is not there. @param hash of its FoldedKey.
    void insert(std::uint64_t hash, Item item) {
        if (4 * (used_ + 1) > 3 * tags_.size()) {
            rebuild();
        }
        enter(hash, std::move(item));
        ++size_;
    }

    /// Takes an item out. @return it, or a fresh one if it was not there.
    Item erase(const FoldedKey& key) {
        const std::size_t slot = slotOf(key);
        if (slot == NOWHERE) {
            return Item();
        }
        tags_[slot] = ERASED;
        --size_;
        return std::exchange(items_[slot], Item());
    }

    /// Takes all items out, and makes room for that many. @return the items.
    std::vector<Item> reset(std::size_t count) {
        std::vector<Item> items = std::move(items_);
        std::erase(items, Item());
        const std::size_t slots = count == 0 ? 0 : std::bit_ceil(count * 3 / 2 + 2);
        tags_ = std::vector<Tag>(slots, FREE);
        items_ = std::vector<Item>(slots);
        used_ = 0;
        size_ = 0;
        return items;
    }

    /// Calls visit(item) for each, in no order.
    template <typename Visit>
    void forEach(const Visit& visit) const {
        for (const Item& item : items_) {
            if (item != Item()) {
                visit(item);
            }
        }
    }

private:
    /// Part of the hash; 0 marks a free slot, 1 one whose item was erased.
    using Tag = std::uint8_t;
    static constexpr Tag FREE = 0;
    static constexpr Tag ERASED = 1;
    static constexpr std::size_t NOWHERE = static_cast<std::size_t>(-1);

    static Tag tagOf(std::uint64_t hash) { return static_cast<Tag>(hash >> 24U | 2U); }
    static std::size_t firstSlotOf(std::uint64_t hash) { return static_cast<std::size_t>(hash >> 8U); }

    std::size_t slotOf(const FoldedKey& key) const {
        return slotOf(key.hash(), [&key](const Item& item) { return key.equals(KeyOf()(item)); });
    }

    /// The first slot of an item whose hash has the same tag, and of which isWanted(item) is true.
    template <typename IsWanted>
    std::size_t slotOf(std::uint64_t hash, const IsWanted& isWanted) const {
        if (tags_.empty()) {
            return NOWHERE;
        }
        const std::size_t mask = tags_.size() - 1;
        const Tag tag = tagOf(hash);
        for (std::size_t slot = firstSlotOf(hash) & mask; tags_[slot] != FREE; slot = (slot + 1) & mask) {
            if (tags_[slot] == tag && isWanted(items_[slot])) {
                return slot;
            }
        }
        return NOWHERE;
    }

    /// Of a key that is in no slot, so that the first one without an item is its own: a search goes past no free slot.
    void enter(std::uint64_t hash, Item item) {
        const std::size_t mask = tags_.size() - 1;
        std::size_t slot = firstSlotOf(hash) & mask;
        while (tags_[slot] != FREE && tags_[slot] != ERASED) {
            slot = (slot + 1) & mask;
        }
        used_ += tags_[slot] == FREE ? 1 : 0;
        tags_[slot] = tagOf(hash);
        items_[slot] = std::move(item);
    }

    /// Begins anew without the slots of erased items, and with room for half as many items again.
    void rebuild() {
        const std::size_t count = size_;
        for (Item& item : reset(count + 1)) {
            const std::uint64_t hash = FoldedKey(KeyOf()(item)).hash();
            enter(hash, std::move(item));
        }
        size_ = count;
    }

    std::vector<Tag> tags_;  ///< a power of two, or none, as the items
    std::vector<Item> items_;
    std::size_t used_ = 0;  ///< slots that are not free
    std::size_t size_ = 0;
};
