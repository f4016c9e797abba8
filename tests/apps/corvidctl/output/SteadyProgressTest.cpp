#include "output/SteadyProgress.h"

#include <csignal>
#include <latch>
#include <sstream>
#include <utility>

using namespace corvidctl;

namespace {

/// A clock that is far ahead at every look, so that the line shows at once.
ProgressLine::Clock::time_point muchLater() {
    static ProgressLine::Clock::time_point now;
    return now += std::chrono::minutes(1);
}

}  // namespace

TEST(SteadyProgress, ShowsItsTextMeanwhileAndClearsItAtTheEnd) {
    std::ostringstream out;
    std::latch shown(1);
    const auto columns = [&shown, asked = false]() mutable {
        if (!std::exchange(asked, true)) {
            shown.count_down();
        }
        return std::size_t{40};
    };
    ProgressLine line(out, {true, columns}, muchLater);
    {
        const SteadyProgress steady(line, "reading …");
        shown.wait();
    }
    EXPECT_THAT(out.str(), testing::StartsWith("\rreading … "));
    EXPECT_THAT(out.str(), testing::EndsWith("\r\x1b[K"));
}

TEST(SteadyProgress, ShowsNothingOnceItHasEnded) {
    std::ostringstream out;
    std::latch shown(1);
    const auto columns = [&shown, asked = false]() mutable {
        if (!std::exchange(asked, true)) {
            shown.count_down();
        }
        return std::size_t{40};
    };
    ProgressLine line(out, {true, columns}, muchLater);
    SteadyProgress steady(line, "reading …");
    shown.wait();
    steady.end();
    EXPECT_THAT(out.str(), testing::EndsWith("\r\x1b[K"));
    const std::string before = out.str();
    steady.end();
    EXPECT_EQ(out.str(), before);
}

TEST(SteadyProgress, TakesNoSignals) {
    std::ostringstream out;
    std::latch shown(1);
    bool isBlocked = false;
    const auto columns = [&, asked = false]() mutable {
        if (!std::exchange(asked, true)) {
            sigset_t blocked;
            pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
            isBlocked = sigismember(&blocked, SIGINT) == 1 && sigismember(&blocked, SIGTERM) == 1;
            shown.count_down();
        }
        return std::size_t{40};
    };
    ProgressLine line(out, {true, columns}, muchLater);
    const SteadyProgress steady(line, "reading …");
    shown.wait();
    EXPECT_TRUE(isBlocked);
}

TEST(SteadyProgress, LeavesATerminalAloneThatShowsNothing) {
    std::ostringstream out;
    ProgressLine line(out, {});
    { const SteadyProgress steady(line, "reading …"); }
    EXPECT_EQ(out.str(), "");
}
