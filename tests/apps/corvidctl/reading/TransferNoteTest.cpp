#include "reading/TransferNote.h"

#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>

#include "chain/CacheFiles.h"
#include "fakes/TemporaryDirectory.h"

using namespace corvidctl;
using namespace std::chrono_literals;

namespace {

class TransferNotes : public ::testing::Test {
protected:
    TransferNotes() { directory_.write("cachedX.xml", "<r/>"); }

    bool leave() const { return leaveNote(copy_, {"https://192.0.2.1:6972/f.xml", "192.0.2.1", "12.5", time_}); }

    fakes::TemporaryDirectory directory_;
    const std::string copy_ = directory_.path("cachedX.xml");
    const std::chrono::system_clock::time_point time_{1795339800s};
};

}  // namespace

TEST_F(TransferNotes, AreReadAsTheyWereLeft) {
    ASSERT_TRUE(leave());
    const auto note = noteOn(copy_);
    ASSERT_TRUE(note);
    EXPECT_EQ(note->url, "https://192.0.2.1:6972/f.xml");
    EXPECT_EQ(note->server, "192.0.2.1");
    EXPECT_EQ(note->version, "12.5");
    EXPECT_EQ(note->time, time_);
}

TEST_F(TransferNotes, AreSmallFilesBesideTheCopy) {
    ASSERT_TRUE(leave());
    EXPECT_EQ(CacheFiles::noteBeside(copy_), directory_.path("cachedX.download.json"));
    EXPECT_EQ(
        directory_.read("cachedX.download.json"),
        "{\n  \"url\": \"https://192.0.2.1:6972/f.xml\",\n  \"server\": \"192.0.2.1\",\n  \"version\": \"12.5\",\n"
        "  \"time\": \"2026-11-22T09:30:00.000Z\",\n"
        "  \"sha256\": \"5382511e672645156e2889ebc21c72a0e59377fcbe774abaa703e0a42b3d2006\"\n}\n");
}

TEST_F(TransferNotes, StandInThePageOnFilesAsTheyAreLeft) {
    std::ifstream file(CORVID_DATA_DIRECTORY "/../../docs/files.md");
    const std::string page{std::istreambuf_iterator<char>(file), {}};
    const std::string fence = "```json\n";
    const std::size_t place = page.find(fence);
    ASSERT_NE(place, std::string::npos);
    const std::size_t begin = place + fence.size();

    directory_.write("cachedX.xml", "foo\n");
    const std::chrono::system_clock::time_point time{1793607301480ms};
    ASSERT_TRUE(leaveNote(copy_, {"https://127.0.0.42:6972/corvid-config.xml", "127.0.0.42", "12.5", time}));
    EXPECT_EQ(directory_.read("cachedX.download.json"), page.substr(begin, page.find("```", begin) - begin));
}

TEST_F(TransferNotes, AreForTheirOwnerAlone) {
    ASSERT_TRUE(leave());
    struct stat status {};
    ASSERT_EQ(stat(CacheFiles::noteBeside(copy_).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600U);
}

TEST_F(TransferNotes, AreNotWrittenThroughAHardLinkOrALinkOfAStrangers) {
    const std::string elsewhere = directory_.write("elsewhere", "as it was");
    ASSERT_EQ(link(elsewhere.c_str(), CacheFiles::noteBeside(copy_).c_str()), 0);
    EXPECT_TRUE(leave());
    EXPECT_TRUE(noteOn(copy_));
    EXPECT_EQ(directory_.read("elsewhere"), "as it was");
    unlink(CacheFiles::noteBeside(copy_).c_str());
    ASSERT_EQ(symlink(elsewhere.c_str(), CacheFiles::noteBeside(copy_).c_str()), 0);
    if (lchown(CacheFiles::noteBeside(copy_).c_str(), 65534, 65534) == 0) {
        EXPECT_FALSE(leave());
        EXPECT_EQ(directory_.read("elsewhere"), "as it was");
    }
}

TEST_F(TransferNotes, CountOnlyForTheCopyThatTheyWereLeftOn) {
    ASSERT_TRUE(leave());
    directory_.write("cachedX.xml", "<s/>");
    EXPECT_FALSE(noteOn(copy_));
    directory_.write("cachedX.xml", "<r/>");
    EXPECT_TRUE(noteOn(copy_));
}

TEST_F(TransferNotes, AreNoneWithoutACopy) {
    EXPECT_FALSE(noteOn(copy_));
    EXPECT_FALSE(leaveNote(directory_.path("cachedY.xml"), {"u", "s", "v", time_}));
    EXPECT_FALSE(noteOn(directory_.path("cachedY.xml")));
}

TEST_F(TransferNotes, AreNoneIfTheyAreDamaged) {
    for (const char* const damaged : {"", "{", "[]", "7", "{\"url\": 1}", "{\"sha256\": \"\", \"time\": \"today\"}"}) {
        directory_.write("cachedX.download.json", damaged);
        EXPECT_FALSE(noteOn(copy_)) << damaged;
    }
}

TEST_F(TransferNotes, TakeAnyTextThatAServerAnswers) {
    ASSERT_TRUE(leaveNote(copy_, {"u", "s", "\xFF\"", time_}));
    EXPECT_EQ(noteOn(copy_)->version, "\xEF\xBF\xBD\"");
}
