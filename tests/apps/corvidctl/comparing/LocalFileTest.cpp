#include "comparing/LocalFile.h"

#include <filesystem>

#include "fakes/TemporaryDirectory.h"
#include "support/StrangersLink.h"

using namespace corvidctl;
using testing::StartsWith;

namespace {

class LocalFile : public ::testing::Test {
protected:
    bool isEmpty() const { return std::filesystem::is_empty(directory_.path()); }

    const fakes::TemporaryDirectory directory_;
};

}  // namespace

TEST_F(LocalFile, HasItsNameInTheDirectory) {
    EXPECT_EQ(localFileOf("/home/x"), "/home/x/corvidLocalConfig.xml");
    EXPECT_EQ(brokenLocalFileOf("/home/x"), "/home/x/corvidLocalConfig-backup.xml");
}

TEST_F(LocalFile, IsNotBrokenWhereItIsMissingOrWellFormed) {
    EXPECT_EQ(whyBroken(directory_.path()), "");
    directory_.write("corvidLocalConfig.xml", "<anything/>");
    EXPECT_EQ(whyBroken(directory_.path()), "");
}

TEST_F(LocalFile, TellsWhereItIsBroken) {
    directory_.write("corvidLocalConfig.xml", "<Corvid>\n<a></b></Corvid>");
    EXPECT_THAT(whyBroken(directory_.path()), StartsWith("line 2, column "));
    directory_.write("corvidLocalConfig.xml", "");
    EXPECT_NE(whyBroken(directory_.path()), "");
}

TEST_F(LocalFile, CanBeWrittenInADirectoryAndInOneThatCouldBeMade) {
    EXPECT_EQ(whyNotWritable(directory_.path()), "");
    EXPECT_EQ(whyNotWritable(directory_.path("not/yet")), "");
    EXPECT_TRUE(isEmpty());
}

TEST_F(LocalFile, CannotBeWrittenBehindAStrangersLink) {
    std::filesystem::create_directory(directory_.path("elsewhere"));
    if (!support::makeStrangersLink("elsewhere", directory_.path("profile"))) {
        GTEST_SKIP() << "only root can make somebody else's link";
    }
    EXPECT_EQ(whyNotWritable(directory_.path("profile")), "Operation not permitted");
}

TEST_F(LocalFile, CannotBeWrittenBelowAFile) {
    directory_.write("file", "");
    EXPECT_EQ(whyNotWritable(directory_.path("file/profile")), "Not a directory");
}
