#include "chain/KeyFilter.h"

#include <bit>

namespace {

/// From the start, so that a small set under keys that come and go is not begun anew at every few of them.
constexpr std::size_t LEAST_WORDS = 16;

}  // namespace

KeyFilter::KeyFilter() {
    all_.push_back(std::make_unique<Words>(LEAST_WORDS));
    words_.store(all_.back().get(), std::memory_order_release);
}

void KeyFilter::add(const KeyMark& key) {
    Words& words = *all_.back();
    std::atomic<std::uint64_t>& word = words[key.hash & (words.size() - 1)];
    const std::uint64_t before = word.load(std::memory_order_relaxed);
    const std::uint64_t after = before | key.bits;
    if (after != before) {
        word.store(after, std::memory_order_relaxed);
        ++added_;
    }
}

void KeyFilter::renew(const std::vector<std::uint64_t>& hashes) {
    const std::size_t wanted = std::bit_ceil(2 * hashes.size() / KEYS_OF_A_WORD + LEAST_WORDS);
    if (wanted <= all_.back()->size()) {
        fill(*all_.back(), hashes);
        return;
    }
    auto words = std::make_unique<Words>(wanted);
    fill(*words, hashes);
    all_.push_back(std::move(words));
    words_.store(all_.back().get(), std::memory_order_release);
}

std::size_t KeyFilter::bytes() const {
    std::size_t count = 0;
    for (const std::unique_ptr<Words>& words : all_) {
        count += words->size();
    }
    return count * sizeof(std::uint64_t);
}

/// The bits of a key lie in one word, and each word is stored whole: it rules out at no moment what it is to hold.
void KeyFilter::fill(Words& words, const std::vector<std::uint64_t>& hashes) {
    std::vector<std::uint64_t> filled(words.size());
    added_ = 0;
    for (const std::uint64_t hash : hashes) {
        std::uint64_t& word = filled[hash & (filled.size() - 1)];
        const std::uint64_t before = word;
        word |= KeyMark(hash).bits;
        added_ += word != before ? 1 : 0;
    }
    for (std::size_t place = 0; place < filled.size(); ++place) {
        words[place].store(filled[place], std::memory_order_relaxed);
    }
}
