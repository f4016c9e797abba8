#include "impl/quill/FolderCursor.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>

#include "fakes/TemporaryDirectory.h"

namespace QuillCoreUtils {
namespace {

namespace fs = std::filesystem;

class Cursor : public testing::Test {
protected:
    std::string path(const std::string& name) const { return directory_.path(name); }

    /// Each folder has a file of its own name in it.
    void makeFolders(const std::vector<std::string>& folders) const {
        for (const std::string& folder : folders) {
            directory_.write(folder + "/" + fs::path(folder).filename().string(), "");
        }
    }

    bool standsOn(const FolderCursor& cursor, const std::string& folder) const {
        struct stat here {};
        struct stat there {};
        EXPECT_EQ(fstat(cursor.descriptor(), &here), 0);
        EXPECT_EQ(stat(path(folder).c_str(), &there), 0);
        return here.st_dev == there.st_dev && here.st_ino == there.st_ino;
    }

    const fakes::TemporaryDirectory directory_;
};

TEST_F(Cursor, StandsOnTheTopAtFirst) {
    makeFolders({"top"});
    const FolderCursor cursor(path("top"));
    EXPECT_TRUE(standsOn(cursor, "top"));
}

TEST_F(Cursor, MovesUpAndDownAndAside) {
    makeFolders({"top/a/b/c", "top/a/b/d", "top/e"});
    FolderCursor cursor(path("top"));
    for (const std::string folder : {"a/b/c", "a/b/d", "a", "e", "a/b/c", "", "a/b"}) {
        EXPECT_EQ(cursor.moveTo(folder), 0);
        EXPECT_TRUE(standsOn(cursor, "top/" + folder)) << folder;
    }
}

TEST_F(Cursor, MayStartAtALink) {
    makeFolders({"real/a"});
    fs::create_directory_symlink("real", path("top"));
    FolderCursor cursor(path("top"));
    EXPECT_EQ(cursor.moveTo("a"), 0);
    EXPECT_TRUE(standsOn(cursor, "real/a"));
}

TEST_F(Cursor, TellsThatThereIsNoTop) {
    directory_.write("file", "");
    EXPECT_EQ(FolderCursor(path("missing")).moveTo(""), ENOENT);
    EXPECT_EQ(FolderCursor(path("file")).moveTo("a"), ENOTDIR);
}

TEST_F(Cursor, GoesThroughNoLink) {
    makeFolders({"outside/inner", "top/a"});
    fs::create_directory_symlink(path("outside"), path("top/link"));
    FolderCursor cursor(path("top"));
    EXPECT_EQ(cursor.moveTo("link"), ENOTDIR);
    EXPECT_EQ(cursor.moveTo("link/inner"), ENOTDIR);
    EXPECT_EQ(cursor.moveTo("missing"), ENOENT);
    EXPECT_EQ(cursor.moveTo("a"), 0);
    EXPECT_TRUE(standsOn(cursor, "top/a"));
}

TEST_F(Cursor, GoesThroughNoLinkThatHasTakenThePlaceOfAFolderOnTheWay) {
    makeFolders({"outside/b", "outside/c", "top/a/b", "top/a/c"});
    FolderCursor cursor(path("top"));
    ASSERT_EQ(cursor.moveTo("a/b"), 0);
    fs::rename(path("top/a"), path("aside"));
    fs::create_directory_symlink(path("outside"), path("top/a"));
    // The folder itself is still there, under another name, and is where the cursor came from.
    EXPECT_EQ(cursor.moveTo("a/c"), 0);
    EXPECT_TRUE(standsOn(cursor, "aside/c"));
    EXPECT_EQ(cursor.moveTo(""), 0);
    EXPECT_EQ(cursor.moveTo("a/c"), ENOTDIR);
}

TEST_F(Cursor, DoesNotComeOutElsewhereWhenItsFolderIsMovedAway) {
    makeFolders({"top/a/b", "top/a/c", "outside/c"});
    FolderCursor cursor(path("top"));
    ASSERT_EQ(cursor.moveTo("a/b"), 0);
    fs::rename(path("top/a/b"), path("outside/b"));
    EXPECT_EQ(cursor.moveTo("a/c"), 0);
    EXPECT_TRUE(standsOn(cursor, "top/a/c"));
}

TEST_F(Cursor, GoesOnFromTheTopWhenItsFolderIsGone) {
    makeFolders({"top/a"});
    fs::create_directories(path("top/b/empty"));
    FolderCursor cursor(path("top"));
    ASSERT_EQ(cursor.moveTo("b/empty"), 0);
    fs::remove_all(path("top/b"));
    EXPECT_EQ(cursor.moveTo("a"), 0);
    EXPECT_TRUE(standsOn(cursor, "top/a"));
}

}  // namespace
}  // namespace QuillCoreUtils
