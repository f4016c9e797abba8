#include <gtest/gtest.h>

#include <optional>
#include <random>

#include "chain/KeyResolver.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedStore.h"
#include "stores/LocalFileConfigStore.h"
#include "support/Seed.h"

// The resolver against a second statement of the same rules, over random chains. The second one is written from the
// reader's side: it knows nothing of stores that are asked in turn, only a table of who holds what.

namespace {

struct TableStore {
    std::string name;
    bool readOnly;
    std::map<std::wstring, std::wstring> values;
    bool isOfTheModule = false;  ///< such a store is not asked twice for the same
};

using Table = std::vector<TableStore>;

struct Expected {
    std::wstring key;
    std::wstring value;
    std::wstring originalValue;
    bool isOverridden = false;
    bool isDefined = false;
    std::wstring valueStoreName;
    std::wstring originalValueStoreName;
    bool reported = true;
};

std::wstring wide(const std::string& text) { return {text.begin(), text.end()}; }

const TableStore* firstWith(const Table& table, const std::wstring& key) {
    for (const TableStore& store : table) {
        if (store.values.count(key) > 0) {
            return &store;
        }
    }
    return nullptr;
}

/// The holders of one kind that the search for an original meets: all up to the first text that is not empty.
std::vector<std::size_t> holders(const Table& table, const std::wstring& key, bool readOnly) {
    std::vector<std::size_t> places;
    for (std::size_t place = 0; place < table.size(); ++place) {
        const TableStore& store = table[place];
        if (store.readOnly != readOnly || store.values.count(key) == 0) {
            continue;
        }
        places.push_back(place);
        if (!store.values.at(key).empty()) {
            break;
        }
    }
    return places;
}

struct ExpectedOriginal {
    bool found = false;
    bool overridden = false;
    std::wstring value;
    std::wstring storeName;
};

ExpectedOriginal originalOf(const Table& table, const std::wstring& key) {
    const std::vector<std::size_t> readOnly = holders(table, key, true);
    const std::vector<std::size_t> writable = holders(table, key, false);
    ExpectedOriginal original;
    original.found = !readOnly.empty();
    if (original.found) {
        original.value = table[readOnly.back()].values.at(key);
        original.storeName = wide(table[readOnly.back()].name);
    }
    const bool hasText = !original.value.empty();
    original.overridden = !writable.empty() && (!hasText || writable.front() < readOnly.back());
    return original;
}

/// @param current, old the two names of the key; the same text for a key that was never renamed.
Expected expectedState(const Table& table, const std::wstring& asked, const std::wstring& current,
                       const std::wstring& old) {
    Expected expected;
    expected.key = current;
    const TableStore* holder = firstWith(table, current);
    expected.reported = asked == current || holder == nullptr;
    const bool fromOldName = holder == nullptr && current != old && firstWith(table, old) != nullptr;
    if (fromOldName) {
        holder = firstWith(table, old);
    }
    expected.isDefined = holder != nullptr;
    if (holder != nullptr) {
        expected.value = holder->values.at(fromOldName ? old : current);
        expected.valueStoreName = wide(holder->name);
    }
    // Where the current name has no value at all, the old one alone can have an original.
    ExpectedOriginal original = originalOf(table, current);
    if (!original.found && current != old) {
        original = originalOf(table, old);
    }
    expected.originalValue = original.value;
    expected.originalValueStoreName = original.storeName;
    expected.isOverridden = expected.isDefined && original.overridden;
    return expected;
}

class Generator {
public:
    explicit Generator(unsigned seed) : random_(seed) {}

    std::size_t below(std::size_t limit) { return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random_); }

    Table table() {
        Table table(below(6));
        for (std::size_t place = 0; place < table.size(); ++place) {
            table[place].name = "Store" + std::to_string(place);
            table[place].readOnly = below(2) == 0;
            table[place].isOfTheModule = below(2) == 0;
            for (const std::wstring& key : KEYS) {
                if (below(3) == 0) {
                    table[place].values[key] = below(3) == 0 ? L"" : L"text" + std::to_wstring(below(100));
                }
            }
        }
        return table;
    }

    static inline const std::vector<std::wstring> KEYS = {L"TFTPPrimaryServer", L"TftpServer1", L"domain"};

private:
    std::mt19937 random_;
};

std::shared_ptr<ConfigStore> storeOf(const TableStore& row) {
    if (row.isOfTheModule) {
        const auto store =
            std::make_shared<LocalFileConfigStore>(row.name, 0, "no folder", "no file", false, row.readOnly);
        for (const auto& [key, value] : row.values) {
            store->storeValue(key, value);
        }
        return store;
    }
    auto store = std::make_shared<fakes::ScriptedStore>(row.name, 0);
    if (row.readOnly) {
        store->readOnly();
    }
    for (const auto& [key, value] : row.values) {
        store->with(key, value);
    }
    return store;
}

SearchList storesOf(const Table& table) {
    SearchList stores;
    for (const TableStore& row : table) {
        stores.emplace_back(storeOf(row));
    }
    return stores;
}

std::string describe(const Table& table) {
    std::string text;
    for (const TableStore& row : table) {
        text +=
            row.name + (row.isOfTheModule ? " of the module" : "") + (row.readOnly ? " (read-only):" : " (writable):");
        for (const auto& [key, value] : row.values) {
            text += " " + QuillCoreUtils::toString(key) + "=[" + QuillCoreUtils::toString(value) + "]";
        }
        text += "\n";
    }
    return text;
}

class KeyResolverProperty : public testing::Test {
protected:
    void check(const Table& table, const std::wstring& asked, const std::wstring& current, const std::wstring& old) {
        const SearchList stores = storesOf(table);
        const KeyResolver::Report report = KeyResolver(stores, names).resolve(FoldedKey(asked));
        const Expected expected = expectedState(table, asked, current, old);
        ASSERT_EQ(report.name != nullptr, expected.reported);
        ASSERT_EQ(report.lookup.found, expected.isDefined);
        if (!expected.reported) {
            return;
        }
        EXPECT_EQ(*report.name, expected.key);
        EXPECT_EQ(report.value(), expected.value);
        EXPECT_EQ(report.originalValue(), expected.originalValue);
        EXPECT_EQ(report.isOverridden(), expected.isOverridden);
        EXPECT_EQ(report.isDefined(), expected.isDefined);
        EXPECT_EQ(report.valueStoreName(), expected.valueStoreName);
        EXPECT_EQ(report.originalValueStoreName(), expected.originalValueStoreName);
    }

    const fakes::ScopedWorld world;
    const fakes::ScopedRecordingLog log;  ///< takes what the stores say of files that are not there
    const unsigned seed = support::seedOfThisRun();
    Generator generator{seed};
    const RenamedKeys names = RenamedKeys::read();
};

TEST_F(KeyResolverProperty, AgreesWithThePlainStatementOverRandomChains) {
    for (int round = 0; round < 3000 && !HasFailure(); ++round) {
        const Table table = generator.table();
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round) + "\n" + describe(table));
        check(table, L"domain", L"domain", L"domain");
        check(table, L"TFTPPrimaryServer", L"TFTPPrimaryServer", L"TftpServer1");
        check(table, L"TftpServer1", L"TFTPPrimaryServer", L"TftpServer1");
    }
}

TEST_F(KeyResolverProperty, GivesTheSameAnswerForAKeyInAnyCase) {
    for (int round = 0; round < 500 && !HasFailure(); ++round) {
        const Table table = generator.table();
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round) + "\n" + describe(table));
        const SearchList stores = storesOf(table);
        const KeyResolver resolver(stores, names);
        const std::wstring inSmall = L"tftpserver1";
        const std::wstring inLarge = L"TFTPSERVER1";
        const KeyResolver::Report small = resolver.resolve(FoldedKey(inSmall));
        const KeyResolver::Report large = resolver.resolve(FoldedKey(inLarge));
        ASSERT_EQ(small.name != nullptr, large.name != nullptr);
        EXPECT_EQ(small.lookup.found, large.lookup.found);
        EXPECT_EQ(small.lookup.value, large.lookup.value);
        EXPECT_EQ(small.lookup.usedOtherKeyName(), large.lookup.usedOtherKeyName());
    }
}

TEST_F(KeyResolverProperty, TakesAStoreThatHoldsNothingForNoStore) {
    for (int round = 0; round < 500 && !HasFailure(); ++round) {
        Table table = generator.table();
        SCOPED_TRACE("seed " + std::to_string(seed) + ", round " + std::to_string(round) + "\n" + describe(table));
        const auto place = static_cast<std::ptrdiff_t>(generator.below(table.size() + 1));
        table.insert(table.begin() + place, {"Empty", generator.below(2) == 0, {}, generator.below(2) == 0});
        check(table, L"TFTPPrimaryServer", L"TFTPPrimaryServer", L"TftpServer1");
    }
}

}  // namespace
