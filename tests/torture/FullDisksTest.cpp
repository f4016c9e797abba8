#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>

#include "Client.h"
#include "Trial.h"
#include "fakes/TemporaryDirectory.h"
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
        const int spaces = CLONE_NEWNS | (user == 0 ? 0 : CLONE_NEWUSER);
        if (unshare(spaces) != 0 || (user != 0 && !becomeRootOfOwnSpace(user))) {
            return false;
        }
        return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount("small", folder_.c_str(), "tmpfs", 0, sizeOption(bytes).c_str()) == 0;
    }

    bool resize(std::uintmax_t bytes) const { return remount(MS_REMOUNT, bytes); }
    bool makeReadOnly(std::uintmax_t bytes) const { return remount(MS_REMOUNT | MS_RDONLY, bytes); }

private:
    static std::string sizeOption(std::uintmax_t bytes) { return "size=" + std::to_string(bytes); }

    static bool becomeRootOfOwnSpace(uid_t user) {
        std::ofstream map("/proc/self/uid_map");
        map << "0 " << user << " 1" << std::flush;
        return map.good();
    }

    bool remount(unsigned long flags, std::uintmax_t bytes) const {
        return ::mount("small", folder_.c_str(), "tmpfs", flags, sizeOption(bytes).c_str()) == 0;
    }

    const std::string folder_;
};

enum Found : int { allIsWell, fileIsTorn, nothingIsSaid, valueIsForgotten, valueIsNeverWritten, diskIsNotAsWanted };

const char* nameOfFound(int found) {
    constexpr const char* names[] = {"all is well",
                                     "the file is neither the old one nor the new one",
                                     "the file is the old one, and no line of the log names it",
                                     "the value is not in memory",
                                     "the value is not written once there is room",
                                     "the disk could not be changed"};
    return found >= 0 && found < static_cast<int>(std::size(names)) ? names[found] : "the process has died";
}

/// Sets a long value while the disk is what it is, and once more when it is in order again.
/// @param isToldOf whether the log speaks of a failure: not where the temporary file cannot even be opened.
Found setOnABadDisk(const Scene& scene, Client& client, int before, bool isToldOf,
                    const std::function<bool()>& putInOrder) {
    client.log().clear();
    client.setUser(stateThatIsLong);
    const bool isTold = tellsOf(client.complaints(), scene.localFile());
    const int user = States::of(scene).user;
    if (user != before && user != stateThatIsLong) {
        return fileIsTorn;
    }
    if (user == before && !isTold && isToldOf) {
        return nothingIsSaid;
    }
    if (client.answers().user != stateThatIsLong) {
        return valueIsForgotten;
    }
    if (!putInOrder()) {
        return diskIsNotAsWanted;
    }
    client.touchUser();
    return States::of(scene).user == stateThatIsLong ? allIsWell : valueIsNeverWritten;
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
        return tryDisk("a disk of " + std::to_string(bytes) + " bytes", [&](SmallDisk& disk) -> int {
            if (!disk.mount(bytes)) {
                return verdictNotAllowed;
            }
            const Scene scene(directory_.path());
            Client client(scene);
            client.setUser(stateThatFits);
            const int before = States::of(scene).user;
            return setOnABadDisk(scene, client, before, before != States::none,
                                 [&] { return disk.resize(bytes + 16 * longFile_); });
        });
    }

    bool isReadOnly() {
        return tryDisk("a read-only disk", [&](SmallDisk& disk) -> int {
            const std::uintmax_t bytes = 16 * longFile_;
            if (!disk.mount(bytes)) {
                return verdictNotAllowed;
            }
            const Scene scene(directory_.path());
            Client client(scene);
            client.setUser(stateThatFits);
            if (!disk.makeReadOnly(bytes)) {
                return diskIsNotAsWanted;
            }
            return setOnABadDisk(scene, client, stateThatFits, false, [&] { return disk.resize(bytes); });
        });
    }

    static constexpr std::uintmax_t page = 4096;
    const std::uintmax_t longFile_ = bytesOfTheLongFile();
    const fakes::TemporaryDirectory directory_;
    const fakes::TemporaryDirectory kept_;  ///< what was on a disk that something was lost on
    Trial trial_{"disk", "disks"};
};

TEST_F(FullDisks, AndReadOnlyOnesKeepTheOldFileAndTakeTheValueOnceTheyCan) {
    bool isAllowed = isReadOnly();
    for (std::uintmax_t bytes = page; isAllowed && !trial_.hasLost() && bytes <= 3 * longFile_ + page; bytes += page) {
        isAllowed = isFullAt(bytes);
    }
    if (!isAllowed) {
        trial_.remark("skipped: this system does not let a test mount a disk");
        GTEST_SKIP() << "this system does not let a test mount a disk";
    }
}

}  // namespace
}  // namespace torture
