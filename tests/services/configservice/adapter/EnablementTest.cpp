#include "AdapterFixture.h"

using testing::ElementsAre;
using testing::Not;

namespace {

class Enablement : public AdapterFixture {
protected:
    void injectWithDefaults() {
        writeDefaults({{"Telephony_Enabled", "d"}, {"Voicemail_Enabled", "d"}, {"Meetings_Enabled", "d"}});
        injectAndStart();
        log->clear();
    }

    std::wstring meetingsWith(const std::map<std::wstring, std::wstring>& servers) {
        adapter()->setConfig(servers);
        adapter()->SetEnabledServices();
        return get(L"Meetings_Enabled");
    }
};

}  // namespace

TEST_F(Enablement, IsWorkedOutInOrderAndLoggedWhenOnlyTheDefaultsSpeak) {
    injectWithDefaults();
    adapter()->SetEnabledServices();
    EXPECT_THAT(adapterLines(4), ElementsAre("SetTelephonyEnabled: Setting telephonyEnabled flag: 0",
                                             "SetVoicemailEnabled: Setting voicemailEnabled flag:0",
                                             "SetMeetingsEnabled: Setting Meetings_Enabled flag: 0"));
    for (const wchar_t* const key : {L"Telephony_Enabled", L"Voicemail_Enabled", L"Meetings_Enabled"}) {
        EXPECT_EQ(get(key), L"false");
        EXPECT_EQ(storeOf(key), L"InMemoryConfigStore");
    }
}

TEST_F(Enablement, ReadsItsKeysInThisOrderAndSpelling) {
    injectWithDefaults();
    adapter()->SetEnabledServices();
    std::vector<std::string> reads;
    for (const std::string& text : log->texts(5)) {
        if (text.rfind("key : [", 0) == 0) {
            reads.push_back(text.substr(7, text.find(']') - 7));
        }
    }
    // The report of each worked-out flag reads that flag once more.
    EXPECT_THAT(reads,
                ElementsAre("Telephony_Enabled", "CtiServer1", "HubCipServer1", "Telephony_Enabled",
                            "Voicemail_Enabled", "VoicemailPrimaryServer", "VVM_Mailstore_Server_0",
                            "Voicemail_Enabled", "Meetings_Enabled", "Meeting_Server_Address", "Meeting_Server_Type",
                            "Meeting_Server_Address_Backup", "Meeting_Server_Type_Backup",
                            "Meeting_Server_Address_Backup2", "Meeting_Server_Type_Backup2", "Meetings_Enabled"));
}

TEST_F(Enablement, IsTrueForConfiguredServers) {
    injectWithDefaults();
    adapter()->setConfig({{L"CtiServer1", L"c"}, {L"VoicemailPrimaryServer", L"v"}, {L"Meeting_Server_Address", L"m"}});
    adapter()->SetEnabledServices();
    EXPECT_THAT(adapterLines(4), ElementsAre("SetTelephonyEnabled: Setting telephonyEnabled flag: 1",
                                             "SetVoicemailEnabled: Setting voicemailEnabled flag:1",
                                             "SetMeetingsEnabled: Setting Meetings_Enabled flag: 1"));
    EXPECT_EQ(get(L"Telephony_Enabled"), L"true");
    EXPECT_EQ(get(L"Voicemail_Enabled"), L"true");
    EXPECT_EQ(get(L"Meetings_Enabled"), L"true");
}

TEST_F(Enablement, OfTelephonyTakesTheOtherServerToo) {
    injectWithDefaults();
    adapter()->setConfig(L"HubcipServer1", L"h");
    adapter()->SetEnabledServices();
    EXPECT_EQ(get(L"Telephony_Enabled"), L"true");
}

TEST_F(Enablement, OfVoicemailTakesTheOldNameToo) {
    injectWithDefaults();
    adapter()->setConfig(L"VVM_Mailstore_Server_0", L"v");
    adapter()->SetEnabledServices();
    EXPECT_EQ(get(L"Voicemail_Enabled"), L"true");
}

TEST_F(Enablement, TakesAnEmptyServerAsNone) {
    injectWithDefaults();
    adapter()->setConfig(L"CtiServer1", L"");
    adapter()->SetEnabledServices();
    EXPECT_EQ(get(L"Telephony_Enabled"), L"false");
}

TEST_F(Enablement, OfMeetingsTakesLumexInAnyCase) {
    injectWithDefaults();
    EXPECT_EQ(meetingsWith({{L"Meeting_Server_Address", L"m"}, {L"Meeting_Server_Type", L"LUMEX"}}), L"true");
}

TEST_F(Enablement, OfMeetingsRefusesAnotherType) {
    injectWithDefaults();
    EXPECT_EQ(meetingsWith({{L"Meeting_Server_Address", L"m"}, {L"Meeting_Server_Type", L"Other"}}), L"false");
}

TEST_F(Enablement, OfMeetingsTakesEitherBackup) {
    injectWithDefaults();
    EXPECT_EQ(meetingsWith({{L"Meeting_Server_Address", L"m"},
                            {L"Meeting_Server_Type", L"Other"},
                            {L"Meeting_Server_Address_Backup", L"m"},
                            {L"Meeting_Server_Type_Backup", L"Lumex"}}),
              L"true");
    EXPECT_EQ(meetingsWith({{L"Meeting_Server_Type_Backup", L"Other"},
                            {L"Meeting_Server_Address_Backup2", L"m"},
                            {L"Meeting_Server_Type_Backup2", L"Lumex"}}),
              L"true");
    EXPECT_EQ(meetingsWith({{L"Meeting_Server_Type_Backup2", L"Other"}}), L"false");
}

TEST_F(Enablement, ThatAnAdministratorSetIsLeftAloneAndLogged) {
    injectWithDefaults();
    const auto server = std::make_shared<fakes::ScriptedStore>("Server", 40);
    server->readOnly()
        .with(L"Telephony_Enabled", L"t")
        .with(L"Voicemail_Enabled", L"v")
        .with(L"Meetings_Enabled", L"m");
    adapter()->addConfigStore(server);
    adapter()->SetEnabledServices();
    EXPECT_THAT(adapterLines(4),
                ElementsAre("SetTelephonyEnabled: Telephony_Enabled explicitly set to 't' in the 'Server' config store",
                            "SetVoicemailEnabled: Voicemail_Enabled explicitly set to 'v' in the 'Server' config store",
                            "SetMeetingsEnabled: Meetings_Enabled explicitly set to 'm' in the 'Server' config store"));
    EXPECT_TRUE(storeNamed("InMemoryConfigStore")->getKeys().empty());
}

TEST_F(Enablement, ThatNoReadOnlyStoreHoldsIsLeftAlone) {
    injectAndStart();
    log->clear();
    adapter()->SetEnabledServices();
    EXPECT_THAT(adapterLines(4),
                ElementsAre("SetTelephonyEnabled: Telephony_Enabled explicitly set to '' in the '' config store",
                            "SetVoicemailEnabled: Voicemail_Enabled explicitly set to '' in the '' config store",
                            "SetMeetingsEnabled: Meetings_Enabled explicitly set to '' in the '' config store"));
    for (const wchar_t* const key : {L"Telephony_Enabled", L"Voicemail_Enabled", L"Meetings_Enabled"}) {
        EXPECT_EQ(get(key), L"<none>");
    }
}

TEST_F(Enablement, ThatOnlyTheUserSetIsWorkedOutAndTheUserWins) {
    injectWithDefaults();
    adapter()->setConfig(L"Telephony_Enabled", L"user's");
    adapter()->SetEnabledServices();
    std::wstring value;
    EXPECT_TRUE(storeNamed("InMemoryConfigStore")->getValue(L"Telephony_Enabled", value));
    EXPECT_EQ(value, L"false");
    EXPECT_EQ(get(L"Telephony_Enabled"), L"user's");
}

TEST_F(Enablement, GivesTheSameTwice) {
    injectWithDefaults();
    adapter()->SetEnabledServices();
    adapter()->setConfig(L"CtiServer1", L"c");
    adapter()->SetEnabledServices();
    EXPECT_EQ(get(L"Telephony_Enabled"), L"true");
    adapter()->SetEnabledServices();
    EXPECT_EQ(get(L"Telephony_Enabled"), L"true");
}

TEST_F(Enablement, IsReportedToTheService) {
    injectWithDefaults();
    const auto live = service()->getConfig(L"Telephony_Enabled");
    adapter()->SetEnabledServices();
    EXPECT_EQ(live->getValue(), L"false");
}

TEST_F(Enablement, FollowsEachStoreWhoseNameSaysThatItBringsServers) {
    injectWithDefaults();
    for (const std::string name : {"HcmOne", "PresenceConfigStore", "TftpTwo", "AUCILyncRegistryConfigStore"}) {
        log->clear();
        adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>(name, 41));
        EXPECT_EQ(log->count(4, "Setting telephonyEnabled flag: 0"), 1U) << name;
    }
    log->clear();
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("Other", 41));
    EXPECT_EQ(log->count(4, "Setting telephonyEnabled flag: 0"), 0U);
}
