#include "chain/KeyFilter.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

namespace {

constexpr std::size_t BYTES_OF_A_WORD = 8;

/// The words of a filter, and the one that tells how many they are.
std::size_t bytesOf(std::size_t words) { return (words + 1) * BYTES_OF_A_WORD; }

class FilteredKeys : public testing::Test {
protected:
    std::uint64_t nextHash() { return random_(); }

    /// Adds keys that the filter rules out as yet, so that each counts. Returns how many there was room for.
    std::size_t addUntilFull() {
        std::size_t added = 0;
        while (!filter.isFull()) {
            const KeyMark key(nextHash());
            if (!filter.mayHold(key)) {
                filter.add(key);
                ++added;
            }
        }
        return added;
    }

    /// Hashes of which each rules itself in: as many as count in a filter of so many words.
    std::vector<std::uint64_t> countingHashes(std::size_t count, std::size_t words) {
        std::vector<std::uint64_t> filled(words);
        std::vector<std::uint64_t> hashes;
        while (hashes.size() < count) {
            const std::uint64_t hash = nextHash();
            std::uint64_t& word = filled[hash & (words - 1)];
            const std::uint64_t bits = KeyMark(hash).bits;
            if ((word & bits) != bits) {
                word |= bits;
                hashes.push_back(hash);
            }
        }
        return hashes;
    }

    KeyFilter filter;

private:
    std::mt19937_64 random_{7};
};

TEST_F(FilteredKeys, HaveRoomInSixteenWordsForSixEach) {
    EXPECT_EQ(filter.bytes(), bytesOf(16));
    EXPECT_EQ(addUntilFull(), 16U * 6 + 1);
    EXPECT_EQ(filter.bytes(), bytesOf(16)) << "a full filter stays in use until somebody renews it";
}

TEST_F(FilteredKeys, CountOnceHoweverOftenTheyAreAdded) {
    const KeyMark key(nextHash());
    for (int time = 0; time < 1000; ++time) {
        filter.add(key);
    }
    EXPECT_FALSE(filter.isFull());
    EXPECT_EQ(addUntilFull(), 16U * 6);
}

TEST_F(FilteredKeys, HaveRoomForAsManyAgainAfterARenewal) {
    // A third of a word for each, and the least number of words on top of it, as a power of two.
    filter.renew(countingHashes(96, 64));
    EXPECT_EQ(filter.bytes(), bytesOf(16) + bytesOf(64)) << "the former words stay to the end";
    EXPECT_EQ(addUntilFull(), 64U * 6 + 1 - 96);
}

TEST_F(FilteredKeys, CountOnceHoweverOftenARenewalNamesThem) {
    const std::vector<std::uint64_t> once = countingHashes(96, 128);
    std::vector<std::uint64_t> twice = once;
    twice.insert(twice.end(), once.begin(), once.end());
    filter.renew(twice);
    EXPECT_EQ(filter.bytes(), bytesOf(16) + bytesOf(128));
    EXPECT_EQ(addUntilFull(), 128U * 6 + 1 - 96);
}

TEST_F(FilteredKeys, AreCountedAnewWhereARenewalFindsRoomEnough) {
    addUntilFull();
    filter.renew(countingHashes(0, 16));
    EXPECT_FALSE(filter.isFull());
    EXPECT_EQ(filter.bytes(), bytesOf(16));
    EXPECT_EQ(addUntilFull(), 16U * 6 + 1);
}

TEST_F(FilteredKeys, AreRuledInOfARenewalAndOutOfTheOneBefore) {
    const std::uint64_t former = nextHash();
    filter.add(KeyMark(former));
    const std::vector<std::uint64_t> hashes = countingHashes(3, 32);
    filter.renew(hashes);
    for (const std::uint64_t hash : hashes) {
        EXPECT_TRUE(filter.mayHold(KeyMark(hash)));
    }
    EXPECT_FALSE(filter.mayHold(KeyMark(former)));
}

}  // namespace
