#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <ostream>
#include <string>
#include <vector>

#include "Client.h"
#include "fakes/TemporaryDirectory.h"
#include "host/XmlDiagnostics.h"
#include "impl/quill/SiblingFile.h"
#include "impl/tessel/SpdlogSink.h"
#include "support/ForkedChild.h"
#include "xml/XmlFileWriter.h"

using torture::Client;
using torture::Scene;

namespace {

namespace fs = std::filesystem;

constexpr uid_t ORDINARY_USER = 65534;

unsigned modeOf(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

std::string octal(unsigned mode) {
    char text[16];
    std::snprintf(text, sizeof text, "%04o", mode);
    return text;
}

/// Files that are not 0600 and folders that are not 0700, below a folder.
std::string wrongModesBelow(const std::string& folder) {
    std::string wrong;
    for (const auto& entry : fs::recursive_directory_iterator(folder)) {
        const unsigned mode = modeOf(entry.path());
        if (mode != (entry.is_directory() ? 0700U : 0600U)) {
            wrong += entry.path().filename().string() + " " + octal(mode) + "\n";
        }
    }
    return wrong;
}

/// A folder that an ordinary user's process works in: root is stopped by no mode.
class Permissions : public testing::Test {
protected:
    Permissions() { give(directory_.path()); }

    void give(const std::string& path) const {
        if (geteuid() == 0) {
            ASSERT_EQ(chown(path.c_str(), ORDINARY_USER, ORDINARY_USER), 0);
        }
    }

    /// Runs a function as an ordinary user. @return what it gives.
    static int asOrdinaryUser(const std::function<int()>& function) {
        return support::runForked([&] {
            const bool isOrdinary = geteuid() != 0 || (setresgid(ORDINARY_USER, ORDINARY_USER, ORDINARY_USER) == 0 &&
                                                       setresuid(ORDINARY_USER, ORDINARY_USER, ORDINARY_USER) == 0);
            return isOrdinary ? function() : 99;
        });
    }

    const fakes::TemporaryDirectory directory_;
};

class PermissionsUnderUmask : public Permissions, public testing::WithParamInterface<mode_t> {};

/// A client that writes each of its files, and is told of a damaged one.
int writeEverything(const std::string& folder) {
    const host::XmlDiagnostics quiet(host::XmlDiagnostics::Way::Discard);
    const Scene scene(folder);
    // The module makes it, as on a new user's first day.
    fs::remove_all(scene.config());
    {
        Client client(scene);
        client.takeLink(1);
        client.joinServer(1);
        client.setUser(1);
    }
    for (int time = 0; time < 2; ++time) {
        std::ofstream(scene.localFile(), std::ios::trunc) << "damaged";
        Client client(scene);
        client.setUser(2);
    }
    return scene.backups().size() == 2 && torture::States::of(scene) == torture::States{2, 1, 1} ? 0 : 1;
}

}  // namespace

TEST_P(PermissionsUnderUmask, AreTheOwnersAloneOnEveryFileAndFolder) {
    const std::string folder = directory_.path("user");
    fs::create_directory(folder);
    give(folder);
    ASSERT_EQ(asOrdinaryUser([&] {
                  const Scene scene(folder);  // under the usual umask: its folders are the test's
                  chmod(scene.install().c_str(), 0700);
                  umask(GetParam());
                  return writeEverything(folder);
              }),
              0);
    EXPECT_EQ(wrongModesBelow(folder), "");
}

TEST_P(PermissionsUnderUmask, AreTheOwnersAloneOnFilesInTheMaking) {
    EXPECT_EQ(asOrdinaryUser([&] {
                  umask(GetParam());
                  const std::string document = directory_.path("document.temp");
                  const XmlFileWriter writer(document);
                  QuillCoreUtils::SiblingFile sibling(directory_.path("file"));
                  const bool areMade = writer.isOpen() && sibling.create() == 0;
                  return areMade && wrongModesBelow(directory_.path()).empty() ? 0 : 1;
              }),
              0);
}

TEST_P(PermissionsUnderUmask, AreTheOwnersAloneOnALog) {
    EXPECT_EQ(asOrdinaryUser([&] {
                  umask(GetParam());
                  const bool isMade = tessel::SpdlogSink::toFile(directory_.path("log")) != nullptr;
                  // A second one opens it as the next start does.
                  return isMade && tessel::SpdlogSink::toFile(directory_.path("log")) != nullptr ? 0 : 1;
              }),
              0);
    EXPECT_EQ(modeOf(directory_.path("log")), 0600U);
}

INSTANTIATE_TEST_SUITE_P(Masks, PermissionsUnderUmask, testing::Values(0, 022, 077, 0277, 0777),
                         [](const auto& mask) { return octal(mask.param); });

namespace {

/// Something with a tighter mode than it is made with. Paths are below the scene's folder.
struct Tight {
    std::string name;
    std::string path;
    std::string pathAfterwards;
    unsigned mode;
    std::string link;        ///< the user's own link that leads to it; empty if there is none
    bool isDamaged = false;  ///< the user's file is
};

void PrintTo(const Tight& tight, std::ostream* stream) { *stream << tight.path << " " << octal(tight.mode); }

const std::string USERS_FILE = "config/corvidLocalConfig.xml";
const std::string SERVERS_FILE = "config/Cache/cachedServer.xml";
const std::string LINKS_FILE = "config/Cache/cachedUrlProvisioningConfigStore.xml";
const std::string BACKUP = "config/corvidLocalConfig-backup.xml";
const std::string EARLIER_BACKUP = "config/corvidLocalConfig-backup-1.xml";
const std::string CACHE_FOLDER = "config/Cache";

std::vector<Tight> everythingTight() {
    std::vector<Tight> all = {{"UsersFile", USERS_FILE, USERS_FILE, 0400, ""},
                              {"UsersFileBehindALink", "elsewhere", "elsewhere", 0400, USERS_FILE},
                              {"DamagedUsersFile", USERS_FILE, BACKUP, 0400, "", true}};
    for (const unsigned mode : {0200U, 0U}) {
        all.push_back({"UsersFileThatCannotBeRead", USERS_FILE, BACKUP, mode, ""});
    }
    for (const unsigned mode : {0400U, 0200U, 0U}) {
        all.push_back({"ServersCopy", SERVERS_FILE, SERVERS_FILE, mode, ""});
        all.push_back({"ServersCopyBehindALink", "elsewhere", "elsewhere", mode, SERVERS_FILE});
        all.push_back({"LinksFile", LINKS_FILE, LINKS_FILE, mode, ""});
        all.push_back({"EarlierBackup", BACKUP, EARLIER_BACKUP, mode, "", true});
        all.push_back({"Log", "log", "log", mode, ""});
    }
    for (const unsigned mode : {0500U, 0300U, 0U}) {
        all.push_back({"CacheFolder", CACHE_FOLDER, CACHE_FOLDER, mode, ""});
    }
    return all;
}

class TighterPermissions : public Permissions, public testing::WithParamInterface<Tight> {
protected:
    TighterPermissions() {
        for (const std::string& folder : {scene_.config(), scene_.install()}) {
            give(folder);
        }
    }

    std::string path(const std::string& name) const { return directory_.path(name); }

    /// In an ordinary user's process: what a client and its log leave, with an earlier backup.
    bool prepare() const {
        torture::writeFiles(scene_, 1);
        std::ofstream(path(BACKUP)) << "earlier";
        if (GetParam().isDamaged) {
            std::ofstream(path(USERS_FILE), std::ios::trunc) << "damaged";
        }
        if (!GetParam().link.empty()) {
            fs::rename(path(GetParam().link), path(GetParam().path));
            fs::create_symlink(path(GetParam().path), path(GetParam().link));
        }
        const bool isLogMade = tessel::SpdlogSink::toFile(path("log")) != nullptr;
        return isLogMade && chmod(path(GetParam().path).c_str(), GetParam().mode) == 0;
    }

    const Scene scene_{directory_.path()};
};

}  // namespace

TEST_P(TighterPermissions, AreNotWidened) {
    const Tight& tight = GetParam();
    ASSERT_EQ(asOrdinaryUser([&] {
                  const bool isPrepared = prepare();
                  umask(0);
                  const host::XmlDiagnostics quiet(host::XmlDiagnostics::Way::Discard);
                  torture::writeFiles(scene_, 2);
                  tessel::SpdlogSink::toFile(path("log"));
                  return isPrepared ? 0 : 1;
              }),
              0);
    const std::string afterwards = path(tight.pathAfterwards);
    EXPECT_EQ(octal(modeOf(afterwards)), octal(tight.mode));
    const bool isFolder = fs::is_directory(afterwards);
    chmod(afterwards.c_str(), isFolder ? 0700 : 0600);
    // Nothing need be written into a folder that is shut.
    EXPECT_TRUE(isFolder || torture::States::of(scene_) == (torture::States{2, 2, 2, true}))
        << torture::States::of(scene_).text();
}

INSTANTIATE_TEST_SUITE_P(OfEverything, TighterPermissions, testing::ValuesIn(everythingTight()),
                         [](const auto& tight) { return tight.param.name + octal(tight.param.mode); });

TEST_F(Permissions, OfAFolderThatNobodyMayWriteToStay) {
    const Scene scene(directory_.path());
    give(scene.config());
    chmod(scene.config().c_str(), 0500);
    EXPECT_EQ(asOrdinaryUser([&] {
                  torture::writeFiles(scene, 1);
                  return 0;
              }),
              0);
    EXPECT_EQ(modeOf(scene.config()), 0500U);
    EXPECT_EQ(scene.fingerprint(), "");
}
