#include <sys/stat.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "DataResetFixture.h"
#include "quill/FileUtils.h"
#include "support/DeepTree.h"
#include "support/OrdinaryUser.h"
#include "support/StrangersLink.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

using QuillCoreUtils::FileUtils;

namespace fs = std::filesystem;

namespace {

class DataResetFiles : public DataResetFixture {
protected:
    std::string inConfig(const std::string& name) const { return world.configDirectory() + "/" + name; }

    void link(const std::string& target, const std::string& name) const {
        fs::create_directories(fs::path(inConfig(name)).parent_path());
        fs::create_symlink(target, inConfig(name));
    }
};

}  // namespace

TEST_F(DataResetFiles, OfTheInstallationStayWhateverTheirCaseAndTheirFolder) {
    const std::vector<std::string> names = {
        "cachedUrlProvisioningConfigStore.xml",
        "deviceData3.properties",
        "corvid-config-user.xml",
        "installationId.txt",
        "INSTALLATIONID.TXT",
        "DeviceData3.Properties",
        "Corvid-Config-USER.xml",
        "CACHEDurlprovisioningconfigstore.XML",
    };
    std::vector<std::string> expected;
    for (const std::string folder : {"", "Cache/", "other/deeper/"}) {
        for (const std::string& name : names) {
            put(folder + name);
            expected.push_back(folder + name);
        }
    }
    std::sort(expected.begin(), expected.end());
    inject();
    reset();
    EXPECT_EQ(filesLeft(), expected);
    for (const std::string& name : names) {
        EXPECT_THAT(fileLines(), Contains(kept(name)).Times(3));
    }
}

TEST_F(DataResetFiles, BehindAStrangersLinkInThePlaceOfTheFolderStay) {
    write("elsewhere/sub/precious", "theirs");
    write("elsewhere/corvidLocalConfig.xml", localDocument({{"key", "theirs"}}));
    fs::remove_all(world.configDirectory());
    if (!support::makeStrangersLink(world.directory().path("elsewhere"), world.configDirectory())) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    injectAndStart();
    reset();
    tasks->runAll();
    EXPECT_THAT(filesLeft(), ElementsAre("corvidLocalConfig.xml", "sub/precious"));
    EXPECT_EQ(read("elsewhere/corvidLocalConfig.xml"), localDocument({{"key", "theirs"}}));
    EXPECT_EQ(get(L"key"), L"theirs") << "read as before";
    EXPECT_THAT(adapterLines(3),
                Contains("removeFilesFromDirectory: NOT removed, since somebody else has put a link in the place of "
                         "the folder: [" +
                         world.configDirectory() + "]"));
}

TEST_F(DataResetFiles, BehindTheUsersOwnLinkInThePlaceOfTheFolderGo) {
    write("elsewhere/sub/theirs", "text");
    fs::remove_all(world.configDirectory());
    fs::create_directory_symlink("elsewhere", world.configDirectory());
    injectAndStart();
    reset();
    EXPECT_THAT(filesLeft(), IsEmpty());
}

TEST_F(DataResetFiles, OfTheUserGoWhateverTheirExtension) {
    const std::vector<std::string> names = {
        "corvidLocalConfig.xml",
        ".corvidLocalConfig.xml.temp~",
        "corvidLocalConfig-backup.xml",
        "Cache/cachedServer.xml",
        "Cache/cachedServer.xml~",
        "noExtension",
        "log.txt",
        ".hidden",
        "installationId.txt.old",
        "xinstallationId.txt",
        "installationId",
        "installationId.txt/inside",
        "corvid-config-user.xml ",
        "deep/er/still/file.bin",
    };
    for (const std::string& name : names) {
        put(name);
    }
    inject();
    reset();
    EXPECT_THAT(filesLeft(), IsEmpty());
    EXPECT_EQ(fileLines().size(), names.size());
}

TEST_F(DataResetFiles, AreNamedOneByOneInTheLog) {
    put("a.txt");
    put("Cache/cachedServer.xml");
    put("Cache/cachedUrlProvisioningConfigStore.xml");
    put("b/InstallationId.txt");
    inject();
    log->clear();
    reset();
    EXPECT_THAT(fileLines(), ElementsAre(deleted("cachedServer.xml"), kept("cachedUrlProvisioningConfigStore.xml"),
                                         deleted("a.txt"), kept("InstallationId.txt")));
    EXPECT_EQ(log->count(4, "file with name: [a.txt] deleted"), 1U);
    EXPECT_EQ(log->count(4, "file will be excluded from reset deletion: [InstallationId.txt]"), 1U);
}

TEST_F(DataResetFiles, GoAndTheirFoldersStay) {
    put("Cache/deep/file");
    inject();
    reset();
    EXPECT_TRUE(fs::is_directory(inConfig("Cache/deep")));
    EXPECT_THAT(filesLeft(), IsEmpty());
}

TEST_F(DataResetFiles, OfAMissingDirectoryAreNone) {
    inject();
    fs::remove_all(world.configDirectory());
    log->clear();
    reset();
    EXPECT_THAT(fileLines(), IsEmpty());
    EXPECT_THAT(chain(), Contains("LocalFileConfigStore"));
}

TEST_F(DataResetFiles, ThatAreLinksGoAsLinks) {
    write("elsewhere/file", "text");
    write("elsewhere/folder/file", "text");
    link(world.directory().path("elsewhere/file"), "toFile");
    link(world.directory().path("elsewhere/folder"), "toFolder");
    link(world.directory().path("elsewhere/missing"), "dangling");
    link("..", "Cache/toParent");
    link("itself", "itself");
    inject();
    log->clear();
    reset();
    EXPECT_THAT(filesLeft(), IsEmpty());
    EXPECT_THAT(fileLines(), ElementsAre(deleted("toParent"), deleted("dangling"), deleted("itself"), deleted("toFile"),
                                         deleted("toFolder")));
    EXPECT_EQ(read("elsewhere/file"), "text");
    EXPECT_EQ(read("elsewhere/folder/file"), "text");
}

TEST_F(DataResetFiles, BehindALinkInThePlaceOfTheCacheFolderAreLeftAlone) {
    write("elsewhere/cachedServer.xml", serverDocument({{"key", "value"}}));
    link(world.directory().path("elsewhere"), "Cache");
    inject();
    reset();
    EXPECT_FALSE(exists("Cache"));
    EXPECT_TRUE(world.directory().exists("elsewhere/cachedServer.xml"));
}

TEST_F(DataResetFiles, BelowADirectoryThatIsALinkItselfGo) {
    write("elsewhere/file", "text");
    fs::remove_all(world.configDirectory());
    fs::create_directory_symlink(world.directory().path("elsewhere"), world.configDirectory());
    inject();
    reset();
    EXPECT_FALSE(world.directory().exists("elsewhere/file"));
    EXPECT_TRUE(fs::is_symlink(world.configDirectory()));
}

TEST_F(DataResetFiles, ThatBearAKeptNameStayAsLinks) {
    write("elsewhere/id", "text");
    link(world.directory().path("elsewhere/id"), "installationId.txt");
    inject();
    reset();
    EXPECT_TRUE(fs::is_symlink(inConfig("installationId.txt")));
    EXPECT_EQ(read("elsewhere/id"), "text");
}

TEST_F(DataResetFiles, WithOddNamesGoAndTakeOneLineOfTheLogEach) {
    for (const std::string name : {"a\nfile with name: [b] deleted", "\r\x1b[31m\x7f", "not \xff\xc3 text", " ", "]"}) {
        put(name);
    }
    inject();
    log->clear();
    reset();
    EXPECT_THAT(filesLeft(), IsEmpty());
    // The sink writes the other control characters out, and what is no text.
    EXPECT_THAT(fileLines(), ElementsAre(deleted("\r\x1b[31m\x7f"), deleted(" "), deleted("]"),
                                         deleted("a\\x0afile with name: [b] deleted"), deleted("not \xff\xc3 text")));
}

TEST_F(DataResetFiles, WithOddNamesAreNoKeptOnes) {
    for (const std::string name : {"installationId.txt\n", "\xffinstallationId.txt", "installationId\xc0.txt"}) {
        put(name);
    }
    inject();
    reset();
    EXPECT_THAT(filesLeft(), IsEmpty());
}

TEST_F(DataResetFiles, ThatCannotBeListedOrRemovedKeepNoOthersFromGoing) {
    put("a");
    put("closed/file");
    put("fixed/file");
    put("z");
    fs::permissions(world.directory().path(), fs::perms(0755));
    fs::permissions(world.configDirectory(), fs::perms(0777));
    inject();
    fs::permissions(inConfig("closed"), fs::perms::none);
    fs::permissions(inConfig("fixed"), fs::perms(0555));
    log->clear();
    bool isOrdinary = false;
    {
        const support::OrdinaryUser user;
        isOrdinary = user.isOrdinary();
        if (isOrdinary) {
            reset();
        }
    }
    fs::permissions(inConfig("closed"), fs::perms::owner_all);
    fs::permissions(inConfig("fixed"), fs::perms::owner_all);
    if (!isOrdinary) {
        GTEST_SKIP() << "no permissions stop root, and this machine has no other user";
    }
    EXPECT_THAT(filesLeft(), ElementsAre("closed/file", "fixed/file"));
    EXPECT_THAT(fileLines(), ElementsAre(deleted("a"), deleted("file"), deleted("z")));
    EXPECT_THAT(log->texts(3), Contains("cannot list [" + inConfig("closed") + "]: Permission denied"));
    EXPECT_THAT(log->texts(3), Contains("cannot remove [" + inConfig("fixed/file") + "]: Permission denied"));
    EXPECT_THAT(chain(), Contains("LocalFileConfigStore"));
}

TEST_F(DataResetFiles, ThatAreNeitherFilesNorLinksAreLeftAlone) {
    ASSERT_EQ(mkfifo(inConfig("pipe").c_str(), 0600), 0);
    inject();
    reset();
    EXPECT_THAT(filesLeft(), ElementsAre("pipe"));
    EXPECT_THAT(fileLines(), IsEmpty());
}

TEST_F(DataResetFiles, UnderPathsTooLongForOnePieceGoLikeOthers) {
    const std::string deep = support::makeDeepFile(world.configDirectory(), 25, std::string(200, 'd'), "file");
    put("z");
    inject();
    log->clear();
    reset();
    std::vector<std::string> left;
    FileUtils::getFilesFromDirectory(world.configDirectory(), "", left);
    EXPECT_THAT(left, IsEmpty()) << deep;
    EXPECT_THAT(fileLines(), ElementsAre(deleted("file"), deleted("z")));
    EXPECT_THAT(log->texts(3), testing::Not(Contains(testing::HasSubstr("cannot"))));
}

TEST_F(DataResetFiles, BehindALinkThatTakesThePlaceOfAFolderMeanwhileAreLeftAlone) {
    write("elsewhere/file", "text");
    put("a");
    put("folder/file");
    inject();
    log->clear();
    log->atNext("file with name: [a] deleted", [this] {
        fs::rename(inConfig("folder"), world.directory().path("aside"));
        link(world.directory().path("elsewhere"), "folder");
    });
    reset();
    EXPECT_EQ(read("elsewhere/file"), "text");
    EXPECT_THAT(fileLines(), ElementsAre(deleted("a"), deleted("file")));
    EXPECT_THAT(log->texts(3), Contains("cannot remove [" + inConfig("folder/file") + "]: Not a directory"));
}

TEST_F(DataResetFiles, AreToldOfWhereAPowerCutMayBringThemBack) {
    world.directory().write("outside/b", "text");
    put("folder/a");
    put("later");
    inject();
    log->atNext("file with name: [later] deleted", [this] {
        fs::rename(inConfig("folder"), inConfig("moved"));
        link(world.directory().path("outside"), "folder");
    });
    reset();
    EXPECT_EQ(log->count(3, "removed files may come back after a power cut, since a folder could not be synced: " +
                                std::generic_category().message(ENOTDIR)),
              1u);
}

TEST_F(DataResetFiles, GoByTheTenThousandFromNestedFolders) {
    constexpr int FOLDERS = 100;
    constexpr int FILES = 100;
    std::string folder;
    for (int i = 0; i < FOLDERS; ++i) {
        // Every tenth begins a new tree.
        folder = (i % 10 == 0 ? std::string() : folder) + "folder" + std::to_string(i) + "/";
        for (int file = 0; file < FILES; ++file) {
            put(folder + std::to_string(file));
        }
    }
    put(folder + "installationId.txt");
    inject();
    reset();
    EXPECT_THAT(filesLeft(), ElementsAre(folder + "installationId.txt"));
    EXPECT_EQ(fileLines().size(), static_cast<std::size_t>(FOLDERS * FILES + 1));
}
