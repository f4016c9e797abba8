#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ChainFixture.h"
#include "chain/SensitiveKeySecuringUtility.h"
#include "quill/StringUtils.h"
#include "tessel/StringEncryptionFacility.h"

namespace {

using testing::ElementsAre;

/// The clear text behind an enciphered value; "(none)" if it is no such value.
std::wstring decipher(const std::wstring& value) {
    const auto clearText =
        tessel::StringEncryptionFacility::decodeEncryptedString(QuillCoreUtils::toString(value)).reveal();
    return clearText.has_value() ? QuillCoreUtils::toWideString(*clearText) : L"(none)";
}

TEST(SensitiveKeySecuringUtility, KnowsTwoKeysInOrder) {
    EXPECT_EQ(SensitiveKeySecuringUtility::EDI_PSW_KEY, L"ConnectionPassword");
    EXPECT_EQ(SensitiveKeySecuringUtility::BDI_PSW_KEY, L"BDIConnectionPassword");
    EXPECT_THAT(SensitiveKeySecuringUtility::WELL_KNOWN_SENSITIVE_KEYS,
                ElementsAre(L"ConnectionPassword", L"BDIConnectionPassword"));
}

TEST(SensitiveKeySecuringUtility, EnciphersBothKeysInAnyCase) {
    ConfigMap map = {{L"connectionpassword", L"first"}, {L"bdiCONNECTIONpassword", L"second"}};
    SensitiveKeySecuringUtility::secureWellKnownSensitiveKeys(map);
    EXPECT_NE(map[L"ConnectionPassword"], L"first");
    EXPECT_EQ(decipher(map[L"ConnectionPassword"]), L"first");
    EXPECT_NE(map[L"BDIConnectionPassword"], L"second");
    EXPECT_EQ(decipher(map[L"BDIConnectionPassword"]), L"second");
    EXPECT_EQ(map.size(), 2u);
}

TEST(SensitiveKeySecuringUtility, LeavesOtherKeysAloneHoweverSensitive) {
    ConfigMap map = {{L"ConnectionUsername", L"me"}, {L"domain", L"example.com"}};
    const ConfigMap before = map;
    SensitiveKeySecuringUtility::secureWellKnownSensitiveKeys(map);
    EXPECT_EQ(map, before);
}

TEST(SensitiveKeySecuringUtility, LeavesAnEmptyMapEmpty) {
    ConfigMap map;
    SensitiveKeySecuringUtility::secureWellKnownSensitiveKeys(map);
    EXPECT_TRUE(map.empty());
}

TEST(SensitiveKeySecuringUtility, EnciphersAnEmptyPasswordToo) {
    ConfigMap map = {{L"ConnectionPassword", L""}};
    SensitiveKeySecuringUtility::secureWellKnownSensitiveKeys(map);
    EXPECT_NE(map[L"ConnectionPassword"], L"");
    EXPECT_EQ(decipher(map[L"ConnectionPassword"]), L"");
}

TEST(SensitiveKeySecuringUtility, KeepsTextBeyondAsciiUnchanged) {
    ConfigMap map = {{L"ConnectionPassword", L"p\u00e4ss\u2603\U0001F511"}};
    SensitiveKeySecuringUtility::secureKey(*map.begin());
    EXPECT_EQ(decipher(map[L"ConnectionPassword"]), L"p\u00e4ss\u2603\U0001F511");
}

TEST(SensitiveKeySecuringUtility, GivesOneTextTwoEncipheredForms) {
    ConfigMap first = {{L"ConnectionPassword", L"secret"}};
    ConfigMap second = first;
    SensitiveKeySecuringUtility::secureKey(*first.begin());
    SensitiveKeySecuringUtility::secureKey(*second.begin());
    EXPECT_NE(first[L"ConnectionPassword"], second[L"ConnectionPassword"]);
}

class SensitiveKeys : public ChainFixture {};

TEST_F(SensitiveKeys, AreKnownInAnyCase) {
    manager.setKeySensitive(L"Password");
    EXPECT_TRUE(manager.isKeySensitive(L"PASSWORD"));
    EXPECT_TRUE(manager.isKeySensitive(L"password"));
    EXPECT_FALSE(manager.isKeySensitive(L"passwords"));
}

TEST_F(SensitiveKeys, AreNoneAtTheStart) { EXPECT_FALSE(manager.isKeySensitive(L"ConnectionPassword")); }

TEST_F(SensitiveKeys, AreMarkedBeforeTheObserversHearOfIt) {
    bool marked = false;
    observer.onReport([&](const fakes::ManagerReport& report) { marked = manager.isKeySensitive(report.key); });
    manager.setKeySensitive(L"password");
    EXPECT_TRUE(marked);
}

TEST_F(SensitiveKeys, StayInClearTextInTheStore) {
    const auto user = makeStore("User", 100);
    addQuietly({user});
    manager.setKeySensitive(L"pin");
    manager.storeValue(L"pin", L"1234");
    EXPECT_EQ(valueOf(L"pin"), L"1234");
}

}  // namespace
