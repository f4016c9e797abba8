#include "DescriptorStream.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <string>

#include "fakes/TemporaryDirectory.h"

using corvidctl::DescriptorStream;

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

}  // namespace

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
