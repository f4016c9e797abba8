#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

/// Answers without a lock whether a set of keys may hold a key: most stores of a chain do not hold the key that is
/// looked up, and so need not be locked. Three bits for each key in one word that its hash chooses (a blocked Bloom
/// filter); what was taken out goes on being possible.
///
/// mayHold() on any thread at any time; the others by one thread at a time. A key is added before it is put into the
/// set, so that whoever knows by any means that it is there is told "maybe".
class KeyFilter {
public:
    KeyFilter();

    KeyFilter(const KeyFilter&) = delete;
    KeyFilter& operator=(const KeyFilter&) = delete;

    /// @param hash of a FoldedKey. False: the key is not there.
    bool mayHold(std::uint64_t hash) const {
        const Words* const words = words_.load(std::memory_order_acquire);
        const std::uint64_t bits = bitsOf(hash);
        return ((*words)[hash & (words->size() - 1)].load(std::memory_order_relaxed) & bits) == bits;
    }

    void add(std::uint64_t hash);

    /// True if so many keys were added that the answers have become vague; renew() then.
    bool isFull() const { return added_ > KEYS_OF_A_WORD * all_.back()->size(); }

    /// Begins anew with these keys, and with room for as many again. Whoever asks meanwhile for one of these keys that
    /// was held before is told "maybe". Never gives room back.
    void renew(const std::vector<std::uint64_t>& hashes);

    /// The memory of all its words, those that are no longer in use as well.
    std::size_t bytes() const;

private:
    using Words = std::vector<std::atomic<std::uint64_t>>;

    static constexpr std::size_t KEYS_OF_A_WORD = 6;

    /// Bits that do not depend on those that choose the word.
    static constexpr std::uint64_t bitsOf(std::uint64_t hash) {
        return std::uint64_t{1} << (hash >> 58U) | std::uint64_t{1} << (hash >> 52U & 63U) |
               std::uint64_t{1} << (hash >> 46U & 63U);
    }

    void fill(Words& words, const std::vector<std::uint64_t>& hashes);

    /// Those that are no longer in use stay to the end, since a reader may be looking at one. Each is twice as large as
    /// the one before, or larger, so that together they are never twice the last one.
    std::vector<std::unique_ptr<Words>> all_;
    std::atomic<Words*> words_;
    std::size_t added_ = 0;
};
