#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "Client.h"
#include "fakes/TemporaryDirectory.h"
#include "simulation/QuietXml.h"

namespace torture {
namespace {

/// Leaves so much of a file as a write that breaks off does. @return what was there.
std::string cutFile(const std::string& path, std::size_t length) {
    const std::string bytes = bytesOf(path);
    std::ofstream(path, std::ios::trunc) << bytes.substr(0, length);
    return bytes;
}

/// A scene whose files a client has written, in state 1.
class StatesOfFiles : public testing::Test {
protected:
    StatesOfFiles() { writeFiles(scene_, 1); }

    const fakes::TemporaryDirectory directory_;
    const Scene scene_{directory_.path()};
    const simulation::QuietXml quiet_;
};

TEST_F(StatesOfFiles, AreThoseThatWereWritten) {
    EXPECT_EQ(States::of(scene_), (States{1, 1, 1, true}));
    Client(scene_).resetData();
    EXPECT_EQ(States::of(scene_), (States{States::none, States::none, 1}));
}

TEST_F(StatesOfFiles, AreTornWhereAFileEndsEarlyAndNotMissing) {
    for (const std::size_t length : {0U, 1U, 60U}) {
        for (const std::string& file : {scene_.localFile(), scene_.serverFile(), scene_.linkFile()}) {
            const std::string whole = cutFile(file, length);
            const int of = States::torn;
            const States torn{file == scene_.localFile() ? of : 1, file == scene_.serverFile() ? of : 1,
                              file == scene_.linkFile() ? of : 1, file != scene_.localFile()};
            EXPECT_EQ(States::of(scene_), torn) << file << ", " << length << " bytes: " << States::of(scene_).text();
            std::ofstream(file, std::ios::trunc) << whole;
        }
    }
}

TEST_F(StatesOfFiles, AreMissingOnceATornUsersFileHasBeenSetAside) {
    scene_.damage();
    EXPECT_EQ(States::of(scene_).user, States::torn);
    EXPECT_EQ(States::of(scene_).user, States::none);
    EXPECT_TRUE(scene_.keeps(Scene::damaged));
    EXPECT_TRUE(scene_.keeps(Scene::damagedEarlier));
}

}  // namespace
}  // namespace torture
