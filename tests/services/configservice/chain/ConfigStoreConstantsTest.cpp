#include <gtest/gtest.h>

#include <string>
#include <type_traits>

#include "ConfigStoreConstants.h"

namespace {

using namespace ConfigStoreConstants;

template <typename Expected, typename Actual>
void expectConstant(const Actual& actual, const Expected& expected) {
    static_assert(std::is_same_v<Expected, Actual>, "narrow and wide are part of the interface");
    EXPECT_EQ(actual, expected);
}

using N = std::string;
using W = std::wstring;

TEST(ConfigStoreConstants, NameTheFiles) {
    expectConstant(LOCAL_FILE_CONFIG_STORE_FILE_NAME, N("corvidLocalConfig.xml"));
    expectConstant(LEGACY_TFTP_CACHE_FILE_NAME, N("corvid-config.xml"));
    expectConstant(DEFAULT_CONFIG_STORE_FILE_NAME, N("corvid-config-defaults.xml"));
    expectConstant(TFTP_OVERRIDE_FILE_NAME, N("corvid-config-user.xml"));
    expectConstant(REGISTRY_CONFIG_PATH, N("Policies\\Ardent Systems, Inc.\\Unified Communications\\ArdentUC"));
    expectConstant(CACHE_STORE_DIRECTORY_STRING, N("Cache"));
    expectConstant(DEFAULT_TFTP_CONFIGURATION_FILE_NAME, W(L"corvid-config.xml"));
    expectConstant(CHAINED_STORE_FILE_NAME, N("chainedConfigStores.xml"));
}

TEST(ConfigStoreConstants, NameThePiecesOfADownloadAddress) {
    expectConstant(HTTP_PROTOCOL_STRING, N("http://"));
    expectConstant(HUBM_TFTP_PORT_STRING, N(":6970/"));
    expectConstant(HTTPS_PROTOCOL_STRING, N("https://"));
    expectConstant(HUBM_SECURE_TFTP_PORT_STRING, N(":6972/"));
}

TEST(ConfigStoreConstants, NameTheServerKeys) {
    expectConstant(HOME_UDS_VERSION, W(L"HomeUdsVersion"));
    expectConstant(TFTP_SERVER_1_KEY, W(L"TFTPPrimaryServer"));
    expectConstant(TFTP_SERVER_2_KEY, W(L"TFTPBackupServer1"));
    expectConstant(TFTP_SERVER_3_KEY, W(L"TFTPBackupServer2"));
    expectConstant(CONFIGURATION_FILE_KEY, W(L"configurationfile"));
    expectConstant(VOICEMAIL_SERVER_1_KEY, W(L"VVM_Mailstore_Server_0"));
    expectConstant(HUBCIP_SERVER_1_KEY, W(L"HubcipServer1"));
    expectConstant(HUBCIP_SERVER_2_KEY, W(L"HubcipServer2"));
    expectConstant(HUBCIP_SERVER_3_KEY, W(L"HubcipServer3"));
    expectConstant(CTI_SERVER_1_KEY, W(L"CtiServer1"));
}

TEST(ConfigStoreConstants, NameTheOtherKeys) {
    expectConstant(CUSTOMIZE_VOICEMAIL_SERVER, W(L"Customize_Voicemail_Server"));
    expectConstant(CUSTOMIZE_PHONE_SERVER, W(L"Customize_Phone_Server"));
    expectConstant(PRIMARY_CONFIG_STORES_KEY, W(L"PrimaryConfigStores"));
    expectConstant(ALLOW_URL_PROVISIONING_KEY, W(L"AllowUrlProvisioning"));
    expectConstant(certificateValidationEnabled, W(L"CertificateValidationEnabled"));
    expectConstant(PRODUCT_MODE_KEY, W(L"ProductMode"));
    expectConstant(PHONE_MODE, W(L"Phone_Mode"));
    expectConstant(HCM_PREFIX, W(L"Hcm"));
    expectConstant(TFTP_PREFIX, W(L"Tftp"));
}

TEST(ConfigStoreConstants, NameTheSensitiveKeysAndTheirMasks) {
    expectConstant(ADDTIONAL_INFO, W(L"Addtional_Info"));
    expectConstant(AD_PASSWORD_KEY, W(L"connectionpassword"));
    expectConstant(AD_USERNAME_KEY, W(L"connectionusername"));
    expectConstant(BDI_CONNECTION_PASSWORD_STRING, W(L"BDIConnectionPassword"));
    expectConstant(BDI_CONNECTION_USERNAME_STRING, W(L"BDIConnectionUsername"));
    expectConstant(BDI_CONNECTION_USERDN_STRING, W(L"BDIConnectionUserDn"));
    expectConstant(PASSWORD_REPLACEMENT_STRING, W(L"*******"));
    expectConstant(SENSITIVE_VALUE_REPLACEMENT, W(L"VALUE_HIDDEN"));
}

TEST(ConfigStoreConstants, NameTheStoresNarrowButForTwo) {
    expectConstant(TFTP_CONFIG_STORE_NAME, N("TFTPConfigStore"));
    expectConstant(REGISTRY_CONFIG_STORE_NAME, N("RegistryConfigStore"));
    expectConstant(AUCILYNC_REGISTRY_CONFIG_STORE_NAME, W(L"AUCILyncRegistryConfigStore"));
    expectConstant(BOOTSTRAP_STORE_NAME, N("BootstrapConfigStore"));
    expectConstant(LOCAL_FILE_STORE_NAME, N("LocalFileConfigStore"));
    expectConstant(TFTP_OVERRIDE_CONFIG_STORE_NAME, N("TftpOverrideConfigStore"));
    expectConstant(PRESENCE_CONFIG_STORE_NAME, W(L"PresenceConfigStore"));
    expectConstant(IN_MEMORY_CONFIG_STORE_NAME, N("InMemoryConfigStore"));
    expectConstant(URL_PROVISIONING_CONFIG_STORE_NAME, N("UrlProvisioningConfigStore"));
}

TEST(ConfigStoreConstants, ListTheKeysOfALinkInOrder) {
    expectConstant(URL_PROVISIONING_CONFIG_KEY_ARRAY,
                   std::array<W, 14>{L"ServicesDomain", L"VoiceServicesDomain", L"ServiceDiscoveryExcludedServices",
                                     L"ServicesDomainSsoEmailPrompt", L"Telephony_Enabled", L"TelemetryEnabled",
                                     L"sso_enabled", L"EdgeSsoPrecedence", L"Meetings_Enabled",
                                     L"Telephony_P2P_Enabled", L"alphap2penabled", L"InvalidCertificateBehavior",
                                     L"EnablePRTEncryption", L"PRTCertificateName"});
}

}  // namespace
