#include "validating/KnownKeys.h"

#include <algorithm>
#include <array>
#include <iterator>

#include "ConfigStoreConstants.h"
#include "chain/ConfigKeyAliasesMapper.h"
#include "chain/SensitiveKeySecuringUtility.h"
#include "quill/StringUtils.h"
#include "reading/Similar.h"

namespace corvidctl {

namespace {

using namespace ConfigStoreConstants;

std::vector<std::wstring> keysOfTheModule() {
    return {HOME_UDS_VERSION,
            TFTP_SERVER_1_KEY,
            TFTP_SERVER_2_KEY,
            TFTP_SERVER_3_KEY,
            CONFIGURATION_FILE_KEY,
            VOICEMAIL_SERVER_1_KEY,
            HUBCIP_SERVER_1_KEY,
            HUBCIP_SERVER_2_KEY,
            HUBCIP_SERVER_3_KEY,
            CTI_SERVER_1_KEY,
            CUSTOMIZE_VOICEMAIL_SERVER,
            CUSTOMIZE_PHONE_SERVER,
            PRIMARY_CONFIG_STORES_KEY,
            AD_PASSWORD_KEY,
            AD_USERNAME_KEY,
            BDI_CONNECTION_PASSWORD_STRING,
            BDI_CONNECTION_USERNAME_STRING,
            BDI_CONNECTION_USERDN_STRING,
            ALLOW_URL_PROVISIONING_KEY,
            ADDTIONAL_INFO,
            certificateValidationEnabled,
            PRODUCT_MODE_KEY};
}

/// Keys without a constant: those behind the switches of the services, and those of the shipped files.
constexpr auto FURTHER_KEYS = std::to_array<const wchar_t*>({
    L"Voicemail_Enabled",
    L"Meeting_Server_Address",
    L"Meeting_Server_Type",
    L"Meeting_Server_Address_Backup",
    L"Meeting_Server_Type_Backup",
    L"Meeting_Server_Address_Backup2",
    L"Meeting_Server_Type_Backup2",
    L"LastLoadedUserProfile",
    L"ContactSearchToken",
});

std::string withoutNumbers(const std::string& key) {
    std::string text;
    std::copy_if(key.begin(), key.end(), std::back_inserter(text),
                 [](char character) { return character < '0' || character > '9'; });
    return text;
}

bool differInNumbersAlone(const std::string& one, const std::string& other) {
    return QuillCoreUtils::caseInsensitiveStringEquals(withoutNumbers(one), withoutNumbers(other));
}

}  // namespace

KnownKeys::KnownKeys() {
    ConfigMap oldNames;
    ConfigKeyAliasesMapper::GetConfigKeyAliases(currentNames_, oldNames);
    // Current names come first: of two that are as close, the first is what was meant.
    for (const auto& [currentName, oldName] : oldNames) {
        add(currentName);
    }
    for (const std::wstring& key : keysOfTheModule()) {
        add(key);
    }
    for (const std::wstring& key : URL_PROVISIONING_CONFIG_KEY_ARRAY) {
        add(key);
    }
    for (const wchar_t* const key : FURTHER_KEYS) {
        add(key);
    }
    for (const auto& [oldName, currentName] : currentNames_) {
        add(oldName);
    }
}

void KnownKeys::add(const std::wstring& key) {
    if (keys_.insert(key).second) {
        names_.push_back(QuillCoreUtils::toString(key));
    }
}

bool KnownKeys::contains(const std::wstring& key) const { return keys_.count(key) != 0; }

std::optional<std::string> KnownKeys::meantBy(const std::wstring& key) const {
    if (contains(key)) {
        return std::nullopt;
    }
    const std::string name = QuillCoreUtils::toString(key);
    std::optional<std::string> meant = closest(name, names_);
    return meant && differInNumbersAlone(name, *meant) ? std::nullopt : meant;
}

std::optional<std::wstring> KnownKeys::currentNameOf(const std::wstring& key) const {
    const auto renamed = currentNames_.find(key);
    return renamed == currentNames_.end() ? std::nullopt : std::optional(renamed->second);
}

bool KnownKeys::isAlwaysSensitive(const std::wstring& key) {
    static const SensitiveKeySet keys = {ADDTIONAL_INFO,
                                         AD_PASSWORD_KEY,
                                         AD_USERNAME_KEY,
                                         BDI_CONNECTION_PASSWORD_STRING,
                                         BDI_CONNECTION_USERNAME_STRING,
                                         BDI_CONNECTION_USERDN_STRING};
    return keys.count(key) != 0;
}

bool KnownKeys::isEncipheredOnDownload(const std::wstring& key) {
    const auto& keys = SensitiveKeySecuringUtility::WELL_KNOWN_SENSITIVE_KEYS;
    return std::any_of(keys.begin(), keys.end(), [&key](const std::wstring& known) {
        return QuillCoreUtils::caseInsensitiveStringEquals(key, known);
    });
}

}  // namespace corvidctl
