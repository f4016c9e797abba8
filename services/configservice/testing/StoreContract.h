#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <ostream>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "ConfigStore.h"
#include "quill/StringUtils.h"

/// One kind of store, as the contract test meets it.
struct StoreContractCase {
    /// Name of the kind, letters and digits: it names the tests.
    std::string kind;

    /// Makes a store that holds exactly these entries, whatever it takes to bring them in (a file, the environment,
    /// storeValue()). The folder is empty, the test's own, and lives as long as the store. Null fails the test.
    std::function<std::shared_ptr<ConfigStore>(const std::map<std::wstring, std::wstring>& values,
                                               const std::filesystem::path& folder)>
        make;

    // What the store answers for its whole life.
    std::string name;           ///< of getName()
    std::int32_t priority = 0;  ///< of getPriority()
    bool readOnly = false;      ///< of isReadOnly()
    bool local = true;          ///< of isLocal()
    bool cached = false;        ///< of shouldCacheConfigStore()

    // Which of the changes the store carries out; the others must leave its values alone.
    bool stores = true;   ///< storeValue() stores and returns true
    bool removes = true;  ///< removeValue() removes and returns true
    bool empties = true;  ///< removeAllValues() empties the store
};

/// Prints a case in the messages of GoogleTest.
inline void PrintTo(const StoreContractCase& store, std::ostream* out) { *out << store.kind; }

/// What every ConfigStore owes the chain, as tests for GoogleTest: for the module's own stores and for those that
/// others add with ConfigFeatureSet::addConfigStore(). Include this header in one source of a test program and name the
/// kinds there, in the global namespace:
///
///     INSTANTIATE_TEST_SUITE_P(MyStores, StoreContract, testing::Values(StoreContractCase{...}),
///                              nameOfStoreContractCase);
class StoreContract : public testing::TestWithParam<StoreContractCase> {
protected:
    /// Makes the folder.
    StoreContract() {
        std::random_device random;
        const std::string name = "store-contract-" + std::to_string(random()) + "-" + std::to_string(random());
        folder_ = std::filesystem::temp_directory_path() / name;
        std::filesystem::create_directory(folder_);
    }

    /// Drops the store, then its folder with everything in it.
    ~StoreContract() override {
        store_.reset();
        std::error_code ignored;
        std::filesystem::remove_all(folder_, ignored);
    }

    /// The store of the test, with exactly these entries.
    void make(const std::map<std::wstring, std::wstring>& values) {
        store_ = GetParam().make(values, folder_);
        ASSERT_NE(store_, nullptr);
    }

    /// A hit with this value.
    void expectValue(const std::wstring& key, const std::wstring& expected) {
        std::wstring value = L"left over";
        EXPECT_TRUE(store_->getValue(key, value));
        EXPECT_EQ(value, expected);
    }

    /// A miss, which leaves an empty value.
    void expectMiss(const std::wstring& key) {
        std::wstring value = L"left over";
        EXPECT_FALSE(store_->getValue(key, value));
        EXPECT_EQ(value, L"");
    }

    /// The store's keys in small letters: how a store spells a key is its own affair.
    std::vector<std::wstring> keys() {
        std::vector<std::wstring> keys = store_->getKeys();
        for (std::wstring& key : keys) {
            key = QuillCoreUtils::toLowercase(key);
        }
        return keys;
    }

    std::filesystem::path folder_;        ///< the test's own
    std::shared_ptr<ConfigStore> store_;  ///< what make() has made
};

/// Names the instances by their kind.
inline std::string nameOfStoreContractCase(const testing::TestParamInfo<StoreContractCase>& info) {
    return info.param.kind;
}

TEST_P(StoreContract, StartsEmptyWhenItIsGivenNothing) {
    make({});
    EXPECT_TRUE(store_->getKeys().empty());
}

TEST_P(StoreContract, GivesTheValueOfAKeyThatItHolds) {
    make({{L"domain", L"example.com"}, {L"port", L"8443"}});
    expectValue(L"domain", L"example.com");
    expectValue(L"port", L"8443");
}

TEST_P(StoreContract, EmptiesTheValueOnAMiss) {
    make({{L"domain", L"example.com"}});
    expectMiss(L"port");
}

TEST_P(StoreContract, FindsAKeyGivenInAnotherCase) {
    make({{L"ServicesDomain", L"example.com"}});
    expectValue(L"SERVICESdomain", L"example.com");
}

TEST_P(StoreContract, CallsAnEmptyValueAHit) {
    make({{L"domain", L""}});
    expectValue(L"domain", L"");
}

TEST_P(StoreContract, ListsItsKeysInOrderWithoutRegardToCase) {
    make({{L"beta", L"2"}, {L"ALPHA", L"1"}, {L"Gamma", L"3"}});
    EXPECT_EQ(keys(), (std::vector<std::wstring>{L"alpha", L"beta", L"gamma"}));
}

TEST_P(StoreContract, KeepsTextBeyondAscii) {
    make({{L"greeting", L"Gr\u00fc\u00dfe \u2603 \U0001F600"}});
    expectValue(L"greeting", L"Gr\u00fc\u00dfe \u2603 \U0001F600");
}

TEST_P(StoreContract, StoresANewValueIfItStoresAtAll) {
    make({});
    EXPECT_EQ(store_->storeValue(L"domain", L"example.com"), GetParam().stores);
    if (GetParam().stores) {
        expectValue(L"domain", L"example.com");
    } else {
        expectMiss(L"domain");
    }
}

TEST_P(StoreContract, OverwritesAValueIfItStoresAtAll) {
    make({{L"domain", L"old.example.com"}});
    EXPECT_EQ(store_->storeValue(L"DOMAIN", L"new.example.com"), GetParam().stores);
    expectValue(L"domain", GetParam().stores ? L"new.example.com" : L"old.example.com");
    EXPECT_EQ(keys(), std::vector<std::wstring>{L"domain"});
}

TEST_P(StoreContract, RemovesAKeyIfItRemovesAtAll) {
    make({{L"domain", L"example.com"}, {L"port", L"8443"}});
    EXPECT_EQ(store_->removeValue(L"Domain"), GetParam().removes);
    if (GetParam().removes) {
        expectMiss(L"domain");
    } else {
        expectValue(L"domain", L"example.com");
    }
    expectValue(L"port", L"8443");
}

TEST_P(StoreContract, DeniesTheRemovalOfAKeyThatItLacks) {
    make({{L"domain", L"example.com"}});
    EXPECT_FALSE(store_->removeValue(L"port"));
}

TEST_P(StoreContract, EmptiesItselfIfItEmptiesAtAll) {
    make({{L"domain", L"example.com"}});
    store_->removeAllValues();
    EXPECT_EQ(store_->getKeys().empty(), GetParam().empties);
}

TEST_P(StoreContract, AnswersWhatItIs) {
    make({});
    EXPECT_EQ(store_->getName(), GetParam().name);
    EXPECT_EQ(store_->getPriority(), GetParam().priority);
    EXPECT_EQ(store_->isReadOnly(), GetParam().readOnly);
    EXPECT_EQ(store_->isLocal(), GetParam().local);
    EXPECT_EQ(store_->shouldCacheConfigStore(), GetParam().cached);
    EXPECT_EQ(store_->getCachedPriority(), GetParam().priority + 200);
}

TEST_P(StoreContract, GoesOnAnsweringAfterItWasPersistedAndDestroyed) {
    make({{L"domain", L"example.com"}});
    store_->persistValues();
    store_->destroy();
    store_->persistValues();
    expectValue(L"domain", L"example.com");
}

TEST_P(StoreContract, LetsSeveralThreadsReadAndWriteAtOnce) {
    make({{L"shared", L"yes"}});
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number) {
        threads.emplace_back([this, number] {
            const std::wstring own = L"own" + QuillCoreUtils::toWideString(number);
            for (int round = 0; round < 50; ++round) {
                std::wstring value;
                store_->storeValue(own, L"text");
                store_->getValue(L"shared", value);
                store_->getKeys();
                store_->removeValue(own);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    expectValue(L"shared", L"yes");
}
