#include "validating/ValueFindings.h"

#include "fakes/ScopedWorld.h"
#include "quill/StringUtils.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Entries = std::vector<DocumentReport::Entry>;

DocumentReport::Entry entryWith(const std::wstring& name, const std::wstring& value, int line, bool sensitive = false) {
    return {QuillCoreUtils::toLowercase(name), value, line, sensitive, false, name};
}

std::vector<std::string> toldOfValues(const Entries& entries, FilePlace place = FilePlace::ServerFile) {
    std::vector<std::string> lines;
    for (const Finding& finding : ValueFindings(entries, place).find()) {
        lines.push_back(std::to_string(finding.line) + ": " + wordOf(finding.severity) + ": " + finding.text + " [" +
                        finding.kind + "] " + finding.key);
    }
    return lines;
}

class ValueFindingsTest : public testing::Test {
protected:
    fakes::ScopedWorld world_;
};

}  // namespace

TEST_F(ValueFindingsTest, TellTheRuleOfFipsModeWhileItIsOn) {
    const Entries entries = {entryWith(L"TELEPHONY_P2P_Enabled", L"true", 4)};
    EXPECT_THAT(toldOfValues(entries), IsEmpty());
    world_.setFips(true);
    EXPECT_THAT(toldOfValues(entries), ElementsAre("4: info: value always reads as \"false\" in FIPS mode: "
                                                   "TELEPHONY_P2P_Enabled [fips-rule] telephony_p2p_enabled"));
}

TEST_F(ValueFindingsTest, TellThatAPolicyForbidsOnOneWordAlone) {
    EXPECT_THAT(toldOfValues({entryWith(L"Customize_Phone_Server", L"no", 1),
                              entryWith(L"Customize_Voicemail_Server", L" false", 2),
                              entryWith(L"AllowUrlProvisioning", L"0", 3)}),
                ElementsAre("1: warning: only \"false\" forbids servers of the user's own, this value allows them: "
                            "Customize_Phone_Server [policy-value] customize_phone_server",
                            "2: warning: only \"false\" forbids servers of the user's own, this value allows them: "
                            "Customize_Voicemail_Server [policy-value] customize_voicemail_server",
                            "3: warning: only \"false\" refuses provisioning links, this value allows them: "
                            "AllowUrlProvisioning [policy-value] allowurlprovisioning"));
    EXPECT_THAT(toldOfValues(
                    {entryWith(L"Customize_Phone_Server", L"yes", 1), entryWith(L"AllowUrlProvisioning", L"FALSE", 2)}),
                IsEmpty());
}

TEST_F(ValueFindingsTest, TellWhatAPolicyErases) {
    EXPECT_THAT(
        toldOfValues({entryWith(L"Customize_Phone_Server", L"False", 1), entryWith(L"TFTPPrimaryServer", L"h", 2)}),
        ElementsAre("1: info: erases from the user's file TFTPPrimaryServer, CtiServer1 and HubcipServer1: "
                    "Customize_Phone_Server [policy] customize_phone_server"));
}

TEST_F(ValueFindingsTest, TellWhichServersAreErasedFromTheUsersFileUnderAnyName) {
    const Entries entries = {entryWith(L"TftpServer1", L"h", 1), entryWith(L"CTIPrimaryServer", L"h", 2),
                             entryWith(L"TFTPBackupServer1", L"h", 3),
                             entryWith(L"Customize_Phone_Server", L"false", 4)};
    std::vector<std::string> erased;
    for (const Finding& finding : ValueFindings(entries, FilePlace::UserFile).find()) {
        if (finding.kind == FindingKind::ErasedServer) {
            erased.push_back(std::to_string(finding.line) + ": " + finding.text);
        }
    }
    const std::string reason = "value is erased when the client starts, as line 4 (Customize_Phone_Server) forbids "
                               "servers of the user's own: ";
    EXPECT_THAT(erased, ElementsAre("1: " + reason + "TftpServer1", "2: " + reason + "CTIPrimaryServer"));
}

TEST_F(ValueFindingsTest, TellWhichPartsOfTheListOfStoresAreNotRead) {
    const std::string end = " [list-part] primaryconfigstores";
    EXPECT_THAT(
        toldOfValues({entryWith(L"PrimaryConfigStores", L"A:1;B;C:x;D:2:3;", 6)}),
        ElementsAre("6: warning: part 2 of the list is not read, expected STORE:PRIORITY: "
                    "PrimaryConfigStores" +
                        end,
                    "6: warning: part 3 of the list has a priority that is no number: PrimaryConfigStores" + end,
                    "6: warning: part 4 of the list is not read, expected STORE:PRIORITY: "
                    "PrimaryConfigStores" +
                        end));
    EXPECT_THAT(toldOfValues({entryWith(L"PrimaryConfigStores", L"A:1;B:-2;", 1)}), IsEmpty());
    EXPECT_THAT(toldOfValues({entryWith(L"PrimaryConfigStores", L"", 1)}), IsEmpty());
}

TEST_F(ValueFindingsTest, TellThatAMeetingsServerOfAnotherTypeDoesNotCount) {
    EXPECT_THAT(
        toldOfValues({entryWith(L"Meeting_Server_Type_Backup", L"Other", 2),
                      entryWith(L"Meeting_Server_Type", L"LUMEX", 3), entryWith(L"Meeting_Server_Type_Backup2", L"", 4),
                      entryWith(L"Meeting_Server_Type_Colour", L"x", 5)}),
        ElementsAre("2: warning: a meetings server of this type does not count, expected no type or \"Lumex\": "
                    "Meeting_Server_Type_Backup [server-type] meeting_server_type_backup"));
}

TEST_F(ValueFindingsTest, NeverTellAValue) {
    Entries entries;
    for (const wchar_t* const name :
         {L"ConnectionPassword", L"Customize_Phone_Server", L"Meeting_Server_Type", L"PrimaryConfigStores"}) {
        entries.push_back(entryWith(name, L"s3cret", 1, true));
    }
    for (const FilePlace place : {FilePlace::ServerFile, FilePlace::OverrideFile, FilePlace::UserFile}) {
        for (const std::string& line : toldOfValues(entries, place)) {
            EXPECT_THAT(line, testing::Not(testing::HasSubstr("s3cret")));
        }
    }
}
