#include "validating/KnownKeys.h"

#include "ConfigStoreConstants.h"
#include "chain/ConfigKeyAliasesMapper.h"
#include "quill/StringUtils.h"
#include "validating/Validation.h"

using namespace corvidctl;
using testing::Optional;
using testing::StrEq;

TEST(KnownKeys, HasEveryKeyOfTheShippedFiles) {
    const KnownKeys known;
    const std::string data = CORVID_DATA_DIRECTORY;
    for (const char* const file : {"/corvid-config-defaults.xml", "/bootstrap.properties",
                                   "/sample/corvid-config-user.xml", "/sample/corvidLocalConfig.xml",
                                   "/sample/Cache/cachedTFTPConfigStore.xml", "/sample-server/corvid-config.xml"}) {
        const ValidationView view = validateFile(data + file, false);
        EXPECT_FALSE(view.entries.empty()) << file;
        for (const ValidationView::Entry& entry : view.entries) {
            EXPECT_TRUE(known.contains(QuillCoreUtils::toWideString(entry.key))) << file << ": " << entry.key;
        }
    }
}

TEST(KnownKeys, HasWhatLinksCanSetAndBothNamesOfRenamedKeys) {
    const KnownKeys known;
    for (const std::wstring& key : ConfigStoreConstants::URL_PROVISIONING_CONFIG_KEY_ARRAY) {
        EXPECT_TRUE(known.contains(key));
    }
    ConfigMap currentNames;
    ConfigMap oldNames;
    ConfigKeyAliasesMapper::GetConfigKeyAliases(currentNames, oldNames);
    for (const auto& [oldName, currentName] : currentNames) {
        EXPECT_TRUE(known.contains(oldName));
        EXPECT_TRUE(known.contains(currentName));
        EXPECT_EQ(known.currentNameOf(oldName), currentName);
        EXPECT_EQ(known.currentNameOf(currentName), std::nullopt);
    }
}

TEST(KnownKeys, LeavesCaseAlone) {
    const KnownKeys known;
    EXPECT_TRUE(known.contains(L"telephony_ENABLED"));
    EXPECT_EQ(known.currentNameOf(L"TFTPSERVER1"), L"TFTPPrimaryServer");
    EXPECT_TRUE(KnownKeys::isAlwaysSensitive(L"CONNECTIONPASSWORD"));
}

TEST(KnownKeys, FindsTheKeyThatWasMeant) {
    const KnownKeys known;
    EXPECT_THAT(known.meantBy(L"VoicemailPollingInterval"), Optional(StrEq("VoicmeailPollingInterval")));
    EXPECT_THAT(known.meantBy(L"TelephonyEnabled"), Optional(StrEq("Telephony_Enabled")));
    EXPECT_THAT(known.meantBy(L"certificatevalidationenable"), Optional(StrEq("CertificateValidationEnabled")));
    EXPECT_THAT(known.meantBy(L"Additional_Info"), Optional(StrEq("Addtional_Info")));
}

TEST(KnownKeys, TakesAKeyOfAnotherModuleAsItIs) {
    const KnownKeys known;
    EXPECT_EQ(known.meantBy(L"FavouriteColour"), std::nullopt);
    EXPECT_EQ(known.meantBy(L""), std::nullopt);
    EXPECT_EQ(known.meantBy(L"telephony_enabled"), std::nullopt);
}

TEST(KnownKeys, TakesAnotherNumberForAnotherKey) {
    const KnownKeys known;
    EXPECT_EQ(known.meantBy(L"HubcipServer4"), std::nullopt);
    EXPECT_EQ(known.meantBy(L"CtiServer12"), std::nullopt);
    EXPECT_THAT(known.meantBy(L"HubcpServer4"), testing::Ne(std::nullopt));
}

TEST(KnownKeys, NamesThePasswordsThatAreEnciphered) {
    EXPECT_TRUE(KnownKeys::isEncipheredOnDownload(L"bdiconnectionpassword"));
    EXPECT_TRUE(KnownKeys::isEncipheredOnDownload(L"ConnectionPassword"));
    EXPECT_FALSE(KnownKeys::isEncipheredOnDownload(L"BDIConnectionUsername"));
    EXPECT_TRUE(KnownKeys::isAlwaysSensitive(L"BDIConnectionUsername"));
    EXPECT_FALSE(KnownKeys::isAlwaysSensitive(L"ContactSearchToken"));
}
