#include "impl/http/SigpipeGuard.h"

#include <unistd.h>

#include <csignal>
#include <ctime>
#include <thread>

namespace {

volatile std::sig_atomic_t signalsSeen = 0;

void countSignal(int) { signalsSeen = signalsSeen + 1; }

/// Counts SIGPIPE for the length of a test.
class SigpipeGuard : public testing::Test {
protected:
    SigpipeGuard() {
        signalsSeen = 0;
        struct sigaction counting = {};
        counting.sa_handler = countSignal;
        sigaction(SIGPIPE, &counting, &before_);
    }
    ~SigpipeGuard() override { sigaction(SIGPIPE, &before_, nullptr); }

    static void writeToBrokenPipe() {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        close(ends[0]);
        EXPECT_EQ(write(ends[1], "x", 1), -1);
        close(ends[1]);
    }

    static bool isBlocked() {
        sigset_t mask;
        pthread_sigmask(SIG_SETMASK, nullptr, &mask);
        return sigismember(&mask, SIGPIPE) == 1;
    }

private:
    struct sigaction before_ = {};
};

}  // namespace

TEST_F(SigpipeGuard, KeepsTheSignalFromTheThread) {
    writeToBrokenPipe();
    ASSERT_EQ(signalsSeen, 1) << "nothing to keep away";
    {
        const platform::SigpipeGuard guard;
        writeToBrokenPipe();
    }
    EXPECT_EQ(signalsSeen, 1);
}

TEST_F(SigpipeGuard, RestoresTheMask) {
    {
        const platform::SigpipeGuard guard;
        EXPECT_TRUE(isBlocked());
    }
    EXPECT_FALSE(isBlocked());
}

TEST_F(SigpipeGuard, LeavesASignalThatWaitedAlready) {
    std::thread([] {
        platform::blockSigpipe();
        writeToBrokenPipe();
        {
            const platform::SigpipeGuard guard;
            writeToBrokenPipe();
        }
        EXPECT_TRUE(isBlocked());
        sigset_t waiting;
        sigpending(&waiting);
        EXPECT_EQ(sigismember(&waiting, SIGPIPE), 1);
    }).join();
    EXPECT_EQ(signalsSeen, 0);
}
