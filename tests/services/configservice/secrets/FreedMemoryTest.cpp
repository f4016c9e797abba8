#include "support/FreedMemory.h"

#include <optional>

#include "../stores/StoreTestSupport.h"
#include "chain/ConfigStoreManager.h"
#include "chain/SensitiveKeySecuringUtility.h"
#include "fakes/TemporaryDirectory.h"
#include "stores/BootstrapConfigStore.h"
#include "xml/XmlFileWriter.h"

using support::blocksLeftBy;

namespace storetests {
namespace {

// Beyond ASCII, since a text that grows while it is narrowed leaves its first part behind.
constexpr std::wstring_view wideSecret = L"\u2603\u2603 hunter22 is the password \u2603\u2603\u2603\u2603\u2603";

TEST(FreedMemory, IsWatched) {
    EXPECT_GT(blocksLeftBy([] { QuillCoreUtils::toString(wideSecret); }), 0);
    EXPECT_GT(blocksLeftBy([] { std::wstring copy(wideSecret); }), 0);
}

TEST(FreedMemory, HoldsNoSecretThatWasEnciphered) {
    ConfigMap map = {{L"ConnectionPassword", std::wstring(wideSecret)}, {L"other", L"1"}};
    EXPECT_EQ(blocksLeftBy([&map] { SensitiveKeySecuringUtility::secureWellKnownSensitiveKeys(map); }), 0);
    EXPECT_NE(map[L"ConnectionPassword"], wideSecret);
}

TEST(FreedMemory, HoldsNoSecretThatWasReadFromADocument) {
    const std::string secret = QuillCoreUtils::toString(wideSecret);
    const std::string document = serverDocument("<ConnectionPassword>\n" + secret + "<![CDATA[" + secret + "]]>" +
                                                std::string(100, 'x') + "</ConnectionPassword>");
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    EXPECT_EQ(blocksLeftBy([&] { XmlConfigParser::readFromMemory(document, values, sensitiveKeys); }), 0);
    EXPECT_EQ(values[L"ConnectionPassword"].find(wideSecret), 0U);
}

TEST(FreedMemory, HoldsNoSecretOfADocumentThatTurnsOutBroken) {
    const std::string secret = QuillCoreUtils::toString(wideSecret);
    const std::string document = "<r><G><ConnectionPassword>" + secret + "</ConnectionPassword><a>" + secret +
                                 "</a><b> " + secret + "<![CDATA[x]]></b></G></q>";
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    EXPECT_EQ(blocksLeftBy([&] { XmlConfigParser::readFromMemory(document, values, sensitiveKeys); }), 0);
    EXPECT_TRUE(values.empty());
}

TEST(FreedMemory, HoldsNoSecretOfAnEntryThatIsPassedOver) {
    const std::string secret = QuillCoreUtils::toString(wideSecret);
    const std::string document = serverDocument("<a>1</a><A>" + secret + "</A>");
    ConfigMap values;
    SensitiveKeySet sensitiveKeys;
    EXPECT_EQ(blocksLeftBy([&] { XmlConfigParser::readFromMemory(document, values, sensitiveKeys); }), 0);
    EXPECT_EQ(values.size(), 1U);
}

TEST(FreedMemory, HoldsNoSecretOfTheInstallersFile) {
    const std::string secret = QuillCoreUtils::toString(wideSecret);
    const std::string tail(200, 't');
    const fakes::TemporaryDirectory folder;
    // The second one is more than is read at a time.
    for (const std::size_t others : {0U, 10000U}) {
        const std::string file = folder.write(
            "bootstrap", "ConnectionPassword: " + secret + "\n#" + secret + "\nurl: h:" + secret + ":1:" + tail +
                             "\nthe password hunter22 is here without a colon\nother: " + std::string(others, 'x') +
                             "\n");
        std::optional<BootstrapConfigStore> store;
        EXPECT_EQ(blocksLeftBy([&] { store.emplace("BootstrapConfigStore", file, 500); }), 0);
        EXPECT_EQ(valueOf(*store, L"ConnectionPassword"), wideSecret);
        EXPECT_EQ(valueOf(*store, L"url"),
                  L"h:" + std::wstring(wideSecret) + L":1:" + QuillCoreUtils::toWideString(tail));
        EXPECT_EQ(valueOf(*store, L"the password hunter22 is here without a colon"), L"");
    }
}

// A string keeps so short a part of a line within itself, and leaves it behind when it is moved.
TEST(FreedMemory, HoldsNoShortSecretAmongManyColonsOfTheInstallersFile) {
    const fakes::TemporaryDirectory folder;
    const std::string file = folder.write("bootstrap", "ConnectionPassword:a:x hunter22 is:b:c:d\n");
    std::optional<BootstrapConfigStore> store;
    EXPECT_EQ(blocksLeftBy([&] { store.emplace("BootstrapConfigStore", file, 500); }), 0);
    EXPECT_EQ(valueOf(*store, L"ConnectionPassword"), L"a:x hunter22 is:b:c:d");
}

TEST(FreedMemory, HoldsNoSecretThatALaterLineOfTheInstallersFileReplaces) {
    const std::string secret = QuillCoreUtils::toString(wideSecret);
    const fakes::TemporaryDirectory folder;
    // One needs more room than the secret has, the other leaves most of that as it is.
    for (const std::string& later : {std::string(200, 'x'), std::string("x")}) {
        const std::string file =
            folder.write("bootstrap", "ConnectionPassword: " + secret + "\nconnectionpassword: " + later + "\n");
        std::optional<BootstrapConfigStore> store;
        EXPECT_EQ(blocksLeftBy([&] { store.emplace("BootstrapConfigStore", file, 500); }), 0);
        EXPECT_EQ(valueOf(*store, L"ConnectionPassword"), QuillCoreUtils::toWideString(later));
        EXPECT_EQ(store->getKeys(), std::vector<std::wstring>{L"ConnectionPassword"});
        EXPECT_EQ(blocksLeftBy([&] { store.reset(); }), 0);
    }
}

TEST(FreedMemory, HoldsNoSecretThatALinkBrought) {
    const std::wstring secret(wideSecret);
    const std::wstring link = L"corvid://setup?Other=" + secret + L"&ServicesDomain=" + secret + L"&ServicesDomain=" +
                              secret + L"&a=" + secret + L"=b";
    ConfigStoreManager manager(nullptr);
    ConfigMap values;
    EXPECT_EQ(blocksLeftBy([&] { manager.parseUrlProvisioningData(link, values); }), 0);
    EXPECT_EQ(values.size(), 1U);
    EXPECT_EQ(values[L"ServicesDomain"], secret);
}

TEST(FreedMemory, HoldsNoSecretOfADocumentThatWasWrittenOrGivenUp) {
    const fakes::TemporaryDirectory folder;
    for (const bool isFinished : {true, false}) {
        EXPECT_EQ(blocksLeftBy([&] {
                      XmlFileWriter writer(folder.path("document.xml"));
                      writer.startElement("r");
                      writer.writeElement("a", wideSecret);
                      EXPECT_EQ(isFinished && writer.finish(), isFinished);
                  }),
                  0);
    }
}

TEST(FreedMemory, HoldsNoSecretOfADocumentThatIsLongerThanWhatWaitsToBeWritten) {
    const fakes::TemporaryDirectory folder;
    EXPECT_EQ(blocksLeftBy([&] {
                  XmlFileWriter writer(folder.path("document.xml"));
                  writer.startElement("r");
                  for (const std::size_t length : {100U, 40000U, 100U, 200000U}) {
                      writer.writeElement("a", wideSecret);
                      writer.writeElement("b", std::wstring(length, L'x'));
                  }
                  EXPECT_TRUE(writer.finish());
              }),
              0);
}

TEST(FreedMemory, HoldsNoSecretThatIsLongerThanWhatWaitsToBeWritten) {
    const fakes::TemporaryDirectory folder;
    // Each of them becomes five letters.
    const std::wstring longSecret = std::wstring(wideSecret) + std::wstring(20000, L'&');
    const std::wstring longerSecret = longSecret + std::wstring(20000, L'&');
    EXPECT_EQ(blocksLeftBy([&] {
                  XmlFileWriter writer(folder.path("document.xml"));
                  writer.startElement("r");
                  writer.writeElement(std::string(3000, 'n'), wideSecret);
                  writer.writeElement("a", longSecret);
                  writer.writeElement("b", longerSecret);
                  EXPECT_TRUE(writer.finish());
              }),
              0);
}

TEST(FreedMemory, HoldsNoSecretThatWaitsToBeWrittenWhileTheRestFillsTheRoom) {
    const fakes::TemporaryDirectory folder;
    EXPECT_EQ(blocksLeftBy([&] {
                  XmlFileWriter writer(folder.path("document.xml"));
                  writer.startElement("r");
                  writer.writeElement("a", std::wstring(9000, L'x'));
                  writer.writeElement("b", wideSecret);
                  for (int element = 0; element < 700; ++element) {
                      writer.writeElement("c", std::wstring(100, L'x'));
                  }
                  EXPECT_TRUE(writer.finish());
              }),
              0);
}

}  // namespace
}  // namespace storetests
