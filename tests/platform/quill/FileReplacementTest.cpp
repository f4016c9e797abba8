#include "impl/quill/FileReplacement.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <latch>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "fakes/RecordingLogSink.h"
#include "fakes/TemporaryDirectory.h"
#include "impl/quill/FileDescriptor.h"
#include "impl/quill/SiblingFile.h"
#include "quill/FileUtils.h"
#include "support/ForkedChild.h"
#include "support/HeldPipe.h"
#include "support/OpenedFiles.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace QuillCoreUtils {
namespace {

namespace fs = std::filesystem;

class FileReplacement : public testing::Test {
protected:
    std::string path(const std::string& name) const { return directory_.path(name); }

    struct stat statusOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(lstat(path(name).c_str(), &status), 0);
        return status;
    }

    unsigned modeOf(const std::string& name) const { return statusOf(name).st_mode & 07777U; }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(directory_.path())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    bool copy(const std::string& from, const std::string& to, bool failIfExists = false) const {
        return FileUtils::copyFile(path(from), path(to), failIfExists);
    }

    int move(const std::string& from, const std::string& to, bool failIfExists = false) const {
        return FileUtils::moveFile(path(from), path(to), failIfExists);
    }

    const fakes::TemporaryDirectory directory_;
    const fakes::ScopedRecordingLog log_;
};

TEST_F(FileReplacement, KeepsNoDescriptorOfWhatItRefuses) {
    const auto descriptors = [] {
        const fs::directory_iterator all("/proc/self/fd");
        return std::distance(begin(all), end(all));
    };
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    const auto before = descriptors();
    EXPECT_FALSE(copy("pipe", "to"));
    EXPECT_EQ(descriptors(), before);
}

// An open is more than a look: it winds a tape back, and starts a watchdog.
TEST_F(FileReplacement, OpensNothingButRegularFiles) {
    for (const char* const pipe : {"pipe", "sibling", ".to.4711.1.new"}) {
        ASSERT_EQ(mkfifo(path(pipe).c_str(), 0600), 0);
    }
    directory_.write("file", "text");
    ASSERT_EQ(symlink(path("pipe").c_str(), path("link").c_str()), 0);
    support::OpenedFiles opened(directory_.path());
    std::string contents;
    EXPECT_FALSE(FileUtils::readFile(path("pipe"), contents));
    EXPECT_FALSE(FileUtils::readFile(path("link"), contents));
    EXPECT_FALSE(copy("pipe", "to"));
    EXPECT_FALSE(FileUtils::replaceFileDurably(path("sibling"), path("to")));
    FileUtils::removeStaleSiblings(path("to"));
    EXPECT_TRUE(FileUtils::readFile(path("file"), contents));
    EXPECT_THAT(opened.take(), ElementsAre(testing::Pair("file", 1)));
}

TEST_F(FileReplacement, OpensNothingToGrowButWhatIsAccepted) {
    const support::HeldPipe pipe(path("pipe"));
    directory_.write("file", "text");
    support::OpenedFiles opened(directory_.path());
    const auto errorOf = [this](const std::string& name, Growing accepted) {
        int descriptor = -1;
        const int error = openForAppending(path(name), O_WRONLY, descriptor, accepted);
        const FileDescriptor file(descriptor);
        EXPECT_EQ(file.isOpen(), error == 0) << name;
        return error;
    };
    EXPECT_EQ(errorOf("file", Growing::RegularFiles), 0);
    EXPECT_EQ(errorOf("pipe", Growing::RegularFiles), EINVAL);
    EXPECT_EQ(errorOf("../", Growing::RegularFiles), EISDIR);
    EXPECT_THAT(opened.take(), ElementsAre(testing::Pair("file", 1)));
    EXPECT_EQ(errorOf("file", Growing::Streams), 0);
    EXPECT_EQ(errorOf("pipe", Growing::Streams), 0);
    if (mknod(path("disk").c_str(), S_IFBLK | 0600, makedev(7, 0)) == 0) {
        EXPECT_EQ(errorOf("disk", Growing::Streams), EINVAL);
    }
    EXPECT_THAT(opened.take(), ElementsAre(testing::Pair("file", 1), testing::Pair("pipe", 1)));
}

TEST_F(FileReplacement, GivesNoDescriptorOfWhatItDoesNotOpen) {
    int descriptor = 5;
    EXPECT_EQ(openForAppending(path("missing/file"), O_WRONLY, descriptor), ENOENT);
    EXPECT_EQ(descriptor, -1);
}

TEST_F(FileReplacement, OpensWithTheLowestDescriptorAsWithAnyOther) {
    const int kept = ::fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    ::close(STDIN_FILENO);
    const mode_t former = ::umask(0777);
    int descriptor = -1;
    const int error = openForAppending(path("log"), O_WRONLY, descriptor);
    ::umask(former);
    ::dup2(kept, STDIN_FILENO);
    ::close(kept);
    EXPECT_EQ(error, 0);
    EXPECT_EQ(descriptor, STDIN_FILENO);
    EXPECT_EQ(static_cast<unsigned>(fs::status(path("log")).permissions()), 0600U);
}

TEST_F(FileReplacement, CopiesIntoANewFileForTheOwnerOnly) {
    directory_.write("from", "contents");
    fs::permissions(path("from"), fs::perms(0666));
    EXPECT_TRUE(copy("from", "to"));
    EXPECT_EQ(directory_.read("to"), "contents");
    EXPECT_EQ(modeOf("to"), 0600U);
    EXPECT_EQ(directory_.read("from"), "contents");
    EXPECT_THAT(log_->lines(), IsEmpty());
}

TEST_F(FileReplacement, CopiesOverAFileAndKeepsItsPermissions) {
    directory_.write("from", std::string(300000, 'x'));
    directory_.write("to", "old");
    fs::permissions(path("to"), fs::perms(0640));
    EXPECT_TRUE(copy("from", "to"));
    EXPECT_EQ(directory_.read("to"), std::string(300000, 'x'));
    EXPECT_EQ(modeOf("to"), 0640U);
    EXPECT_THAT(names(), UnorderedElementsAre("from", "to"));
}

TEST_F(FileReplacement, KeepsTheOwnerOfTheDestination) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root may give files away";
    }
    directory_.write("from", "new");
    for (const auto& [user, group] : {std::pair{12345U, 23456U}, std::pair{0U, 23456U}, std::pair{12345U, 0U}}) {
        directory_.write("to", "old");
        ASSERT_EQ(chown(path("to").c_str(), user, group), 0);
        ASSERT_EQ(chmod(path("to").c_str(), 0664), 0);
        EXPECT_TRUE(copy("from", "to"));
        EXPECT_EQ(statusOf("to").st_uid, user);
        EXPECT_EQ(statusOf("to").st_gid, group);
        EXPECT_EQ(statusOf("to").st_mode & 07777U, 0664U);
    }
}

TEST_F(FileReplacement, NeverWritesIntoTheFileThatIsThere) {
    directory_.write("from", "new");
    directory_.write("to", "old");
    fs::create_hard_link(path("to"), path("second name"));
    EXPECT_TRUE(copy("from", "to"));
    EXPECT_EQ(directory_.read("to"), "new");
    EXPECT_EQ(directory_.read("second name"), "old");
}

TEST_F(FileReplacement, CopiesAFileOntoItself) {
    directory_.write("file", "contents");
    EXPECT_TRUE(copy("file", "file"));
    EXPECT_EQ(directory_.read("file"), "contents");
}

TEST_F(FileReplacement, CopiesOverAnExistingFileOnlyIfAllowed) {
    directory_.write("from", "new");
    directory_.write("to", "old");
    EXPECT_FALSE(copy("from", "to", true));
    EXPECT_EQ(directory_.read("to"), "old");
    EXPECT_THAT(log_->texts(3), ElementsAre("cannot copy [" + path("from") + "] to [" + path("to") + "]: File exists"));
    EXPECT_TRUE(copy("from", "new", true));
    EXPECT_EQ(directory_.read("new"), "new");
    EXPECT_THAT(names(), UnorderedElementsAre("from", "to", "new"));
}

TEST_F(FileReplacement, WritesWhereALinkLeads) {
    directory_.write("from", "new");
    directory_.write("folder/target", "old");
    fs::permissions(path("folder/target"), fs::perms(0644));
    fs::create_symlink("folder/target", path("inner"));
    fs::create_symlink(path("inner"), path("outer"));
    EXPECT_TRUE(copy("from", "outer"));
    EXPECT_TRUE(fs::is_symlink(path("outer")));
    EXPECT_TRUE(fs::is_symlink(path("inner")));
    EXPECT_EQ(directory_.read("folder/target"), "new");
    EXPECT_EQ(modeOf("folder/target"), 0644U);
}

TEST_F(FileReplacement, MakesTheMissingTargetOfALink) {
    directory_.write("from", "new");
    fs::create_symlink("target", path("link"));
    EXPECT_TRUE(copy("from", "link"));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(directory_.read("target"), "new");
}

TEST_F(FileReplacement, FollowsNoLinkOfAStrangersUnlessTheFolderIsHisToo) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    directory_.write("from", "new");
    directory_.write("target", "old");
    fs::create_symlink("target", path("link"));
    ASSERT_EQ(lchown(path("link").c_str(), 65534, 65534), 0);
    EXPECT_FALSE(copy("from", "link"));
    EXPECT_FALSE(FileUtils::replaceFileDurably(directory_.write("link.new", "new"), path("link")));
    EXPECT_THAT(names(), UnorderedElementsAre("from", "target", "link")) << "what cannot be put in place goes";
    EXPECT_EQ(directory_.read("target"), "old");
    ASSERT_EQ(chown(directory_.path().c_str(), 65534, 65534), 0);
    EXPECT_TRUE(copy("from", "link"));
    EXPECT_EQ(directory_.read("target"), "new");
    EXPECT_TRUE(fs::is_symlink(path("link")));
}

TEST_F(FileReplacement, FollowsALinkOfTheAdministratorsForAUser) {
    constexpr uid_t someUser = 65534;
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    directory_.write("target", "old");
    fs::create_symlink("target", path("link"));
    for (const std::string& file : {directory_.path(), path("target")}) {
        ASSERT_EQ(chown(file.c_str(), someUser, someUser), 0);
    }
    // The folder is a stranger's too, so that the link counts by its own maker.
    ASSERT_EQ(chown(directory_.path().c_str(), someUser - 1, someUser), 0);
    ASSERT_EQ(chmod(directory_.path().c_str(), 0770), 0);
    EXPECT_EQ(support::runForked([&] {
                  const bool isUser = setgid(someUser) == 0 && setuid(someUser) == 0;
                  return isUser && FileUtils::writeFileAtomically(path("link"), "new") ? 0 : 1;
              }),
              0);
    EXPECT_EQ(directory_.read("target"), "new");
}

TEST_F(FileReplacement, FollowsThirtyNineLinksAndNoMore) {
    directory_.write("from", "new");
    directory_.write("link0", "old");
    for (int link = 1; link <= 40; ++link) {
        fs::create_symlink("link" + std::to_string(link - 1), path("link" + std::to_string(link)));
    }
    EXPECT_FALSE(copy("from", "link40"));
    EXPECT_EQ(directory_.read("link0"), "old");
    EXPECT_TRUE(copy("from", "link39"));
    EXPECT_EQ(directory_.read("link0"), "new");
}

TEST_F(FileReplacement, GivesUpOnLinksThatLeadInACircle) {
    directory_.write("from", "new");
    fs::create_symlink("b", path("a"));
    fs::create_symlink("a", path("b"));
    EXPECT_FALSE(copy("from", "a"));
    EXPECT_THAT(names(), UnorderedElementsAre("from", "a", "b"));
}

TEST_F(FileReplacement, RefusesADestinationThatIsNoFile) {
    directory_.write("from", "new");
    fs::create_directory(path("folder"));
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(copy("from", "folder"));
    EXPECT_FALSE(copy("from", "pipe"));
    EXPECT_FALSE(FileUtils::copyFile(path("from"), "/dev/full", false));
    EXPECT_FALSE(FileUtils::writeFileAtomically("/dev/full", "new"));
    EXPECT_TRUE(fs::is_directory(path("folder")));
    EXPECT_TRUE(fs::is_fifo(path("pipe")));
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
    EXPECT_THAT(names(), UnorderedElementsAre("from", "folder", "pipe"));
    EXPECT_EQ(log_->texts(3).size(), 4U);
}

TEST_F(FileReplacement, RefusesADestinationThatCannotBe) {
    directory_.write("from", "new");
    EXPECT_FALSE(copy("from", "from/below"));
    EXPECT_FALSE(copy("from", "missing/to"));
    EXPECT_FALSE(copy("from", std::string(256, 'n')));
    EXPECT_FALSE(FileUtils::copyFile(path("from"), "", false));
    EXPECT_THAT(names(), ElementsAre("from"));
    EXPECT_EQ(log_->texts(3).size(), 4U);
}

TEST_F(FileReplacement, TakesTheLongestNameThereIs) {
    const std::string name(255, 'n');
    directory_.write("from", "new");
    EXPECT_TRUE(copy("from", name));
    EXPECT_EQ(directory_.read(name), "new");
}

TEST_F(FileReplacement, RefusesASourceThatIsNoFile) {
    directory_.write("to", "old");
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);
    EXPECT_FALSE(copy("missing", "to"));
    EXPECT_FALSE(copy("pipe", "to"));
    EXPECT_FALSE(FileUtils::copyFile(directory_.path(), path("to"), false));
    EXPECT_FALSE(FileUtils::copyFile("/dev/zero", path("to"), false));
    EXPECT_EQ(directory_.read("to"), "old");
    EXPECT_THAT(names(), UnorderedElementsAre("to", "pipe"));
}

TEST_F(FileReplacement, LetsOnlyOneOfManyThreadsMakeANewFile) {
    constexpr std::size_t count = 4;
    std::latch start(count);
    std::vector<int> made(count, 0);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        directory_.write("from" + std::to_string(i), std::to_string(i));
        threads.emplace_back([&, i] {
            start.arrive_and_wait();
            made[i] = copy("from" + std::to_string(i), "to", true);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    ASSERT_EQ(std::count(made.begin(), made.end(), 1), 1);
    EXPECT_EQ(directory_.read("to"), std::to_string(std::find(made.begin(), made.end(), 1) - made.begin()));
    EXPECT_EQ(names().size(), count + 1);
}

TEST_F(FileReplacement, WritesContentsWithTheSamePromise) {
    EXPECT_TRUE(FileUtils::writeFileAtomically(path("to"), std::string("a\0b", 3)));
    EXPECT_EQ(directory_.read("to"), std::string("a\0b", 3));
    EXPECT_EQ(modeOf("to"), 0600U);
    fs::permissions(path("to"), fs::perms(0644));
    EXPECT_TRUE(FileUtils::writeFileAtomically(path("to"), ""));
    EXPECT_EQ(directory_.read("to"), "");
    EXPECT_EQ(modeOf("to"), 0644U);
    EXPECT_FALSE(FileUtils::writeFileAtomically(path("to/below"), "x"));
    EXPECT_EQ(log_->count(3, "cannot write [" + path("to/below") + "]: Not a directory"), 1U);
}

TEST_F(FileReplacement, PutsAFinishedSiblingInPlace) {
    directory_.write("to.new", "new");
    fs::permissions(path("to.new"), fs::perms(0666));
    EXPECT_TRUE(FileUtils::replaceFileDurably(path("to.new"), path("to")));
    EXPECT_EQ(directory_.read("to"), "new");
    EXPECT_EQ(modeOf("to"), 0600U);
    EXPECT_THAT(names(), ElementsAre("to"));
}

TEST_F(FileReplacement, PutsAFinishedSiblingInPlaceWithThePermissionsOfTheOldFile) {
    directory_.write("to", "old");
    fs::permissions(path("to"), fs::perms(0644));
    fs::create_symlink("to", path("link"));
    EXPECT_TRUE(FileUtils::replaceFileDurably(directory_.write("to.new", "new"), path("link")));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(directory_.read("to"), "new");
    EXPECT_EQ(modeOf("to"), 0644U);
    EXPECT_THAT(names(), UnorderedElementsAre("to", "link"));
}

TEST_F(FileReplacement, RemovesAFinishedSiblingThatCannotBePutInPlace) {
    fs::create_directory(path("folder"));
    EXPECT_FALSE(FileUtils::replaceFileDurably(directory_.write("a.new", "new"), path("folder")));
    EXPECT_FALSE(FileUtils::replaceFileDurably(directory_.write("b.new", "new"), path("missing/to")));
    EXPECT_FALSE(FileUtils::replaceFileDurably(path("missing"), path("to")));
    EXPECT_THAT(names(), ElementsAre("folder"));
    EXPECT_EQ(
        log_->count(3, "cannot move [" + path("missing") + "] to [" + path("to") + "]: No such file or directory"), 1U);
}

TEST_F(FileReplacement, MovesAFile) {
    directory_.write("from", "new");
    fs::permissions(path("from"), fs::perms(0640));
    directory_.write("to", "old");
    EXPECT_EQ(move("from", "to"), 0);
    EXPECT_EQ(directory_.read("to"), "new");
    EXPECT_EQ(modeOf("to"), 0640U);
    EXPECT_THAT(names(), ElementsAre("to"));
    EXPECT_THAT(log_->lines(), IsEmpty());
}

TEST_F(FileReplacement, MovesOverAnExistingFileOnlyIfAllowed) {
    directory_.write("from", "new");
    directory_.write("to", "old");
    EXPECT_EQ(move("from", "to", true), EEXIST);
    EXPECT_EQ(directory_.read("from"), "new");
    EXPECT_EQ(directory_.read("to"), "old");
    EXPECT_THAT(log_->texts(3), ElementsAre("cannot move [" + path("from") + "] to [" + path("to") + "]: File exists"));
    EXPECT_EQ(move("from", "free", true), 0);
    EXPECT_EQ(directory_.read("free"), "new");
}

TEST_F(FileReplacement, MovesALinkAsALink) {
    directory_.write("target", "contents");
    fs::create_symlink("target", path("link"));
    EXPECT_EQ(move("link", "moved"), 0);
    EXPECT_TRUE(fs::is_symlink(path("moved")));
    EXPECT_THAT(names(), UnorderedElementsAre("target", "moved"));
}

TEST_F(FileReplacement, GivesTheErrorOfAMoveThatFailed) {
    directory_.write("from", "new");
    fs::create_directory(path("folder"));
    EXPECT_EQ(move("missing", "to"), ENOENT);
    EXPECT_EQ(move("folder", "to"), EISDIR);
    EXPECT_EQ(move("from", "folder"), EISDIR);
    EXPECT_EQ(move("from", "from/below"), ENOTDIR);
    EXPECT_EQ(move("from", std::string(256, 'n')), ENAMETOOLONG);
    EXPECT_THAT(names(), UnorderedElementsAre("from", "folder"));
}

/// A folder on another file system than the temporary one.
class FolderElsewhere {
public:
    FolderElsewhere() {
        char pattern[] = "/dev/shm/corvid-test-XXXXXX";
        if (const char* const made = mkdtemp(pattern)) {
            path_ = made;
        }
    }
    ~FolderElsewhere() {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }

    bool isElsewhereThan(const std::string& other) const {
        struct stat own {};
        struct stat others {};
        return stat(path_.c_str(), &own) == 0 && stat(other.c_str(), &others) == 0 && own.st_dev != others.st_dev;
    }

    std::string path(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_ = "/nowhere";
};

std::string contentsOf(const std::string& path) {
    std::string contents;
    EXPECT_TRUE(FileUtils::readFile(path, contents));
    return contents;
}

TEST_F(FileReplacement, MovesAcrossFileSystems) {
    const FolderElsewhere elsewhere;
    if (!elsewhere.isElsewhereThan(directory_.path())) {
        GTEST_SKIP() << "this machine has one file system only";
    }
    fs::permissions(directory_.write("from", "new"), fs::perms(0640));
    EXPECT_EQ(FileUtils::moveFile(path("from"), elsewhere.path("to"), true), 0);
    EXPECT_EQ(contentsOf(elsewhere.path("to")), "new");
    EXPECT_EQ(static_cast<unsigned>(fs::status(elsewhere.path("to")).permissions()), 0640U);
    EXPECT_FALSE(directory_.exists("from"));
    directory_.write("from", "newer");
    EXPECT_EQ(FileUtils::moveFile(path("from"), elsewhere.path("to"), true), EEXIST);
    EXPECT_EQ(contentsOf(elsewhere.path("to")), "new");
    EXPECT_EQ(FileUtils::moveFile(path("from"), elsewhere.path("to"), false), 0);
    EXPECT_EQ(contentsOf(elsewhere.path("to")), "newer");
}

TEST_F(FileReplacement, MovesAcrossFileSystemsIntoThePlaceOfALink) {
    const FolderElsewhere elsewhere;
    if (!elsewhere.isElsewhereThan(directory_.path())) {
        GTEST_SKIP() << "this machine has one file system only";
    }
    directory_.write("from", "new");
    fs::create_symlink(elsewhere.path("target"), elsewhere.path("link"));
    EXPECT_EQ(FileUtils::moveFile(path("from"), elsewhere.path("link"), true), EEXIST);
    EXPECT_EQ(FileUtils::moveFile(path("from"), elsewhere.path("link"), false), 0);
    EXPECT_TRUE(fs::is_regular_file(fs::symlink_status(elsewhere.path("link"))));
    EXPECT_EQ(contentsOf(elsewhere.path("link")), "new");
    EXPECT_FALSE(fs::exists(elsewhere.path("target")));
}

TEST_F(FileReplacement, PutsAFinishedSiblingWhereALinkLeadsAcrossFileSystems) {
    const FolderElsewhere elsewhere;
    if (!elsewhere.isElsewhereThan(directory_.path())) {
        GTEST_SKIP() << "this machine has one file system only";
    }
    fs::create_symlink(elsewhere.path("target"), path("link"));
    EXPECT_TRUE(FileUtils::replaceFileDurably(directory_.write("to.new", "new"), path("link")));
    EXPECT_EQ(contentsOf(elsewhere.path("target")), "new");
    EXPECT_THAT(names(), ElementsAre("link"));
}

}  // namespace
}  // namespace QuillCoreUtils
