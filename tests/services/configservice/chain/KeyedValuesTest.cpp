#include "chain/KeyedValues.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <random>
#include <thread>

#include "support/Seed.h"

// Entries side by side with a hash table and an order made on demand, held to what a plain map of folded texts answers.

namespace {

using PlainMap = std::map<std::wstring, std::wstring>;

std::wstring lowerOf(const std::wstring& key) { return QuillCoreUtils::toLowercase(key); }

/// Keys that often meet: few letters, in both cases, some beyond ASCII that fold to others or to ASCII.
std::wstring randomKey(std::mt19937& random) {
    static const std::wstring letters = L"aAbBzZ_@[`{019\u00e9\u00c9\u212ak\u017fs\u0130\U0001F600";
    std::wstring key;
    const auto length = std::uniform_int_distribution<std::size_t>(0, 4)(random);
    while (key.size() < length) {
        key += letters[std::uniform_int_distribution<std::size_t>(0, letters.size() - 1)(random)];
    }
    return key;
}

struct Keyed {
    KeyFilter filter;
    KeyedValues values{filter};

    std::wstring valueOf(const std::wstring& key) const {
        const FoldedKey folded(key);
        const std::wstring* const found = values.find(folded);
        return found != nullptr ? *found : L"(none)";
    }
};

void expectSame(const Keyed& keyed, const PlainMap& plain, const std::wstring& key) {
    const auto expected = plain.find(lowerOf(key));
    ASSERT_EQ(keyed.valueOf(key), expected != plain.end() ? expected->second : L"(none)");
    ASSERT_TRUE(expected == plain.end() || keyed.filter.mayHold(FoldedKey(key).mark()));
}

/// All of both, walked in order and copied. Not after each step, so that several wait to be put in order.
void expectSameInOrder(Keyed& keyed, const PlainMap& plain) {
    const std::vector<const KeyedValues::Entry*> ordered = keyed.values.inOrder();
    ASSERT_EQ(ordered.size(), plain.size());
    const ConfigMap copy = keyed.values.map();
    ASSERT_EQ(copy.size(), plain.size());
    auto copied = copy.begin();
    for (const KeyedValues::Entry* const entry : ordered) {
        ASSERT_EQ(plain.at(lowerOf(entry->key)), entry->value);
        ASSERT_EQ(copied->first, entry->key);
        ASSERT_EQ(copied->second, entry->value);
        ++copied;
    }
}

/// One change of both. @return false for an answer that differs.
bool changeBoth(Keyed& keyed, PlainMap& plain, std::mt19937& random, int step) {
    const std::wstring key = randomKey(random);
    const std::wstring value = std::to_wstring(step % 7);
    const FoldedKey folded(key);
    const auto before = plain.find(lowerOf(key));
    const bool known = before != plain.end();
    switch (std::uniform_int_distribution<int>(0, 40)(random)) {
    case 0:
        keyed.values.clear();
        plain.clear();
        return true;
    case 1: {
        const KeyedValues::Entries taken = keyed.values.exchange(ConfigMap{{key, value}});
        const bool same = taken.size() == plain.size();
        plain = {{lowerOf(key), value}};
        return same;
    }
    default:
        break;
    }
    switch (step % 3) {
    case 0: {
        const bool changes = !known || before->second != value;
        plain[lowerOf(key)] = value;
        return keyed.values.set(folded, value) == changes;
    }
    case 1:
        plain.emplace(lowerOf(key), value);
        keyed.values.add(key, value);
        return true;
    default:
        plain.erase(lowerOf(key));
        return keyed.values.erase(folded) == known;
    }
}

TEST(KeyedValues, AnswersAsAPlainMapOfFoldedTexts) {
    const unsigned seed = support::seedOfThisRun();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    Keyed keyed;
    PlainMap plain;
    for (int step = 0; step < 20000 && !testing::Test::HasFailure(); ++step) {
        ASSERT_TRUE(changeBoth(keyed, plain, random, step)) << "step " << step;
        expectSame(keyed, plain, randomKey(random));
        ASSERT_EQ(keyed.values.size(), plain.size());
        if (step % 11 == 0) {
            expectSameInOrder(keyed, plain);
        }
    }
}

TEST(KeyedValues, FindsEachOfManyKeysAndKeepsThemInOrder) {
    Keyed keyed;
    for (int index = 0; index < 5000; ++index) {
        const std::wstring key = L"Key" + std::to_wstring(index * 7919 % 5000);
        keyed.values.set(FoldedKey(key), std::to_wstring(index));
    }
    for (int index = 0; index < 5000; ++index) {
        ASSERT_EQ(keyed.valueOf(L"kEY" + std::to_wstring(index * 7919 % 5000)), std::to_wstring(index));
    }
    const std::vector<std::wstring> keys = keyed.values.keys();
    EXPECT_EQ(keys.size(), 5000U);
    EXPECT_TRUE(std::is_sorted(keys.begin(), keys.end(), caseInsensitiveMapComparator()));
}

TEST(KeyedValues, MakesAnOrderThatIsThereAlreadyForSeveralThreadsAtOnce) {
    Keyed keyed;
    for (int index = 0; index < 100; ++index) {
        keyed.values.add(L"Key" + std::to_wstring(index * 37 % 100), L"value");
    }
    const std::vector<std::wstring> keys = keyed.values.keys();
    std::vector<std::thread> readers;
    for (int thread = 0; thread < 2; ++thread) {
        readers.emplace_back([&] {
            for (int round = 0; round < 100; ++round) {
                EXPECT_EQ(keyed.values.keys(), keys);
            }
        });
    }
    for (std::thread& reader : readers) {
        reader.join();
    }
}

TEST(KeyedValues, KeepsTheOthersAndTheirOrderWhereverOneIsErased) {
    for (int erased = 0; erased < 10; ++erased) {
        Keyed keyed;
        PlainMap plain;
        for (int index = 0; index < 10; ++index) {
            const std::wstring key = L"Key" + std::to_wstring(index * 7 % 10);
            keyed.values.add(key, std::to_wstring(index));
            plain[lowerOf(key)] = std::to_wstring(index);
        }
        expectSameInOrder(keyed, plain);
        const std::wstring key = L"key" + std::to_wstring(erased);
        ASSERT_TRUE(keyed.values.erase(FoldedKey(key)));
        plain.erase(key);
        expectSameInOrder(keyed, plain);
        keyed.values.add(L"KEY5b", L"late");
        plain[L"key5b"] = L"late";
        expectSameInOrder(keyed, plain);
        for (const auto& [other, value] : plain) {
            EXPECT_EQ(keyed.valueOf(other), value);
        }
        EXPECT_EQ(keyed.valueOf(key), L"(none)");
    }
}

TEST(KeyedValues, LeavesItsValuesWhereTheyAreWhileOthersCome) {
    Keyed keyed;
    const std::wstring first = L"first";
    keyed.values.set(FoldedKey(first), L"value");
    const std::wstring* const found = std::as_const(keyed.values).find(FoldedKey(first));
    for (int index = 0; index < 1000; ++index) {
        keyed.values.add(L"other" + std::to_wstring(index), L"value");
    }
    EXPECT_EQ(keyed.values.find(FoldedKey(first)), found);
}

TEST(KeyedValues, KeepsTheSpellingOfTheFirstInsertion) {
    Keyed keyed;
    const std::wstring first = L"Theme";
    const std::wstring second = L"THEME";
    keyed.values.set(FoldedKey(first), L"dark");
    EXPECT_TRUE(keyed.values.set(FoldedKey(second), L"light"));
    EXPECT_FALSE(keyed.values.set(FoldedKey(second), L"light"));
    EXPECT_EQ(keyed.values.keys(), std::vector<std::wstring>{L"Theme"});
    EXPECT_EQ(keyed.valueOf(L"theme"), L"light");
}

TEST(KeyedValues, StaysSmallUnderKeysThatComeAndGo) {
    Keyed keyed;
    for (int index = 0; index < 100000; ++index) {
        const std::wstring key = L"key" + std::to_wstring(index);
        keyed.values.set(FoldedKey(key), L"value");
        ASSERT_TRUE(keyed.values.erase(FoldedKey(key)));
    }
    EXPECT_EQ(keyed.values.size(), 0U);
    EXPECT_EQ(keyed.valueOf(L"key99999"), L"(none)");
}

TEST(KeyFilter, TakesNoMoreMemoryForAKeyThatIsSetAndErasedOverAndOver) {
    Keyed keyed;
    const std::wstring key = L"key";
    keyed.values.set(FoldedKey(key), L"value");
    const std::size_t bytes = keyed.filter.bytes();
    for (int round = 0; round < 10000; ++round) {
        ASSERT_TRUE(keyed.values.erase(FoldedKey(key)));
        ASSERT_TRUE(keyed.values.set(FoldedKey(key), L"value"));
    }
    EXPECT_EQ(keyed.filter.bytes(), bytes);
    EXPECT_EQ(keyed.valueOf(key), L"value");
}

TEST(KeyFilter, TakesNoMoreMemoryForEverNewKeysThatComeAndGo) {
    Keyed keyed;
    keyed.values.add(L"held", L"value");
    const std::size_t bytes = keyed.filter.bytes();
    for (int round = 0; round < 10000; ++round) {
        const std::wstring key = L"key" + std::to_wstring(round);
        keyed.values.set(FoldedKey(key), L"value");
        ASSERT_TRUE(keyed.values.erase(FoldedKey(key)));
    }
    EXPECT_EQ(keyed.filter.bytes(), bytes);
    EXPECT_EQ(keyed.valueOf(L"held"), L"value");
}

/// What a file of the server's holds, say.
ConfigMap manyValues(const std::wstring& prefix, int count) {
    ConfigMap values;
    for (int index = 0; index < count; ++index) {
        values[prefix + std::to_wstring(index)] = L"value";
    }
    return values;
}

TEST(KeyFilter, TakesNoMoreMemoryForValuesThatAreExchangedOverAndOver) {
    Keyed keyed;
    keyed.values.exchange(manyValues(L"first", 300));
    const std::size_t bytes = keyed.filter.bytes();
    for (int round = 0; round < 1000; ++round) {
        keyed.values.exchange(manyValues(L"round" + std::to_wstring(round) + L"key", 1 + round % 300));
    }
    EXPECT_EQ(keyed.filter.bytes(), bytes);
    EXPECT_EQ(keyed.valueOf(L"round999key99"), L"value");
}

TEST(KeyedValues, TakeEntriesInAnyOrderAndHandBackTheirOwn) {
    Keyed keyed;
    keyed.values.add(L"Theme", L"dark");
    const KeyedValues::Entries own =
        keyed.values.exchange(KeyedValues::Entries{{L"b", L"2"}, {L"C", L"3"}, {L"a", L"1"}});
    ASSERT_EQ(own.size(), 1U);
    EXPECT_EQ(own.front().key + L"=" + own.front().value, L"Theme=dark");
    EXPECT_EQ(keyed.values.keys(), (std::vector<std::wstring>{L"a", L"b", L"C"}));
    EXPECT_EQ(keyed.valueOf(L"c"), L"3");
    EXPECT_EQ(keyed.valueOf(L"theme"), L"(none)");
}

TEST(KeyFilter, RulesKeysOutAgainThatWereExchangedForOthers) {
    Keyed keyed;
    keyed.values.exchange(manyValues(L"old", 1000));
    keyed.values.exchange(manyValues(L"new", 1000));
    int wrong = 0;
    for (int index = 0; index < 1000; ++index) {
        const std::wstring key = L"old" + std::to_wstring(index);
        wrong += keyed.filter.mayHold(FoldedKey(key).mark()) ? 1 : 0;
    }
    EXPECT_LT(wrong, 60);
}

TEST(KeyFilter, RulesMostForeignKeysOut) {
    Keyed keyed;
    for (int index = 0; index < 10000; ++index) {
        const std::wstring key = L"held" + std::to_wstring(index);
        keyed.values.set(FoldedKey(key), L"value");
    }
    int wrong = 0;
    for (int index = 0; index < 10000; ++index) {
        const std::wstring key = L"foreign" + std::to_wstring(index);
        wrong += keyed.filter.mayHold(FoldedKey(key).mark()) ? 1 : 0;
    }
    EXPECT_LT(wrong, 600);
}

/// Of so many keys.
std::vector<std::uint64_t> hashesOfKeys(int count) {
    std::vector<std::uint64_t> hashes;
    for (int index = 0; index < count; ++index) {
        const std::wstring key = L"key" + std::to_wstring(index);
        hashes.push_back(FoldedKey(key).hash());
    }
    return hashes;
}

TEST(KeyFilter, IsFullOnceItsAnswersHaveBecomeVagueAndNotBefore) {
    KeyFilter filter;
    const std::vector<std::uint64_t> hashes = hashesOfKeys(1000);
    const std::vector<std::uint64_t> few(hashes.begin(), hashes.begin() + 50);
    // Added again, a key makes nothing vaguer.
    for (int round = 0; round < 100; ++round) {
        for (const std::uint64_t hash : few) {
            filter.add(KeyMark(hash));
            ASSERT_FALSE(filter.isFull());
        }
    }
    for (const std::uint64_t hash : hashes) {
        filter.add(KeyMark(hash));
    }
    EXPECT_TRUE(filter.isFull());
    filter.renew(few);
    EXPECT_FALSE(filter.isFull());
}

TEST(KeyFilter, HasRoomForAsManyKeysAgainOnceItIsRenewed) {
    KeyFilter filter;
    const std::vector<std::uint64_t> hashes = hashesOfKeys(1400);
    const auto middle = hashes.begin() + 700;
    filter.renew({hashes.begin(), middle});
    for (auto hash = middle; hash != hashes.end(); ++hash) {
        filter.add(KeyMark(*hash));
        ASSERT_FALSE(filter.isFull());
    }
}

TEST(KeyFilter, NeverRulesOutAHeldKeyWhileOthersAreAdded) {
    Keyed keyed;
    const std::wstring held = L"held";
    const FoldedKey key(held);
    keyed.values.set(key, L"value");
    std::atomic<bool> done = false;
    std::atomic<int> misses = 0;
    std::thread reader([&] {
        while (!done) {
            misses += keyed.filter.mayHold(key.mark()) ? 0 : 1;
        }
    });
    for (int index = 0; index < 3000; ++index) {
        keyed.values.add(L"other" + std::to_wstring(index), L"value");
    }
    done = true;
    reader.join();
    EXPECT_EQ(misses, 0);
}

TEST(KeyFilter, NeverRulesOutAHeldKeyWhileItIsRenewed) {
    KeyFilter filter;
    std::vector<std::wstring> keys;
    std::vector<std::uint64_t> held;
    for (int index = 0; index < 50; ++index) {
        keys.push_back(L"held" + std::to_wstring(index));
        held.push_back(FoldedKey(keys.back()).hash());
    }
    filter.renew(held);
    std::atomic<bool> done = false;
    std::atomic<int> asked = 0;
    std::atomic<int> misses = 0;
    std::thread reader([&] {
        while (!done) {
            for (const std::uint64_t hash : held) {
                misses += filter.mayHold(KeyMark(hash)) ? 0 : 1;
            }
            ++asked;
        }
    });
    // As long as it takes for the two to have met many times.
    for (std::uint64_t round = 1; round <= 2000 || asked < 200; ++round) {
        std::vector<std::uint64_t> hashes = held;
        hashes.push_back(round * 0x9E3779B97F4A7C15U);
        filter.renew(hashes);
    }
    done = true;
    reader.join();
    EXPECT_EQ(misses, 0);
}

// Copied into the place of a long one, a short text would leave the end of that in memory.
TEST(KeyedValues, KeepNoMemoryOfAnErasedTextForTheOneThatComesIntoItsPlace) {
    const std::wstring erased = L"erased";
    const std::wstring last = L"last";
    Keyed keyed;
    keyed.values.set(FoldedKey(erased), std::wstring(50, L's'));
    keyed.values.set(FoldedKey(last), L"x");
    keyed.values.erase(FoldedKey(erased));
    ASSERT_EQ(keyed.valueOf(last), L"x");
    EXPECT_LT(keyed.values.find(FoldedKey(last))->capacity(), 50U);
}

TEST(KeyedValues, LeaveNothingOfALongerValueBehindANewOne) {
    const std::wstring key = L"key";
    Keyed keyed;
    keyed.values.set(FoldedKey(key), std::wstring(50, L's'));
    keyed.values.set(FoldedKey(key), L"x");
    const std::wstring& value = *keyed.values.find(FoldedKey(key));
    ASSERT_GE(value.capacity(), 50U);
    EXPECT_EQ(std::count(value.data(), value.data() + 50, L's'), 0);
}

TEST(FoldedKey, ComparesAsTheTextsDo) {
    const unsigned seed = support::seedOfThisRun();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    for (int round = 0; round < 50000; ++round) {
        const std::wstring a = randomKey(random);
        const std::wstring b = randomKey(random);
        const std::int32_t order = QuillCoreUtils::caseInsensitiveStringCompare(a, b);
        const std::string both = QuillCoreUtils::toString(a) + "|" + QuillCoreUtils::toString(b);
        ASSERT_EQ(KeyUnits::compare(a, b), order) << both;
        ASSERT_EQ(FoldedKey(a).equals(b), order == 0) << both;
        ASSERT_TRUE(order != 0 || FoldedKey(a).hash() == FoldedKey(b).hash()) << both;
    }
}

TEST(FoldedKey, FoldsEachLetterAndNothingBesides) {
    for (wchar_t unit = 0; unit < 0x80; ++unit) {
        const std::wstring text(3, unit);
        const std::wstring lower = lowerOf(text);
        ASSERT_EQ(FoldedKey(text).hash(), FoldedKey(lower).hash()) << static_cast<int>(unit);
        ASSERT_EQ(KeyUnits::fold(KeyUnits::pairAt(text, 0)), KeyUnits::pairAt(lower, 0)) << static_cast<int>(unit);
    }
}

}  // namespace
