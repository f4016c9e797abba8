#include "stores/FileStamp.h"

#include <gtest/gtest.h>

#include "fakes/TemporaryDirectory.h"

namespace {

// Older than any tick of a file system's clock.
constexpr const char* OLD_FILE = "/proc/self/exe";
constexpr const char* OLD_FOLDER = "/usr";

TEST(FileStampBeforeReading, IsThatOfAFileThatHasLongBeenAsItIs) {
    const FileStamp stamp = FileStamp::beforeReading(OLD_FILE);
    EXPECT_TRUE(stamp.exists());
    EXPECT_FALSE(stamp != FileStamp::of(OLD_FILE));
}

TEST(FileStampBeforeReading, IsNoneOfAFolderNorOfWhatIsNotThere) {
    const fakes::TemporaryDirectory directory;
    EXPECT_FALSE(FileStamp::beforeReading(OLD_FOLDER).exists());
    EXPECT_FALSE(FileStamp::beforeReading(directory.path("missing")).exists());
}

// Another write might follow within the same tick of the clock, and would leave the file with the same stamp.
TEST(FileStampBeforeReading, IsNoneOfAFileThatHasJustBeenWritten) {
    const fakes::TemporaryDirectory directory;
    bool hadNone = false;
    // A slow machine may take longer than a tick from the write to the look, but not each time.
    for (int round = 0; round < 1000 && !hadNone; ++round) {
        const std::string path = directory.write("file", std::string(static_cast<std::size_t>(round), 'x'));
        hadNone = !FileStamp::beforeReading(path).exists();
    }
    EXPECT_TRUE(hadNone);
}

TEST(FileStampOf, TellsAFileFromTheOneThatTookItsPlaceAndFromNone) {
    const fakes::TemporaryDirectory directory;
    const FileStamp first = FileStamp::of(directory.write("file", "a"));
    EXPECT_TRUE(first.exists());
    EXPECT_TRUE(first != FileStamp::of(directory.write("file", "ab")));
    EXPECT_FALSE(FileStamp::of(directory.path("missing")).exists());
}

}  // namespace
