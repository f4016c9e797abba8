#include <stdlib.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "Client.h"
#include "TracedDeeds.h"
#include "Tracer.h"
#include "Trial.h"
#include "fakes/ScriptedHttpTransport.h"
#include "fakes/TemporaryDirectory.h"
#include "quill/FileUtils.h"
#include "simulation/QuietXml.h"
#include "xml/XmlConfigParser.h"

namespace torture {
namespace {

using QuillCoreUtils::FileUtils;

bool isSync(const Call& call, const std::string& path) {
    return (call.name == "fsync" || call.name == "fdatasync") && call.path == path;
}

bool changes(const Call& call, const std::string& path) {
    const bool isWrite =
        call.name.find("write") != std::string::npos || call.name.find("truncate") != std::string::npos;
    const bool isCopy = call.name == "sendfile" || call.name == "splice" || call.name == "copy_file_range";
    return (call.path == path && (isWrite || call.name == "fallocate" || call.name == "mmap")) ||
           (isCopy && (call.path == path || call.target == path));
}

using CallIterator = std::vector<Call>::const_iterator;

/// @param begin the first call after the rename before this one.
std::string disorderOfRename(CallIterator begin, CallIterator rename, CallIterator end) {
    const auto touches = [&](const Call& call) { return changes(call, rename->path); };
    const auto sync = std::find_if(begin, rename, [&](const Call& call) { return isSync(call, rename->path); });
    if (sync == rename || std::any_of(sync, rename, touches)) {
        return "the temporary was not synced after its last write and before the rename";
    }
    const std::string folder = FileUtils::getParentDirectory(rename->target);
    if (std::none_of(rename, end, [&](const Call& call) { return isSync(call, folder); })) {
        return "the folder was not synced after the rename";
    }
    return "";
}

/// What is wrong with the order of the calls that put a new file in a file's place, however often they do; empty if
/// nothing is.
std::string disorder(const std::vector<Call>& calls, const std::string& file) {
    const auto isRename = [&](const Call& call) { return call.name.starts_with("rename") && call.target == file; };
    auto begin = calls.begin();
    auto rename = std::find_if(begin, calls.end(), isRename);
    if (rename == calls.end()) {
        return "nothing was renamed to it";
    }
    for (; rename != calls.end(); rename = std::find_if(begin, calls.end(), isRename)) {
        if (const std::string wrong = disorderOfRename(begin, rename, calls.end()); !wrong.empty()) {
            return wrong;
        }
        begin = rename + 1;
    }
    const auto writesInPlace = [&](const Call& call) { return changes(call, file); };
    return std::any_of(calls.begin(), calls.end(), writesInPlace) ? "the file itself was written" : "";
}

/// What is wrong with the order of the calls that make a folder and then put a file in it; empty if nothing is.
std::string disorderOfFolder(const std::vector<Call>& calls, const std::string& folder) {
    const auto isMaking = [&](const Call& call) { return call.name.starts_with("mkdir") && call.path == folder; };
    const auto making = std::find_if(calls.begin(), calls.end(), isMaking);
    const auto rename =
        std::find_if(making, calls.end(), [](const Call& call) { return call.name.starts_with("rename"); });
    const std::string above = FileUtils::getParentDirectory(folder);
    const bool isSynced = std::any_of(making, rename, [&](const Call& call) { return isSync(call, above); });
    return isSynced ? "" : "the folder above was not synced before a file came into " + folder;
}

/// What is wrong with the order of the calls that give a file another name; empty if nothing is.
std::string disorderOfMove(const std::vector<Call>& calls, const std::string& from, const std::string& to) {
    const auto isRename = [](const Call& call) { return call.name.starts_with("rename"); };
    const auto move = std::find_if(calls.begin(), calls.end(), [&](const Call& call) {
        return isRename(call) && call.path == from && call.target == to;
    });
    if (move == calls.end()) {
        return "it was not renamed";
    }
    const auto next = std::find_if(move + 1, calls.end(), isRename);
    const std::string folder = FileUtils::getParentDirectory(to);
    const bool isSynced = std::any_of(move, next, [&](const Call& call) { return isSync(call, folder); });
    return isSynced ? "" : "the folder was not synced before the next rename";
}

/// What is wrong with the order of the calls that remove files; empty if nothing is.
std::string disorderOfRemovals(const std::vector<Call>& calls, const std::vector<std::string>& files) {
    for (const std::string& file : files) {
        const auto removal = std::find_if(calls.begin(), calls.end(), [&](const Call& call) {
            return call.name.starts_with("unlink") && call.path == file;
        });
        if (removal == calls.end()) {
            return file + " was not removed";
        }
        const std::string folder = FileUtils::getParentDirectory(file);
        if (std::none_of(removal, calls.end(), [&](const Call& call) { return isSync(call, folder); })) {
            return "the folder was not synced after the removal of " + file;
        }
    }
    return "";
}

bool isFolderItself(const std::string& path) {
    std::error_code missing;
    return std::filesystem::symlink_status(path, missing).type() == std::filesystem::file_type::directory;
}

/// A folder on another file system than a folder has; without a path if this system has no such file system for it.
class FolderElsewhere {
public:
    explicit FolderElsewhere(const std::string& folder) {
        for (const char* const place : {"/dev/shm", "/tmp", "/var/tmp"}) {
            std::string pattern = std::string(place) + "/corvid-test-XXXXXX";
            if (deviceOf(place) != deviceOf(folder) && mkdtemp(pattern.data()) != nullptr) {
                path_ = pattern;
                return;
            }
        }
    }
    ~FolderElsewhere() {
        std::error_code ignored;
        if (!path_.empty()) {
            std::filesystem::remove_all(path_, ignored);
        }
    }

    FolderElsewhere(const FolderElsewhere&) = delete;
    FolderElsewhere& operator=(const FolderElsewhere&) = delete;

    const std::string& path() const { return path_; }

private:
    /// @return that of the folder, or 0 if there is none.
    static dev_t deviceOf(const std::string& path) {
        struct stat status {};
        return stat(path.c_str(), &status) == 0 ? status.st_dev : 0;
    }

    std::string path_;
};

/// Every file that a deed renames into place, and those that a start sets aside.
class WriteOrder : public testing::Test {
protected:
    void expectOrder(const std::string& what, const std::string& file, const std::function<int()>& body) {
        if (trial_.hasLost()) {
            return;
        }
        const std::vector<std::string> missing = missingFolders();
        // The file may lie outside the scene, where a link leads.
        const Traced traced = runTraced("/", body, {});
        ASSERT_EQ(traced.status, 0);
        trial_.tried();
        if (const std::string wrong = disorder(traced.calls, file); !wrong.empty()) {
            trial_.lost(what + ": " + wrong, scene_.folder());
        }
        for (const std::string& folder : missing) {
            if (isFolderItself(folder)) {
                expectOrderOfFolder(what, traced.calls, folder);
            }
        }
    }

    void expectOrderOfFolder(const std::string& what, const std::vector<Call>& calls, const std::string& folder) {
        ++foldersMade_;
        if (const std::string wrong = disorderOfFolder(calls, folder); !wrong.empty()) {
            trial_.lost(what + ": " + wrong, scene_.folder());
        }
    }

    /// The folders of the scene that are yet to be made; a link to a folder is none of the scene's.
    std::vector<std::string> missingFolders() const {
        std::vector<std::string> folders{scene_.config(), scene_.config() + "/Cache"};
        std::erase_if(folders, isFolderItself);
        return folders;
    }

    void expectOrder(Deed deed, const std::string& file) {
        expectOrder(nameOf(deed), file, [&] { return startAndPerform(scene_, deed, 1); });
    }

    /// In the traced process: has a client download a file. @param number other contents for each.
    int download(int number) const {
        directory_.write("install/bootstrap.properties", "TFTPPrimaryServer: one\nHomeUdsVersion: 10\n");
        Client client(scene_);
        const auto transport = std::make_shared<fakes::ScriptedHttpTransport>();
        client.useTransport(transport);
        markBegin();
        client.featureSet().startTftpConfigSource();
        const bool isAskedFor = transport->deliver("<r><G><A>" + std::to_string(number) + "</A></G></r>");
        client.settle();
        markEnd();
        return isAskedFor ? 0 : 1;
    }

    void expectOrderWhereAFileIsSetAside() {
        scene_.damage();
        const auto start = [this] {
            const simulation::QuietXml quiet;
            markBegin();
            const Client client(scene_);
            markEnd();
            return 0;
        };
        const Traced traced = runTraced(scene_.folder(), start, {});
        ASSERT_EQ(traced.status, 0);
        const std::string backup = scene_.config() + "/corvidLocalConfig-backup.xml";
        const std::string earlier = scene_.config() + "/corvidLocalConfig-backup-1.xml";
        for (const auto& [from, to] : {std::pair(backup, earlier), std::pair(scene_.localFile(), backup)}) {
            trial_.tried();
            if (const std::string wrong = disorderOfMove(traced.calls, from, to); !wrong.empty()) {
                trial_.lost(from + " is set aside: " + wrong, scene_.folder());
            }
        }
    }

    /// @param body in the traced process. @param files that it removes.
    void expectOrderOfRemovals(const std::string& what, const std::function<int()>& body,
                               const std::vector<std::string>& files) {
        if (trial_.hasLost()) {
            return;
        }
        const Traced traced = runTraced(scene_.folder(), body, {});
        ASSERT_EQ(traced.status, 0);
        trial_.tried();
        if (const std::string wrong = disorderOfRemovals(traced.calls, files); !wrong.empty()) {
            trial_.lost(what + ": " + wrong, scene_.folder());
        }
    }

    const fakes::TemporaryDirectory directory_;
    const Scene scene_{directory_.path()};
    Trial trial_{"order", "writes"};
    int foldersMade_ = 0;
};

TEST_F(WriteOrder, IsSyncRenameSyncOnEveryWayToTheDisk) {
    if (!tracingIsAllowed(trial_)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    std::filesystem::remove_all(scene_.config());
    for (int write = 0; write < 2; ++write) {
        expectOrder(Deed::SetUser, scene_.localFile());
        expectOrder(Deed::JoinServer, scene_.serverFile());
        expectOrder(Deed::JoinServer, scene_.localFile());
        expectOrder(Deed::TakeLink, scene_.linkFile());
        expectOrder(Deed::TakeLink, scene_.localFile());
        expectOrder("a downloaded file", scene_.config() + "/Cache/cachedTFTPConfigStore.xml",
                    [&] { return download(write); });
        expectOrder("a document's text", scene_.serverFile(), [&] {
            markBegin();
            const bool written = XmlConfigParser::writeToFile(scene_.serverFile(), "<r><G><A>1</A></G></r>");
            markEnd();
            return written ? 0 : 1;
        });
        expectOrder("a file of the platform's", scene_.config() + "/file", [&] {
            markBegin();
            const bool written = FileUtils::writeFileAtomically(scene_.config() + "/file", "text");
            markEnd();
            return written ? 0 : 1;
        });
    }
    EXPECT_EQ(foldersMade_, 2) << "the configuration folder and the cache";
    expectOrderWhereAFileIsSetAside();
}

TEST_F(WriteOrder, IsTheSameWhereAWriteSetsAFileAsideThatAStartCouldNot) {
    if (!tracingIsAllowed(trial_)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    // No file is moved on top of a link, and one that leads nowhere is no earlier backup either.
    std::filesystem::create_symlink("nothing", scene_.config() + "/corvidLocalConfig-backup.xml");
    directory_.write("config/corvidLocalConfig.xml", Scene::damaged);
    const simulation::QuietXml quiet;
    const Traced traced = runTraced(scene_.folder(), [this] { return startAndPerform(scene_, Deed::SetUser, 1); }, {});
    ASSERT_EQ(traced.status, 0);
    trial_.tried();
    const std::string kept = scene_.config() + "/corvidLocalConfig-backup-1.xml";
    EXPECT_EQ(disorderOfMove(traced.calls, scene_.localFile(), kept), "");
    EXPECT_EQ(disorder(traced.calls, scene_.localFile()), "");
    EXPECT_EQ(bytesOf(kept), Scene::damaged);
}

TEST_F(WriteOrder, IsTheSameWhereAResetWritesALinksFileAnew) {
    if (!tracingIsAllowed(trial_)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    // The cache folder is a link, which a reset removes, and a link's file with it.
    std::filesystem::create_directory(directory_.path("elsewhere"));
    std::filesystem::create_directory_symlink(directory_.path("elsewhere"), scene_.config() + "/Cache");
    writeFiles(scene_, 1);
    expectOrder(Deed::ResetData, scene_.linkFile());
    EXPECT_EQ(foldersMade_, 1) << "the cache";
    EXPECT_EQ(States::of(scene_), (States{States::none, States::none, 1}));
}

TEST_F(WriteOrder, IsTheSameThroughAUsersOwnLinkToAnotherFileSystem) {
    if (!tracingIsAllowed(trial_)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    const FolderElsewhere elsewhere(scene_.folder());
    if (elsewhere.path().empty()) {
        trial_.remark("a link to another file system was skipped: there is none that a test may write to");
        GTEST_SKIP() << "there is no other file system that a test may write to";
    }
    const std::string target = elsewhere.path() + "/server.xml";
    std::filesystem::create_directory(scene_.config() + "/Cache");
    std::filesystem::create_symlink(target, scene_.serverFile());
    for (int write = 0; write < 2; ++write) {
        expectOrder(Deed::JoinServer, target);
    }
    EXPECT_TRUE(std::filesystem::is_symlink(scene_.serverFile()));
    EXPECT_EQ(States::of(scene_).server, 1);
}

TEST_F(WriteOrder, EndsWithASyncOfEachFolderThatFilesWereRemovedFrom) {
    if (!tracingIsAllowed(trial_)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    writeFiles(scene_, 1);
    const auto removeServer = [this] {
        Client client(scene_);
        client.joinServer(1);
        markBegin();
        const bool isRemoved = client.featureSet().removeConfigStore("Server");
        markEnd();
        return isRemoved ? 0 : 1;
    };
    expectOrderOfRemovals("a store that is removed", removeServer, {scene_.serverFile()});
    writeFiles(scene_, 2);
    // One in a folder of its own, and one beside the files that the module knows.
    const std::vector<std::string> others = {scene_.config() + "/Cache/a/b/report", scene_.config() + "/Cache/notes"};
    directory_.write("config/Cache/a/b/report", "text");
    directory_.write("config/Cache/notes", "text");
    std::vector<std::string> files = others;
    files.push_back(scene_.localFile());
    files.push_back(scene_.serverFile());
    expectOrderOfRemovals(
        nameOf(Deed::ResetData), [this] { return startAndPerform(scene_, Deed::ResetData, 2); }, files);
}

TEST_F(WriteOrder, OfAResetIsToldOfWhereTheDiskDoesNotTakeIt) {
    if (!tracingIsAllowed(trial_)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    const auto isTold = [this] {
        Client client(scene_);
        client.log().clear();
        markBegin();
        client.resetData();
        markEnd();
        const std::vector<std::string> lines = client.complaints();
        return std::any_of(lines.begin(), lines.end(),
                           [](const std::string& line) { return line.starts_with("removed files may come back"); })
                   ? 1
                   : 0;
    };
    writeFiles(scene_, 1);
    const Traced traced = runTraced(scene_.folder(), isTold, {});
    EXPECT_EQ(traced.status, 0);
    // The removed user's file lay in the configuration folder itself.
    const auto sync = std::find_if(traced.calls.begin(), traced.calls.end(),
                                   [&](const Call& call) { return isSync(call, scene_.config()); });
    ASSERT_NE(sync, traced.calls.end());
    writeFiles(scene_, 1);
    const auto at = static_cast<std::size_t>(sync - traced.calls.begin());
    EXPECT_EQ(runTraced(scene_.folder(), isTold, {Fault::Kind::Fail, at, 1, EIO}).status, 1);
    trial_.tried(2);
}

TEST_F(WriteOrder, OfRemovalsIsFoundWrongWhereItIs) {
    const Call one{"unlinkat", "/d/a", ""};
    const Call other{"unlink", "/d/b", ""};
    const Call sync{"fsync", "/d", ""};
    EXPECT_EQ(disorderOfRemovals({one, other, sync}, {"/d/a", "/d/b"}), "");
    EXPECT_EQ(disorderOfRemovals({one, sync}, {"/d/b"}), "/d/b was not removed");
    EXPECT_EQ(disorderOfRemovals({one, sync, other}, {"/d/a", "/d/b"}),
              "the folder was not synced after the removal of /d/b");
}

TEST_F(WriteOrder, OfAFolderIsFoundWrongWhereItIs) {
    const Call make{"mkdir", "/d/a", ""};
    const Call syncAbove{"fsync", "/d", ""};
    const Call syncItself{"fsync", "/d/a", ""};
    const Call rename{"rename", "/d/a/new", "/d/a/file"};
    EXPECT_EQ(disorderOfFolder({make, syncAbove, rename}, "/d/a"), "");
    for (const auto& calls : {std::vector{rename}, std::vector{make, rename}, std::vector{make, rename, syncAbove},
                              std::vector{syncAbove, make, rename}, std::vector{make, syncItself, rename}}) {
        EXPECT_EQ(disorderOfFolder(calls, "/d/a"), "the folder above was not synced before a file came into /d/a");
    }
}

TEST_F(WriteOrder, OfAMoveIsFoundWrongWhereItIs) {
    const Call move{"renameat2", "/d/a", "/d/b"};
    const Call other{"rename", "/d/c", "/d/a"};
    const Call syncFolder{"fsync", "/d", ""};
    EXPECT_EQ(disorderOfMove({move, syncFolder, other}, "/d/a", "/d/b"), "");
    EXPECT_EQ(disorderOfMove({other, syncFolder}, "/d/a", "/d/b"), "it was not renamed");
    for (const auto& calls : {std::vector{move}, std::vector{move, other, syncFolder}}) {
        EXPECT_EQ(disorderOfMove(calls, "/d/a", "/d/b"), "the folder was not synced before the next rename");
    }
}

TEST_F(WriteOrder, IsFoundWrongWhereItIs) {
    const std::string file = "/d/file";
    const Call write{"write", "/d/new", ""};
    const Call sync{"fsync", "/d/new", ""};
    const Call rename{"rename", "/d/new", file};
    const Call syncFolder{"fsync", "/d", ""};
    EXPECT_EQ(disorder({write, sync, rename, syncFolder}, file), "");
    EXPECT_EQ(disorder({write, sync}, file), "nothing was renamed to it");
    for (const auto& calls : {std::vector{write, rename, syncFolder}, std::vector{write, rename, sync, syncFolder},
                              std::vector{sync, write, rename, syncFolder}}) {
        EXPECT_EQ(disorder(calls, file), "the temporary was not synced after its last write and before the rename");
    }
    EXPECT_EQ(disorder({write, sync, rename, syncFolder, write, sync, rename, syncFolder}, file), "");
    for (const auto& calls : {std::vector{write, sync, rename, syncFolder, write, rename, syncFolder},
                              std::vector{write, sync, rename, syncFolder, rename, syncFolder}}) {
        EXPECT_EQ(disorder(calls, file), "the temporary was not synced after its last write and before the rename");
    }
    for (const auto& calls : {std::vector{write, sync, rename}, std::vector{write, sync, syncFolder, rename},
                              std::vector{write, sync, rename, syncFolder, write, sync, rename}}) {
        EXPECT_EQ(disorder(calls, file), "the folder was not synced after the rename");
    }
    for (const Call& inPlace :
         {Call{"write", file, ""}, Call{"truncate", file, ""}, Call{"copy_file_range", "/d/a", file},
          Call{"sendfile", file, "/d/a"}, Call{"fallocate", file, ""}}) {
        EXPECT_EQ(disorder({write, sync, rename, syncFolder, inPlace}, file), "the file itself was written");
    }
}

TEST_F(WriteOrder, OfAMoveToAnotherFolderSyncsBothFolders) {
    const fakes::TemporaryDirectory directory;
    const std::string from = directory.write("from/file", "text");
    directory.write("to/other", "text");
    const std::string to = directory.path("to/file");
    const Traced traced = runTraced(directory.path(),
                                    [&] {
                                        markBegin();
                                        const int error = FileUtils::moveFile(from, to, true);
                                        markEnd();
                                        return error;
                                    },
                                    {});
    if (!traced.allowed) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    EXPECT_EQ(traced.status, 0);
    const auto rename = std::find_if(traced.calls.begin(), traced.calls.end(),
                                     [](const Call& call) { return call.name.starts_with("rename"); });
    for (const char* const folder : {"from", "to"}) {
        const auto isOfFolder = [&](const Call& call) { return isSync(call, directory.path(folder)); };
        EXPECT_TRUE(std::any_of(rename, traced.calls.end(), isOfFolder)) << folder;
    }
}

}  // namespace
}  // namespace torture
