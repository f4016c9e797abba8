#include "reading/FileStamp.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "fakes/TemporaryDirectory.h"

using corvidctl::FileStamp;

namespace {

class FileStamps : public testing::Test {
protected:
    std::string write(const std::string& text, std::chrono::seconds ago) const {
        const std::string file = directory_.write("file", text);
        std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() - ago);
        return file;
    }

    const fakes::TemporaryDirectory directory_;
};

}  // namespace

TEST_F(FileStamps, AreStillTheSameWhileNobodyWrites) {
    const std::string file = write("one", std::chrono::seconds(10));
    EXPECT_TRUE(FileStamp(file).isStill(FileStamp(file)));
}

TEST_F(FileStamps, ShowAnotherWritingOfTheSameSize) {
    const FileStamp before(write("one", std::chrono::seconds(20)));
    EXPECT_FALSE(before.isStill(FileStamp(write("two", std::chrono::seconds(10)))));
}

TEST_F(FileStamps, ShowAnotherFileInThePlaceOfOne) {
    const std::string file = write("one", std::chrono::seconds(10));
    const auto time = std::filesystem::last_write_time(file);
    const FileStamp before(file);
    std::filesystem::rename(directory_.write("other", "two"), file);
    std::filesystem::last_write_time(file, time);
    EXPECT_FALSE(before.isStill(FileStamp(file)));
}

TEST_F(FileStamps, TrustNoFileThatHasJustBeenWritten) {
    const std::string file = write("one", std::chrono::seconds(-10));
    EXPECT_FALSE(FileStamp(file).isStill(FileStamp(file)));
}

TEST_F(FileStamps, TrustNoFileThatIsMissing) {
    const FileStamp missing(directory_.path("nothing"));
    EXPECT_TRUE(missing.isMissing());
    EXPECT_FALSE(missing.isStill(missing));
}
