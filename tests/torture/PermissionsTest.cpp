#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

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

TEST_F(Permissions, ThatAreTighterAreNotWidened) {
    const Scene scene(directory_.path());
    for (const std::string& folder : {scene.config(), scene.install()}) {
        give(folder);
    }
    ASSERT_EQ(asOrdinaryUser([&] {
                  torture::writeFiles(scene, 1);
                  const bool areTight = chmod(scene.localFile().c_str(), 0400) == 0 &&
                                        chmod(scene.serverFile().c_str(), 0400) == 0 &&
                                        chmod(scene.linkFile().c_str(), 0400) == 0;
                  umask(0);
                  torture::writeFiles(scene, 2);
                  return areTight && torture::States::of(scene) == torture::States{2, 2, 2} ? 0 : 1;
              }),
              0);
    for (const std::string& file : {scene.localFile(), scene.serverFile(), scene.linkFile()}) {
        EXPECT_EQ(modeOf(file), 0400U) << file;
    }
}

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
