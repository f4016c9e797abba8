#include "journal/JournalFile.h"

#include <sys/stat.h>
#include <unistd.h>

#include <random>

#include "Journals.h"
#include "fakes/TemporaryDirectory.h"
#include "journal/JournalReader.h"
#include "journal/JournalText.h"

using namespace corvidctl;
using journals::batch;
using journals::change;
using journals::defined;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const JournalBatch START_BATCH = batch(1, Cause::Start, {defined("A", "1", "S")});
const JournalBatch SECOND = batch(2, Cause::Set, {change("A", "1", "2", "S", "S")});
const JournalBatch THIRD = batch(3, Cause::Set, {change("A", "2", "3", "S", "S")});
const JournalBatch PICTURE = batch(3, Cause::Start, {defined("A", "3", "S")});

JournalBatch notNeeded() {
    ADD_FAILURE() << "no new file was to begin";
    return {};
}

class JournalOnDisk : public ::testing::Test {
protected:
    std::string path() const { return directory_.path("journal"); }

    /// Writes batches in one go, as one watch.
    void write(const std::vector<JournalBatch>& batches) const {
        JournalFile file(path());
        for (const JournalBatch& each : batches) {
            file.append(each, notNeeded);
        }
    }

    static std::string lines(const std::vector<JournalBatch>& batches) {
        std::string text;
        for (const JournalBatch& each : batches) {
            text += journaltext::line(each);
        }
        return text;
    }

    std::string problemOf(const std::function<void()>& work) const {
        try {
            work();
        } catch (const std::runtime_error& error) {
            return error.what();
        }
        return "none";
    }

    const fakes::TemporaryDirectory directory_;
};

}  // namespace

TEST_F(JournalOnDisk, HoldsALineForEachBatchAsSoonAsItCame) {
    JournalFile file(path());
    file.append(START_BATCH, notNeeded);
    EXPECT_EQ(directory_.read("journal"), lines({START_BATCH}));
    file.append(SECOND, notNeeded);
    EXPECT_EQ(directory_.read("journal"), lines({START_BATCH, SECOND}));
}

TEST_F(JournalOnDisk, IsForItsOwnerOnly) {
    for (const mode_t mask : {0U, 0777U}) {
        const mode_t before = umask(mask);
        write({START_BATCH});
        umask(before);
        struct stat status {};
        ASSERT_EQ(stat(path().c_str(), &status), 0);
        EXPECT_EQ(status.st_mode & 07777, 0600U);
        ASSERT_EQ(unlink(path().c_str()), 0);
    }
}

TEST_F(JournalOnDisk, KeepsATighterModeThatItHas) {
    write({START_BATCH});
    ASSERT_EQ(chmod(path().c_str(), 0200), 0);
    const mode_t before = umask(0);
    JournalFile file(path());
    file.append(SECOND, notNeeded);
    umask(before);
    struct stat status {};
    ASSERT_EQ(stat(path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0200U);
}

TEST_F(JournalOnDisk, GoesOnWhereTheLastWatchEnded) {
    write({START_BATCH});
    write({START_BATCH, SECOND});
    EXPECT_EQ(directory_.read("journal"), lines({START_BATCH, START_BATCH, SECOND}));
}

TEST_F(JournalOnDisk, EndsALineThatWasTornBeforeItGoesOn) {
    directory_.write("journal", lines({START_BATCH}) + "{\"batch\":2,\"ti");
    write({SECOND});
    EXPECT_EQ(directory_.read("journal"), lines({START_BATCH}) + "{\"batch\":2,\"ti\n" + lines({SECOND}));
}

TEST_F(JournalOnDisk, IsWrittenByOneWatchOnly) {
    const JournalFile first(path());
    EXPECT_EQ(problemOf([this] { JournalFile(this->path()); }),
              "the journal " + path() + " is being written by another watch; end that one, or name another file");
}

TEST_F(JournalOnDisk, IsFreeAgainWhenTheWatchHasEnded) {
    { const JournalFile first(path()); }
    EXPECT_EQ(problemOf([this] { JournalFile(this->path()); }), "none");
}

TEST_F(JournalOnDisk, GetsTheOldNameWhenItIsFullAndANewOneBeginsWithAPicture) {
    const std::size_t limit = lines({START_BATCH, SECOND}).size() + 1;
    JournalFile file(path(), limit);
    file.append(START_BATCH, notNeeded);
    file.append(SECOND, notNeeded);
    EXPECT_FALSE(directory_.exists("journal.1"));
    file.append(THIRD, [] { return PICTURE; });
    EXPECT_EQ(directory_.read("journal.1"), lines({START_BATCH, SECOND, THIRD}));
    EXPECT_EQ(directory_.read("journal"), lines({PICTURE}));
    file.append(SECOND, notNeeded);
    EXPECT_EQ(directory_.read("journal"), lines({PICTURE, SECOND}));
}

TEST_F(JournalOnDisk, KeepsOneOldFile) {
    directory_.write("journal.1", "older");
    JournalFile file(path(), lines({START_BATCH, SECOND}).size());
    file.append(START_BATCH, notNeeded);
    file.append(SECOND, [] { return PICTURE; });
    EXPECT_EQ(directory_.read("journal.1"), lines({START_BATCH, SECOND}));
}

TEST_F(JournalOnDisk, BeginsANewOneBeforeItGoesOnWithAFullOne) {
    write({START_BATCH, SECOND});
    JournalFile file(path(), 10);
    EXPECT_EQ(directory_.read("journal.1"), lines({START_BATCH, SECOND}));
    file.append(START_BATCH, notNeeded);
    EXPECT_EQ(directory_.read("journal"), lines({START_BATCH}));
}

TEST_F(JournalOnDisk, HoldsAsMuchAgainAsABeginningThatIsOverTheLimit) {
    JournalFile file(path(), 10);
    file.append(START_BATCH, notNeeded);
    file.append(SECOND, [] { return PICTURE; });  // more than the beginning
    EXPECT_EQ(directory_.read("journal"), lines({PICTURE}));
    EXPECT_EQ(directory_.read("journal.1"), lines({START_BATCH, SECOND}));
}

TEST_F(JournalOnDisk, StaysLockedWhenANewOneHasBegun) {
    JournalFile file(path(), lines({START_BATCH, SECOND}).size());
    file.append(START_BATCH, notNeeded);
    file.append(SECOND, [] { return PICTURE; });
    EXPECT_THAT(problemOf([this] { JournalFile(this->path()); }), HasSubstr("another watch"));
}

TEST_F(JournalOnDisk, SaysWhatItCouldNotDo) {
    EXPECT_EQ(problemOf([this] { JournalFile(directory_.path("nowhere/journal")); }),
              "the journal " + directory_.path("nowhere/journal") + " could not be opened: No such file or directory");
}

TEST_F(JournalOnDisk, SaysThatTheOldNameIsTaken) {
    directory_.write("journal.1/file", "");
    JournalFile file(path(), lines({START_BATCH, SECOND}).size());
    file.append(START_BATCH, notNeeded);
    EXPECT_EQ(problemOf([&] { file.append(SECOND, notNeeded); }),
              "the journal " + path() + " is full and could not be renamed to " + path() + ".1: Is a directory");
    EXPECT_EQ(directory_.read("journal"), lines({START_BATCH, SECOND}));
}

TEST_F(JournalOnDisk, MayBeginWhereNothingIsOrAJournal) {
    EXPECT_TRUE(JournalFile::isJournal(path()));
    EXPECT_TRUE(JournalFile::isJournal(directory_.write("empty", "")));
    EXPECT_TRUE(JournalFile::isJournal(directory_.write("one", lines({START_BATCH}))));
    EXPECT_TRUE(JournalFile::isJournal(directory_.write("torn", "{\"bat")));
}

TEST_F(JournalOnDisk, MayNotBeginInAnythingElse) {
    EXPECT_FALSE(JournalFile::isJournal(directory_.write("letter", "Dear Sirs")));
    EXPECT_FALSE(JournalFile::isJournal(directory_.path()));
    EXPECT_FALSE(JournalFile::isJournal("/dev/null"));
}

TEST_F(JournalOnDisk, IsNotWrittenThroughAHardLinkOrALinkOfAStrangers) {
    const std::string elsewhere = directory_.write("elsewhere", lines({START_BATCH}));
    ASSERT_EQ(link(elsewhere.c_str(), path().c_str()), 0);
    EXPECT_EQ(problemOf([&] { write({SECOND}); }), "the journal " + path() + " could not be opened: Too many links");
    unlink(path().c_str());
    ASSERT_EQ(symlink(elsewhere.c_str(), path().c_str()), 0);
    if (lchown(path().c_str(), 65534, 65534) == 0) {
        EXPECT_EQ(problemOf([&] { write({SECOND}); }),
                  "the journal " + path() + " could not be opened: Operation not permitted");
    }
    EXPECT_EQ(directory_.read("elsewhere"), lines({START_BATCH}));
}

TEST_F(JournalOnDisk, FollowsALinkOfTheUsersOwn) {
    const std::string elsewhere = directory_.write("elsewhere", lines({START_BATCH}));
    ASSERT_EQ(symlink(elsewhere.c_str(), path().c_str()), 0);
    write({SECOND});
    EXPECT_EQ(directory_.read("elsewhere"), lines({START_BATCH, SECOND}));
}

TEST_F(JournalOnDisk, IsReadWithTheOldOneFirst) {
    directory_.write("journal.1", lines({START_BATCH}));
    directory_.write("journal", lines({SECOND, THIRD}));
    EXPECT_THAT(readJournal(path()).batches, ElementsAre(START_BATCH, SECOND, THIRD));
}

TEST_F(JournalOnDisk, IsReadAsFarAsItIsThere) {
    EXPECT_THAT(readJournal(path()).batches, IsEmpty());
    directory_.write("journal.1", lines({START_BATCH}));
    EXPECT_THAT(readJournal(path()).batches, ElementsAre(START_BATCH));
}

TEST_F(JournalOnDisk, IsReadWithoutItsDamagedLines) {
    directory_.write("journal", lines({START_BATCH}) + "garbage\n\n\x01\x02\xff\n" + lines({SECOND}) +
                                    "{\"batch\":3}\n" + lines({THIRD}));
    const JournalReading reading = readJournal(path());
    EXPECT_THAT(reading.batches, ElementsAre(START_BATCH, SECOND, THIRD));
    ASSERT_EQ(reading.damages.size(), 3U);
    EXPECT_EQ(reading.damages[0].file, path());
    EXPECT_EQ(reading.damages[0].line, 2U);
    EXPECT_EQ(reading.damages[1].line, 4U);
    EXPECT_EQ(reading.damages[2].line, 6U);
    EXPECT_FALSE(reading.damages[2].isTorn);
}

TEST_F(JournalOnDisk, LosesNothingButTheLineThatIsGarbled) {
    const unsigned seed = std::random_device()();
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937 random(seed);
    const std::vector<JournalBatch> batches = {START_BATCH, SECOND, THIRD, PICTURE};
    for (int run = 0; run < 200; ++run) {
        const std::size_t damaged = random() % batches.size();
        std::string text;
        std::vector<JournalBatch> others;
        for (std::size_t i = 0; i < batches.size(); ++i) {
            std::string line = lines({batches[i]});
            if (i == damaged) {
                line.at(random() % (line.size() - 1)) = '\x01';  // allowed nowhere in a line
            } else {
                others.push_back(batches[i]);
            }
            text += line;
        }
        directory_.write("journal", text);
        const JournalReading reading = readJournal(path());
        ASSERT_EQ(reading.batches, others);
        ASSERT_EQ(reading.damages.size(), 1U);
        ASSERT_EQ(reading.damages[0].line, damaged + 1);
    }
}

TEST_F(JournalOnDisk, IsReadUpToALineThatWasTorn) {
    const std::string whole = lines({START_BATCH, SECOND});
    for (std::size_t length = lines({START_BATCH}).size() + 1; length < whole.size() - 1; ++length) {
        directory_.write("journal", whole.substr(0, length));
        const JournalReading reading = readJournal(path());
        EXPECT_THAT(reading.batches, ElementsAre(START_BATCH)) << length;
        ASSERT_EQ(reading.damages.size(), 1U) << length;
        EXPECT_TRUE(reading.damages[0].isTorn);
        EXPECT_EQ(reading.damages[0].line, 2U);
    }
}

TEST_F(JournalOnDisk, IsReadWithALastLineThatOnlyLacksItsEnd) {
    const std::string whole = lines({START_BATCH, SECOND});
    directory_.write("journal", whole.substr(0, whole.size() - 1));
    const JournalReading reading = readJournal(path());
    EXPECT_THAT(reading.batches, ElementsAre(START_BATCH, SECOND));
    EXPECT_THAT(reading.damages, IsEmpty());
}

TEST_F(JournalOnDisk, IsNotReadIfItIsAFolder) {
    directory_.write("journal/file", "");
    EXPECT_THAT(problemOf([this] { readJournal(this->path()); }), HasSubstr("could not be read"));
}
