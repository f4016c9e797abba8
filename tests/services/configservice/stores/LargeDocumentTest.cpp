#include <limits>

#include "StoreTestSupport.h"
#include "stores/CacheConfigStore.h"
#include "stores/LocalFileConfigStore.h"
#include "stores/XmlConfigStore.h"
#include "xml/XmlDocument.h"

namespace storetests {
namespace {

constexpr std::size_t tenMegabytes = 10 * 1024 * 1024;
constexpr int manyEntries = 100000;

class LargeDocuments : public StoreTest {
protected:
    LocalFileConfigStore openLocal() const { return {"L", 20, world_.directory().path(), "local.xml", false, false}; }
};

ConfigMap manyValues() {
    ConfigMap values;
    for (int number = 0; number < manyEntries; ++number) {
        values[L"key" + std::to_wstring(number)] = L"value " + std::to_wstring(number);
    }
    return values;
}

TEST_F(LargeDocuments, OfAHundredThousandEntriesSurviveTheLocalFile) {
    LocalFileConfigStore store = openLocal();
    const ConfigMap values = manyValues();
    for (const auto& [key, value] : values) {
        store.storeValue(key, value);
    }
    store.persistValues();
    LocalFileConfigStore restarted = openLocal();
    EXPECT_TRUE(contentsOf(restarted) == plain(values));
}

TEST_F(LargeDocuments, OfAHundredThousandEntriesSurviveTheCache) {
    const ConfigMap values = manyValues();
    CacheConfigStore store("c", 240, path("c.xml"), values);
    CacheConfigStore restarted("c", 240, path("c.xml"));
    EXPECT_TRUE(contentsOf(restarted) == plain(values));
}

TEST_F(LargeDocuments, WithAValueOfTenMegabytesSurviveTheLocalFile) {
    const std::wstring large(tenMegabytes, L'x');
    LocalFileConfigStore store = openLocal();
    store.storeValue(L"large", large);
    store.storeValue(L"small", L"1");
    store.persistValues();
    LocalFileConfigStore restarted = openLocal();
    EXPECT_TRUE(valueOf(restarted, L"large") == large);
    EXPECT_EQ(valueOf(restarted, L"small"), L"1");
    EXPECT_FALSE(world_.directory().exists("local-backup.xml"));
}

TEST_F(LargeDocuments, WithALargeValueThatGrowsByEscapingSurviveTheLocalFile) {
    std::wstring large;
    while (large.size() < tenMegabytes) {
        large += L"<\u00fc&\"\n\U0001F600";
    }
    LocalFileConfigStore store = openLocal();
    store.storeValue(L"large", large);
    store.persistValues();
    LocalFileConfigStore restarted = openLocal();
    EXPECT_TRUE(valueOf(restarted, L"large") == large);
}

TEST_F(LargeDocuments, WithAValueOfTenMegabytesSurviveTheCache) {
    const std::wstring large(tenMegabytes, L'&');
    CacheConfigStore store("c", 240, path("c.xml"), ConfigMap{{L"large", large}, {L"small", L"1"}});
    CacheConfigStore restarted("c", 240, path("c.xml"));
    EXPECT_TRUE(valueOf(restarted, L"large") == large);
    EXPECT_EQ(valueOf(restarted, L"small"), L"1");
}

// Text that libxml2 hands on in pieces is what it would cut off.
std::string piecesOfText() {
    std::string text;
    while (text.size() < 2 * tenMegabytes) {
        text += "&amp;xxxxx";
    }
    return text;
}

TEST_F(LargeDocuments, AreNeverCutOffAfterALongText) {
    const std::string document = serverDocument("<a>" + piecesOfText() + "</a><b>2</b>");
    EXPECT_EQ(parse(document).at(L"b"), L"2");
    XmlConfigStore store("X", 10, false, write("c.xml", document), true);
    EXPECT_EQ(valueOf(store, L"a").size(), 2 * tenMegabytes / 10 * 6);
    EXPECT_EQ(valueOf(store, L"b"), L"2");
}

TEST_F(LargeDocuments, WithALongTextAndADocumentTypeAreRefused) {
    const std::string document = "<!DOCTYPE r []><r><G><a>" + piecesOfText() + "</a><b>2</b></G></r>";
    XmlConfigStore store("X", 10, false, write("c.xml", document), true);
    EXPECT_TRUE(store.getKeys().empty());
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    EXPECT_FALSE(XmlConfigParser::readFromMemory(document, values, sensitiveKeys));
}

TEST_F(LargeDocuments, ThatAreNotWellFormedAreStillSetAside) {
    const std::string broken = "<r><userConfig name='a' value='" + std::string(tenMegabytes, 'x') + "'/>";
    write("local.xml", broken);
    LocalFileConfigStore store = openLocal();
    EXPECT_TRUE(store.getKeys().empty());
    EXPECT_TRUE(read("local-backup.xml") == broken);
}

TEST_F(LargeDocuments, OfMoreBytesThanTheParserCanCountAreNotTouched) {
    constexpr std::size_t tooMany = std::size_t{std::numeric_limits<int>::max()} + 1;
    EXPECT_EQ(readXmlMemory(nullptr, tooMany, "document"), nullptr);
}

}  // namespace
}  // namespace storetests
