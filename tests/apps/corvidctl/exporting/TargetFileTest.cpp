#include "exporting/TargetFile.h"

#include <sys/resource.h>
#include <sys/stat.h>

#include <csignal>
#include <filesystem>

#include "fakes/TemporaryDirectory.h"
#include "support/ForkedChild.h"

using corvidctl::TargetFile;

namespace {

namespace fs = std::filesystem;

class Target : public testing::Test {
protected:
    Target() : oldMask_(umask(S_IWGRP | S_IWOTH)) {}
    ~Target() override { umask(oldMask_); }

    mode_t modeOf(const std::string& name) const {
        struct stat status {};
        EXPECT_EQ(stat(directory_.path(name).c_str(), &status), 0);
        return status.st_mode & 0777;
    }

    std::size_t numberOfFiles() const {
        const fs::directory_iterator entries(directory_.path());
        return static_cast<std::size_t>(std::distance(fs::begin(entries), fs::end(entries)));
    }

    const fakes::TemporaryDirectory directory_;
    const mode_t oldMask_;
};

}  // namespace

TEST_F(Target, IsWrittenWithThePermissionsOfNewFiles) {
    TargetFile(directory_.path("a")).write("text", false, false);
    EXPECT_EQ(directory_.read("a"), "text");
    EXPECT_EQ(modeOf("a"), 0644U);
    EXPECT_EQ(numberOfFiles(), 1U);
}

TEST_F(Target, IsForItsOwnerAloneWhenItHasSecrets) {
    TargetFile(directory_.path("a")).write("text", true, false);
    EXPECT_EQ(modeOf("a"), 0600U);
    directory_.write("open", "old");
    TargetFile(directory_.path("open")).write("new", true, true);
    EXPECT_EQ(directory_.read("open"), "new");
    EXPECT_EQ(modeOf("open"), 0600U);
    EXPECT_EQ(numberOfFiles(), 2U);
}

TEST_F(Target, KeepsThePermissionsOfAFileThatItReplaces) {
    directory_.write("a", "old");
    fs::permissions(directory_.path("a"), fs::perms::owner_read | fs::perms::owner_write);
    TargetFile(directory_.path("a")).write("new", false, true);
    EXPECT_EQ(directory_.read("a"), "new");
    EXPECT_EQ(modeOf("a"), 0600U);
}

TEST_F(Target, NeverReplacesAFileUnasked) {
    const TargetFile target(directory_.write("a", "old"));
    EXPECT_TRUE(target.isThere());
    EXPECT_THROW(target.write("new", false, false), std::runtime_error);
    EXPECT_THROW(target.write("new", true, false), std::runtime_error);
    EXPECT_EQ(directory_.read("a"), "old");
    EXPECT_EQ(numberOfFiles(), 1U);
}

TEST_F(Target, LosesWithTheNextWriteWhatAKilledOneLeft) {
    const TargetFile target(directory_.path("a"));
    for (const bool isPrivate : {false, true}) {
        for (const bool replaces : {false, true}) {
            const int status = support::runForked([&] {
                const rlimit room{2, 2};
                const rlimit noCore{0, 0};
                setrlimit(RLIMIT_CORE, &noCore);
                std::signal(SIGXFSZ, SIG_DFL);
                setrlimit(RLIMIT_FSIZE, &room);  // kills whoever writes more
                target.write("text", isPrivate, replaces);
                return 0;
            });
            ASSERT_EQ(status, 128 + SIGXFSZ);
            ASSERT_EQ(numberOfFiles(), 1U) << "what is to go";
            target.write("text", isPrivate, replaces);
            EXPECT_EQ(directory_.read("a"), "text");
            EXPECT_EQ(numberOfFiles(), 1U);
            fs::remove(directory_.path("a"));
        }
    }
}

TEST_F(Target, FollowsALink) {
    directory_.write("real", "old");
    fs::create_symlink("real", directory_.path("link"));
    TargetFile(directory_.path("link")).write("new", true, true);
    EXPECT_TRUE(fs::is_symlink(directory_.path("link")));
    EXPECT_EQ(directory_.read("real"), "new");
    fs::create_symlink("nothing", directory_.path("dangling"));
    EXPECT_TRUE(TargetFile(directory_.path("dangling")).isThere());
}

TEST_F(Target, IsAFileInAFolder) {
    EXPECT_TRUE(TargetFile(directory_.path("a")).isWritable());
    EXPECT_FALSE(TargetFile(directory_.path()).isWritable());
    EXPECT_FALSE(TargetFile(directory_.path("none/a")).isWritable());
    EXPECT_FALSE(TargetFile(directory_.path("a/")).isWritable());
    EXPECT_FALSE(TargetFile("/dev/null").isWritable());
    EXPECT_FALSE(TargetFile("").isWritable());
}

TEST_F(Target, IsTheSameUnderAnyPath) {
    const TargetFile there(directory_.write("a", "text"));
    fs::create_symlink("a", directory_.path("link"));
    fs::create_hard_link(directory_.path("a"), directory_.path("hard"));
    const TargetFile missing(directory_.path("b"));
    EXPECT_TRUE(there.isSameAs(directory_.path("link")));
    EXPECT_TRUE(there.isSameAs(directory_.path("hard")));
    EXPECT_TRUE(missing.isSameAs(directory_.path("./b")));
    EXPECT_FALSE(there.isSameAs(directory_.path("b")));
    EXPECT_FALSE(missing.isSameAs(directory_.path("a")));
    EXPECT_FALSE(missing.isSameAs(directory_.path("c")));
}

TEST_F(Target, IsTheModulesOwnUnderAnyPath) {
    host::ReferenceHost::Options host;
    host.configDirectory = directory_.path("config");
    host.installationDirectory = directory_.path("install");
    host.bootstrapFilePath = directory_.path("boot.properties");
    fs::create_directories(directory_.path("config/Cache"));
    fs::create_symlink("config", directory_.path("link"));
    for (const char* const name :
         {"config/corvidLocalConfig.xml", "config/corvid-config-user.xml", "config/corvid-config.xml",
          "config/Cache/cachedX.xml", "config/Cache/cachedX.download.json", "link/Cache/../corvidLocalConfig.xml",
          "config/corvidLocalConfig-backup.xml", "config/corvidLocalConfig-backup-2.xml",
          "install/corvid-config-defaults.xml", "install/corvid-config-defaults-backup.xml", "boot.properties"}) {
        EXPECT_TRUE(TargetFile(directory_.path(name)).belongsToModule(host)) << name;
    }
    host.configDirectory = directory_.path("link");
    EXPECT_TRUE(TargetFile(directory_.path("config/Cache/cachedX.xml")).belongsToModule(host));
    EXPECT_TRUE(TargetFile(directory_.path("config/corvidLocalConfig.xml")).belongsToModule(host));
    for (const char* const name : {"corvidLocalConfig.xml", "config/export.xml", "config/Cache/export.json",
                                   "config/Cache/corvidLocalConfig.download.json", "config/backup.xml",
                                   "config/corvid-config-defaults-backup.xml", "install/corvidLocalConfig.xml",
                                   "config/Cache/deep/cachedX.xml"}) {
        EXPECT_FALSE(TargetFile(directory_.path(name)).belongsToModule(host)) << name;
    }
}
