#include "output/ProgressUntilOutput.h"

#include <fcntl.h>
#include <unistd.h>

#include <latch>
#include <sstream>
#include <utility>

#include "fakes/TemporaryDirectory.h"
#include "output/DescriptorStream.h"

using namespace corvidctl;
using testing::EndsWith;
using testing::StartsWith;

namespace {

/// A command whose line is shown at the first look, and which writes into files.
class UntilOutput : public ::testing::Test {
protected:
    ~UntilOutput() override {
        close(descriptors_.first);
        close(descriptors_.second);
    }

    std::size_t columns() {
        if (!std::exchange(asked_, true)) {
            shown_.count_down();
        }
        return 40;
    }

    int file(const std::string& name) const { return open(directory_.path(name).c_str(), O_WRONLY | O_CREAT, 0600); }

    const fakes::TemporaryDirectory directory_;
    const std::pair<int, int> descriptors_ = {file("out"), file("error")};
    DescriptorStream out_{descriptors_.first};
    DescriptorStream error_{descriptors_.second};
    std::ostringstream terminal_;
    bool asked_ = false;
    std::latch shown_{1};
    ProgressLine::Clock::time_point now_;
    ProgressLine line_{
        terminal_, {true, [this] { return columns(); }}, [this] { return now_ += ProgressLine::PATIENCE; }};
};

}  // namespace

TEST_F(UntilOutput, TheLineStandsUntilTheAnswerBegins) {
    const ProgressUntilOutput progress(line_, "reading …", out_, error_);
    shown_.wait();
    out_ << "not yet written";
    out_.flush();
    EXPECT_THAT(terminal_.str(), StartsWith("\rreading … "));
    EXPECT_THAT(terminal_.str(), EndsWith("\r\x1b[K"));
    const std::string before = terminal_.str();
    error_ << "more" << std::flush;
    EXPECT_EQ(terminal_.str(), before);
    EXPECT_EQ(directory_.read("out"), "not yet written");
}

TEST_F(UntilOutput, TheLineStandsUntilARemark) {
    const ProgressUntilOutput progress(line_, "reading …", out_, error_);
    shown_.wait();
    out_.flush();  // of nothing
    error_ << "a remark" << std::flush;
    EXPECT_THAT(terminal_.str(), EndsWith("\r\x1b[K"));
}

TEST_F(UntilOutput, TheLineGoesWithASilentCommand) {
    {
        const ProgressUntilOutput progress(line_, "reading …", out_, error_);
        shown_.wait();
    }
    EXPECT_THAT(terminal_.str(), EndsWith("\r\x1b[K"));
    out_ << "later" << std::flush;
}
