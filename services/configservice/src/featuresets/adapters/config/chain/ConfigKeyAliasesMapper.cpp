#include "chain/ConfigKeyAliasesMapper.h"

namespace {

struct Rename {
    const wchar_t* oldName;
    const wchar_t* currentName;
};

// "VoicmeailPollingInterval" is how the key is spelt everywhere.
const Rename RENAMES[] = {
    {L"Start_Client_On_Start_OS", L"LaunchOnSystemStartup"},
    {L"TftpServer1", L"TFTPPrimaryServer"},
    {L"TftpServer2", L"TFTPBackupServer1"},
    {L"TftpServer3", L"TFTPBackupServer2"},
    {L"CtiServer1", L"CTIPrimaryServer"},
    {L"CtiServer2", L"CTIBackupServer"},
    {L"HubcipServer1", L"DeviceAuthenticationPrimaryServer"},
    {L"HubcipServer2", L"DeviceAuthenticationBackupServer"},
    {L"VVM_Mailstore_Server_0", L"VoicemailPrimaryServer"},
    {L"VVM_Mailstore_PollingInterval", L"VoicmeailPollingInterval"},
    {L"DockedWindowVisible", L"DockedWindow"},
    {L"contactListView", L"ShowContactPictures"},
};

}  // namespace

void ConfigKeyAliasesMapper::GetConfigKeyAliases(ConfigMap& aliasMap, ConfigMap& legacyMap) {
    for (const Rename& rename : RENAMES) {
        aliasMap[rename.oldName] = rename.currentName;
    }
    for (const auto& [oldName, currentName] : aliasMap) {
        legacyMap[currentName] = oldName;
    }
}
