#include "chain/KeyFilter.h"

#include <bit>

namespace {

/// So that a small set under keys that come and go is not begun anew at every few of them.
constexpr std::size_t LEAST_WORDS = 16;

}  // namespace

KeyFilter::KeyFilter() {
    all_.push_back(std::make_unique<Words>(1));
    words_.store(all_.back().get(), std::memory_order_release);
}

void KeyFilter::add(std::uint64_t hash) { addTo(*all_.back(), hash); }

void KeyFilter::renew(const std::vector<std::uint64_t>& hashes) {
    auto words = std::make_unique<Words>(std::bit_ceil(2 * hashes.size() / KEYS_OF_A_WORD + LEAST_WORDS));
    added_ = 0;
    for (const std::uint64_t hash : hashes) {
        addTo(*words, hash);
    }
    all_.push_back(std::move(words));
    words_.store(all_.back().get(), std::memory_order_release);
}

void KeyFilter::addTo(Words& words, std::uint64_t hash) {
    std::atomic<std::uint64_t>& word = words[hash & (words.size() - 1)];
    const std::uint64_t before = word.load(std::memory_order_relaxed);
    const std::uint64_t after = before | bitsOf(hash);
    if (after != before) {
        word.store(after, std::memory_order_relaxed);
        ++added_;
    }
}
