#include "session/Interruption.h"

#include <poll.h>

#include <csignal>
#include <thread>

#include "support/ChildProcess.h"

using namespace corvidctl;
using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds AT_ONCE{0};
constexpr std::chrono::milliseconds LONG{600'000};

bool isReadable(int descriptor) {
    pollfd waited = {descriptor, POLLIN, 0};
    return poll(&waited, 1, 0) == 1;
}

/// Takes the signals that stay pending away from the next test.
class Interrupted : public ::testing::Test {
protected:
    ~Interrupted() override {
        sigset_t pending;
        sigemptyset(&pending);
        sigaddset(&pending, SIGINT);
        sigaddset(&pending, SIGTERM);
        const timespec noTime{};
        while (sigtimedwait(&pending, nullptr, &noTime) > 0) {
        }
    }
};

}  // namespace

TEST(Interruption, HasNoNewsWhenNothingHappened) {
    Interruption interruption;
    EXPECT_FALSE(interruption.waitForNews(AT_ONCE));
}

TEST(Interruption, WakesForANudgeOfAnotherThread) {
    Interruption interruption;
    std::thread other([&interruption] { interruption.nudge(); });
    EXPECT_FALSE(interruption.waitForNews(LONG));
    other.join();
}

TEST(Interruption, KeepsANudgeForTheNextWait) {
    Interruption interruption;
    interruption.nudge();
    interruption.nudge();
    EXPECT_FALSE(interruption.waitForNews(LONG));
}

TEST(Interruption, BlocksNoSignalOfAProgramThatATestStarts) {
    const Interruption interruption;
    support::ChildProcess program({"/usr/bin/tail", "-f", "/dev/null"});
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait().status, 128 + SIGTERM);
}

TEST_F(Interrupted, StaysInterruptedForGood) {
    Interruption interruption;
    raise(SIGTERM);
    EXPECT_TRUE(interruption.waitForNews(LONG));
    EXPECT_TRUE(interruption.waitForNews(LONG));
    interruption.wait();
}

TEST(Interruption, EndsFromInsideTheProgram) {
    Interruption interruption;
    std::thread other([&interruption] { interruption.end(); });
    interruption.wait();
    EXPECT_TRUE(interruption.waitForNews(AT_ONCE));
    other.join();
}

TEST_F(Interrupted, IsToldEvenIfNudgedAsWell) {
    Interruption interruption;
    interruption.nudge();
    raise(SIGINT);
    EXPECT_TRUE(interruption.waitForNews(LONG));
}

TEST_F(Interrupted, IsSeenAtItsDescriptorForGood) {
    Interruption interruption;
    interruption.nudge();
    EXPECT_FALSE(isReadable(interruption.descriptor()));
    raise(SIGINT);
    EXPECT_TRUE(interruption.waitForNews(LONG));
    EXPECT_TRUE(isReadable(interruption.descriptor()));
}

TEST(Interruption, IsSeenAtItsDescriptorWhenEndedFromInside) {
    Interruption interruption;
    interruption.end();
    EXPECT_TRUE(isReadable(interruption.descriptor()));
}
