#include "Tool.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "session/FileListing.h"
#include "support/DeepTree.h"
#include "support/OrdinaryUser.h"

using corvidctl::FileListing;
using corvidctl::listFiles;
using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

namespace {

const std::string PROVISIONED = "<Corvid><CachedConfig><servicesdomain>linked</servicesdomain></CachedConfig></Corvid>";

}  // namespace

TEST_F(Tool, ResetDataRemovesTheUsersFilesAndKeepsTheInstallations) {
    writeConfig("Cache/cachedUrlProvisioningConfigStore.xml", PROVISIONED);
    writeConfig("Cache/cachedTFTPConfigStore.xml", PROVISIONED);
    writeConfig("deviceData3.properties", "a");
    writeConfig("INSTALLATIONID.txt", "b");
    writeConfig("photos/me.png", "c");
    const support::Ended ended = run({"--log-level", "2", "reset-data", "--yes"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "removed  Cache/cachedTFTPConfigStore.xml\n"
                         "removed  corvidLocalConfig.xml\n"
                         "removed  photos/me.png\n"
                         "kept     Cache/cachedUrlProvisioningConfigStore.xml\n"
                         "kept     INSTALLATIONID.txt\n"
                         "kept     corvid-config-user.xml\n"
                         "kept     deviceData3.properties\n");
    EXPECT_EQ(ended.error, "");
    EXPECT_EQ(run({"get", "ServicesDomain"}).out, "linked\n");
    EXPECT_EQ(run({"get", "OnlyMine"}).status, 1);
}

TEST_F(Tool, ResetDataGivesTheNames) {
    const json expected = {{"removed", {"corvidLocalConfig.xml"}}, {"kept", {"corvid-config-user.xml"}}};
    EXPECT_EQ(asJson({"reset-data", "--yes"}), expected);
}

TEST_F(Tool, ResetDataRemovesALinkAndNothingBehindIt) {
    directory_.write("elsewhere/precious.txt", "p");
    fs::create_directory_symlink(directory_.path("elsewhere"), directory_.path("config/link"));
    const json removed = asJson({"reset-data", "--yes"}).at("removed");
    EXPECT_EQ(removed, json({"corvidLocalConfig.xml", "link"}));
    EXPECT_FALSE(fs::is_symlink(directory_.path("config/link")));
    EXPECT_EQ(directory_.read("elsewhere/precious.txt"), "p");
}

TEST_F(Tool, ResetDataEscapesNamesForPeople) {
    writeConfig("a\nb", "1");
    writeConfig("bad\xFFname", "2");
    const support::Ended ended = run({"reset-data", "--yes"});
    EXPECT_THAT(ended.out, HasSubstr("removed  a\\nb\nremoved  bad\xEF\xBF\xBDname\n"));
}

TEST_F(Tool, ResetDataGivesNamesThatAreNotUtf8WithReplacements) {
    writeConfig("a\nb", "1");
    writeConfig("bad\xFFname", "2");
    EXPECT_EQ(asJson({"reset-data", "--yes"}).at("removed"),
              json({"a\nb", "bad\xEF\xBF\xBDname", "corvidLocalConfig.xml"}));
}

TEST_F(Tool, ResetDataOfNothingSaysSo) {
    fs::remove_all(directory_.path("config"));
    const support::Ended ended = run({"reset-data", "--yes"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "There was nothing to remove.\n");
    const json expected = {{"removed", json::array()}, {"kept", json::array()}};
    EXPECT_EQ(asJson({"reset-data", "--yes"}), expected);
}

TEST_F(Tool, ResetDataOpensTheLatchOfLinks) {
    ASSERT_EQ(run({"provision", "x?ServicesDomain=first"}).status, 0);
    ASSERT_EQ(run({"reset-data", "--yes"}).status, 0);
    EXPECT_EQ(run({"get", "ServicesDomain"}).out, "first\n");
    EXPECT_EQ(run({"provision", "x?ServicesDomain=second"}).status, 0);
}

TEST_F(Tool, ResetDataGetsRidOfABrokenLocalFileToo) {
    writeConfig("corvidLocalConfig.xml", "<Corvid><userConfig");
    const support::Ended ended = run({"reset-data", "--yes"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(listFiles(directory_.path("config")).files, std::set<std::string>({"corvid-config-user.xml"}));
}

TEST_F(Tool, ResetDataSaysWhatItCouldNotRemove) {
    ASSERT_EQ(mkfifo(directory_.path("config/pipe").c_str(), 0600), 0);
    const support::Ended ended = run({"reset-data", "--yes"});
    EXPECT_EQ(ended.status, 1);
    EXPECT_THAT(ended.out, HasSubstr("kept     pipe\n"));
    EXPECT_THAT(ended.error,
                HasSubstr("corvidctl: 'pipe' should have been removed and is still there, since it is a pipe\n"));
}

TEST_F(Tool, ResetDataNamesAFolderThatCannotBeListed) {
    writeConfig("closed/file", "1");
    fs::permissions(directory_.path(), fs::perms(0755));
    fs::permissions(directory_.path("config"), fs::perms(0777));
    fs::permissions(directory_.path("config/closed"), fs::perms(0700));
    support::Ended ended;
    {
        const support::OrdinaryUser user;
        if (!user.wasRoot() || !user.isOrdinary() || faccessat(AT_FDCWD, CORVIDCTL_PROGRAM, X_OK, AT_EACCESS) != 0) {
            GTEST_SKIP() << "a folder of another owner takes root to make, and the tool another user who may run it";
        }
        ended = run({"--log-level", "2", "reset-data", "--yes"});
    }
    EXPECT_EQ(ended.status, 1);
    EXPECT_EQ(ended.out, "removed  corvidLocalConfig.xml\nkept     corvid-config-user.xml\n");
    // A leak checker adds that it may not look at a process whose user has changed.
    EXPECT_THAT(ended.error, testing::StartsWith("corvidctl: the folder '" + directory_.path("config/closed") +
                                                 "' cannot be listed; what lies in it stays\n"));
    EXPECT_TRUE(fs::exists(directory_.path("config/closed/file")));
}

TEST_F(Tool, ResetDataRemovesAFileWhosePathIsTooLongForOnePiece) {
    const std::string deep = support::makeDeepFile(directory_.path("config"), 25, std::string(200, 'd'), "file");
    const support::Ended ended = run({"--log-level", "2", "reset-data", "--yes"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "removed  corvidLocalConfig.xml\nremoved  " + deep + "\nkept     corvid-config-user.xml\n");
    EXPECT_EQ(ended.error, "");
}

TEST(FileListing, NamesFoldersThatCannotBeListed) {
    const fakes::TemporaryDirectory directory;
    directory.write("top/closed/file", "1");
    directory.write("top/file", "2");
    fs::permissions(directory.path(), fs::perms(0755));
    fs::permissions(directory.path("top/closed"), fs::perms::none);
    FileListing listing;
    {
        const support::OrdinaryUser user;
        if (!user.isOrdinary()) {
            GTEST_SKIP() << "no permissions stop root, and this machine has no other user";
        }
        listing = listFiles(directory.path("top"));
    }
    fs::permissions(directory.path("top/closed"), fs::perms::owner_all);
    EXPECT_THAT(listing.files, ElementsAre("file"));
    EXPECT_THAT(listing.unreadable, ElementsAre(directory.path("top/closed")));
}

TEST(FileListing, NamesAFileInThePlaceOfTheFolder) {
    const fakes::TemporaryDirectory directory;
    directory.write("file", "1");
    const FileListing listing = listFiles(directory.path("file"));
    EXPECT_THAT(listing.files, IsEmpty());
    EXPECT_THAT(listing.unreadable, ElementsAre(directory.path("file")));
}

TEST(FileListing, NamesEverythingButFoldersAndFollowsNoLink) {
    const fakes::TemporaryDirectory directory;
    directory.write("top/b/c/file", "1");
    directory.write("top/a", "2");
    directory.write("other/file", "3");
    fs::create_directory(directory.path("top/empty"));
    fs::create_directory_symlink(directory.path("other"), directory.path("top/link"));
    fs::create_symlink("nowhere", directory.path("top/dangling"));
    ASSERT_EQ(mkfifo(directory.path("top/pipe").c_str(), 0600), 0);
    const FileListing listing = listFiles(directory.path("top"));
    EXPECT_THAT(listing.files, ElementsAre("a", "b/c/file", "dangling", "link", "pipe"));
    EXPECT_THAT(listing.unreadable, IsEmpty());
}

TEST(FileListing, OfAMissingFolderIsEmpty) {
    const FileListing listing = listFiles("/nowhere/at/all");
    EXPECT_THAT(listing.files, IsEmpty());
    EXPECT_THAT(listing.unreadable, IsEmpty());
}

TEST(FileListing, MayStartAtALink) {
    const fakes::TemporaryDirectory directory;
    directory.write("real/file", "1");
    fs::create_directory_symlink("real", directory.path("link"));
    EXPECT_THAT(listFiles(directory.path("link")).files, ElementsAre("file"));
}
