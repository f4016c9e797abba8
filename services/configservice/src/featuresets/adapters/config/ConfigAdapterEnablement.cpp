#include "ConfigAdapter.h"
#include "EnablementRules.h"
#include "quill/StringUtils.h"

void ConfigAdapter::SetEnabledServices() {
    if (configStoreManager_ == nullptr) {
        return;
    }
    SetTelephonyEnabled();
    SetVoicemailEnabled();
    SetMeetingsEnabled();
}

bool ConfigAdapter::isExplicitlySet(const std::wstring& flagKey, const char* function) {
    std::wstring value;
    std::wstring storeName;
    bool usedOtherKeyName = false;
    // Only stores that the user cannot write: so the flag's own earlier result in memory is never read back.
    configStoreManager_->getValue(flagKey, value, storeName, usedOtherKeyName, true);
    if (onlyDefaultSpeaks(storeName)) {
        return false;
    }
    TesselLog(logger(), 4, __FILE__, __LINE__, function,
              flagKey + L" explicitly set to '" + value + L"' in the '" + storeName + L"' config store");
    return true;
}

std::wstring ConfigAdapter::readServer(const std::wstring& key) {
    std::wstring value;
    configStoreManager_->getValue(key, value, false);
    return value;
}

void ConfigAdapter::SetTelephonyEnabled() {
    if (isExplicitlySet(L"Telephony_Enabled", "SetTelephonyEnabled")) {
        return;
    }
    const std::wstring cti = readServer(L"CtiServer1");
    const std::wstring hubcip = readServer(L"HubCipServer1");
    const bool enabled = anyServerConfigured(cti, hubcip);
    TesselLog(logger(), 4, __FILE__, __LINE__, "SetTelephonyEnabled",
              std::string("Setting telephonyEnabled flag: ") + (enabled ? "1" : "0"));
    configStoreManager_->storeInMemoryValue(L"Telephony_Enabled", QuillCoreUtils::toWideString(enabled));
}

void ConfigAdapter::SetVoicemailEnabled() {
    if (isExplicitlySet(L"Voicemail_Enabled", "SetVoicemailEnabled")) {
        return;
    }
    const std::wstring primary = readServer(L"VoicemailPrimaryServer");
    const std::wstring mailstore = readServer(L"VVM_Mailstore_Server_0");
    const bool enabled = anyServerConfigured(primary, mailstore);
    TesselLog(logger(), 4, __FILE__, __LINE__, "SetVoicemailEnabled",
              std::string("Setting voicemailEnabled flag:") + (enabled ? "1" : "0"));
    configStoreManager_->storeInMemoryValue(L"Voicemail_Enabled", QuillCoreUtils::toWideString(enabled));
}

void ConfigAdapter::SetMeetingsEnabled() {
    if (isExplicitlySet(L"Meetings_Enabled", "SetMeetingsEnabled")) {
        return;
    }
    const std::wstring address = readServer(L"Meeting_Server_Address");
    const std::wstring type = readServer(L"Meeting_Server_Type");
    const std::wstring addressBackup = readServer(L"Meeting_Server_Address_Backup");
    const std::wstring typeBackup = readServer(L"Meeting_Server_Type_Backup");
    const std::wstring addressBackup2 = readServer(L"Meeting_Server_Address_Backup2");
    const std::wstring typeBackup2 = readServer(L"Meeting_Server_Type_Backup2");
    const bool enabled = meetingsServerSettingOk(address, type) || meetingsServerSettingOk(addressBackup, typeBackup) ||
                         meetingsServerSettingOk(addressBackup2, typeBackup2);
    TesselLog(logger(), 4, __FILE__, __LINE__, "SetMeetingsEnabled",
              std::string("Setting Meetings_Enabled flag: ") + (enabled ? "1" : "0"));
    configStoreManager_->storeInMemoryValue(L"Meetings_Enabled", QuillCoreUtils::toWideString(enabled));
}
