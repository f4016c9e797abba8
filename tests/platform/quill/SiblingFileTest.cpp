#include "impl/quill/SiblingFile.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "quill/FileUtils.h"
#include "support/AtLocks.h"
#include "support/NoFolderSyncs.h"
#include "support/NoRenameFlags.h"
#include "support/OrdinaryUser.h"

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

namespace QuillCoreUtils {
namespace {

namespace fs = std::filesystem;

class SiblingFiles : public testing::Test {
protected:
    std::string path(const std::string& name) const { return directory_.path(name); }

    unsigned modeOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(lstat(path(name).c_str(), &status), 0);
        return status.st_mode & 07777U;
    }

    std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(directory_.path())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    /// Puts "from" in the place of "to", by way of a sibling.
    bool copy() const { return FileUtils::copyFile(path("from"), path("to"), false); }

    const fakes::TemporaryDirectory directory_;
};

TEST_F(SiblingFiles, RemovesWhatDeadProcessesLeftAndNothingElse) {
    directory_.write("from", "new");
    directory_.write(".to.1.1.new", "half");
    directory_.write(".to." + std::to_string(getpid()) + ".999999.new", "half");
    const std::vector<std::string> kept = {".to.new",         ".to.1.new",  ".to.1.x.new",
                                           ".to.1.1.new.xml", "to.1.1.new", ".to.1..new",
                                           ".other.1.1.new",  ".to..1.new", ".to.1.1.1.new"};
    for (const std::string& name : kept) {
        directory_.write(name, "kept");
    }
    EXPECT_TRUE(copy());
    for (const std::string& name : kept) {
        EXPECT_EQ(directory_.read(name), "kept") << name;
    }
    EXPECT_EQ(names().size(), kept.size() + 2);
}

TEST_F(SiblingFiles, LeavesASiblingThatIsAtWork) {
    directory_.write("from", "new");
    SiblingFile other(path("to"));
    ASSERT_EQ(other.create(), 0);
    ASSERT_EQ(other.append("other"), 0);
    EXPECT_TRUE(copy());
    EXPECT_EQ(directory_.read("to"), "new");
    EXPECT_EQ(other.becomeDestination(false), 0);
    EXPECT_EQ(directory_.read("to"), "other");
    EXPECT_THAT(names(), UnorderedElementsAre("from", "to"));
}

TEST_F(SiblingFiles, NamesASiblingSoThatNoSearchForDocumentsFindsIt) {
    SiblingFile sibling(path("to.xml"));
    ASSERT_EQ(sibling.create(), 0);
    EXPECT_THAT(names(), ElementsAre(testing::MatchesRegex("\\.to\\.xml\\.[0-9]+\\.[0-9]+\\.new")));
    EXPECT_EQ(modeOf(names().front()), 0600U);
}

TEST_F(SiblingFiles, RemovesWhatDeadProcessesLeftBesideWhatItCannotOpen) {
    // The folder tells them in an order of its own.
    for (int number = 0; number < 30; number += 2) {
        fs::create_directory(path(".to.4711." + std::to_string(number) + ".new"));
        directory_.write(".to.4711." + std::to_string(number + 1) + ".new", "half");
    }
    FileUtils::removeStaleSiblings(path("to"));
    EXPECT_EQ(names().size(), 15U);
}

TEST_F(SiblingFiles, DoWithoutLocksWhereTheFileSystemHasNone) {
    directory_.write("from", "new");
    directory_.write(".to.1.1.new", "perhaps at work");
    const support::AtLocks none([] { return ENOLCK; });
    EXPECT_TRUE(copy());
    EXPECT_EQ(directory_.read("to"), "new");
    EXPECT_EQ(directory_.read(".to.1.1.new"), "perhaps at work");
}

TEST_F(SiblingFiles, AreMadeAnewIfTheyAreRemovedBeforeTheyAreLocked) {
    directory_.write("from", "new");
    int locks = 0;
    const support::AtLocks sweeper([&] {
        for (const std::string& name : names()) {
            if (locks == 0 && name != "from") {
                fs::remove(path(name));
            }
        }
        ++locks;
        return 0;
    });
    EXPECT_TRUE(copy());
    EXPECT_EQ(locks, 2);
    EXPECT_EQ(directory_.read("to"), "new");
    EXPECT_THAT(names(), UnorderedElementsAre("from", "to"));
}

TEST_F(SiblingFiles, AreMadeAnewIfSomebodyElseLocksThemFirst) {
    directory_.write("from", "new");
    int locks = 0;
    const support::AtLocks sweeper([&] { return ++locks == 1 ? EWOULDBLOCK : 0; });
    EXPECT_TRUE(copy());
    EXPECT_EQ(locks, 2);
    EXPECT_EQ(directory_.read("to"), "new");
    // Whoever has locked the first one removes it.
    EXPECT_EQ(names().size(), 3U);
}

TEST_F(SiblingFiles, ReplaceNothingAlsoWhereTheFileSystemCannotRenameSo) {
    for (const int error : {EINVAL, ENOSYS}) {
        const support::NoRenameFlags none(error);
        for (const bool isThere : {false, true}) {
            SiblingFile sibling(path("to"));
            ASSERT_EQ(sibling.create(), 0);
            ASSERT_EQ(sibling.append("new"), 0);
            if (isThere) {
                directory_.write("to", "kept");
            }
            EXPECT_EQ(sibling.becomeDestination(true), isThere ? EEXIST : 0);
            EXPECT_EQ(directory_.read("to"), isThere ? "kept" : "new");
        }
        EXPECT_THAT(names(), ElementsAre("to"));
        fs::remove(path("to"));
    }
}

TEST_F(SiblingFiles, AreInPlaceWhereFoldersCannotBeSynced) {
    for (const int error : {EINVAL, EIO}) {
        const support::NoFolderSyncs none(error);
        SiblingFile sibling(path("to"));
        ASSERT_EQ(sibling.create(), 0);
        EXPECT_EQ(sibling.becomeDestination(false), error == EINVAL ? 0 : EIO);
        EXPECT_THAT(names(), ElementsAre("to"));
    }
}

/// A thread on a stack whose memory a test can look at when the thread has ended.
class ThreadOnAStackOfItsOwn {
public:
    explicit ThreadOnAStackOfItsOwn(std::function<void()> body) : body_(std::move(body)) {
        pthread_attr_t attributes;
        pthread_t thread = 0;
        EXPECT_EQ(pthread_attr_init(&attributes), 0);
        EXPECT_EQ(pthread_attr_setstack(&attributes, stack_.get(), size), 0);
        EXPECT_EQ(pthread_create(&thread, &attributes, &run, this), 0);
        EXPECT_EQ(pthread_join(thread, nullptr), 0);
        pthread_attr_destroy(&attributes);
    }

    bool hasLeft(std::string_view text) const {
        return std::string_view(stack_.get(), size).find(text) != std::string_view::npos;
    }

private:
    struct Free {
        void operator()(char* memory) const { std::free(memory); }
    };

    static void* run(void* self) {
        static_cast<ThreadOnAStackOfItsOwn*>(self)->body_();
        return nullptr;
    }

    static constexpr std::size_t size = 1U << 20U;
    const std::unique_ptr<char, Free> stack_{static_cast<char*>(std::aligned_alloc(4096, size))};
    const std::function<void()> body_;
};

TEST_F(SiblingFiles, LeaveNothingOfWhatTheyCopyOnTheStack) {
    directory_.write("from", "the password");
    const ThreadOnAStackOfItsOwn thread([this] {
        SiblingFile sibling(path("to"));
        ASSERT_EQ(sibling.create(), 0);
        const FileDescriptor source(::open(path("from").c_str(), O_RDONLY | O_CLOEXEC));
        ASSERT_EQ(sibling.appendAllOf(source.get()), 0);
        ASSERT_EQ(sibling.becomeDestination(false), 0);
        const volatile char left[] = "witness";
        EXPECT_EQ(left[0], 'w');
    });
    EXPECT_EQ(directory_.read("to"), "the password");
    EXPECT_FALSE(thread.hasLeft("password"));
    EXPECT_TRUE(thread.hasLeft("witness")) << "the stack was not looked at";
}

/// Siblings of "to" that an ordinary user's process has left, and one that may not be opened.
class StaleSiblings : public SiblingFiles {
protected:
    void put(const std::string& name, mode_t mode, bool isTheUsers = true) {
        directory_.write(name, "half");
        const uid_t owner = isTheUsers ? ORDINARY_USER : 0;
        if (geteuid() == 0) {
            ASSERT_EQ(chown(path(name).c_str(), owner, owner), 0);
        }
        ASSERT_EQ(chmod(path(name).c_str(), mode), 0);
    }

    /// As an ordinary user, in a folder that anybody may write to.
    void removeThem() {
        fs::permissions(directory_.path(), fs::perms::all);
        const support::OrdinaryUser user;
        if (!user.wasRoot() || !user.isOrdinary()) {
            GTEST_SKIP() << "files of two owners take root to make";
        }
        FileUtils::removeStaleSiblings(path("to"));
    }

    static constexpr uid_t ORDINARY_USER = 65534;
};

TEST_F(StaleSiblings, GoWhoseMakerDiedBeforeItCouldGiveThemTheirMode) {
    put(".to.4711.1.new", 0);
    put(".to.4711.2.new", 0200);
    removeThem();
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(StaleSiblings, OfSomebodyElsesAndWithOtherNamesKeepTheirModes) {
    put(".to.4711.1.new", 0, false);
    put("file", 0);
    fs::create_hard_link(path("file"), path(".to.4711.2.new"));
    fs::create_symlink("file", path(".to.4711.3.new"));
    removeThem();
    EXPECT_EQ(names().size(), 4U);
    EXPECT_EQ(modeOf(".to.4711.1.new"), 0U);
    EXPECT_EQ(modeOf("file"), 0U);
}

}  // namespace
}  // namespace QuillCoreUtils
