#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <sys/stat.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

#include "Trial.h"
#include "fakes/TemporaryDirectory.h"
#include "simulation/Sanitized.h"
#include "support/ForkedChild.h"
#include "support/Seed.h"

namespace torture {
namespace {

TEST(Trial, TriesNothingMoreOnceSomethingWasLost) {
    const fakes::TemporaryDirectory directory;
    Trial trial("trial", "tries", 200, 200);
    EXPECT_TRUE(trial.nextRound());
    EXPECT_NONFATAL_FAILURE(trial.lost("a value is gone", directory.path()), "a value is gone");
    EXPECT_FALSE(trial.nextRound());
    for (int time = 0; time < 1000; ++time) {
        ASSERT_FALSE(trial.picks(1, 1));
    }
}

int picksOf(std::uint64_t wanted, std::uint64_t all) {
    Trial trial("trial", "tries");
    int picked = 0;
    for (int time = 0; time < 10000; ++time) {
        picked += trial.picks(wanted, all) ? 1 : 0;
    }
    return picked;
}

TEST(Trial, PicksAboutAsManyAsAreWantedAndATenthWithASanitizer) {
    const int tenths = static_cast<int>(simulation::sequences(10));
    EXPECT_NEAR(picksOf(50, 100), 500 * tenths, 400);
    EXPECT_NEAR(picksOf(1, 1), 1000 * tenths, 400);
    EXPECT_NEAR(picksOf(1, 0), 1000 * tenths, 400) << "of none all there are";
}

TEST(Trial, KeepsEveryFileOfWhatWasLostThatCanBeCopied) {
    const fakes::TemporaryDirectory directory;
    directory.write("lost/in/a", "a");
    directory.write("lost/z", "z");
    for (const char* const name : {"lost/b", "lost/in/b", "lost/y"}) {
        ASSERT_EQ(mkfifo(directory.path(name).c_str(), 0600), 0);
    }
    ASSERT_EQ(symlink("nowhere", directory.path("lost/link").c_str()), 0);
    keepFiles(directory.path("lost"), directory.path("kept/files"));
    EXPECT_EQ(directory.read("kept/files/in/a"), "a");
    EXPECT_EQ(directory.read("kept/files/z"), "z");
    EXPECT_EQ(std::filesystem::read_symlink(directory.path("kept/files/link")), "nowhere");
    keepFiles("", directory.path("nothing"));
    EXPECT_TRUE(std::filesystem::is_empty(directory.path("nothing")));
}

TEST(Trial, LeavesTheSeedOfItsTryOnlyIfTheProcessDies) {
    const fakes::TemporaryDirectory directory;
    const auto tryOnce = [&directory](bool dies) {
        return support::runForked([&directory, dies] {
            setenv("CORVID_TORTURE_KEEP", directory.path().c_str(), 1);
            Trial trial("trial", "tries");
            trial.begin(4000000000);
            trial.begin(4711);
            return dies ? raise(SIGKILL) : 0;
        });
    };
    EXPECT_EQ(tryOnce(true), 128 + SIGKILL);
    EXPECT_EQ(directory.read("trial-under-way"), "CORVID_TEST_SEED=4711\n");
    EXPECT_EQ(tryOnce(false), 0);
    EXPECT_FALSE(directory.exists("trial-under-way"));
}

TEST(Seed, IsInALogThatTheDyingProcessNeverCloses) {
    const fakes::TemporaryDirectory directory;
    const int status = support::runForked([&directory] {
        std::fflush(nullptr);
        if (std::freopen(directory.path("log").c_str(), "w", stdout) == nullptr) {
            return 1;
        }
        setenv("CORVID_TEST_SEED", "4711", 1);
        support::seedOfThisRun();
        return raise(SIGKILL);
    });
    EXPECT_EQ(status, 128 + SIGKILL);
    EXPECT_EQ(directory.read("log"), "CORVID_TEST_SEED=4711\n");
}

TEST(Trial, HoldsALongRunToWhatIsPromisedAndAQuickOneToNoHang) {
    using std::chrono::milliseconds;
    EXPECT_EQ(support::runForked([] {
                  unsetenv("CORVID_TORTURE_TABLE");
                  return Trial::longest(milliseconds(200)) == milliseconds(10000) ? 0 : 1;
              }),
              0);
    EXPECT_EQ(support::runForked([] {
                  setenv("CORVID_TORTURE_TABLE", "/dev/null", 1);
                  return Trial::longest(milliseconds(200)) == milliseconds(200) ? 0 : 1;
              }),
              0);
}

}  // namespace
}  // namespace torture
