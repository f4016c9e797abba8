#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "quill/FileUtils.h"

using testing::AnyOf;

namespace QuillCoreUtils {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t mebibyte = std::size_t{1} << 20U;

std::size_t entriesIn(const fakes::TemporaryDirectory& directory) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(directory.path()), fs::directory_iterator()));
}

/// Runs a function in a process of its own. @return what it gave.
int inAnotherProcess(const std::function<int()>& function) {
    const pid_t child = fork();
    if (child == 0) {
        _exit(function());
    }
    int status = 0;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status));
    return WEXITSTATUS(status);
}

/// From here on this process can write no file beyond that size: a disk that fills up in the middle of a write.
bool limitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, bytes};
    return signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

enum Outcome : int { worked = 1, failed = 2, unlimited = 3 };

Outcome onAFullDisk(const std::function<bool()>& write) {
    return static_cast<Outcome>(inAnotherProcess([&]() -> int {
        if (!limitFileSize(100000)) {
            return unlimited;
        }
        return write() ? worked : failed;
    }));
}

TEST(CrashSafety, KeepsTheOldFileWhenTheDiskIsFull) {
    const fakes::TemporaryDirectory directory;
    const std::string from = directory.write("from", std::string(mebibyte, 'n'));
    const std::string to = directory.write("to", "old");
    EXPECT_EQ(onAFullDisk([&] { return FileUtils::copyFile(from, to, false); }), failed);
    EXPECT_EQ(onAFullDisk([&] { return FileUtils::writeFileAtomically(to, std::string(mebibyte, 'n')); }), failed);
    EXPECT_EQ(directory.read("to"), "old");
    EXPECT_EQ(entriesIn(directory), 2U);
}

TEST(CrashSafety, WritesWhatStillFits) {
    const fakes::TemporaryDirectory directory;
    const std::string to = directory.write("to", "old");
    EXPECT_EQ(onAFullDisk([&] { return FileUtils::writeFileAtomically(to, std::string(100000, 'n')); }), worked);
    EXPECT_EQ(directory.read("to"), std::string(100000, 'n'));
}

/// A process that copies two files in turns over a third, and tells of each round by a byte.
class Copier {
public:
    Copier(const std::vector<std::string>& sources, const std::string& destination) {
        EXPECT_EQ(pipe(rounds_), 0);
        child_ = fork();
        if (child_ == 0) {
            for (std::size_t round = 0;; ++round) {
                const bool copied = FileUtils::copyFile(sources[round % sources.size()], destination, false);
                if (::write(rounds_[1], copied ? "+" : "-", 1) != 1) {
                    _exit(1);
                }
            }
        }
        close(rounds_[1]);
    }

    ~Copier() {
        kill(child_, SIGKILL);
        waitpid(child_, nullptr, 0);
        close(rounds_[0]);
    }

    Copier(const Copier&) = delete;
    Copier& operator=(const Copier&) = delete;

    /// @return whether the round went well.
    bool awaitRound() const {
        char mark = 0;
        return ::read(rounds_[0], &mark, 1) == 1 && mark == '+';
    }

private:
    int rounds_[2] = {-1, -1};
    pid_t child_ = -1;
};

TEST(CrashSafety, LeavesOneOfTheTwoFilesWholeWhenKilledAtAnyInstant) {
    const fakes::TemporaryDirectory directory;
    const std::string first(mebibyte, '1');
    const std::string second(mebibyte, '2');
    const std::vector<std::string> sources = {directory.write("first", first), directory.write("second", second)};
    const std::string to = directory.write("to", first);
    for (int kills = 0; kills < 30; ++kills) {
        {
            const Copier copier(sources, to);
            for (int round = 0; round <= kills % 3; ++round) {
                ASSERT_TRUE(copier.awaitRound());
            }
        }
        ASSERT_THAT(directory.read("to"), AnyOf(first, second)) << "after kill " << kills;
    }
    EXPECT_TRUE(FileUtils::copyFile(sources[1], to, false));
    EXPECT_EQ(directory.read("to"), second);
    EXPECT_EQ(entriesIn(directory), 3U) << "what the killed processes left is gone";
}

}  // namespace
}  // namespace QuillCoreUtils
