#pragma once

#include <array>
#include <string>

/// The names of keys, files and stores, in one table. Keys are wide, file and store names narrow, but for the two wide
/// store names; spellings are part of the interface.
///
/// Every source file that includes this holds a copy of its own, so a static initialiser may use these values of its
/// own file and no other's.
namespace ConfigStoreConstants {

/// The user's own file, in the configuration directory.
const std::string LOCAL_FILE_CONFIG_STORE_FILE_NAME = "corvidLocalConfig.xml";
/// A copy that former versions kept in the configuration directory; removed when found.
const std::string LEGACY_TFTP_CACHE_FILE_NAME = "corvid-config.xml";
/// The installation's defaults: the file in the installation directory, and the store's name.
const std::string DEFAULT_CONFIG_STORE_FILE_NAME = "corvid-config-defaults.xml";
/// The override file, in the configuration directory.
const std::string TFTP_OVERRIDE_FILE_NAME = "corvid-config-user.xml";
/// Where a store over a machine's registry looks; no store of this module does.
const std::string REGISTRY_CONFIG_PATH = "Policies\\Ardent Systems, Inc.\\Unified Communications\\ArdentUC";
/// Begins the address of a server's file, below version 11.
const std::string HTTP_PROTOCOL_STRING = "http://";
/// Port of a server's file over HTTP.
const std::string HUBM_TFTP_PORT_STRING = ":6970/";
/// Begins the address of a server's file, from version 11 on.
const std::string HTTPS_PROTOCOL_STRING = "https://";
/// Port of a server's file over HTTPS.
const std::string HUBM_SECURE_TFTP_PORT_STRING = ":6972/";
/// Key: the servers' version; asked for, and kept in memory, if no store has it.
const std::wstring HOME_UDS_VERSION = L"HomeUdsVersion";
/// Key: the server that is asked for the file first.
const std::wstring TFTP_SERVER_1_KEY = L"TFTPPrimaryServer";
/// Key: the server that is asked second.
const std::wstring TFTP_SERVER_2_KEY = L"TFTPBackupServer1";
/// Key: the server that is asked third.
const std::wstring TFTP_SERVER_3_KEY = L"TFTPBackupServer2";
/// Key: the name of the file on the server.
const std::wstring CONFIGURATION_FILE_KEY = L"configurationfile";
/// Key: the old name of "VoicemailPrimaryServer".
const std::wstring VOICEMAIL_SERVER_1_KEY = L"VVM_Mailstore_Server_0";
/// Key: a server that is asked for its version before all others; switches telephony on.
const std::wstring HUBCIP_SERVER_1_KEY = L"HubcipServer1";
/// Key: asked for its version second.
const std::wstring HUBCIP_SERVER_2_KEY = L"HubcipServer2";
/// Key: asked for its version third.
const std::wstring HUBCIP_SERVER_3_KEY = L"HubcipServer3";
/// Key: switches telephony on; the old name of "CTIPrimaryServer".
const std::wstring CTI_SERVER_1_KEY = L"CtiServer1";
/// Key, a policy: "false" erases the user's voicemail server.
const std::wstring CUSTOMIZE_VOICEMAIL_SERVER = L"Customize_Voicemail_Server";
/// Key, a policy: "false" erases the user's phone servers.
const std::wstring CUSTOMIZE_PHONE_SERVER = L"Customize_Phone_Server";
/// The folder of the cached copies, in the configuration directory.
const std::string CACHE_STORE_DIRECTORY_STRING = "Cache";
/// Key: of which stores a copy is kept, and the priority of each copy.
const std::wstring PRIMARY_CONFIG_STORES_KEY = L"PrimaryConfigStores";
/// The name of the file on the server if no store has another.
const std::wstring DEFAULT_TFTP_CONFIGURATION_FILE_NAME = L"corvid-config.xml";
/// Key, sensitive from the start; enciphered on download.
const std::wstring AD_PASSWORD_KEY = L"connectionpassword";
/// Key, sensitive from the start.
const std::wstring AD_USERNAME_KEY = L"connectionusername";
/// Key, sensitive from the start; enciphered on download.
const std::wstring BDI_CONNECTION_PASSWORD_STRING = L"BDIConnectionPassword";
/// Key, sensitive from the start.
const std::wstring BDI_CONNECTION_USERNAME_STRING = L"BDIConnectionUsername";
/// Key, sensitive from the start.
const std::wstring BDI_CONNECTION_USERDN_STRING = L"BDIConnectionUserDn";
/// What stands for a password where one is shown; this module writes SENSITIVE_VALUE_REPLACEMENT.
const std::wstring PASSWORD_REPLACEMENT_STRING = L"*******";
/// Key: "false" refuses provisioning links.
const std::wstring ALLOW_URL_PROVISIONING_KEY = L"AllowUrlProvisioning";
/// The store of the server's file.
const std::string TFTP_CONFIG_STORE_NAME = "TFTPConfigStore";
/// A store over a machine's registry; none of this module's.
const std::string REGISTRY_CONFIG_STORE_NAME = "RegistryConfigStore";
/// Another store over a machine's registry; none of this module's.
const std::wstring AUCILYNC_REGISTRY_CONFIG_STORE_NAME = L"AUCILyncRegistryConfigStore";
/// The store of the installer's properties file.
const std::string BOOTSTRAP_STORE_NAME = "BootstrapConfigStore";
/// The store of the user's own file.
const std::string LOCAL_FILE_STORE_NAME = "LocalFileConfigStore";
/// The store of the override file.
const std::string TFTP_OVERRIDE_CONFIG_STORE_NAME = "TftpOverrideConfigStore";
/// A store that another module adds; its joining waits for the server's file.
const std::wstring PRESENCE_CONFIG_STORE_NAME = L"PresenceConfigStore";
/// The store of the values of this run.
const std::string IN_MEMORY_CONFIG_STORE_NAME = "InMemoryConfigStore";
/// The store of what a provisioning link has set.
const std::string URL_PROVISIONING_CONFIG_STORE_NAME = "UrlProvisioningConfigStore";
/// A file that says which store waits for which. Nobody reads it: the one such pair is built in.
const std::string CHAINED_STORE_FILE_NAME = "chainedConfigStores.xml";
/// What stands for a sensitive value in logs and reports.
const std::wstring SENSITIVE_VALUE_REPLACEMENT = L"VALUE_HIDDEN";
/// Key, sensitive from the start. Spelt so.
const std::wstring ADDTIONAL_INFO = L"Addtional_Info";
/// Key that no document can set: what a server's file, an override file or a copy says for it is not heard.
const std::wstring certificateValidationEnabled = L"CertificateValidationEnabled";
/// Key: the mode of the client. In PHONE_MODE the presence store's cached copy is left out.
const std::wstring PRODUCT_MODE_KEY = L"ProductMode";
/// A value of PRODUCT_MODE_KEY.
const std::wstring PHONE_MODE = L"Phone_Mode";
/// Begins the names of one kind of stores.
const std::wstring HCM_PREFIX = L"Hcm";
/// Begins the names of the stores of servers' files.
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
