#pragma once

#include <atomic>
#include <cstdint>
#include <vector>

/// What filters look for, worked out once for a key, however many of them are asked.
struct KeyMark {
    std::uint64_t hash;
    std::uint64_t bits;  ///< do not depend on those bits of the hash that choose a word

    /// @param of the hash of a FoldedKey.
    constexpr explicit KeyMark(std::uint64_t of)
        : hash(of),
          bits(std::uint64_t{1} << (of >> 58U) | std::uint64_t{1} << (of >> 52U & 63U) |
               std::uint64_t{1} << (of >> 46U & 63U)) {}
};

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

    /// False: the key is not there.
    bool mayHold(const KeyMark& key) const {
        const Word* const words = words_.load(std::memory_order_acquire);
        return (wordOf(words, key.hash).load(std::memory_order_relaxed) & key.bits) == key.bits;
    }

    void add(const KeyMark& key);

    /// True if so many keys were added that the answers have become vague; renew() then.
    bool isFull() const { return added_ > KEYS_OF_A_WORD * wordsIn(all_.back()); }

    /// Begins anew with these keys, and with room for as many again. Whoever asks meanwhile for one of these keys that
    /// was held before is told "maybe". Never gives room back.
    void renew(const std::vector<std::uint64_t>& hashes);

    /// The memory of all its words, those that are no longer in use as well.
    std::size_t bytes() const;

private:
    using Word = std::atomic<std::uint64_t>;

    /// A power of two of words, behind one that holds their number less one: it mostly lies in memory that the search
    /// needs anyway.
    using Words = std::vector<Word>;

    static constexpr std::size_t KEYS_OF_A_WORD = 6;

    template <typename SomeWord>
    static SomeWord& wordOf(SomeWord* words, std::uint64_t hash) {
        return words[1 + (hash & words[0].load(std::memory_order_relaxed))];
    }

    static std::size_t wordsIn(const Words& words) { return words.size() - 1; }

    static Words make(std::size_t count);
    void use(Words words);
    void fill(Words& words, const std::vector<std::uint64_t>& hashes);

    /// Those that are no longer in use stay to the end, since a reader may be looking at one. Each is twice as large as
    /// the one before, or larger, so that together they are never twice the last one.
    std::vector<Words> all_;
    std::atomic<const Word*> words_;
    std::size_t added_ = 0;
};
