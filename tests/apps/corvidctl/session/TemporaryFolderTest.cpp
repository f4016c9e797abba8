#include "session/TemporaryFolder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "cli/WrongUse.h"
#include "fakes/TemporaryDirectory.h"
#include "session/ProfileCopy.h"
#include "support/ForkedChild.h"

using corvidctl::ProfileCopy;
using corvidctl::TemporaryFolder;

namespace {

namespace fs = std::filesystem;

/// The temporary folders are made in one of the test's own.
class TemporaryFolders : public testing::Test {
protected:
    TemporaryFolders() {
        fs::create_directory(place());
        profile_.write("corvidLocalConfig.xml", "secret");
        profile_.write("Cache/cached.xml", "secret");
        setenv("TMPDIR", place().c_str(), 1);
    }
    ~TemporaryFolders() override { before_.empty() ? unsetenv("TMPDIR") : setenv("TMPDIR", before_.c_str(), 1); }

    std::string place() const { return directory_.path("tmp"); }

    /// Has a program copy the profile and be killed.
    void leaveOne() const {
        const int status = support::runForked([this] {
            const ProfileCopy copy(profile_.path());
            return kill(getpid(), SIGKILL);
        });
        EXPECT_EQ(status, 128 + SIGKILL);
    }

    /// How much there is, in the place and below.
    long count() const { return std::distance(fs::recursive_directory_iterator(place()), {}); }

    const std::string before_ = std::getenv("TMPDIR") == nullptr ? "" : std::getenv("TMPDIR");
    const fakes::TemporaryDirectory directory_;
    const fakes::TemporaryDirectory profile_;
};

TEST_F(TemporaryFolders, AreNotMadeWhereTheNamedPlaceIsNone) {
    setenv("TMPDIR", directory_.path("none").c_str(), 1);
    try {
        const TemporaryFolder folder;
        FAIL();
    } catch (const corvidctl::WrongUse& error) {
        EXPECT_EQ(error.what(), "TMPDIR '" + directory_.path("none") + "': expected a folder that can be written");
    }
    setenv("TMPDIR", "", 1);
    EXPECT_THAT(TemporaryFolder().path(), testing::StartsWith("/tmp/"));
}

TEST_F(TemporaryFolders, GoAtTheEnd) {
    {
        const ProfileCopy copy(profile_.path());
        EXPECT_TRUE(fs::exists(copy.path() + "/Cache/cached.xml"));
    }
    EXPECT_EQ(count(), 0);
}

TEST_F(TemporaryFolders, HoldOfAProfileWhatTheModuleReads) {
    profile_.write("corvid-config-user.xml", "mine");
    profile_.write("big.log", "stray");
    profile_.write("corvid-config.xml", "of a former version");
    profile_.write("Cache/cachedTFTPConfigStore.download.json", "{}");
    profile_.write("elsewhere/corvidLocalConfig.xml", "stray");
    fs::remove(profile_.path("Cache/cached.xml"));
    profile_.write("kept.xml", "kept");
    fs::create_symlink(profile_.path("kept.xml"), profile_.path("Cache/cachedTFTPConfigStore.xml"));
    fs::create_symlink("nowhere", profile_.path("Cache/cachedNobody.xml"));
    fs::create_directory(profile_.path("Cache/cachedFolder.xml"));
    const ProfileCopy copy(profile_.path());
    std::vector<std::string> held;
    for (const auto& entry : fs::recursive_directory_iterator(copy.path())) {
        held.push_back(entry.path().lexically_relative(copy.path()).string());
    }
    EXPECT_THAT(held, testing::UnorderedElementsAre("corvidLocalConfig.xml", "corvid-config-user.xml",
                                                    "corvid-config.xml", "Cache", "Cache/cachedTFTPConfigStore.xml"));
    EXPECT_EQ(fs::file_size(copy.path() + "/corvid-config.xml"), 0U);
}

TEST_F(TemporaryFolders, TellWhichFileOfAProfileCannotBeRead) {
    fs::permissions(profile_.path(), fs::perms(0755));
    fs::permissions(profile_.path("Cache"), fs::perms(0755));
    fs::permissions(place(), fs::perms(0777));
    fs::permissions(directory_.path(), fs::perms(0755));
    const auto complaint = [this] {
        const int status = support::runForked([this] {
            if (geteuid() == 0 && setuid(65534) != 0) {
                return 3;
            }
            try {
                const ProfileCopy copy(profile_.path());
                return 0;
            } catch (const corvidctl::WrongUse& error) {
                std::ofstream(place() + "/said") << error.what();
                return 2;
            }
        });
        EXPECT_EQ(status, 2);
        const std::string said = directory_.read("tmp/said");
        fs::remove(place() + "/said");
        return said;
    };
    fs::permissions(profile_.path("Cache/cached.xml"), fs::perms::none);
    EXPECT_EQ(complaint(), "'" + profile_.path("Cache/cached.xml") + "': expected a file that can be read");
    fs::permissions(profile_.path("Cache"), fs::perms::none);
    EXPECT_EQ(complaint(), "'" + profile_.path("Cache") + "': expected a folder that can be read");
    fs::permissions(profile_.path("Cache"), fs::perms::owner_all);
    EXPECT_EQ(count(), 0);
}

TEST_F(TemporaryFolders, OfAKilledProgramGoWhenTheNextIsMade) {
    leaveOne();
    leaveOne();
    EXPECT_GT(count(), 3);
    const TemporaryFolder next;
    EXPECT_EQ(count(), 2);  // the outer and the inner one
}

TEST_F(TemporaryFolders, InUseStay) {
    const ProfileCopy ofThisProgram(profile_.path());
    support::ForkedChild other([this](int channel) {
        const ProfileCopy copy(profile_.path());
        const bool isTold = write(channel, ".", 1) == 1;
        pause();
        return isTold ? 0 : 1;
    });
    char told = 0;
    ASSERT_EQ(read(other.channel(), &told, 1), 1);
    const long before = count();
    { const TemporaryFolder next; }
    EXPECT_EQ(count(), before);
    EXPECT_TRUE(fs::exists(ofThisProgram.path() + "/corvidLocalConfig.xml"));
    other.end();
    { const TemporaryFolder next; }
    EXPECT_EQ(count(), before / 2);
}

TEST_F(TemporaryFolders, LeaveAloneWhatIsNoneOfTheirs) {
    directory_.write("outside/file", "");
    directory_.write("tmp/corvidctl-temporary-abc/file", "");
    directory_.write("tmp/corvidctl-temporary-abcdefg/file", "");
    directory_.write("tmp/corvidctl-temporary-ab.def/file", "");
    directory_.write("tmp/corvidctl-temporary-shared/file", "");
    directory_.write("tmp/corvidctl-temporary-isfile", "");
    fs::permissions(directory_.path("outside"), fs::perms(0700));
    for (const auto& entry : fs::directory_iterator(place())) {
        const bool isShared = entry.path().filename().string().ends_with("shared");
        fs::permissions(entry.path(), fs::perms(isShared ? 0755 : 0700));
    }
    fs::create_directory_symlink(directory_.path("outside"), place() + "/corvidctl-temporary-islink");
    if (geteuid() == 0) {
        directory_.write("tmp/corvidctl-temporary-others/file", "");
        fs::permissions(place() + "/corvidctl-temporary-others", fs::perms(0700));
        ASSERT_EQ(chown((place() + "/corvidctl-temporary-others").c_str(), 65534, 65534), 0);
    }
    const long before = count();
    { const TemporaryFolder next; }
    EXPECT_EQ(count(), before);
    EXPECT_TRUE(directory_.exists("outside/file"));
}

TEST_F(TemporaryFolders, AreRemovedWithTheirLinksAndWithNothingThatTheseLeadTo) {
    leaveOne();
    directory_.write("outside/file", "");
    const fs::path left = fs::directory_iterator(place())->path();
    fs::create_directory_symlink(directory_.path("outside"), left / "link");
    fs::create_directory_symlink(directory_.path("outside"), left / "in/link");
    { const TemporaryFolder next; }
    EXPECT_EQ(count(), 0);
    EXPECT_TRUE(directory_.exists("outside/file"));
}

}  // namespace
