#include "impl/quill/SiblingFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "quill/FileUtils.h"
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
