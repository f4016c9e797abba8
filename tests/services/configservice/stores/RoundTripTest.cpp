#include <algorithm>
#include <random>

#include "StoreTestSupport.h"
#include "stores/CacheConfigStore.h"
#include "stores/LocalFileConfigStore.h"

namespace storetests {
namespace {

/// Random maps; the seed is told when a test fails.
class RoundTrip : public StoreTest {
protected:
    RoundTrip()
        : seed_(std::random_device()()), trace_(__FILE__, __LINE__, "seed " + std::to_string(seed_)), random_(seed_) {
        RecordProperty("seed", std::to_string(seed_));
    }

    std::size_t upTo(std::size_t most) { return std::uniform_int_distribution<std::size_t>(0, most)(random_); }

    wchar_t anyUnit() {
        switch (upTo(7)) {
        case 0:
            return static_cast<wchar_t>(upTo(0x1F));
        case 1:
            return static_cast<wchar_t>(0xD800 + upTo(0x7FF));
        case 2:
            return static_cast<wchar_t>(0x1F300 + upTo(0x2FF));
        case 3:
            return L"<>&\"' \t\r\n"[upTo(8)];
        case 4:
            return static_cast<wchar_t>(0xFFF0 + upTo(0x1F));
        case 5:
            return static_cast<wchar_t>(upTo(0x110010));
        default:
            return static_cast<wchar_t>(0x20 + upTo(0x5E));
        }
    }

    std::wstring anyText(std::size_t longest) {
        std::wstring text(upTo(longest), L' ');
        std::generate(text.begin(), text.end(), [this] { return anyUnit(); });
        return text;
    }

    std::wstring anyName() {
        static const std::wstring first = L"abcXYZ_\u00e4\u0416";
        static const std::wstring later = first + L"0189-.";
        std::wstring name(1, first[upTo(first.size() - 1)]);
        for (std::size_t left = upTo(12); left > 0; --left) {
            name += later[upTo(later.size() - 1)];
        }
        return name;
    }

    const unsigned seed_;
    const testing::ScopedTrace trace_;
    std::mt19937 random_;
};

bool isXmlCharacter(wchar_t unit) {
    return unit == 9 || unit == 10 || unit == 13 || (unit >= 0x20 && unit < 0xD800) ||
           (unit >= 0xE000 && unit <= 0xFFFD) || (unit >= 0x10000 && unit <= 0x10FFFF);
}

std::wstring asXmlHoldsIt(std::wstring text) {
    for (wchar_t& unit : text) {
        unit = isXmlCharacter(unit) ? unit : L'\uFFFD';
    }
    return text;
}

TEST_F(RoundTrip, ThroughTheLocalFileKeepsEveryEntry) {
    for (int round = 0; round < 60; ++round) {
        const std::string name = "local" + std::to_string(round) + ".xml";
        LocalFileConfigStore store("L", 20, world_.directory().path(), name, false, false);
        for (std::size_t left = upTo(40); left > 0; --left) {
            store.storeValue(anyText(20), anyText(60));
        }
        ConfigMap expected;
        for (const std::wstring& key : store.getKeys()) {
            if (!key.empty()) {
                expected.emplace(QuillCoreUtils::toLowercase(asXmlHoldsIt(key)), asXmlHoldsIt(valueOf(store, key)));
            }
        }
        store.persistValues();
        LocalFileConfigStore restarted("L", 20, world_.directory().path(), name, false, false);
        ASSERT_EQ(contentsOf(restarted), plain(expected));
    }
}

TEST_F(RoundTrip, ThroughTheCacheKeepsEveryEntryButItsOuterWhiteSpace) {
    for (int round = 0; round < 60; ++round) {
        const std::string file = path("c" + std::to_string(round) + ".xml");
        ConfigMap values;
        for (std::size_t left = upTo(40); left > 0; --left) {
            values[anyName()] = anyText(60);
        }
        ConfigMap expected;
        for (const auto& [key, value] : values) {
            expected.emplace(QuillCoreUtils::toLowercase(key), QuillCoreUtils::trim(asXmlHoldsIt(value)));
        }
        CacheConfigStore store("c", 240, file, values);
        CacheConfigStore restarted("c", 240, file);
        ASSERT_EQ(contentsOf(restarted), plain(expected));
    }
}

}  // namespace
}  // namespace storetests
