#include "quill/FileRemover.h"

#include <cerrno>
#include <climits>
#include <filesystem>
#include <string>
#include <vector>

#include "fakes/RecordingLogSink.h"
#include "fakes/TemporaryDirectory.h"
#include "quill/FileUtils.h"
#include "support/DeepTree.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace QuillCoreUtils {
namespace {

namespace fs = std::filesystem;

class Removal : public testing::Test {
protected:
    std::string path(const std::string& name) const { return directory_.path(name); }

    std::vector<std::string> listed() const {
        std::vector<std::string> files;
        FileUtils::getFilesFromDirectory(path("top"), "", files);
        return files;
    }

    void removeAll() const {
        FileRemover remover(path("top"));
        for (const std::string& file : listed()) {
            EXPECT_EQ(remover.remove(file), 0) << file;
        }
    }

    const fakes::TemporaryDirectory directory_;
    const fakes::ScopedRecordingLog log_;
};

TEST_F(Removal, TakesWhatIsListed) {
    for (const std::string name : {"top/b", "top/a/b", "top/a/c/d", "top/a/e", "top/z/a"}) {
        directory_.write(name, "");
    }
    removeAll();
    EXPECT_THAT(listed(), IsEmpty());
    EXPECT_TRUE(fs::is_directory(path("top/a/c")));
}

TEST_F(Removal, IsMadeToLastInEachFolderThatIsStillThere) {
    for (const std::string name : {"top/b", "top/a/b", "top/a/c/d"}) {
        directory_.write(name, "");
    }
    FileRemover remover(path("top"));
    EXPECT_EQ(remover.syncFolders(), 0) << "nothing was removed";
    for (const std::string& file : listed()) {
        EXPECT_EQ(remover.remove(file), 0) << file;
    }
    fs::remove_all(path("top/a/c"));
    EXPECT_EQ(remover.syncFolders(), 0);
}

TEST_F(Removal, IsToldOfWhereItsFolderCannotBeReached) {
    directory_.write("top/a/b", "");
    FileRemover remover(path("top"));
    EXPECT_EQ(remover.remove(path("top/a/b")), 0);
    fs::remove(path("top/a"));
    fs::create_directory_symlink(path("top"), path("top/a"));
    directory_.write("top/c", "");
    EXPECT_EQ(remover.remove(path("top/c")), 0);
    EXPECT_EQ(remover.syncFolders(), ENOTDIR);
    EXPECT_EQ(remover.syncFolders(), 0) << "once";
}

TEST_F(Removal, TakesALinkAndLeavesWhatItLeadsTo) {
    directory_.write("outside/file", "");
    directory_.write("top/a", "");
    fs::create_directory_symlink(path("outside"), path("top/link"));
    removeAll();
    EXPECT_THAT(listed(), IsEmpty());
    EXPECT_TRUE(directory_.exists("outside/file"));
}

TEST_F(Removal, TakesAFileWhosePathIsTooLongForOnePiece) {
    fs::create_directory(path("top"));
    const std::string deep = support::makeDeepFile(path("top"), 25, std::string(200, 'd'), "file");
    ASSERT_GT(deep.size(), static_cast<std::size_t>(PATH_MAX));
    ASSERT_THAT(listed(), ElementsAre(path("top/" + deep)));
    removeAll();
    EXPECT_THAT(listed(), IsEmpty());
    EXPECT_THAT(log_->lines(), IsEmpty());
}

TEST_F(Removal, FollowsNoLinkThatHasTakenThePlaceOfAFolder) {
    directory_.write("outside/file", "");
    directory_.write("top/folder/file", "");
    FileRemover remover(path("top"));
    fs::rename(path("top/folder"), path("aside"));
    fs::create_directory_symlink(path("outside"), path("top/folder"));
    EXPECT_EQ(remover.remove(path("top/folder/file")), ENOTDIR);
    EXPECT_TRUE(directory_.exists("outside/file"));
    EXPECT_TRUE(directory_.exists("aside/file"));
}

TEST_F(Removal, TellsWhyItFailsAndLogsNothing) {
    directory_.write("top/folder/file", "");
    directory_.write("topmost", "");
    FileRemover remover(path("top"));
    EXPECT_EQ(remover.remove(path("top/folder")), EISDIR);
    EXPECT_EQ(remover.remove(path("top/missing")), ENOENT);
    EXPECT_EQ(remover.remove(path("topmost")), EINVAL);
    EXPECT_EQ(FileRemover(path("missing")).remove(path("missing/file")), ENOENT);
    EXPECT_TRUE(directory_.exists("topmost"));
    EXPECT_THAT(log_->lines(), IsEmpty());
}

TEST_F(Removal, IsLoggedByItsErrorWhenTheCallerSaysSo) {
    FileUtils::logRemoval("/a\nb", EACCES);
    FileUtils::logRemoval("/gone", ENOENT);
    FileUtils::logRemoval("/done", 0);
    EXPECT_THAT(log_->lines(), ElementsAre(fakes::RecordingLogSink::Line{
                                   3, "FileUtils", "removeFile", "cannot remove [/a\\x0ab]: Permission denied"}));
}

}  // namespace
}  // namespace QuillCoreUtils
