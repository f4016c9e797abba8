#include "reading/FileState.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

#include "fakes/TemporaryDirectory.h"

using corvidctl::FileState;

namespace {

class FileStates : public testing::Test {
protected:
    std::string write(const std::string& text, std::chrono::seconds ago) const {
        const std::string file = directory_.write("file", text);
        std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() - ago);
        return file;
    }

    const fakes::TemporaryDirectory directory_;
};

}  // namespace

TEST_F(FileStates, AreStillTheSameWhileNobodyWrites) {
    const std::string file = write("one", std::chrono::seconds(10));
    EXPECT_TRUE(FileState(file).isStill(FileState(file)));
}

TEST_F(FileStates, ShowAnotherWritingOfTheSameSize) {
    const FileState before(write("one", std::chrono::seconds(20)));
    EXPECT_FALSE(before.isStill(FileState(write("two", std::chrono::seconds(10)))));
}

TEST_F(FileStates, ShowAnotherFileInThePlaceOfOne) {
    const std::string file = write("one", std::chrono::seconds(10));
    const auto time = std::filesystem::last_write_time(file);
    const FileState before(file);
    std::filesystem::rename(directory_.write("other", "two"), file);
    std::filesystem::last_write_time(file, time);
    EXPECT_FALSE(before.isStill(FileState(file)));
}

TEST_F(FileStates, TrustNoFileThatHasJustBeenWritten) {
    const std::string file = write("one", std::chrono::seconds(-10));
    EXPECT_FALSE(FileState(file).isStill(FileState(file)));
}

TEST_F(FileStates, TrustNoFileThatIsMissing) {
    const FileState missing(directory_.path("nothing"));
    EXPECT_TRUE(missing.isMissing());
    EXPECT_FALSE(missing.isStill(missing));
}
