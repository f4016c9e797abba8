#include "chain/ConfigKeyAliasesMapper.h"

#include <gtest/gtest.h>

#include "chain/ConfigStoreManager.h"

namespace {

const std::vector<std::pair<std::wstring, std::wstring>> RENAMES = {
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

class ConfigKeyAliases : public testing::Test {
protected:
    ConfigKeyAliases() { ConfigKeyAliasesMapper::GetConfigKeyAliases(aliases, legacy); }

    ConfigMap aliases;
    ConfigMap legacy;
    std::wstring name = L"left over";
    ConfigStoreManager manager{nullptr};
};

TEST_F(ConfigKeyAliases, HoldTheTwelveRenamesAndNoOther) {
    for (const auto& [oldName, currentName] : RENAMES) {
        EXPECT_EQ(aliases[oldName], currentName);
    }
    EXPECT_EQ(aliases.size(), RENAMES.size());
}

TEST_F(ConfigKeyAliases, HoldTheReverseOfEachRename) {
    for (const auto& [oldName, currentName] : RENAMES) {
        EXPECT_EQ(legacy[currentName], oldName);
    }
    EXPECT_EQ(legacy.size(), RENAMES.size());
}

TEST_F(ConfigKeyAliases, KeepTheSpellingOfBothNames) {
    for (const auto& [oldName, currentName] : RENAMES) {
        EXPECT_EQ(aliases.find(oldName)->first, oldName);
        EXPECT_EQ(legacy.find(currentName)->first, currentName);
    }
}

TEST_F(ConfigKeyAliases, AddToWhatTheMapsHold) {
    ConfigMap someAliases = {{L"mine", L"yours"}};
    ConfigMap someLegacy = {{L"theirs", L"ours"}};
    ConfigKeyAliasesMapper::GetConfigKeyAliases(someAliases, someLegacy);
    EXPECT_EQ(someAliases[L"mine"], L"yours");
    EXPECT_EQ(someLegacy[L"theirs"], L"ours");
    EXPECT_EQ(someLegacy[L"yours"], L"mine");
}

TEST_F(ConfigKeyAliases, ManagerKnowsEveryRenameBothWays) {
    for (const auto& [oldName, currentName] : RENAMES) {
        EXPECT_TRUE(manager.isKeyAlias(oldName, name));
        EXPECT_EQ(name, currentName);
        EXPECT_TRUE(manager.hasKeyAlias(currentName, name));
        EXPECT_EQ(name, oldName);
    }
    EXPECT_EQ(manager.getAliasMap().size(), RENAMES.size());
}

TEST_F(ConfigKeyAliases, IgnoreCase) {
    EXPECT_TRUE(manager.isKeyAlias(L"tftpserver1", name));
    EXPECT_EQ(name, L"TFTPPrimaryServer");
    EXPECT_TRUE(manager.hasKeyAlias(L"tftpPRIMARYserver", name));
    EXPECT_EQ(name, L"TftpServer1");
}

TEST_F(ConfigKeyAliases, SpellThePollingIntervalWrong) {
    EXPECT_TRUE(manager.hasKeyAlias(L"VoicmeailPollingInterval", name));
    EXPECT_EQ(name, L"VVM_Mailstore_PollingInterval");
    EXPECT_FALSE(manager.hasKeyAlias(L"VoicemailPollingInterval", name));
}

TEST_F(ConfigKeyAliases, CurrentNameIsNoAliasAndTheOtherNameIsEmptied) {
    EXPECT_FALSE(manager.isKeyAlias(L"TFTPPrimaryServer", name));
    EXPECT_EQ(name, L"");
}

TEST_F(ConfigKeyAliases, OldNameHasNoAliasAndTheOtherNameIsEmptied) {
    EXPECT_FALSE(manager.hasKeyAlias(L"TftpServer1", name));
    EXPECT_EQ(name, L"");
}

}  // namespace
