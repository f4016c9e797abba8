#include "impl/tessel/SpdlogSink.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <latch>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "fakes/TemporaryDirectory.h"
#include "impl/quill/FileDescriptor.h"
#include "impl/tessel/PrintableText.h"
#include "support/Lines.h"
#include "support/ReadWhatIsThere.h"

using namespace std::string_literals;
using testing::HasSubstr;
using testing::MatchesRegex;

namespace tessel {
namespace {

void write(SpdlogSink& sink, int level, const std::string& text) {
    const std::string logger = "Store";
    sink.write({level, logger, "Store.cpp", 1, "getValue", text});
}

using support::linesOf;

class FileSink : public testing::Test {
protected:
    std::string contents() const { return directory_.read("log"); }

    const fakes::TemporaryDirectory directory_;
    std::shared_ptr<SpdlogSink> sink_ = SpdlogSink::toFile(directory_.path("log"));
};

TEST_F(FileSink, WritesTimeLevelLoggerFunctionAndText) {
    write(*sink_, 3, "a warning");
    sink_->flush();
    EXPECT_THAT(contents(),
                MatchesRegex("[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}\\.[0-9]{3} "
                             "[+-][0-9]{2}:[0-9]{2} warning \\[[0-9]+\\] \\[Store\\] getValue: a warning\n"));
}

TEST_F(FileSink, WritesTheLevelAsAWord) {
    const std::vector<std::string> words = {"error", "warning", "info", "debug"};
    for (int level = 2; level <= 5; ++level) {
        write(*sink_, level, "text");
    }
    sink_->flush();
    const std::vector<std::string> lines = linesOf(contents());
    ASSERT_EQ(lines.size(), 4U);
    for (std::size_t i = 0; i < words.size(); ++i) {
        EXPECT_THAT(lines[i], HasSubstr(" " + words[i] + " ["));
    }
}

TEST_F(FileSink, EscapesControlCharactersButNoLineFeed) {
    write(*sink_, 2, "\x1B[31mred\r\n\ttwo %v {} \xC2\x9B"s + "1m\0\x7F."s);
    sink_->flush();
    EXPECT_THAT(contents(), HasSubstr("getValue: \\x1b[31mred\\x0d\n\\x09two %v {} \\x9b1m\\x00\\x7f.\n"));
}

TEST_F(FileSink, HasEverythingWhenAFlushReturns) {
    for (int round = 0; round < 50; ++round) {
        for (int i = 0; i < 20; ++i) {
            write(*sink_, 4, "text");
        }
        sink_->flush();
        ASSERT_EQ(linesOf(contents()).size(), 20U * static_cast<unsigned>(round + 1));
    }
}

TEST_F(FileSink, HasEverythingWhenTheSinkHasEnded) {
    for (int i = 0; i < 1000; ++i) {
        write(*sink_, 4, "text");
    }
    sink_.reset();
    EXPECT_EQ(linesOf(contents()).size(), 1000U);
}

TEST_F(FileSink, KeepsEachThreadsOrder) {
    constexpr int threadCount = 4;
    constexpr int lineCount = 500;
    std::latch start(threadCount);
    std::vector<std::thread> threads;
    for (int id = 0; id < threadCount; ++id) {
        threads.emplace_back([&, id] {
            start.arrive_and_wait();
            for (int i = 0; i < lineCount; ++i) {
                write(*sink_, 4, std::to_string(id) + " " + std::to_string(i));
            }
            sink_->flush();
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<int> next(threadCount, 0);
    for (const std::string& line : linesOf(contents())) {
        std::istringstream text(line.substr(line.find("getValue: ") + 10));
        std::size_t id = 0;
        int number = -1;
        text >> id >> number;
        ASSERT_EQ(number, next.at(id)++);
    }
    EXPECT_EQ(next, std::vector<int>(threadCount, lineCount));
}

TEST_F(FileSink, AppendsToWhatIsThere) {
    write(*sink_, 4, "first");
    sink_ = nullptr;
    sink_ = SpdlogSink::toFile(directory_.path("log"));
    write(*sink_, 4, "second");
    sink_->flush();
    EXPECT_THAT(contents(), MatchesRegex(".*first\n.*second\n"));
}

TEST_F(FileSink, MakesItsFileForTheOwnerOnly) {
    struct stat status {};
    ASSERT_EQ(stat(directory_.path("log").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0600U);
}

TEST_F(FileSink, IsNoneIfTheFileCannotBeOpened) {
    EXPECT_EQ(SpdlogSink::toFile(directory_.path()), nullptr);
    EXPECT_EQ(SpdlogSink::toFile(directory_.path("log/below")), nullptr);
    EXPECT_EQ(SpdlogSink::toFile(directory_.path("missing/log")), nullptr);
    EXPECT_FALSE(directory_.exists("missing"));
    ASSERT_EQ(mkfifo(directory_.path("unread").c_str(), 0600), 0);
    EXPECT_EQ(SpdlogSink::toFile(directory_.path("unread")), nullptr);
}

TEST_F(FileSink, IsNoneWhereALinkOfAStrangersOrAHardLinkLeadsElsewhere) {
    const std::string elsewhere = directory_.write("elsewhere", "as it was");
    ASSERT_EQ(link(elsewhere.c_str(), directory_.path("hard").c_str()), 0);
    EXPECT_EQ(SpdlogSink::toFile(directory_.path("hard")), nullptr);
    ASSERT_EQ(symlink(elsewhere.c_str(), directory_.path("soft").c_str()), 0);
    if (lchown(directory_.path("soft").c_str(), 65534, 65534) == 0) {
        unlink(directory_.path("hard").c_str());
        EXPECT_EQ(SpdlogSink::toFile(directory_.path("soft")), nullptr);
    }
    EXPECT_EQ(directory_.read("elsewhere"), "as it was");
}

TEST_F(FileSink, WritesToTheVeryFileThatItHasOpenedAndLookedAt) {
    const int events = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(events, directory_.path("log").c_str(), IN_OPEN | IN_CLOSE_WRITE), 0);
    const auto second = SpdlogSink::toFile(directory_.path("log"));
    ASSERT_NE(second, nullptr);
    write(*second, 4, "text");
    second->flush();
    EXPECT_THAT(contents(), MatchesRegex(".*text\n"));
    std::array<inotify_event, 4> seen{};
    EXPECT_EQ(read(events, seen.data(), sizeof seen), static_cast<ssize_t>(sizeof(inotify_event)));
    EXPECT_EQ(seen[0].mask, IN_OPEN);
    close(events);
}

TEST_F(FileSink, FollowsALinkOfTheUsersOwn) {
    ASSERT_EQ(symlink(directory_.write("elsewhere", "").c_str(), directory_.path("own").c_str()), 0);
    sink_ = SpdlogSink::toFile(directory_.path("own"));
    ASSERT_NE(sink_, nullptr);
    write(*sink_, 4, "text");
    sink_->flush();
    EXPECT_THAT(directory_.read("elsewhere"), MatchesRegex(".*text\n"));
}

TEST_F(FileSink, ShowsNoEndToWhoeverReadsThePipeItWritesTo) {
    const std::string pipe = directory_.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    const int events = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ASSERT_GE(inotify_add_watch(events, pipe.c_str(), IN_OPEN | IN_CLOSE_WRITE), 0);
    const auto sink = SpdlogSink::toFile(pipe);
    ASSERT_NE(sink, nullptr);
    std::array<inotify_event, 4> seen{};
    EXPECT_EQ(read(events, seen.data(), sizeof seen), static_cast<ssize_t>(sizeof(inotify_event)));
    EXPECT_EQ(seen[0].mask, IN_OPEN);
    close(events);
    close(reader);
}

TEST_F(FileSink, DropsRecordsWhenNobodyTakesThemAndTellsHowMany) {
    // A pipe holds 64 KiB; nobody reads before all has been written, so a sink that waited would wait for ever.
    const std::string pipe = directory_.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    const int reader = open(pipe.c_str(), O_RDONLY | O_NONBLOCK);
    ASSERT_GE(reader, 0);
    auto stuck = SpdlogSink::toFile(pipe, std::chrono::hours(1));
    ASSERT_NE(stuck, nullptr);
    const std::string text(1000, 'x');
    constexpr std::size_t count = SpdlogSink::queueCapacity * 2;
    for (std::size_t i = 0; i < count; ++i) {
        write(*stuck, 4, text);
    }
    ASSERT_EQ(fcntl(reader, F_SETFL, 0), 0);
    std::thread ending([&] { stuck.reset(); });
    std::string output;
    char buffer[4096];
    for (ssize_t length = 0; (length = read(reader, buffer, sizeof buffer)) > 0;) {
        output.append(buffer, static_cast<std::size_t>(length));
    }
    ending.join();
    close(reader);
    std::size_t written = 0;
    std::size_t dropped = 0;
    for (const std::string& line : linesOf(output)) {
        const bool isNotice = line.ends_with(" records were dropped");
        written += isNotice ? 0 : 1;
        dropped += isNotice ? std::stoul(line.substr(line.find("] ") + 2)) : 0;
    }
    EXPECT_GE(written, SpdlogSink::queueCapacity);
    EXPECT_GT(dropped, 0U);
    EXPECT_EQ(written + dropped, count);
}

/// A log in a pipe whose reader takes nothing until it is asked to.
class PipeSink : public testing::Test {
protected:
    PipeSink() {
        EXPECT_EQ(mkfifo(path_.c_str(), 0600), 0);
        reader_.emplace(open(path_.c_str(), O_RDONLY | O_NONBLOCK));
        sink_ = SpdlogSink::toFile(path_, PATIENCE);
    }

    std::vector<std::string> read() const { return linesOf(support::readWhatIsThere(reader_->get())); }

    static constexpr std::chrono::milliseconds PATIENCE{50};

    const fakes::TemporaryDirectory directory_;
    const std::string path_ = directory_.path("pipe");
    std::optional<QuillCoreUtils::FileDescriptor> reader_;
    std::shared_ptr<SpdlogSink> sink_;
};

// A queue of lines that were each waited for would keep a program from ending as well.
TEST_F(PipeSink, WaitsOnceForAReaderWhoTakesNothing) {
    constexpr int count = 2000;  // much more than 64 KiB
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < count; ++i) {
        write(*sink_, 4, std::string(1000, 'x'));
    }
    sink_->flush();
    sink_.reset();
    EXPECT_LT(std::chrono::steady_clock::now() - start, PATIENCE * count / 2);
}

TEST_F(PipeSink, TellsAReaderWhoComesBackHowManyLinesWereLost) {
    constexpr std::size_t count = 200;
    for (std::size_t i = 0; i < count; ++i) {
        write(*sink_, 4, std::string(1000, 'x'));
    }
    sink_->flush();
    const std::size_t written = read().size();
    ASSERT_LT(written, count);
    write(*sink_, 4, "read again");
    sink_.reset();
    const std::vector<std::string> lines = read();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], testing::EndsWith(" " + std::to_string(count - written) + " records were dropped"));
    EXPECT_THAT(lines[1], testing::EndsWith("read again"));
}

TEST_F(PipeSink, BeginsANewLineAfterOneThatWasTorn) {
    write(*sink_, 4, std::string(1000000, 'x'));
    sink_->flush();
    EXPECT_THAT(support::readWhatIsThere(reader_->get()), testing::EndsWith("x"));
    write(*sink_, 4, "read again");
    sink_.reset();
    const std::string rest = support::readWhatIsThere(reader_->get());
    EXPECT_THAT(rest, testing::StartsWith("\n2"));
    EXPECT_THAT(rest, HasSubstr(" 1 records were dropped\n2"));
    EXPECT_THAT(rest, testing::EndsWith("read again\n"));
}

TEST(StandardErrorSink, WritesPlainLines) {
    testing::internal::CaptureStderr();
    SpdlogSink::toStandardError(false)->write({2, "Store", "", 1, "getValue", "a failure"});
    const std::string output = testing::internal::GetCapturedStderr();
    EXPECT_THAT(output, MatchesRegex("[^\x1B]* error \\[[0-9]+\\] \\[Store\\] getValue: a failure\n"));
}

TEST(StandardErrorSink, MarksTheLevelWithColoursWhenAsked) {
    testing::internal::CaptureStderr();
    SpdlogSink::toStandardError(true)->write({2, "Store", "", 1, "getValue", "a failure\x1B[0m"});
    const std::string output = testing::internal::GetCapturedStderr();
    EXPECT_THAT(output, MatchesRegex(".*\x1B\\[[0-9;]+m.*error\x1B\\[m.*getValue: a failure\\\\x1b\\[0m\n"));
}

TEST(StandardErrorSink, ClearsTheRestOfALineWhenAsked) {
    testing::internal::CaptureStderr();
    SpdlogSink::toStandardError(false, true)->write({2, "Store", "", 1, "getValue", "a failure"});
    EXPECT_THAT(testing::internal::GetCapturedStderr(), testing::EndsWith("getValue: a failure\x1B[K\n"));
}

TEST(PrintableText, KeepsTextAndLineFeeds) {
    EXPECT_EQ(printableText("two\nlines \xC3\xA9 \\x41"), "two\nlines \xC3\xA9 \\x41");
}

TEST(PrintableText, LeavesNoControlCharacter) {
    for (int control = 0; control < 0xA0; ++control) {
        if (control != '\n' && (control < 0x20 || control >= 0x7F)) {
            const std::string narrow =
                control < 0x80 ? std::string(1, static_cast<char>(control)) : "\xC2"s + static_cast<char>(control);
            std::ostringstream expected;
            expected << "\\x" << (control < 0x10 ? "0" : "") << std::hex << control;
            EXPECT_EQ(printableText(narrow), expected.str());
        }
    }
}

TEST(PrintableText, ReplacesWhatIsNoText) {
    EXPECT_EQ(printableText("a\x9B"
                            "b"),
              "a\xEF\xBF\xBD"
              "b");
}

}  // namespace
}  // namespace tessel
