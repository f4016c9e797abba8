#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include "Client.h"
#include "TracedDeeds.h"
#include "Tracer.h"
#include "Trial.h"
#include "fakes/TemporaryDirectory.h"
#include "quill/FileUtils.h"
#include "xml/XmlConfigParser.h"

namespace torture {
namespace {

using QuillCoreUtils::FileUtils;

bool isSync(const Call& call, const std::string& path) {
    return (call.name == "fsync" || call.name == "fdatasync") && call.path == path;
}

/// What is wrong with the order of the calls that put a new file in a file's place; empty if nothing is.
std::string disorder(const std::vector<Call>& calls, const std::string& file) {
    const auto rename = std::find_if(calls.begin(), calls.end(), [&](const Call& call) {
        return call.name.starts_with("rename") && call.target == file;
    });
    if (rename == calls.end()) {
        return "nothing was renamed to it";
    }
    const auto touches = [&](const Call& call) {
        return call.path == rename->path && (call.name.find("write") != std::string::npos || call.name == "ftruncate");
    };
    const auto sync = std::find_if(calls.begin(), rename, [&](const Call& call) { return isSync(call, rename->path); });
    if (sync == rename || std::any_of(sync, rename, touches)) {
        return "the temporary was not synced after its last write and before the rename";
    }
    const std::string folder = FileUtils::getParentDirectory(file);
    if (std::none_of(rename, calls.end(), [&](const Call& call) { return isSync(call, folder); })) {
        return "the folder was not synced after the rename";
    }
    const auto writesInPlace = [&](const Call& call) {
        return call.path == file && (call.name.find("write") != std::string::npos || call.name == "ftruncate");
    };
    return std::any_of(calls.begin(), calls.end(), writesInPlace) ? "the file itself was written" : "";
}

/// Every file that a deed renames into place, except those set aside.
class WriteOrder : public testing::Test {
protected:
    void expectOrder(const std::string& what, const std::string& file, const std::function<int()>& body) {
        if (trial_.hasLost()) {
            return;
        }
        const Traced traced = runTraced(scene_.folder(), body, {});
        ASSERT_EQ(traced.status, 0);
        trial_.tried();
        if (const std::string wrong = disorder(traced.calls, file); !wrong.empty()) {
            trial_.lost(what + ": " + wrong, scene_.folder());
        }
    }

    void expectOrder(Deed deed, const std::string& file) {
        expectOrder(nameOf(deed), file, [&] { return startAndPerform(scene_, deed, 1); });
    }

    const fakes::TemporaryDirectory directory_;
    const Scene scene_{directory_.path()};
    Trial trial_{"order", "writes"};
};

TEST_F(WriteOrder, IsSyncRenameSyncOnEveryWayToTheDisk) {
    if (!tracingIsAllowed(trial_)) {
        GTEST_SKIP() << tracingIsNotAllowed;
    }
    for (int write = 0; write < 2; ++write) {
        expectOrder(Deed::SetUser, scene_.localFile());
        expectOrder(Deed::JoinServer, scene_.serverFile());
        expectOrder(Deed::JoinServer, scene_.localFile());
        expectOrder(Deed::TakeLink, scene_.linkFile());
        expectOrder(Deed::TakeLink, scene_.localFile());
        expectOrder("a downloaded document", scene_.serverFile(), [&] {
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
    for (const auto& calls : {std::vector{write, sync, rename}, std::vector{write, sync, syncFolder, rename}}) {
        EXPECT_EQ(disorder(calls, file), "the folder was not synced after the rename");
    }
    EXPECT_EQ(disorder({write, sync, rename, syncFolder, {"write", file, ""}}, file), "the file itself was written");
}

}  // namespace
}  // namespace torture
