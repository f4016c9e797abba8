#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "Client.h"
#include "Trial.h"
#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"
#include "support/ForkedChild.h"

namespace torture {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t bytesOfTheDisk = 6U << 20U;

bool run(const std::vector<std::string>& command) { return support::runProgram(command).status == 0; }

/// A disk of its own in a file, as it is after a copy or as it is being written.
class DiskImage {
public:
    DiskImage(std::string file, std::string folder) : file_(std::move(file)), folder_(std::move(folder)) {
        fs::create_directories(folder_);
    }
    ~DiskImage() { unmount(); }

    DiskImage(const DiskImage&) = delete;
    DiskImage& operator=(const DiskImage&) = delete;

    const std::string& file() const { return file_; }
    const std::string& folder() const { return folder_; }

    bool format() const {
        std::ofstream(file_).close();
        fs::resize_file(file_, bytesOfTheDisk);
        return run({"/sbin/mkfs.ext4", "-q", "-F", file_});
    }

    /// The file system is to be no more careful than it promises: a rename does not write the file's data out.
    bool mount() {
        isMounted_ = run({"/bin/mount", "-t", "ext4", "-o", "loop,noauto_da_alloc", file_, folder_});
        return isMounted_;
    }

    void unmount() {
        if (isMounted_ && ::umount(folder_.c_str()) == 0) {
            isMounted_ = false;
        }
    }

    /// How many writes have reached the disk.
    std::string writes() const {
        struct stat status {};
        ::stat(folder_.c_str(), &status);
        std::ifstream counts("/sys/dev/block/" + std::to_string(major(status.st_dev)) + ":" +
                             std::to_string(minor(status.st_dev)) + "/stat");
        std::string count;
        for (int field = 0; field < 5; ++field) {
            counts >> count;
        }
        return count;
    }

private:
    const std::string file_;
    const std::string folder_;
    bool isMounted_ = false;
};

/// The writer's deeds take turns: the reset and the removal find a copy each.
constexpr Deed turns[] = {Deed::SetUser, Deed::JoinServer, Deed::TakeLink,    Deed::ResetData,
                          Deed::Refresh, Deed::JoinServer, Deed::RemoveServer};
constexpr int deedsOfTheWriter = std::size(turns);

Deed deedOf(int state) { return turns[state % deedsOfTheWriter]; }

/// What the files hold after this state.
States statesAfter(int last) {
    States states;
    for (int state = std::max(0, last + 1 - deedsOfTheWriter); state <= last; ++state) {
        states = after(states, deedOf(state), state);
    }
    return states;
}

/// Whether each file is as it was after one of the states from the oldest to the newest.
bool isBetween(const States& found, int oldest, int newest) {
    bool user = false;
    bool server = false;
    bool link = false;
    bool list = false;
    for (int state = oldest; state <= newest; ++state) {
        const States held = statesAfter(state);
        user = user || found.user == held.user;
        server = server || found.server == held.server;
        link = link || found.link == held.link;
        list = list || found.isServerListed == held.isServerListed;
    }
    return user && server && link && list;
}

/// A client that writes one state after the other, and acknowledges each.
class Writer {
public:
    explicit Writer(const std::string& folder)
        : child_([&](int channel) { return writeForEver(Scene(folder), channel); }) {}

    /// @return the last state that was acknowledged; waits for the next one.
    int next() {
        hasEnded_ = hasEnded_ || ::read(child_.channel(), &last_, sizeof last_) != sizeof last_;
        return lastSoFar();
    }

    /// The same without waiting for another.
    int lastSoFar() {
        fcntl(child_.channel(), F_SETFL, O_NONBLOCK);
        ssize_t bytes = 0;
        do {
            bytes = ::read(child_.channel(), &last_, sizeof last_);
        } while (bytes == sizeof last_);
        fcntl(child_.channel(), F_SETFL, 0);
        // Less than nothing where the next one is yet to come.
        hasEnded_ = hasEnded_ || bytes >= 0;
        return last_;
    }

    /// Whether the process is known to write no more: it is not meant to end.
    bool hasEnded() const { return hasEnded_; }

    void pause() const { child_.signal(SIGSTOP); }
    void goOn() const { child_.signal(SIGCONT); }

private:
    static int writeForEver(const Scene& scene, int channel) {
        Client client(scene);
        for (int state = 0;; ++state) {
            perform(client, deedOf(state), state);
            if (::write(channel, &state, sizeof state) != sizeof state) {
                return 1;
            }
        }
    }

    support::ForkedChild child_;
    int last_ = States::none;
    bool hasEnded_ = false;
};

class PowerCuts : public testing::Test {
protected:
    bool prepare() {
        return geteuid() == 0 && unshare(CLONE_NEWNS) == 0 &&
               ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 && disk_.format() && disk_.mount();
    }

    void cut(Writer& writer) {
        for (std::uint64_t writes = trial_.below(4); writes > 0; --writes) {
            writer.next();
        }
        const int started = writer.next();
        trial_.passUpTo(std::chrono::microseconds(4000));
        const int acknowledged = std::max(started, writer.lastSoFar());
        writer.pause();
        takeCopy();
        const int newest = writer.lastSoFar() + 1;
        writer.goOn();
        trial_.tried();
        if (writer.hasEnded()) {
            trial_.lost("the writer has ended", disk_.folder());
            return;
        }
        DiskImage copy(directory_.path("copy.image"), directory_.path("copy"));
        if (!copy.mount()) {
            trial_.lost("the disk cannot be mounted after the power cut", disk_.folder());
            return;
        }
        const Scene scene(copy.folder());
        const States found = States::of(scene);
        if (!isBetween(found, acknowledged, newest)) {
            trial_.lost("found " + found.text() + "; acknowledged " + statesAfter(acknowledged).text(), copy.folder());
            return;
        }
        Client client(scene);
        const std::string wrong = otherAnswers(client, found);
        if (!wrong.empty()) {
            trial_.lost(wrong, copy.folder());
        }
    }

    /// What is on the disk at one moment: a copy during which something was written would be of no moment at all.
    void takeCopy() const {
        std::string before;
        do {
            before = disk_.writes();
            fs::copy_file(disk_.file(), directory_.path("copy.image"), fs::copy_options::overwrite_existing);
        } while (disk_.writes() != before);
    }

    const fakes::TemporaryDirectory directory_;
    DiskImage disk_{directory_.path("disk.image"), directory_.path("disk")};
    Trial trial_{"power-cut", "cuts", 10, 500};
};

TEST_F(PowerCuts, LeaveEveryAcknowledgedValueOnTheDisk) {
    if (!prepare()) {
        trial_.remark("skipped: this system does not let a test mount a disk image");
        GTEST_SKIP() << "this system does not let a test mount a disk image";
    }
    Writer writer(disk_.folder());
    while (trial_.nextRound()) {
        cut(writer);
    }
}

}  // namespace
}  // namespace torture
