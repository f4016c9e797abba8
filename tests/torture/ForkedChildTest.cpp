#include "support/ForkedChild.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <csignal>
#include <exception>
#include <stdexcept>
#include <system_error>

namespace torture {
namespace {

using support::ForkedChild;
using support::runForked;

constexpr int unlimited = 100;

/// From here on this process can make no other one.
bool forbidProcesses() {
    const rlimit none{0, 0};
    constexpr uid_t nobody = 65534;
    // The limit does not hold for root.
    return setrlimit(RLIMIT_NPROC, &none) == 0 && (geteuid() != 0 || setuid(nobody) == 0);
}

int waitForever(int) {
    for (;;) {
        pause();
    }
}

TEST(ForkedChild, IsRefusedWhereNoProcessCanBeMade) {
    const int found = runForked([] {
        if (!forbidProcesses()) {
            return unlimited;
        }
        try {
            const ForkedChild child(waitForever);
        } catch (const std::system_error& refusal) {
            return refusal.code() == std::errc::resource_unavailable_try_again ? 0 : 1;
        }
        return 2;
    });
    if (found == unlimited) {
        GTEST_SKIP() << "this system does not let a test limit its processes";
    }
    EXPECT_EQ(found, 0);
}

TEST(ForkedChild, IsKilledWithTheProcessThatMadeIt) {
    EXPECT_EQ(runForked([] {
                  int signal = 0;
                  prctl(PR_GET_PDEATHSIG, &signal);
                  return signal;
              }),
              SIGKILL);
}

TEST(ForkedChild, EndsWithItsObject) {
    pid_t id = 0;
    {
        const ForkedChild child(waitForever);
        id = child.id();
        EXPECT_EQ(::kill(id, 0), 0);
    }
    EXPECT_EQ(::kill(id, 0), -1) << "it neither runs nor waits to be waited for";
}

TEST(ForkedChild, TellsHowItEndedAndWhatItWrote) {
    ForkedChild child([](int channel) { return ::write(channel, "+", 1) == 1 ? 7 : 8; });
    char mark = 0;
    EXPECT_EQ(::read(child.channel(), &mark, 1), 1);
    EXPECT_EQ(mark, '+');
    EXPECT_EQ(child.wait(), 7);
    EXPECT_EQ(::read(child.channel(), &mark, 1), 0);
    ForkedChild killed(waitForever);
    killed.signal(SIGTERM);
    EXPECT_EQ(killed.wait(), 128 + SIGTERM);
}

TEST(ForkedChild, TellsAnEndOfItsOwnFromThatByItsObject) {
    ForkedChild child(waitForever);
    EXPECT_EQ(child.end(), 128 + SIGKILL);
    EXPECT_EQ(child.end(), 128 + SIGKILL) << "it has been waited for already";
    ForkedChild crashed([](int) { return raise(SIGTERM); });
    char mark = 0;
    EXPECT_EQ(::read(crashed.channel(), &mark, 1), 0) << "until it has ended";
    EXPECT_EQ(crashed.end(), 128 + SIGTERM);
}

TEST(ForkedChild, DoesNotGoOnWithTheTestAfterAnException) {
    EXPECT_EQ(runForked([]() -> int {
                  std::signal(SIGABRT, SIG_DFL);
                  std::set_terminate([] { _exit(9); });
                  throw std::runtime_error("out of the child");
              }),
              9);
}

}  // namespace
}  // namespace torture
