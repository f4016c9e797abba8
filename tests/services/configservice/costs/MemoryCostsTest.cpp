#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "Allocations.h"
#include "ConfigServiceImpl.h"
#include "fakes/HandSteppedDispatcher.h"
#include "stores/InMemoryConfigStore.h"
#include "unified/UnifiedFactory.h"

namespace {

constexpr std::size_t KEYS = 10000;

/// Keys as configurations have them, and values of 12 letters.
std::vector<std::pair<std::wstring, std::wstring>> makeEntries() {
    std::vector<std::pair<std::wstring, std::wstring>> entries;
    for (std::size_t index = 0; index < KEYS; ++index) {
        const std::wstring number = std::to_wstring(100000 + index * 7919 % KEYS);
        entries.emplace_back(L"TelephonyMeetings_50_" + number, L"value-" + number);
    }
    return entries;
}

TEST(AKeyInAStore, TakesNoMoreMemoryThanInAnOrderedMap) {
    const auto entries = makeEntries();
    InMemoryConfigStore store;
    const std::size_t inStore = Allocations::bytesKeptBy([&] {
        for (const auto& [key, value] : entries) {
            store.storeValue(key, value);
        }
    });
    std::map<std::wstring, std::wstring> map;
    const std::size_t inMap = Allocations::bytesKeptBy([&] { map.insert(entries.begin(), entries.end()); });
    ASSERT_EQ(map.size(), KEYS);
    EXPECT_GE(inStore / KEYS, 100U);
    EXPECT_LE(inStore, inMap);
}

TEST(ALiveValue, TakesAtMostSevenHundredBytes) {
    const auto entries = makeEntries();
    const auto factory = std::make_shared<UnifiedFactory>(nullptr, nullptr);
    ConfigServiceImpl service(factory);
    const std::size_t bytes = Allocations::bytesKeptBy([&] {
        for (const auto& [key, value] : entries) {
            service.OnConfigChanged(key, value, value, false, true, L"LocalFileConfigStore", L"LocalFileConfigStore",
                                    false);
        }
    });
    EXPECT_GE(bytes / KEYS, 200U);
    EXPECT_LE(bytes, 700 * KEYS);
}

/// Live values of a host whose dispatcher thread is the test's.
class AReadOfALiveValue : public ::testing::Test {
protected:
    ~AReadOfALiveValue() override { factory_->clear(); }

    std::shared_ptr<ConfigValue> makeLive(const std::wstring& key, const std::wstring& value) {
        service_.OnConfigChanged(key, value, value, true, true, L"LocalFileConfigStore", L"LocalFileConfigStore",
                                 false);
        return service_.getConfig(key);
    }

    static Allocations::Sum askedForByRead(const std::shared_ptr<ConfigValue>& value, const std::wstring& expected) {
        std::wstring text;
        const auto sum = Allocations::askedForBy([&] { text = value->getValue(); });
        EXPECT_EQ(text, expected);
        return sum;
    }

private:
    const std::shared_ptr<UnifiedFactory> factory_ =
        std::make_shared<UnifiedFactory>(std::make_shared<fakes::HandSteppedDispatcher>(), nullptr);
    ConfigServiceImpl service_{factory_};
};

TEST_F(AReadOfALiveValue, AllocatesNothingBeyondTheReturnedText) {
    const std::wstring text(40, L'v');
    const auto value = makeLive(L"Telephony_Theme", text);
    const auto copy = Allocations::askedForBy([&] { const std::wstring other(text); });
    ASSERT_EQ(copy.blocks, 1U);
    for (int turn = 0; turn < 3; ++turn) {
        const auto read = askedForByRead(value, text);
        EXPECT_EQ(read.blocks, 1U);
        EXPECT_EQ(read.bytes, copy.bytes);
    }
}

TEST_F(AReadOfALiveValue, AllocatesNothingForATextThatLiesInTheStringItself) {
    EXPECT_EQ(askedForByRead(makeLive(L"Telephony_Theme", L"on"), L"on").blocks, 0U);
    EXPECT_EQ(askedForByRead(makeLive(L"Telephony_Other", L""), L"").blocks, 0U);
}

}  // namespace
