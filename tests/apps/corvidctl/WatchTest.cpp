#include "Tool.h"

#include <csignal>

namespace {

/// A watch that has put its module in: the module warns of the missing bootstrap file then.
class Watch : public Tool {
protected:
    Watch() { std::filesystem::remove(directory_.path("install/bootstrap.properties")); }

    support::Ended interruptedBy(int signal, const std::vector<std::string>& words) const {
        support::ChildProcess watch(command(words));
        EXPECT_TRUE(watch.waitForError("File does not exist"));
        watch.signal(signal);
        return watch.wait();
    }
};

}  // namespace

TEST_F(Watch, EndsWithNoughtWhenItIsTerminated) {
    const support::Ended ended = interruptedBy(SIGTERM, {"watch"});
    EXPECT_EQ(ended.status, 0) << ended.error;
    EXPECT_EQ(ended.out, "");
}

TEST_F(Watch, EndsWithNoughtWhenItIsInterrupted) { EXPECT_EQ(interruptedBy(SIGINT, {"watch", "docked*"}).status, 0); }

TEST_F(Watch, PrintsNothingAtTheStart) { EXPECT_EQ(interruptedBy(SIGTERM, {"--json", "watch"}).out, ""); }

TEST_F(Watch, ChangesNothingByItself) {
    const auto before = files();
    interruptedBy(SIGTERM, {"watch"});
    EXPECT_EQ(files(), before);
}
