#include "output/DescriptorStream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <string>
#include <thread>

#include "fakes/TemporaryDirectory.h"
#include "session/Interruption.h"

using corvidctl::DescriptorStream;
using corvidctl::Interruption;

namespace {

class OpenFile {
public:
    explicit OpenFile(const std::string& path) : descriptor_(open(path.c_str(), O_WRONLY | O_CREAT, 0600)) {}
    ~OpenFile() { close(descriptor_); }

    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    int descriptor() const { return descriptor_; }

private:
    const int descriptor_;
};

class Pipe {
public:
    Pipe() { [[maybe_unused]] const int made = pipe2(ends_.data(), O_CLOEXEC); }
    ~Pipe() {
        close(ends_[0]);
        close(ends_[1]);
    }

    Pipe(const Pipe&) = delete;
    Pipe& operator=(const Pipe&) = delete;

    int writingEnd() const { return ends_[1]; }

    /// Waits for a text of a length.
    std::string take(std::size_t length) const {
        std::string text;
        std::array<char, 4096> buffer{};
        while (text.size() < length) {
            const ssize_t count = read(ends_[0], buffer.data(), std::min(buffer.size(), length - text.size()));
            if (count <= 0) {
                break;
            }
            text.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

    void fill() const {
        fcntl(writingEnd(), F_SETFL, O_NONBLOCK);
        while (write(writingEnd(), "x", 1) == 1) {
        }
        fcntl(writingEnd(), F_SETFL, 0);
    }

private:
    std::array<int, 2> ends_{};
};

}  // namespace

TEST(DescriptorStream, AnnouncesWhatItWrites) {
    const Pipe pipe;
    DescriptorStream stream(pipe.writingEnd());
    int announced = 0;
    stream.beforeWriting([&announced] { ++announced; });
    stream.flush();
    stream << "a";
    EXPECT_EQ(announced, 0);
    stream.flush();
    EXPECT_EQ(announced, 1);
    stream.announceWriting();
    EXPECT_EQ(announced, 2);
    stream.beforeWriting({});
    stream << "b" << std::flush;
    EXPECT_EQ(announced, 2);
}

TEST(DescriptorStream, WritesEverything) {
    const fakes::TemporaryDirectory directory;
    const OpenFile file(directory.path("out"));
    std::string expected;
    DescriptorStream stream(file.descriptor());
    for (int i = 0; i < 5000; ++i) {
        stream << i << '\n';
        expected += std::to_string(i) + "\n";
    }
    EXPECT_EQ(stream.finish(), 0);
    EXPECT_EQ(directory.read("out"), expected);
}

TEST(DescriptorStream, RemembersTheFirstFailure) {
    const OpenFile full("/dev/full");
    DescriptorStream stream(full.descriptor());
    stream << "a line" << std::flush;
    EXPECT_FALSE(stream);
    errno = 0;
    stream << "another" << std::flush;
    EXPECT_EQ(stream.finish(), ENOSPC);
}

TEST(DescriptorStream, NoticesAFailureInTheMiddleOfALongText) {
    const OpenFile full("/dev/full");
    DescriptorStream stream(full.descriptor());
    stream << std::string(100000, 'x');
    EXPECT_FALSE(stream);
    EXPECT_EQ(stream.finish(), ENOSPC);
}

TEST(DescriptorStream, GivesUpWhatNobodyTakesWhenInterrupted) {
    const Pipe pipe;
    pipe.fill();
    Interruption interruption;
    DescriptorStream stream(pipe.writingEnd());
    stream.giveUpOn(interruption.descriptor());
    std::thread other([&interruption] { interruption.end(); });
    stream << "a line" << std::flush;
    other.join();
    EXPECT_FALSE(stream);
    EXPECT_EQ(stream.finish(), ECANCELED);
}

TEST(DescriptorStream, WritesWhatIsTakenAlthoughInterrupted) {
    const Pipe pipe;
    Interruption interruption;
    interruption.end();
    DescriptorStream stream(pipe.writingEnd());
    stream.giveUpOn(interruption.descriptor());
    stream << "a line";
    EXPECT_EQ(stream.finish(), 0);
    EXPECT_EQ(pipe.take(6), "a line");
}

TEST(DescriptorStream, WaitsForASlowReaderWhileNobodyInterrupts) {
    const Pipe pipe;
    const Interruption interruption;
    DescriptorStream stream(pipe.writingEnd());
    stream.giveUpOn(interruption.descriptor());
    const std::string text(300'000, 'x');  // more than a pipe holds
    std::string taken;
    std::thread reader([&] { taken = pipe.take(text.size()); });
    stream << text;
    EXPECT_EQ(stream.finish(), 0);
    reader.join();
    EXPECT_TRUE(taken == text);
}
