#include "journal/JournalKeeper.h"

#include "Journals.h"
#include "fakes/TemporaryDirectory.h"
#include "journal/JournalReader.h"

using namespace corvidctl;
using journals::told;
using journals::value;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

class Keeper : public ::testing::Test {
protected:
    void change(const std::string& text) { journal_.record({told(value("A", text, "S"))}, Cause::Set); }

    std::string path() const { return directory_.path("journal"); }

    const fakes::TemporaryDirectory directory_;
    ChangeJournal journal_{false, ChangeJournal::Limits(), journals::TickingClock()};
    std::vector<std::uint64_t> heard_;
    std::vector<std::string> complaints_;
    JournalKeeper keeper_{journal_, [this](const JournalBatch& batch) { heard_.push_back(batch.number); }};
};

}  // namespace

TEST_F(Keeper, HandsOnEachBatchThatChangedSomething) {
    journal_.start({});
    change("1");
    change("2");
    EXPECT_THAT(heard_, ElementsAre(2U, 3U));
}

TEST_F(Keeper, WritesEachBatch) {
    keeper_.writeTo(path(), {});
    journal_.start({value("A", "0", "S")});
    change("1");
    EXPECT_EQ(readJournal(path()).batches, journal_.since(0).batches);
    EXPECT_TRUE(keeper_.isComplete());
}

TEST_F(Keeper, BeginsANewFileWithThePictureOfTheMoment) {
    // A file that is one batch below its limit, since so many bytes are written only by many batches.
    directory_.write("journal", "{\"batch\":1" + std::string(JournalFile::LIMIT - 200, ' ') + "}\n");
    keeper_.writeTo(path(), {});
    journal_.start({value("A", "0", "S")});
    change("1");
    EXPECT_TRUE(directory_.exists("journal.1"));
    const std::vector<JournalBatch> batches = readJournal(path()).batches;
    ASSERT_FALSE(batches.empty());
    EXPECT_EQ(batches.back().changes, journal_.picture().changes);
    EXPECT_EQ(batches.back().cause, Cause::Start);
}

TEST_F(Keeper, ComplainsOnceAndGoesOnWithoutTheFile) {
    directory_.write("journal.1/file", "");
    directory_.write("journal", "{\"batch\":1" + std::string(JournalFile::LIMIT - 100, ' ') + "}\n");
    keeper_.writeTo(path(), [this](const std::string& line) { complaints_.push_back(line); });
    journal_.start({});
    change("1");
    change("2");
    EXPECT_THAT(complaints_, ElementsAre("the journal " + path() + " is full and could not be renamed to " + path() +
                                         ".1: Is a directory"));
    EXPECT_FALSE(keeper_.isComplete());
    EXPECT_THAT(heard_, ElementsAre(2U, 3U));
}
