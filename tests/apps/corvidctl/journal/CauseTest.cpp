#include "journal/Cause.h"

#include "Journals.h"

using corvidctl::Cause;
using corvidctl::causeCalled;
using corvidctl::textOf;
using corvidctl::workedOutCause;
using journals::change;

namespace {

const std::string SERVER = "TFTPConfigStore";
const std::string COPY = "cachedTFTPConfigStore.xml";
const std::string USER = "LocalFileConfigStore";
const std::string OVERRIDE = "TftpOverrideConfigStore";
const std::string LINK = "UrlProvisioningConfigStore";
const std::string MEMORY = "InMemoryConfigStore";
const std::string DEFAULTS = "corvid-config-defaults.xml";

corvidctl::JournalChange moved(const std::string& from, const std::string& to, const std::string& key = "A") {
    return change(key, "1", "2", from, to);
}

}  // namespace

TEST(Cause, HasATextThatLeadsBackToIt) {
    for (const auto& [cause, text] : std::map<Cause, std::string>{{Cause::Start, "start"},
                                                                  {Cause::File, "file"},
                                                                  {Cause::Download, "download"},
                                                                  {Cause::Set, "set"},
                                                                  {Cause::Reset, "reset"},
                                                                  {Cause::Provisioning, "provisioning"}}) {
        EXPECT_EQ(textOf(cause), text);
        EXPECT_EQ(causeCalled(text), cause);
    }
}

TEST(Cause, IsNotCalledAnythingElse) {
    EXPECT_EQ(causeCalled("Download"), std::nullopt);
    EXPECT_EQ(causeCalled(""), std::nullopt);
}

TEST(WorkedOutCause, IsADownloadWhereTheServersStoreOrItsCopyComesOrGoes) {
    EXPECT_EQ(workedOutCause({moved(DEFAULTS, SERVER)}), Cause::Download);
    EXPECT_EQ(workedOutCause({moved(COPY, SERVER)}), Cause::Download);
    EXPECT_EQ(workedOutCause({moved(SERVER, "")}), Cause::Download);
    EXPECT_EQ(workedOutCause({moved(COPY, DEFAULTS)}), Cause::Download);
}

TEST(WorkedOutCause, IsADownloadWithAllThatTheModuleStoresOnItsOccasion) {
    EXPECT_EQ(workedOutCause({moved("", USER), moved(DEFAULTS, MEMORY), moved(USER, ""), moved("", SERVER)}),
              Cause::Download);
}

TEST(WorkedOutCause, IsADownloadWhereTheServersVersionIsLearned) {
    EXPECT_EQ(workedOutCause({moved("", MEMORY, "homeudsversion")}), Cause::Download);
    EXPECT_EQ(workedOutCause({moved("", USER, "HomeUdsVersion")}), Cause::Set);
}

TEST(WorkedOutCause, IsTheUsersWhereTheServersValueOnlyGivesWayOrComesBack) {
    EXPECT_EQ(workedOutCause({moved(SERVER, USER)}), Cause::Set);
    EXPECT_EQ(workedOutCause({moved(USER, SERVER)}), Cause::Reset);
}

TEST(WorkedOutCause, IsALinkWhereItsStoreComesWithTheUsersLatch) {
    EXPECT_EQ(workedOutCause({moved("", USER, "AllowUrlProvisioning"), moved("", LINK)}), Cause::Provisioning);
}

TEST(WorkedOutCause, IsAFileWhereTheAdministratorsOwnAnswers) {
    EXPECT_EQ(workedOutCause({moved(SERVER, OVERRIDE)}), Cause::File);
    EXPECT_EQ(workedOutCause({moved(OVERRIDE, USER)}), Cause::File);
}

TEST(WorkedOutCause, IsAFileWhereTheUsersStoreBringsMoreThanOneValue) {
    EXPECT_EQ(workedOutCause({moved("", USER), moved(USER, USER, "B")}), Cause::File);
}

TEST(WorkedOutCause, IsASetWhereOneValueOfTheUsersChanges) {
    EXPECT_EQ(workedOutCause({moved(USER, USER)}), Cause::Set);
}

TEST(WorkedOutCause, IsASetWhereOnlyTheMemoryChanges) {
    EXPECT_EQ(workedOutCause({moved(DEFAULTS, MEMORY), moved(MEMORY, "", "B")}), Cause::Set);
}

TEST(WorkedOutCause, IsAResetWhereValuesOfTheUsersGo) {
    EXPECT_EQ(workedOutCause({moved(USER, ""), moved(USER, DEFAULTS, "B")}), Cause::Reset);
}

TEST(WorkedOutCause, IsAFileWhereTheInstallationsAnswer) {
    EXPECT_EQ(workedOutCause({moved("", DEFAULTS)}), Cause::File);
}
