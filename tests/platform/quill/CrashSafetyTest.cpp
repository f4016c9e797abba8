#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "quill/FileUtils.h"
#include "support/ForkedChild.h"

using testing::AnyOf;

namespace QuillCoreUtils {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t mebibyte = std::size_t{1} << 20U;

std::size_t entriesIn(const fakes::TemporaryDirectory& directory) {
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(directory.path()), fs::directory_iterator()));
}

/// From here on this process can write no file beyond that size: a disk that fills up in the middle of a write.
bool limitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, bytes};
    return signal(SIGXFSZ, SIG_IGN) != SIG_ERR && setrlimit(RLIMIT_FSIZE, &limit) == 0;
}

enum Outcome : int { worked = 1, failed = 2, unlimited = 3 };

Outcome onAFullDisk(const std::function<bool()>& write) {
    return static_cast<Outcome>(support::runForked([&]() -> int {
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
    Copier(const std::vector<std::string>& sources, const std::string& destination)
        : child_([&](int channel) { return copyForEver(sources, destination, channel); }) {}

    /// @return whether the round went well.
    bool awaitRound() const {
        char mark = 0;
        return ::read(child_.channel(), &mark, 1) == 1 && mark == '+';
    }

private:
    static int copyForEver(const std::vector<std::string>& sources, const std::string& destination, int channel) {
        for (std::size_t round = 0;; ++round) {
            const bool copied = FileUtils::copyFile(sources[round % sources.size()], destination, false);
            if (::write(channel, copied ? "+" : "-", 1) != 1) {
                return 1;
            }
        }
    }

    support::ForkedChild child_;
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
