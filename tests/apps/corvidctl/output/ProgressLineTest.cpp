#include "output/ProgressLine.h"

#include <sstream>

using namespace corvidctl;
using namespace std::chrono_literals;

namespace {

/// A line on a terminal of 40 columns, with a clock that the test moves.
class Progress : public ::testing::Test {
protected:
    std::unique_ptr<ProgressLine> makeLine(ProgressLine::Terminal terminal) {
        return std::make_unique<ProgressLine>(out_, std::move(terminal), [this] { return now_; });
    }

    /// What has been written since the last call.
    std::string written() {
        std::string text = out_.str();
        out_.str({});
        return text;
    }

    std::ostringstream out_;
    ProgressLine::Clock::time_point now_;
    std::size_t columns_ = 40;
    std::unique_ptr<ProgressLine> line_ = makeLine({true, [this] { return columns_; }});
};

}  // namespace

TEST_F(Progress, ShowsNothingWithinTheFirstSecond) {
    line_->show("asking 127.0.0.5 …");
    now_ += 999ms;
    line_->show("asking 127.0.0.5 …");
    line_->clear();
    EXPECT_EQ(written(), "");
}

TEST_F(Progress, TellsWhatIsWaitedForAndSinceWhen) {
    line_->show("asking 127.0.0.5 …");
    now_ += 1s;
    line_->show("asking 127.0.0.5 …");
    EXPECT_EQ(written(), "\rasking 127.0.0.5 … 1 s\x1b[K\r");
    now_ += 2900ms;
    line_->show("asking 127.0.0.5 …");
    EXPECT_EQ(written(), "\rasking 127.0.0.5 … 3 s\x1b[K\r");
}

TEST_F(Progress, CountsAnewForAnotherText) {
    line_->show("asking …");
    now_ += 5s;
    line_->show("downloading …");
    EXPECT_EQ(written(), "\rdownloading … 0 s\x1b[K\r");
    now_ += 1s;
    line_->show("downloading …");
    EXPECT_EQ(written(), "\rdownloading … 1 s\x1b[K\r");
}

TEST_F(Progress, LeavesNothingBehind) {
    line_->show("asking …");
    now_ += 1s;
    line_->show("asking …");
    written();
    line_->clear();
    EXPECT_EQ(written(), "\r\x1b[K");
    line_->clear();
    EXPECT_EQ(written(), "");
}

TEST_F(Progress, IsTakenAwayAtItsEnd) {
    now_ += 1s;
    line_->show("asking …");
    written();
    line_.reset();
    EXPECT_EQ(written(), "\r\x1b[K");
}

TEST_F(Progress, MakesRoomForALineOfSomebodyElse) {
    now_ += 1s;
    line_->show("asking …");
    written();
    line_->aside([this] { out_ << "a record\n"; });
    EXPECT_EQ(written(), "\r\x1b[Ka record\n");
    line_->show("asking …");
    EXPECT_EQ(written(), "\rasking … 0 s\x1b[K\r");
}

TEST_F(Progress, FitsOnOneLineOfTheTerminal) {
    now_ += 1s;
    line_->show("downloading https://a-server-with-a-long-name.example.org:6972/corvid-config.xml …");
    EXPECT_EQ(written(), "\rdownloading https://a-server-with-a-lo…\x1b[K\r");
}

TEST_F(Progress, FitsOnATerminalThatHasBecomeNarrower) {
    now_ += 1s;
    line_->show("asking 127.0.0.5 for its version …");
    written();
    columns_ = 12;
    line_->show("asking 127.0.0.5 for its version …");
    EXPECT_EQ(written(), "\rasking 127…\x1b[K\r");
}

TEST_F(Progress, ShowsControlCharactersInsteadOfSendingThem) {
    now_ += 1s;
    line_->show("asking \x1b[31m …");
    EXPECT_EQ(written(), "\rasking \\x1b[31m … 0 s\x1b[K\r");
}

TEST_F(Progress, WritesNothingWhereThereIsNoTerminal) {
    const std::unique_ptr<ProgressLine> line = makeLine({});
    now_ += 5s;
    line->show("asking …");
    line->aside([this] { out_ << "a record\n"; });
    line->clear();
    EXPECT_EQ(written(), "a record\n");
}

TEST(ProgressTerminal, IsNoneWhereADescriptorIsNone) { EXPECT_FALSE(ProgressLine::terminalOf(-1).shown); }
