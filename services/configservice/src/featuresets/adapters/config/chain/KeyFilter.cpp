#include "chain/KeyFilter.h"

#include <bit>
#include <utility>

namespace {

/// From the start, so that a small set under keys that come and go is not begun anew at every few of them.
constexpr std::size_t LEAST_WORDS = 16;

}  // namespace

KeyFilter::KeyFilter() { use(make(LEAST_WORDS)); }

void KeyFilter::add(const KeyMark& key) {
    Word& word = wordOf(all_.back().data(), key.hash);
    const std::uint64_t before = word.load(std::memory_order_relaxed);
    const std::uint64_t after = before | key.bits;
    if (after != before) {
        word.store(after, std::memory_order_relaxed);
        ++added_;
    }
}

void KeyFilter::renew(const std::vector<std::uint64_t>& hashes) {
    const std::size_t wanted = std::bit_ceil(2 * hashes.size() / KEYS_OF_A_WORD + LEAST_WORDS);
    if (wanted <= wordsIn(all_.back())) {
        fill(all_.back(), hashes);
        return;
    }
    Words words = make(wanted);
    fill(words, hashes);
    use(std::move(words));
}

std::size_t KeyFilter::bytes() const {
    std::size_t count = 0;
    for (const Words& words : all_) {
        count += words.size();
    }
    return count * sizeof(Word);
}

KeyFilter::Words KeyFilter::make(std::size_t count) {
    Words words(count + 1);
    words.front().store(count - 1, std::memory_order_relaxed);
    return words;
}

void KeyFilter::use(Words words) {
    all_.push_back(std::move(words));
    words_.store(all_.back().data(), std::memory_order_release);
}

/// The bits of a key lie in one word, and each word is stored whole: it rules out at no moment what it is to hold.
void KeyFilter::fill(Words& words, const std::vector<std::uint64_t>& hashes) {
    std::vector<std::uint64_t> filled(wordsIn(words));
    added_ = 0;
    for (const std::uint64_t hash : hashes) {
        std::uint64_t& word = filled[hash & (filled.size() - 1)];
        const std::uint64_t before = word;
        word |= KeyMark(hash).bits;
        added_ += word != before ? 1 : 0;
    }
    for (std::size_t place = 0; place < filled.size(); ++place) {
        words[1 + place].store(filled[place], std::memory_order_relaxed);
    }
}
