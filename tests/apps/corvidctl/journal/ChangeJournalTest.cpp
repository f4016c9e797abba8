#include "journal/ChangeJournal.h"

#include <atomic>
#include <thread>

#include "Journals.h"

using corvidctl::Cause;
using corvidctl::ChangeJournal;
using journals::batch;
using journals::change;
using journals::defined;
using journals::TickingClock;
using journals::told;
using journals::value;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class Journal : public ::testing::Test {
protected:
    std::vector<corvidctl::JournalBatch> all() const { return journal_.since(0).batches; }

    ChangeJournal journal_{false, ChangeJournal::Limits(), TickingClock()};
};

}  // namespace

TEST_F(Journal, IsEmptyAtFirst) {
    const ChangeJournal::Snapshot snapshot = journal_.since(0);
    EXPECT_THAT(snapshot.batches, IsEmpty());
    EXPECT_EQ(snapshot.lastNumber, 0U);
}

TEST_F(Journal, BeginsWithAllThatIsDefinedInKeyOrder) {
    journal_.start({value("b", "2", "S"), value("A", "1", "T")});
    EXPECT_THAT(all(), ElementsAre(journals::JournalBatch{
                           1, TickingClock::at(0), Cause::Start, {defined("A", "1", "T"), defined("b", "2", "S")}}));
}

TEST_F(Journal, TakesOldValuesFromTheStartAndFromTheChangesSince) {
    journal_.start({value("A", "1", "S")});
    journal_.record({told(value("A", "2", "T"))}, Cause::Set);
    journal_.record({told(value("A", "", ""))}, Cause::Reset);
    journal_.record({told(value("A", "3", "S"))}, Cause::File);
    const auto batches = all();
    ASSERT_EQ(batches.size(), 4U);
    EXPECT_THAT(batches[1].changes, ElementsAre(change("A", "1", "2", "S", "T")));
    EXPECT_THAT(batches[2].changes, ElementsAre(change("A", "2", "", "T", "")));
    EXPECT_THAT(batches[3].changes, ElementsAre(change("A", "", "3", "", "S")));
}

TEST_F(Journal, NumbersAndDatesItsBatches) {
    journal_.start({});
    journal_.record({told(value("A", "2", "T"))}, Cause::Set);
    EXPECT_EQ(all()[1].number, 2U);
    EXPECT_EQ(all()[1].time, TickingClock::at(1));
    EXPECT_EQ(all()[1].cause, Cause::Set);
}

TEST_F(Journal, KnowsAKeyInEverySpelling) {
    journal_.start({value("Alpha", "1", "S")});
    journal_.record({told(value("ALPHA", "2", "S"))}, Cause::Set);
    EXPECT_THAT(all()[1].changes, ElementsAre(change("ALPHA", "1", "2", "S", "S")));
}

TEST_F(Journal, WorksOutACauseThatNobodyTold) {
    journal_.record({told(value("A", "1", "TFTPConfigStore"))}, std::nullopt);
    EXPECT_EQ(all()[0].cause, Cause::Download);
}

TEST_F(Journal, CountsAKeyThatChangedTwiceInABatchOnce) {
    journal_.start({value("A", "1", "S")});
    journal_.record({told(value("A", "2", "S")), told(value("B", "x", "S")), told(value("A", "3", "T"))}, Cause::File);
    EXPECT_THAT(all()[1].changes, ElementsAre(change("A", "1", "3", "S", "T"), change("B", "", "x", "", "S")));
}

TEST_F(Journal, HoldsNothingOfWhatChangedBack) {
    journal_.start({value("A", "1", "S")});
    journal_.record({told(value("A", "2", "S")), told(value("A", "1", "S"))}, Cause::File);
    EXPECT_EQ(all().size(), 1U);
}

TEST_F(Journal, HoldsNothingOfWhatChangedBehindTheAnswer) {
    journal_.start({value("A", "1", "S")});
    journal_.record({told(value("A", "1", "S"), {"originalValue", "originalValueStoreName"})}, Cause::Download);
    EXPECT_EQ(all().size(), 1U);
}

TEST_F(Journal, TakesWhatALiveObjectStillHoldsOfAKeyThatIsGoneForNothing) {
    journal_.start({value("A", "1", "S")});
    journal_.record({told(value("A", "1", ""))}, Cause::Reset);
    EXPECT_THAT(all()[1].changes, ElementsAre(change("A", "1", "", "S", "")));
}

TEST_F(Journal, MasksSecretsBeforeTheyEnter) {
    journal_.start({value("A", "secret", "S", true)});
    journal_.record({told(value("A", "other secret", "S", true), {"value"})}, Cause::Set);
    EXPECT_THAT(all()[0].changes, ElementsAre(defined("A", "VALUE_HIDDEN", "S", true)));
    EXPECT_THAT(all()[1].changes, ElementsAre(change("A", "VALUE_HIDDEN", "VALUE_HIDDEN", "S", "S", true)));
}

TEST_F(Journal, MasksTheOldTextOfAKeyThatBecomesASecret) {
    journal_.start({value("A", "seemed harmless", "S")});
    journal_.record({told(value("A", "secret", "T", true))}, Cause::Download);
    EXPECT_THAT(all()[1].changes, ElementsAre(change("A", "VALUE_HIDDEN", "VALUE_HIDDEN", "S", "T", true)));
}

TEST_F(Journal, MasksNothingWhereThereIsNone) {
    journal_.record({told(value("A", "secret", "S", true))}, Cause::Set);
    journal_.record({told(value("A", "", "", true))}, Cause::Reset);
    EXPECT_THAT(all()[0].changes, ElementsAre(change("A", "", "VALUE_HIDDEN", "", "S", true)));
    EXPECT_THAT(all()[1].changes, ElementsAre(change("A", "VALUE_HIDDEN", "", "S", "", true)));
}

TEST_F(Journal, MasksWhatItHoldsOfAKeyThatBecomesASecret) {
    journal_.start({value("A", "seemed harmless", "S"), value("B", "1", "S")});
    journal_.record({told(value("A", "harmless, too", "S")), told(value("B", "2", "S"))}, Cause::Set);
    journal_.record({told(value("a", "secret", "T", true), {"originalValue"})}, Cause::Download);
    EXPECT_THAT(all()[0].changes, ElementsAre(defined("A", "VALUE_HIDDEN", "S", true), defined("B", "1", "S")));
    EXPECT_THAT(all()[1].changes, ElementsAre(change("A", "VALUE_HIDDEN", "VALUE_HIDDEN", "S", "S", true),
                                              change("B", "1", "2", "S", "S")));
}

TEST_F(Journal, MasksWhatItHoldsOfAKeyThatIsHidden) {
    journal_.start({value("A", "1", "S"), value("B", "1", "S")});
    journal_.hide(L"a");
    EXPECT_THAT(all()[0].changes, ElementsAre(defined("A", "VALUE_HIDDEN", "S", true), defined("B", "1", "S")));
    EXPECT_THAT(journal_.picture().changes,
                ElementsAre(defined("A", "VALUE_HIDDEN", "S", true), defined("B", "1", "S")));
    journal_.record({told(value("A", "taken before it was hidden", "S"))}, Cause::Set);
    EXPECT_THAT(all()[1].changes, ElementsAre(change("A", "VALUE_HIDDEN", "VALUE_HIDDEN", "S", "S", true)));
    journal_.record({told(value("A", "", ""))}, Cause::Reset);
    EXPECT_THAT(all()[2].changes, ElementsAre(change("A", "VALUE_HIDDEN", "", "S", "", true)));
}

TEST(RevealingJournal, HidesNothing) {
    ChangeJournal journal(true, ChangeJournal::Limits(), TickingClock());
    journal.start({value("A", "1", "S")});
    journal.hide(L"A");
    journal.record({told(value("A", "2", "S", true))}, Cause::Set);
    EXPECT_THAT(journal.since(0).batches.at(0).changes, ElementsAre(defined("A", "1", "S")));
    EXPECT_THAT(journal.since(1).batches.at(0).changes, ElementsAre(change("A", "1", "2", "S", "S", true)));
}

TEST(RevealingJournal, KeepsSecretsAsTheyCome) {
    ChangeJournal journal(true, ChangeJournal::Limits(), TickingClock());
    journal.start({value("A", "secret", "S", true)});
    journal.record({told(value("A", "other", "S", true))}, Cause::Set);
    EXPECT_THAT(journal.since(1).batches.at(0).changes, ElementsAre(change("A", "secret", "other", "S", "S", true)));
}

TEST_F(Journal, GivesWhatCameSinceANumber) {
    journal_.start({});
    journal_.record({told(value("A", "1", "S"))}, Cause::Set);
    journal_.record({told(value("A", "2", "S"))}, Cause::Set);
    const ChangeJournal::Snapshot snapshot = journal_.since(2);
    EXPECT_THAT(snapshot.batches, ElementsAre(batch(3, Cause::Set, {change("A", "1", "2", "S", "S")})));
    EXPECT_EQ(snapshot.lastNumber, 3U);
    EXPECT_THAT(journal_.since(3).batches, IsEmpty());
    EXPECT_THAT(journal_.since(99).batches, IsEmpty());
}

TEST_F(Journal, DropsTheOldestBatchesAndCountsThem) {
    ChangeJournal journal(false, {2, 1000}, TickingClock());
    journal.start({value("A", "1", "S"), value("B", "1", "S")});
    for (const char* const text : {"2", "3", "4"}) {
        journal.record({told(value("A", text, "S"))}, Cause::Set);
    }
    const ChangeJournal::Snapshot snapshot = journal.since(0);
    ASSERT_EQ(snapshot.batches.size(), 2U);
    EXPECT_EQ(snapshot.batches[0].number, 3U);
    EXPECT_EQ(snapshot.droppedBatches, 2U);
    EXPECT_EQ(snapshot.droppedChanges, 3U);
}

TEST_F(Journal, DropsBatchesUntilTheirChangesFit) {
    ChangeJournal journal(false, {1000, 3}, TickingClock());
    journal.start({value("A", "1", "S"), value("B", "1", "S")});
    journal.record({told(value("A", "2", "S"))}, Cause::Set);
    EXPECT_EQ(journal.since(0).batches.size(), 2U);
    journal.record({told(value("B", "2", "S"))}, Cause::Set);
    EXPECT_EQ(journal.since(0).batches.size(), 2U);
    EXPECT_EQ(journal.since(0).batches[0].number, 2U);
}

TEST_F(Journal, KeepsTheNewestBatchWhateverItsSize) {
    ChangeJournal journal(false, {1000, 1}, TickingClock());
    journal.start({value("A", "1", "S"), value("B", "1", "S")});
    EXPECT_EQ(journal.since(0).batches.size(), 1U);
}

TEST_F(Journal, GivesAPictureOfAllThatIsDefinedNow) {
    journal_.start({value("A", "1", "S"), value("B", "1", "S")});
    journal_.record({told(value("A", "2", "T")), told(value("B", "", "")), told(value("C", "3", "S"))}, Cause::File);
    EXPECT_EQ(journal_.picture(),
              (journals::JournalBatch{
                  2, TickingClock::at(1), Cause::Start, {defined("A", "2", "T"), defined("C", "3", "S")}}));
}

TEST_F(Journal, CallsItsListenerAfterEachBatchWithTheBatchInIt) {
    std::vector<std::uint64_t> heard;
    journal_.setListener([&] { heard.push_back(journal_.since(0).lastNumber); });
    journal_.start({});
    journal_.record({told(value("A", "1", "S"))}, Cause::Set);
    journal_.record({told(value("A", "1", "S"))}, Cause::Set);  // no change
    EXPECT_THAT(heard, ElementsAre(1U, 2U));
    journal_.setListener({});
    journal_.record({told(value("A", "2", "S"))}, Cause::Set);
    EXPECT_EQ(heard.size(), 2U);
}

TEST_F(Journal, IsReadWhileItGrows) {
    constexpr std::uint64_t MANY = 200;
    std::atomic<bool> inOrder = true;
    std::thread reader([&] {
        std::uint64_t seen = 0;
        while (seen < MANY) {
            for (const auto& batch : journal_.since(seen).batches) {
                inOrder = inOrder && batch.number == seen + 1;
                seen = batch.number;
            }
        }
    });
    for (std::uint64_t i = 1; i <= MANY; ++i) {
        journal_.record({told(value("A", std::to_string(i), "S"))}, Cause::Set);
    }
    reader.join();
    EXPECT_TRUE(inOrder);
}
