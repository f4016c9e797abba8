#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "Comparison.h"

namespace simulation {
namespace {

constexpr const char* overrideFile = "config/corvid-config-user.xml";
constexpr const char* usersFile = "config/corvidLocalConfig.xml";
constexpr const char* linksFile = "config/Cache/cachedUrlProvisioningConfigStore.xml";
constexpr const char* serversCopy = "config/Cache/cachedTFTPConfigStore.xml";
constexpr const char* propertiesFile = "install/bootstrap.properties";
constexpr const char* defaultsFile = "install/corvid-config-defaults.xml";

/// @param files their contents by their names.
/// @param steps what is done after the start.
/// @return where a module that starts over them is not as the model says; empty if nowhere.
std::string differenceOfAStartOver(const std::map<std::string, std::string>& files,
                                   const std::vector<Step>& steps = {Step{}}) {
    Comparison comparison;
    comparison.prepare = [&files](fakes::ScopedWorld& world) {
        for (const auto& [name, contents] : files) {
            world.directory().write(name, contents);
        }
    };
    const auto difference = firstDifference(steps, comparison);
    return difference ? difference->text : "";
}

TEST(AStart, TellsOfDefaultsUnderAnOldNameWithTheUsersOwnValue) {
    EXPECT_EQ(differenceOfAStartOver(
                  {{usersFile, R"(<Corvid><userConfig name="VoicemailPrimaryServer" value="user's"/></Corvid>)"},
                   {defaultsFile, R"(<Corvid><userConfig name="VVM_Mailstore_Server_0" value="old"/></Corvid>)"}}),
              "");
}

TEST(AStart, NamesALiveValueAsTheFirstStoreSpellsIt) {
    EXPECT_EQ(differenceOfAStartOver({{propertiesFile, "PrimaryConfigStores: TFTPConfigStore:240;\n"},
                                      {linksFile, "<r><g><primaryconfigstores>a:1;</primaryconfigstores></g></r>"},
                                      {serversCopy, "<r><g><PRIMARYCONFIGSTORES>b:1;</PRIMARYCONFIGSTORES></g></r>"}}),
              "");
    EXPECT_EQ(differenceOfAStartOver(
                  {{usersFile, R"(<Corvid><userConfig name="vvm_mailstore_server_0" value="user's"/></Corvid>)"},
                   {overrideFile, "<r><g><voicemailprimaryserver>administrator's</voicemailprimaryserver></g></r>"}}),
              "");
}

TEST(AStart, TakesLettersBeyondAsciiForOneInBothCases) {
    EXPECT_EQ(
        differenceOfAStartOver({{usersFile, "<Corvid><userConfig name=\"gr\u00fc\u00dfe\" value=\"user's\"/>"
                                            "<userConfig name=\"\u03c3\u03b1\u03c2\" value=\"user's\"/></Corvid>"},
                                {propertiesFile, "GR\u00dc\u00dfE: installer's\n\u03a3\u0391\u03a3: installer's\n"}}),
        "");
}

TEST(AStart, LeavesALiveValueOfWhatAPolicyHasErased) {
    const std::string policy = R"(<Corvid><userConfig name="Customize_Phone_Server" value="false"/></Corvid>)";
    EXPECT_EQ(differenceOfAStartOver({{usersFile, R"(<Corvid><userConfig name="CtiServer1" value="user's"/></Corvid>)"},
                                      {defaultsFile, policy}}),
              "");
    // Beside a key that the second reader leaves to the store.
    EXPECT_EQ(differenceOfAStartOver({{usersFile, "<Corvid><userConfig name=\"Gr\u00fc\u00dfe\" value=\"\"/>"
                                                  "<userConfig name=\"CtiServer1\" value=\"user's\"/></Corvid>"},
                                      {defaultsFile, policy}}),
              "");
}

TEST(AStart, TakesThePresenceStoreOutOfTheListInPhoneMode) {
    for (const char* const list : {"PresenceConfigStore:100;", "A:600;presenceconfigSTORE:100;TFTPConfigStore:20",
                                   "PresenceConfigStore:1:2;", "A:60\x1c;PresenceConfigStore:100;b\x01:20;"}) {
        const std::string properties = std::string("PRIMARYConfigStores: ") + list + "\nProductMode: phone_MODE\n";
        EXPECT_EQ(differenceOfAStartOver({{propertiesFile, properties}}), "") << list;
    }
}

TEST(AStart, MakesStoresThatAllHidePeerToPeerCallsUnderFips) {
    Step fips;
    fips.kind = StepKind::SwitchFips;
    fips.on = true;
    Step write;
    write.kind = StepKind::Store;
    write.key = L"telephony_p2p_enabled";
    write.text = L"true";
    const std::string serversForm = "<r><g><telephony_p2p_enabled>true</telephony_p2p_enabled></g></r>";
    const std::string usersForm = R"(<Corvid><userConfig name="telephony_p2p_enabled" value="true"/></Corvid>)";
    const std::string list = "PrimaryConfigStores: TFTPConfigStore:240;\n";
    for (const std::map<std::string, std::string>& files :
         std::vector<std::map<std::string, std::string>>{{{overrideFile, serversForm}},
                                                         {{linksFile, serversForm}},
                                                         {{serversCopy, serversForm}, {propertiesFile, list}},
                                                         {{propertiesFile, "telephony_p2p_enabled: true\n"}},
                                                         {{defaultsFile, usersForm}}}) {
        EXPECT_EQ(differenceOfAStartOver(files, {fips, write}), "") << files.begin()->first;
    }
}

TEST(AStart, PutsStoresMadeAnewBehindCopiesOfTheSamePriority) {
    EXPECT_EQ(differenceOfAStartOver({{propertiesFile, "PrimaryConfigStores: B:600;PresenceConfigStore:600;a:600;"
                                                       "C:20;TFTPConfigStore:10;D:500;E:2147483647;\n"},
                                      {serversCopy, "<r><g><theme>copy's</theme></g></r>"},
                                      {overrideFile, "<r><g><theme>administrator's</theme></g></r>"}}),
              "");
}

}  // namespace
}  // namespace simulation
