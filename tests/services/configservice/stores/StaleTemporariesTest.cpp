#include "stores/StaleTemporaries.h"

#include <filesystem>

#include "StoreTestSupport.h"
#include "support/StrangersLink.h"

namespace storetests {
namespace {

using StaleTemporariesOfTheDead = StoreTest;

TEST_F(StaleTemporariesOfTheDead, AreRemovedBesideTheUsersFileAndInTheCache) {
    const std::vector<std::string> stale = {"config/.corvidLocalConfig.xml.temp",
                                            "config/.corvidLocalConfig.xml.4711.3.new",
                                            "config/Cache/cachedServer.xml.temp"};
    for (const std::string& file : stale) {
        write(file, "half a docum");
    }
    StaleTemporaries::remove();
    for (const std::string& file : stale) {
        EXPECT_FALSE(world_.directory().exists(file)) << file;
    }
    EXPECT_THAT(log_->lines(), testing::IsEmpty());
}

TEST_F(StaleTemporariesOfTheDead, AreRemovedBesideTheNotesOnCopies) {
    const std::vector<std::string> stale = {"config/Cache/.cachedServer.download.json.4711.3.new",
                                            "config/Cache/.cachedOther.download.json.4711.3.new"};
    const std::vector<std::string> others = {
        "config/Cache/cachedServer.xml", "config/Cache/cachedOther.xml", "config/Cache/cachedOther.download.json",
        "config/Cache/.report.download.json.4711.3.new", "config/Cache/report.xml"};
    for (const std::vector<std::string>& files : {stale, others}) {
        for (const std::string& file : files) {
            write(file, "text");
        }
    }
    StaleTemporaries::remove();
    for (const std::string& file : stale) {
        EXPECT_FALSE(world_.directory().exists(file)) << file;
    }
    for (const std::string& file : others) {
        EXPECT_EQ(read(file), "text") << file;
    }
}

TEST_F(StaleTemporariesOfTheDead, AreTheModulesOwnOnly) {
    const std::vector<std::string> others = {"config/corvidLocalConfig.xml",
                                             "config/Cache/cachedServer.xml",
                                             "config/notes.temp",
                                             "config/Cache/notes.temp",
                                             "config/.other.xml.4711.3.new",
                                             "config/.corvidLocalConfig.xml.mine.new",
                                             "config/Cache/report.xml.temp",
                                             "config/Cache/mycachedServer.xml.temp",
                                             "config/Cache/cachedServer.xml.TEMP",
                                             "config/Cache/cachedServer.temp",
                                             "config/Cache/folder/cachedServer.xml.temp"};
    for (const std::string& file : others) {
        write(file, "text");
    }
    StaleTemporaries::remove();
    for (const std::string& file : others) {
        EXPECT_EQ(read(file), "text") << file;
    }
}

TEST_F(StaleTemporariesOfTheDead, AreNotLookedForBehindALinkInTheCache) {
    write("elsewhere/cachedServer.xml.temp", "text");
    std::filesystem::create_directories(path("config/Cache"));
    std::filesystem::create_directory_symlink(path("elsewhere"), path("config/Cache/folder"));
    StaleTemporaries::remove();
    EXPECT_EQ(read("elsewhere/cachedServer.xml.temp"), "text");
}

TEST_F(StaleTemporariesOfTheDead, AreRemovedBehindTheUsersOwnLinkToACacheFolder) {
    write("elsewhere/cachedServer.xml.temp", "half a docum");
    write("elsewhere/report.xml.temp", "text");
    std::filesystem::create_directories(path("config"));
    std::filesystem::create_directory_symlink(path("elsewhere"), path("config/Cache"));
    StaleTemporaries::remove();
    EXPECT_FALSE(world_.directory().exists("elsewhere/cachedServer.xml.temp"));
    EXPECT_EQ(read("elsewhere/report.xml.temp"), "text");
}

TEST_F(StaleTemporariesOfTheDead, AreNotLookedForBehindAStrangersLink) {
    write("elsewhere/cachedServer.xml.temp", "text");
    std::filesystem::create_directories(path("config"));
    if (!support::makeStrangersLink(path("elsewhere"), path("config/Cache"))) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    StaleTemporaries::remove();
    EXPECT_EQ(read("elsewhere/cachedServer.xml.temp"), "text");
}

TEST_F(StaleTemporariesOfTheDead, AreNotLookedForInAConfigurationFolderBehindAStrangersLink) {
    const std::vector<std::string> theirs = {"elsewhere/.corvidLocalConfig.xml.temp",
                                             "elsewhere/.corvidLocalConfig.xml.4711.3.new",
                                             "elsewhere/Cache/cachedServer.xml.temp"};
    for (const std::string& file : theirs) {
        write(file, "text");
    }
    std::filesystem::remove_all(path("config"));
    if (!support::makeStrangersLink(path("elsewhere"), path("config"))) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    StaleTemporaries::remove();
    for (const std::string& file : theirs) {
        EXPECT_EQ(read(file), "text") << file;
    }
}

TEST_F(StaleTemporariesOfTheDead, AreRemovedBesideWhatTheUsersOwnLinksLeadTo) {
    const std::vector<std::string> stale = {"elsewhere/.user.xml.4711.3.new", "elsewhere/.server.xml.4711.3.new",
                                            "elsewhere/.gone.xml.4711.3.new"};
    const std::vector<std::string> others = {"elsewhere/server.xml", "elsewhere/.report.xml.4711.3.new"};
    for (const std::vector<std::string>& files : {stale, others}) {
        for (const std::string& file : files) {
            write(file, "text");
        }
    }
    std::filesystem::create_directories(path("config/Cache"));
    std::filesystem::create_symlink(path("elsewhere/user.xml"), path("config/corvidLocalConfig.xml"));
    std::filesystem::create_symlink(path("elsewhere/server.xml"), path("config/Cache/cachedServer.xml"));
    std::filesystem::create_symlink(path("elsewhere/gone.xml"), path("config/Cache/cachedGone.xml"));
    std::filesystem::create_symlink(path("elsewhere/report.xml"), path("config/Cache/report.xml"));
    StaleTemporaries::remove();
    for (const std::string& file : stale) {
        EXPECT_FALSE(world_.directory().exists(file)) << file;
    }
    for (const std::string& file : others) {
        EXPECT_EQ(read(file), "text") << file;
    }
}

TEST_F(StaleTemporariesOfTheDead, AreNotLookedForBehindAStrangersLinkInTheCache) {
    write("elsewhere/.server.xml.4711.3.new", "text");
    std::filesystem::create_directories(path("config/Cache"));
    if (!support::makeStrangersLink(path("elsewhere/server.xml"), path("config/Cache/cachedServer.xml"))) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    StaleTemporaries::remove();
    EXPECT_EQ(read("elsewhere/.server.xml.4711.3.new"), "text");
}

TEST_F(StaleTemporariesOfTheDead, AreToldOfWhereTheyCannotBeRemoved) {
    std::filesystem::create_directories(path("config/.corvidLocalConfig.xml.temp"));
    StaleTemporaries::remove();
    EXPECT_THAT(log_->texts(3), testing::ElementsAre("cannot remove [" + path("config/.corvidLocalConfig.xml.temp") +
                                                     "]: Is a directory"));
}

}  // namespace
}  // namespace storetests
