#include <csignal>
#include <string>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "support/ChildProcess.h"

namespace {

/// Programs that may leave a core as far as the test's system is concerned.
class CoreDumps : public testing::Test {
protected:
    CoreDumps() { directory_.write("install/unused", ""); }

    /// Waits for a text on a program's standard error, and has it crash. @return whether it has left a core.
    bool leavesACore(const std::vector<std::string>& program, const std::string& text) const {
        std::vector<std::string> command = {"/bin/sh", "-c", "cd \"$0\" && ulimit -c 200000 && exec \"$@\"",
                                            directory_.path()};
        command.insert(command.end(), program.begin(), program.end());
        support::ChildProcess process(command);
        EXPECT_TRUE(process.waitForError(text));
        process.signal(SIGABRT);
        const support::Ended ended = process.wait();
        EXPECT_EQ(ended.status, 128 + SIGABRT) << ended.error;
        return ended.hasLeftACore;
    }

    bool clientLeavesACore(const std::string& option) const {
        std::vector<std::string> program = {MEMORY_CLIENT_PROGRAM, directory_.path()};
        if (!option.empty()) {
            program.push_back(option);
        }
        return leavesACore(program, "started\n");
    }

    /// Cores may go to a program that is not there.
    bool plainProgramLeavesACore() const {
        return leavesACore({"/bin/sh", "-c", "echo started >&2; exec sleep 1000"}, "started\n");
    }

    const fakes::TemporaryDirectory directory_;
};

bool coresAreLimited() { return support::runProgram({"/bin/sh", "-c", "ulimit -c 200000"}).status != 0; }

}  // namespace

TEST_F(CoreDumps, OfAHostAreOffUnlessItIsToldOtherwise) {
    if (coresAreLimited()) {
        GTEST_SKIP() << "this system lets no process leave a core";
    }
    EXPECT_FALSE(clientLeavesACore(""));
    if (!plainProgramLeavesACore()) {
        GTEST_SKIP() << "this system takes no core of any program";
    }
    EXPECT_TRUE(clientLeavesACore("cores"));
}

TEST_F(CoreDumps, OfTheToolAreOff) {
    if (coresAreLimited()) {
        GTEST_SKIP() << "this system lets no process leave a core";
    }
    EXPECT_FALSE(leavesACore({CORVIDCTL_PROGRAM, "--config-dir", directory_.path("config"), "--install-dir",
                              directory_.path("install"), "watch"},
                             "File does not exist"));
    if (!plainProgramLeavesACore()) {
        GTEST_SKIP() << "this system takes no core of any program";
    }
}
