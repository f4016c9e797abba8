#include "validating/KeyFindings.h"

#include "quill/StringUtils.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Entries = std::vector<DocumentReport::Entry>;

DocumentReport::Entry keyEntry(const std::wstring& name, const std::wstring& value, int line, bool sensitive = false) {
    return {QuillCoreUtils::toLowercase(name), value, line, sensitive, false, name};
}

std::vector<std::string> toldOfKeys(const Entries& entries, FilePlace place = FilePlace::ServerFile) {
    std::vector<std::string> lines;
    for (const Finding& finding : KeyFindings(entries, place, false).find()) {
        lines.push_back(std::to_string(finding.line) + ": " + wordOf(finding.severity) + ": " + finding.text + " [" +
                        finding.kind + "] " + finding.key);
    }
    return lines;
}

}  // namespace

TEST(KeyFindings, AreNoneForKnownAndForForeignKeys) {
    EXPECT_THAT(toldOfKeys({keyEntry(L"Telephony_Enabled", L"x", 1), keyEntry(L"FavouriteColour", L"red", 2)}),
                IsEmpty());
}

TEST(KeyFindings, TellWhatWasMeantByACloseMiss) {
    EXPECT_THAT(toldOfKeys({keyEntry(L"Telephony_Enabld", L"x", 7)}),
                ElementsAre("7: warning: key is not known: Telephony_Enabld, did you mean Telephony_Enabled? "
                            "[unknown-key] telephony_enabld"));
}

TEST(KeyFindings, TellTheCurrentNameOfAnOldOne) {
    EXPECT_THAT(toldOfKeys({keyEntry(L"TftpServer1", L"x", 2)}),
                ElementsAre("2: info: old name, the key is called TFTPPrimaryServer today: TftpServer1 [old-name] "
                            "tftpserver1"));
}

TEST(KeyFindings, TellThatAnOldNameBesideTheCurrentOneIsNeverAskedFor) {
    const std::string expected = "2: warning: old name of TFTPPrimaryServer is never asked for, line 5 counts: "
                                 "TftpServer1 [duplicate-key] tftpserver1";
    EXPECT_THAT(toldOfKeys({keyEntry(L"TftpServer1", L"x", 2), keyEntry(L"tftpPrimaryServer", L"y", 5)}),
                ElementsAre(expected));
}

TEST(KeyFindings, TellOfAnOldNameThatTheStoreItselfMoves) {
    const DocumentReport::Entry moved = {L"VoicemailPrimaryServer", L"h", 3, false, false, L"vvm_mailstore_server_0"};
    EXPECT_THAT(toldOfKeys({moved}, FilePlace::UserFile),
                ElementsAre("3: info: old name, the key is called VoicemailPrimaryServer today: "
                            "vvm_mailstore_server_0 [old-name] VoicemailPrimaryServer"));
}

TEST(KeyFindings, TellWhichValuesAreHidden) {
    EXPECT_THAT(toldOfKeys({keyEntry(L"ConnectionPassword", L"s3cret", 1), keyEntry(L"Addtional_Info", L"s3cret", 2),
                            keyEntry(L"Token", L"s3cret", 3, true)}),
                ElementsAre("1: info: value is always hidden, and enciphered once it is downloaded: "
                            "ConnectionPassword [sensitive] connectionpassword",
                            "2: info: value is always hidden: Addtional_Info [sensitive] addtional_info",
                            "3: info: value is hidden, as the document asks for: Token [sensitive] token"));
}

TEST(KeyFindings, TellThatAMarkCountsInAServersFileAlone) {
    for (const FilePlace place : {FilePlace::OverrideFile, FilePlace::CachedFile}) {
        EXPECT_THAT(
            toldOfKeys({keyEntry(L"Token", L"s3cret", 1, true), keyEntry(L"ConnectionPassword", L"s3cret", 2, true)},
                       place),
            ElementsAre("1: warning: mark \"sensitive\" counts in a file from a server alone, the client shows "
                        "this value: Token [mark-ignored] token",
                        "2: info: value is always hidden: ConnectionPassword [sensitive] connectionpassword"));
    }
}

TEST(KeyFindings, TellWhatNoProvisioningLinkCanHaveSet) {
    const Entries entries = {keyEntry(L"Telephony_Enabled", L"1", 1), keyEntry(L"DockedWindow", L"1", 2)};
    EXPECT_THAT(toldOfKeys(entries, FilePlace::ProvisioningCache),
                ElementsAre("2: warning: no provisioning link can have set this key: DockedWindow [not-provisionable] "
                            "dockedwindow"));
    EXPECT_THAT(toldOfKeys(entries, FilePlace::CachedFile), IsEmpty());
}

TEST(KeyFindings, TellNoSecretThatStandsInAKey) {
    const Entries entries = {keyEntry(L"ConnectionPassword=s", L"x", 1)};
    EXPECT_THAT(toldOfKeys(entries),
                ElementsAre("1: warning: key is not known: ConnectionPassword=VALUE_HIDDEN, did you mean "
                            "connectionpassword? [unknown-key] connectionpassword=VALUE_HIDDEN"));
    EXPECT_EQ(KeyFindings(entries, FilePlace::ServerFile, true).find().front().key, "connectionpassword=s");
}

TEST(KeyFindings, NeverTellAValue) {
    Entries entries;
    for (const wchar_t* const name :
         {L"ConnectionPassword", L"Customize_Phone_Server", L"Telephony_Enabld", L"Token"}) {
        entries.push_back(keyEntry(name, L"s3cret", 1, true));
    }
    for (const FilePlace place : {FilePlace::ServerFile, FilePlace::OverrideFile, FilePlace::UserFile}) {
        for (const std::string& line : toldOfKeys(entries, place)) {
            EXPECT_THAT(line, testing::Not(testing::HasSubstr("s3cret")));
        }
    }
}
