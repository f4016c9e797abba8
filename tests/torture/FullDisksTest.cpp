#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "Client.h"
#include "Trial.h"
#include "fakes/TemporaryDirectory.h"
#include "simulation/QuietXml.h"
#include "support/ForkedChild.h"

namespace torture {
namespace {

constexpr int verdictNotAllowed = 100;
constexpr int stateThatFits = 7;  // without padding
constexpr int stateThatIsLong = 6;

/// A disk of its own in memory, which no other process sees.
class SmallDisk {
public:
    explicit SmallDisk(std::string folder) : folder_(std::move(folder)) {}

    /// In a process that has nothing else to do. @return false if this system does not let it.
    bool mount(std::uintmax_t bytes) {
        const uid_t user = geteuid();
        const gid_t group = getegid();
        const int spaces = CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER);
        if (unshare(spaces) != 0 || (user != 0 && !becomeRootOfOwnSpace(user, group))) {
            return false;
        }
        return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount("small", folder_.c_str(), "tmpfs", 0, sizeOption(bytes).c_str()) == 0;
    }

    bool resize(std::uintmax_t bytes) const { return remount(MS_REMOUNT, bytes); }
    bool makeReadOnly(std::uintmax_t bytes) const { return remount(MS_REMOUNT | MS_RDONLY, bytes); }

private:
    static std::string sizeOption(std::uintmax_t bytes) { return "size=" + std::to_string(bytes); }

    /// The group too: a disk takes no file of a user or a group that its space does not know.
    static bool becomeRootOfOwnSpace(uid_t user, gid_t group) {
        return write("/proc/self/uid_map", "0 " + std::to_string(user) + " 1") &&
               write("/proc/self/setgroups", "deny") &&
               write("/proc/self/gid_map", "0 " + std::to_string(group) + " 1");
    }

    static bool write(const char* file, const std::string& text) {
        std::ofstream stream(file);
        stream << text << std::flush;
        return stream.good();
    }

    bool remount(unsigned long flags, std::uintmax_t bytes) const {
        return ::mount("small", folder_.c_str(), "tmpfs", flags, sizeOption(bytes).c_str()) == 0;
    }

    const std::string folder_;
};

enum Found : int {
    allIsWell,
    fileIsTorn,
    nothingIsSaid,
    openingIsToldOf,
    valueIsForgotten,
    valueIsNeverWritten,
    diskIsNotAsWanted
};

const char* nameOfFound(int found) {
    constexpr const char* names[] = {"all is well",
                                     "a file is neither the old one nor the new one",
                                     "a file is the old one, and no line of the log names it",
                                     "a line of the log tells of a temporary file that could not be opened",
                                     "memory does not hold what the deed has made of it",
                                     "it is not written once there is room",
                                     "the disk could not be changed"};
    return found >= 0 && found < static_cast<int>(std::size(names)) ? names[found] : "the process has died";
}

/// Whether a line tells of each file that is not what it was to become.
bool tellsOfAllLeft(const std::vector<std::string>& complaints, const Scene& scene, const States& found,
                    const States& wanted) {
    return ((found.user == wanted.user && found.isServerListed == wanted.isServerListed) ||
            tellsOf(complaints, scene.localFile())) &&
           (found.server == wanted.server || tellsOf(complaints, scene.serverFile())) &&
           (found.link == wanted.link || tellsOf(complaints, scene.linkFile()));
}

/// Does something while the disk is what it is, and once more when it is in order again.
/// @param isToldOf whether the log speaks of what is not written: not where the temporary file cannot even be opened.
Found doOnABadDisk(const Scene& scene, Client& client, Deed deed, bool isToldOf,
                   const std::function<bool()>& putInOrder) {
    States before = States::of(scene);
    if (deed == Deed::RemoveServer) {
        // The list may be in memory alone, and the client goes by that.
        before.isServerListed = client.answers().isServerListed;
    }
    const States wanted = after(before, deed, stateThatIsLong);
    // What a link has set and no disk would take is answered all the same, and no other deed changes it.
    const int linkBefore = client.answers().link;
    client.log().clear();
    perform(client, deed, stateThatIsLong);
    const std::vector<std::string> complaints = client.complaints();
    const States found = States::of(scene);
    if (!neitherOldNorNew(found, before, wanted).empty()) {
        return fileIsTorn;
    }
    const bool isTold = tellsOfAllLeft(complaints, scene, found, wanted);
    if (!isTold && isToldOf) {
        return nothingIsSaid;
    }
    if (isTold && !isToldOf && found != wanted) {
        return openingIsToldOf;
    }
    // What a reset could not remove is read again.
    const States answers = client.answers();
    const States inMemory = deed == Deed::ResetData ? found : wanted;
    const int link = deed == Deed::TakeLink ? wanted.link : linkBefore;
    if (answers.user != inMemory.user || answers.server != inMemory.server || answers.link != link) {
        return valueIsForgotten;
    }
    if (!putInOrder()) {
        return diskIsNotAsWanted;
    }
    if (deed == Deed::SetUser || deed == Deed::Refresh) {
        client.touchUser();
    } else {
        perform(client, deed, stateThatIsLong);
    }
    States written = States::of(scene);
    if (deed == Deed::RemoveServer && !written.isServerListed) {
        // What could not be removed stays where nothing reads it.
        written.server = wanted.server;
    }
    return written == wanted ? allIsWell : valueIsNeverWritten;
}

/// Starts, and sets a value, while the disk is what it is, on whole files or on a damaged user's file; and sets it once
/// more when the disk is in order again.
/// @param before what the files hold; of a damaged one nothing.
Found startOnABadDisk(const Scene& scene, const States& before, bool isDamaged,
                      const std::function<bool()>& putInOrder) {
    const simulation::QuietXml quiet;
    const std::string bytes = bytesOf(scene.localFile());
    Client client(scene);
    if (!scene.keeps(bytes) || !neitherOldNorNew(States::of(scene), before, before).empty()) {
        return fileIsTorn;
    }
    const std::vector<std::string> complaints = client.complaints();
    const bool isTold = std::any_of(complaints.begin(), complaints.end(), [](const std::string& text) {
        return text.find("renaming invalid file to: corvidLocalConfig-backup.xml") != std::string::npos;
    });
    if (isTold != isDamaged) {
        return nothingIsSaid;
    }
    const States answers = client.answers();
    if (answers.user != before.user || answers.link != before.link ||
        answers.server != (before.isServerListed ? before.server : States::none)) {
        return valueIsForgotten;
    }
    client.setUser(stateThatIsLong);
    const States written = States::of(scene);
    const bool isOldOrNew = written == before || written == after(before, Deed::SetUser, stateThatIsLong);
    if ((isDamaged && !scene.keeps(bytes)) || !isOldOrNew) {
        return fileIsTorn;
    }
    if (!putInOrder()) {
        return diskIsNotAsWanted;
    }
    client.setUser(stateThatIsLong);
    const bool isKept = !isDamaged || scene.keeps(bytes);
    return isKept && States::of(scene).user == stateThatIsLong ? allIsWell : valueIsNeverWritten;
}

std::uintmax_t bytesOfTheLongFile() {
    const fakes::TemporaryDirectory directory;
    const Scene scene(directory.path());
    Client(scene).setUser(stateThatIsLong);
    return std::filesystem::file_size(scene.localFile());
}

/// The clients of this row, each on a disk of its own.
class FullDisks : public testing::Test {
protected:
    /// @return false if this system does not let a test mount anything.
    bool tryDisk(const std::string& what, const std::function<int(SmallDisk&)>& client) {
        SmallDisk disk(directory_.path());
        const int found = support::runForked([&] {
            const int verdict = client(disk);
            if (verdict != allIsWell && verdict != verdictNotAllowed) {
                keepFiles(directory_.path(), kept_.path());  // no other process sees the disk
            }
            return verdict;
        });
        if (found == verdictNotAllowed) {
            return false;
        }
        trial_.tried();
        if (found != allIsWell) {
            trial_.lost(what + ": " + nameOfFound(found), kept_.path());
        }
        return true;
    }

    bool isFullAt(std::uintmax_t bytes) {
        const std::string name = "a disk of " + std::to_string(bytes) + " bytes";
        return tryEach(name, true, bytes, [](SmallDisk&) { return true; });
    }

    bool isReadOnly() {
        const std::uintmax_t bytes = 16 * longFile_;
        return tryEach("a read-only disk", false, bytes, [bytes](SmallDisk& disk) { return disk.makeReadOnly(bytes); });
    }

    /// Everything that a client does to its files, each on a disk of its own.
    /// @param makeBad once the files are there. @param isOpened whether temporary files can be opened then.
    bool tryEach(const std::string& name, bool isOpened, std::uintmax_t bytes,
                 const std::function<bool(SmallDisk&)>& makeBad) {
        const auto tryOne = [&](const std::string& what, const auto& prepareAndDo) {
            return tryDisk(name + ", " + what, [&](SmallDisk& disk) -> int {
                if (!disk.mount(bytes)) {
                    return verdictNotAllowed;
                }
                return prepareAndDo(
                    Scene(directory_.path()), [&] { return makeBad(disk); },
                    [&] { return disk.resize(bytes + 16 * longFile_); });
            });
        };
        bool isAllowed = true;
        for (const Deed deed : allDeeds) {
            isAllowed = isAllowed && tryOne(nameOf(deed), [&](const Scene& scene, auto makeItBad, auto putInOrder) {
                            Client client(scene);
                            prepareFor(client, deed);
                            if (!makeItBad()) {
                                return diskIsNotAsWanted;
                            }
                            const bool isToldOf = isOpened || deed == Deed::ResetData;
                            return doOnABadDisk(scene, client, deed, isToldOf, putInOrder);
                        });
        }
        for (const bool isDamaged : {false, true}) {
            isAllowed = isAllowed && tryOne(isDamaged ? "a start on a damaged file" : "a start",
                                            [&](const Scene& scene, auto makeItBad, auto putInOrder) {
                                                writeFiles(scene, stateThatFits);
                                                States before = States::of(scene);
                                                if (isDamaged) {
                                                    scene.damage();
                                                    before.user = States::none;
                                                    before.isServerListed = false;
                                                }
                                                return makeItBad()
                                                           ? startOnABadDisk(scene, before, isDamaged, putInOrder)
                                                           : diskIsNotAsWanted;
                                            });
        }
        return isAllowed;
    }

    /// The file that the deed is about, or all of them; on a small disk not even that may come to be.
    static void prepareFor(Client& client, Deed deed) {
        if (deed == Deed::RemoveServer) {
            deed = Deed::JoinServer;
        }
        if (deed != Deed::ResetData) {
            perform(client, deed, stateThatFits);
            return;
        }
        for (const Deed other : {Deed::TakeLink, Deed::JoinServer, Deed::SetUser}) {
            perform(client, other, stateThatFits);
        }
    }

    static constexpr std::uintmax_t page = 4096;
    const std::uintmax_t longFile_ = bytesOfTheLongFile();
    const fakes::TemporaryDirectory directory_;
    const fakes::TemporaryDirectory kept_;  ///< what was on a disk that something was lost on
    Trial trial_{"disk", "disks"};
};

TEST_F(FullDisks, AndReadOnlyOnesKeepTheOldFileAndTakeTheValueOnceTheyCan) {
    bool isAllowed = isReadOnly();
    for (std::uintmax_t bytes = page; isAllowed && !trial_.hasLost() && bytes <= 5 * longFile_ + page; bytes += page) {
        isAllowed = isFullAt(bytes);
    }
    if (!isAllowed) {
        trial_.remark("skipped: this system does not let a test mount a disk");
        GTEST_SKIP() << "this system does not let a test mount a disk";
    }
}

}  // namespace
}  // namespace torture
