#pragma once

#include <array>
#include <string>

/// The names of keys, files and stores, in one table. Keys are wide, file and store names narrow, but for the two wide
/// store names; spellings are part of the interface.
///
/// Every source file that includes this holds a copy of its own, so a static initialiser may use these values of its
/// own file and no other's.
namespace ConfigStoreConstants {

const std::string LOCAL_FILE_CONFIG_STORE_FILE_NAME = "corvidLocalConfig.xml";
const std::string LEGACY_TFTP_CACHE_FILE_NAME = "corvid-config.xml";
const std::string DEFAULT_CONFIG_STORE_FILE_NAME = "corvid-config-defaults.xml";
const std::string TFTP_OVERRIDE_FILE_NAME = "corvid-config-user.xml";
const std::string REGISTRY_CONFIG_PATH = "Policies\\Ardent Systems, Inc.\\Unified Communications\\ArdentUC";
const std::string HTTP_PROTOCOL_STRING = "http://";
const std::string HUBM_TFTP_PORT_STRING = ":6970/";
const std::string HTTPS_PROTOCOL_STRING = "https://";
const std::string HUBM_SECURE_TFTP_PORT_STRING = ":6972/";
const std::wstring HOME_UDS_VERSION = L"HomeUdsVersion";
const std::wstring TFTP_SERVER_1_KEY = L"TFTPPrimaryServer";
const std::wstring TFTP_SERVER_2_KEY = L"TFTPBackupServer1";
const std::wstring TFTP_SERVER_3_KEY = L"TFTPBackupServer2";
const std::wstring CONFIGURATION_FILE_KEY = L"configurationfile";
const std::wstring VOICEMAIL_SERVER_1_KEY = L"VVM_Mailstore_Server_0";
const std::wstring HUBCIP_SERVER_1_KEY = L"HubcipServer1";
const std::wstring HUBCIP_SERVER_2_KEY = L"HubcipServer2";
const std::wstring HUBCIP_SERVER_3_KEY = L"HubcipServer3";
const std::wstring CTI_SERVER_1_KEY = L"CtiServer1";
const std::wstring CUSTOMIZE_VOICEMAIL_SERVER = L"Customize_Voicemail_Server";
const std::wstring CUSTOMIZE_PHONE_SERVER = L"Customize_Phone_Server";
const std::string CACHE_STORE_DIRECTORY_STRING = "Cache";
const std::wstring PRIMARY_CONFIG_STORES_KEY = L"PrimaryConfigStores";
const std::wstring DEFAULT_TFTP_CONFIGURATION_FILE_NAME = L"corvid-config.xml";
const std::wstring AD_PASSWORD_KEY = L"connectionpassword";
const std::wstring AD_USERNAME_KEY = L"connectionusername";
const std::wstring BDI_CONNECTION_PASSWORD_STRING = L"BDIConnectionPassword";
const std::wstring BDI_CONNECTION_USERNAME_STRING = L"BDIConnectionUsername";
const std::wstring BDI_CONNECTION_USERDN_STRING = L"BDIConnectionUserDn";
const std::wstring PASSWORD_REPLACEMENT_STRING = L"*******";
const std::wstring ALLOW_URL_PROVISIONING_KEY = L"AllowUrlProvisioning";
const std::string TFTP_CONFIG_STORE_NAME = "TFTPConfigStore";
const std::string REGISTRY_CONFIG_STORE_NAME = "RegistryConfigStore";
const std::wstring AUCILYNC_REGISTRY_CONFIG_STORE_NAME = L"AUCILyncRegistryConfigStore";
const std::string BOOTSTRAP_STORE_NAME = "BootstrapConfigStore";
const std::string LOCAL_FILE_STORE_NAME = "LocalFileConfigStore";
const std::string TFTP_OVERRIDE_CONFIG_STORE_NAME = "TftpOverrideConfigStore";
const std::wstring PRESENCE_CONFIG_STORE_NAME = L"PresenceConfigStore";
const std::string IN_MEMORY_CONFIG_STORE_NAME = "InMemoryConfigStore";
const std::string URL_PROVISIONING_CONFIG_STORE_NAME = "UrlProvisioningConfigStore";
const std::string CHAINED_STORE_FILE_NAME = "chainedConfigStores.xml";
const std::wstring SENSITIVE_VALUE_REPLACEMENT = L"VALUE_HIDDEN";
const std::wstring ADDTIONAL_INFO = L"Addtional_Info";
const std::wstring certificateValidationEnabled = L"CertificateValidationEnabled";
const std::wstring PRODUCT_MODE_KEY = L"ProductMode";
const std::wstring PHONE_MODE = L"Phone_Mode";
const std::wstring HCM_PREFIX = L"Hcm";
const std::wstring TFTP_PREFIX = L"Tftp";

/// The only keys that a provisioning link can set.
const std::array<std::wstring, 14> URL_PROVISIONING_CONFIG_KEY_ARRAY = {
    L"ServicesDomain",
    L"VoiceServicesDomain",
    L"ServiceDiscoveryExcludedServices",
    L"ServicesDomainSsoEmailPrompt",
    L"Telephony_Enabled",
    L"TelemetryEnabled",
    L"sso_enabled",
    L"EdgeSsoPrecedence",
    L"Meetings_Enabled",
    L"Telephony_P2P_Enabled",
    L"alphap2penabled",
    L"InvalidCertificateBehavior",
    L"EnablePRTEncryption",
    L"PRTCertificateName",
};

}  // namespace ConfigStoreConstants
