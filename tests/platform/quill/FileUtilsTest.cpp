#include "quill/FileUtils.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "fakes/TemporaryDirectory.h"
#include "support/DeepTree.h"
#include "support/OrdinaryUser.h"
#include "support/StrangersLink.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace QuillCoreUtils {
namespace {

namespace fs = std::filesystem;

class Files : public testing::Test {
protected:
    std::string path(const std::string& name) const { return directory_.path(name); }

    unsigned modeOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(lstat(path(name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    std::vector<std::string> list(const std::string& name, const std::string& extension) const {
        std::vector<std::string> files{"left over"};
        FileUtils::getFilesFromDirectory(path(name), extension, files);
        return files;
    }

    const fakes::TemporaryDirectory directory_;
    const fakes::ScopedRecordingLog log_;
};

TEST(FileUtilsWorld, NamesThePlacesOfTheWorld) {
    const fakes::ScopedWorld world;
    EXPECT_EQ(FileUtils::getConfigDirectory(), world.configDirectory());
    EXPECT_EQ(FileUtils::getInstallationDirectory(), world.installationDirectory());
    EXPECT_EQ(FileUtils::getBootstrapFilePath(), world.bootstrapFilePath());
}

TEST(FileUtilsNames, SplitsAPathAtItsLastSeparator) {
    EXPECT_EQ(FileUtils::FileSeparator(), "/");
    EXPECT_EQ(FileUtils::getFileName("/a/b.xml"), "b.xml");
    EXPECT_EQ(FileUtils::getFileName("b.xml"), "b.xml");
    EXPECT_EQ(FileUtils::getFileName("/a/"), "");
    EXPECT_EQ(FileUtils::getParentDirectory("/a/b.xml"), "/a");
    EXPECT_EQ(FileUtils::getParentDirectory("b.xml"), "");
    EXPECT_EQ(FileUtils::getParentDirectory("/b.xml"), "/");
    EXPECT_EQ(FileUtils::getParentDirectory("/a/"), "/a");
}

TEST_F(Files, ExistAsFileFolderOrLinkWithATarget) {
    directory_.write("file", "");
    fs::create_symlink("file", path("link"));
    fs::create_symlink("missing", path("dangling"));
    EXPECT_TRUE(FileUtils::fileExists(path("file")));
    EXPECT_TRUE(FileUtils::fileExists(directory_.path()));
    EXPECT_TRUE(FileUtils::fileExists(path("link")));
    EXPECT_FALSE(FileUtils::fileExists(path("dangling")));
    EXPECT_FALSE(FileUtils::fileExists(path("missing")));
    EXPECT_FALSE(FileUtils::fileExists(path("file/below")));
    EXPECT_FALSE(FileUtils::fileExists(""));
    EXPECT_THAT(log_->lines(), IsEmpty());
}

TEST_F(Files, WarnAboutWhatCannotBeLookedAt) {
    const std::string tooLong = path(std::string(300, 'n'));
    EXPECT_FALSE(FileUtils::fileExists(tooLong));
    EXPECT_THAT(log_->texts(3), ElementsAre("cannot look at [" + tooLong + "]: File name too long"));
}

TEST_F(Files, CreateAFolderWithItsParentsForTheOwnerOnly) {
    EXPECT_TRUE(FileUtils::createDirectory(path("a/b//c/")));
    EXPECT_EQ(modeOf("a"), 0700U);
    EXPECT_EQ(modeOf("a/b"), 0700U);
    EXPECT_EQ(modeOf("a/b/c"), 0700U);
}

TEST_F(Files, AreContentWithAFolderThatIsThere) {
    fs::create_directory_symlink(directory_.path(), path("link"));
    EXPECT_TRUE(FileUtils::createDirectory(directory_.path()));
    EXPECT_TRUE(FileUtils::createDirectory(path("link")));
    EXPECT_TRUE(FileUtils::createDirectory(path("link/below")));
    EXPECT_TRUE(FileUtils::createDirectory("/"));
    EXPECT_TRUE(directory_.exists("below"));
}

TEST_F(Files, TellALinkOfAStrangersFromAllOthers) {
    fs::create_directory(path("folder"));
    fs::create_symlink("folder", path("own"));
    EXPECT_FALSE(FileUtils::isStrangersLink(path("folder")));
    EXPECT_FALSE(FileUtils::isStrangersLink(path("own")));
    EXPECT_FALSE(FileUtils::isStrangersLink(path("own/")));
    EXPECT_FALSE(FileUtils::isStrangersLink(path("missing")));
    EXPECT_FALSE(FileUtils::isStrangersLink(""));
    if (!support::makeStrangersLink("folder", path("link"))) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    fs::create_symlink("link", path("own link to it"));
    EXPECT_TRUE(FileUtils::isStrangersLink(path("link")));
    EXPECT_TRUE(FileUtils::isStrangersLink(path("link/")));
    EXPECT_TRUE(FileUtils::isStrangersLink(path("link//")));
    EXPECT_TRUE(FileUtils::isStrangersLink(path("own link to it")));
    EXPECT_THAT(log_->lines(), IsEmpty());
}

TEST_F(Files, CreateNoFolderWhereAFileStands) {
    directory_.write("file", "kept");
    fs::create_symlink("missing", path("dangling"));
    EXPECT_FALSE(FileUtils::createDirectory(path("file")));
    EXPECT_FALSE(FileUtils::createDirectory(path("file/below")));
    EXPECT_FALSE(FileUtils::createDirectory(path("dangling")));
    EXPECT_FALSE(FileUtils::createDirectory(path("dangling/below")));
    EXPECT_FALSE(FileUtils::createDirectory(""));
    EXPECT_EQ(directory_.read("file"), "kept");
    EXPECT_EQ(log_->texts(3).size(), 5U);
    EXPECT_EQ(log_->count(3, "cannot create the folder [" + path("file") + "]: Not a directory"), 1U);
}

TEST_F(Files, RemoveAFile) {
    directory_.write("file", "");
    EXPECT_TRUE(FileUtils::removeFile(path("file")));
    EXPECT_FALSE(directory_.exists("file"));
    EXPECT_THAT(log_->lines(), IsEmpty());
}

TEST_F(Files, TellThatThereWasNoneToRemove) {
    EXPECT_FALSE(FileUtils::removeFile(path("file")));
    EXPECT_THAT(log_->lines(),
                ElementsAre(fakes::RecordingLogSink::Line{
                    3, "FileUtils", "removeFile", "cannot remove [" + path("file") + "]: No such file or directory"}));
}

TEST_F(Files, RemoveALinkAndNotItsTarget) {
    directory_.write("folder/file", "kept");
    fs::create_directory_symlink("folder", path("link"));
    EXPECT_TRUE(FileUtils::removeFile(path("link")));
    EXPECT_FALSE(fs::is_symlink(path("link")));
    EXPECT_EQ(directory_.read("folder/file"), "kept");
}

TEST_F(Files, RemoveNoFolder) {
    fs::create_directory(path("folder"));
    EXPECT_FALSE(FileUtils::removeFile(path("folder")));
    EXPECT_TRUE(directory_.exists("folder"));
}

TEST_F(Files, ReadAllBytes) {
    const std::string bytes = std::string("a\0\r\n\xFF", 5) + std::string(200000, 'x');
    std::string contents = "left over";
    EXPECT_TRUE(FileUtils::readFile(directory_.write("file", bytes), contents));
    EXPECT_EQ(contents, bytes);
    EXPECT_TRUE(FileUtils::readFile(directory_.write("empty", ""), contents));
    EXPECT_EQ(contents, "");
}

TEST_F(Files, ReadNothingFromWhatIsNoFile) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    for (const std::string& name : {path("missing"), directory_.path(), path("pipe"), std::string("/dev/zero")}) {
        std::string contents = "left over";
        EXPECT_FALSE(FileUtils::readFile(name, contents)) << name;
        EXPECT_EQ(contents, "");
    }
    EXPECT_EQ(log_->texts(3).size(), 4U);
    EXPECT_EQ(log_->count(3, "cannot read [" + path("missing") + "]: No such file or directory"), 1U);
}

TEST_F(Files, AreListedWithSubFoldersSortedByTheBytesOfThePath) {
    directory_.write("b/a.xml", "");
    directory_.write("b.xml", "");
    directory_.write("B.xml", "");
    directory_.write("b/c/d.txt", "");
    directory_.write("\xC3\xA9", "");
    EXPECT_THAT(list("", ""),
                ElementsAre(path("B.xml"), path("b.xml"), path("b/a.xml"), path("b/c/d.txt"), path("\xC3\xA9")));
}

TEST_F(Files, AreListedByExtensionInAnyCaseWithOrWithoutItsDot) {
    for (const char* const name : {"a.xml", "b.XML", "c.xml.bak", "dxml", "e.Xml", "xml", "f.xmlx"}) {
        directory_.write(name, "");
    }
    const auto expected = ElementsAre(path("a.xml"), path("b.XML"), path("e.Xml"));
    EXPECT_THAT(list("", "xml"), expected);
    EXPECT_THAT(list("", ".xml"), expected);
    EXPECT_THAT(list("", "XML"), expected);
}

TEST_F(Files, AreListedWithLinksThatAreNeverFollowed) {
    directory_.write("folder/file", "");
    directory_.write("outside/secret", "");
    fs::create_directory_symlink(path("outside"), path("folder/to-folder"));
    fs::create_directory_symlink("..", path("folder/to-parent"));
    fs::create_symlink("missing", path("folder/dangling"));
    fs::create_symlink("file", path("folder/to-file"));
    EXPECT_THAT(list("folder", ""), ElementsAre(path("folder/dangling"), path("folder/file"), path("folder/to-file"),
                                                path("folder/to-folder"), path("folder/to-parent")));
}

TEST_F(Files, AreListedInAFolderThatIsItselfReachedByALink) {
    directory_.write("folder/file", "");
    fs::create_directory_symlink("folder", path("link"));
    EXPECT_THAT(list("link", ""), ElementsAre(path("link/file")));
    EXPECT_THAT(list("link/", ""), ElementsAre(path("link/file")));
}

TEST_F(Files, AreListedWithoutPipesAndFolders) {
    ASSERT_EQ(mkfifo(path("pipe.xml").c_str(), 0600), 0);
    fs::create_directory(path("folder.xml"));
    EXPECT_THAT(list("", "xml"), IsEmpty());
}

TEST_F(Files, AreNoneInAMissingFolder) {
    directory_.write("file", "");
    EXPECT_THAT(list("missing", "xml"), IsEmpty());
    EXPECT_THAT(list("file", ""), IsEmpty());
    EXPECT_THAT(log_->lines(), IsEmpty());
}

TEST_F(Files, AreListedWithoutASubFolderThatCannotBeRead) {
    directory_.write("a/file", "");
    directory_.write("closed/file", "");
    fs::permissions(directory_.path(), fs::perms(0755));
    fs::permissions(path("closed"), fs::perms::none);
    std::vector<std::string> files;
    {
        const support::OrdinaryUser user;
        if (!user.isOrdinary()) {
            GTEST_SKIP() << "this machine has no other user";
        }
        files = list("", "");
    }
    fs::permissions(path("closed"), fs::perms::owner_all);
    EXPECT_THAT(files, ElementsAre(path("a/file")));
    EXPECT_THAT(log_->lines(),
                ElementsAre(fakes::RecordingLogSink::Line{3, "FileUtils", "getFilesFromDirectory",
                                                          "cannot list [" + path("closed") + "]: Permission denied"}));
}

TEST_F(Files, AreNamedInOneLineWhenTheyCannotBeRemoved) {
    EXPECT_FALSE(FileUtils::removeFile(path("a\nb")));
    EXPECT_THAT(log_->texts(3), ElementsAre("cannot remove [" + path("a\\x0ab") + "]: No such file or directory"));
}

TEST_F(Files, OfAnotherOwnerAreReplacedByOnesForTheirOwnerOnly) {
    directory_.write("from", "new");
    directory_.write("to", "old");
    fs::permissions(path("from"), fs::perms(0644));
    fs::permissions(path("to"), fs::perms(0664));
    fs::permissions(directory_.path(), fs::perms::all);
    {
        const support::OrdinaryUser user;
        if (!user.wasRoot() || !user.isOrdinary()) {
            GTEST_SKIP() << "files of two owners take root to make";
        }
        EXPECT_TRUE(FileUtils::copyFile(path("from"), path("to"), false));
    }
    EXPECT_EQ(directory_.read("to"), "new");
    EXPECT_EQ(modeOf("to"), 0600U);
}

/// Lets this process open few files for the length of a test.
class FewOpenFiles {
public:
    FewOpenFiles() {
        EXPECT_EQ(getrlimit(RLIMIT_NOFILE, &before_), 0);
        const rlimit few{64, before_.rlim_max};
        EXPECT_EQ(setrlimit(RLIMIT_NOFILE, &few), 0);
    }
    ~FewOpenFiles() { setrlimit(RLIMIT_NOFILE, &before_); }

    FewOpenFiles(const FewOpenFiles&) = delete;
    FewOpenFiles& operator=(const FewOpenFiles&) = delete;

private:
    rlimit before_{};
};

TEST_F(Files, AreListedDeeperThanFilesMayBeOpen) {
    std::string folder;
    for (int depth = 0; depth < 200; ++depth) {
        folder += "d/";
    }
    directory_.write(folder + "file", "");
    const FewOpenFiles few;
    EXPECT_THAT(list("", ""), ElementsAre(path(folder + "file")));
}

TEST_F(Files, AreListedUnderPathsThatAreTooLongForOnePiece) {
    const std::string deep = support::makeDeepFile(directory_.path(), 25, std::string(200, 'd'), "file");
    directory_.write("e", "");
    EXPECT_THAT(list("", ""), ElementsAre(path(deep), path("e")));
    EXPECT_THAT(log_->lines(), IsEmpty());
}

}  // namespace
}  // namespace QuillCoreUtils
