#include <algorithm>
#include <functional>

#include "StoreTestSupport.h"
#include "stores/CacheConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "support/ForkedChild.h"

namespace storetests {
namespace {

constexpr int rounds = 60;

ConfigMap manyValues(const std::wstring& writer, int round) {
    ConfigMap values;
    for (int number = 0; number < 1000; ++number) {
        values[L"key" + std::to_wstring(number)] = writer + std::to_wstring(round);
    }
    return values;
}

/// True if every value is the same: one writer's one state.
bool isOneState(ConfigStore& store) {
    const Map contents = contentsOf(store);
    return contents.size() == 1000 && std::all_of(contents.begin(), contents.end(), [&](const auto& entry) {
               return entry.second == contents.begin()->second;
           });
}

/// Runs the work in this process and in another at the same time. @return whether the other one did it all.
bool runTwice(const std::function<void(const std::wstring& writer)>& work) {
    support::ForkedChild child([&](int) {
        work(L"child");
        return 0;
    });
    work(L"parent");
    return child.wait() == 0;
}

using TwoProcesses = StoreTest;

TEST_F(TwoProcesses, NeverPutEachOthersHalfWrittenLocalFileInPlace) {
    const auto open = [this] {
        return LocalFileConfigStore("L", 20, world_.directory().path(), "local.xml", false, false);
    };
    bool whole = true;
    ASSERT_TRUE(runTwice([&](const std::wstring& writer) {
        LocalFileConfigStore store = open();
        for (int round = 0; round < rounds; ++round) {
            for (const auto& [key, value] : manyValues(writer, round)) {
                store.storeValue(key, value);
            }
            store.persistValues();
            LocalFileConfigStore reader = open();
            whole = whole && isOneState(reader);
        }
    }));
    EXPECT_TRUE(whole);
    EXPECT_FALSE(world_.directory().exists("local-backup.xml"));
}

TEST_F(TwoProcesses, NeverPutEachOthersHalfWrittenCacheFileInPlace) {
    const std::string path = world_.directory().path("Cache/cached.xml");
    bool whole = true;
    ASSERT_TRUE(runTwice([&](const std::wstring& writer) {
        for (int round = 0; round < rounds; ++round) {
            const CacheConfigStore store("C", 240, path, manyValues(writer, round));
            CacheConfigStore reader("C", 240, path);
            whole = whole && isOneState(reader);
        }
    }));
    EXPECT_TRUE(whole);
}

}  // namespace
}  // namespace storetests
