#include "journal/History.h"

#include "Journals.h"

using namespace corvidctl;
using journals::batch;
using journals::change;
using journals::defined;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

std::vector<JournalBatch> history(const std::vector<JournalBatch>& batches, bool reveal = false) {
    return historyOf(
        batches, [](const std::wstring&) { return true; }, reveal);
}

std::vector<JournalBatch> historyOfKey(const std::wstring& wanted, const std::vector<JournalBatch>& batches) {
    return historyOf(
        batches, [&wanted](const std::wstring& key) { return key == wanted; }, false);
}

const JournalBatch START = batch(1, Cause::Start, {defined("A", "1", "S"), defined("B", "1", "S")});

}  // namespace

TEST(History, TakesTheFirstStartForNoChange) { EXPECT_THAT(history({START}), IsEmpty()); }

TEST(History, TellsBatchesInTheirOrder) {
    const JournalBatch second = batch(2, Cause::Set, {change("A", "1", "2", "S", "S")});
    const JournalBatch third = batch(3, Cause::Reset, {change("A", "2", "", "S", "")});
    EXPECT_THAT(history({START, second, third}), ElementsAre(second, third));
}

TEST(History, TellsTheWantedKeysOnly) {
    const JournalBatch second =
        batch(2, Cause::Set, {change("A", "1", "2", "S", "S"), change("B", "1", "2", "S", "S")});
    const JournalBatch third = batch(3, Cause::Set, {change("A", "2", "3", "S", "S")});
    EXPECT_THAT(historyOfKey(L"B", {START, second, third}),
                ElementsAre(batch(2, Cause::Set, {change("B", "1", "2", "S", "S")})));
}

TEST(History, TellsAnOldNameAsTheCurrentOne) {
    const JournalBatch second = batch(2, Cause::Set, {change("tftpserver1", "", "2", "", "S")});
    EXPECT_THAT(historyOfKey(L"TFTPPrimaryServer", {START, second}),
                ElementsAre(batch(2, Cause::Set, {change("TFTPPrimaryServer", "", "2", "", "S")})));
}

TEST(History, TellsWhatChangedWhileNobodyLooked) {
    const JournalBatch set = batch(2, Cause::Set, {change("A", "1", "2", "S", "S"), change("C", "", "1", "", "S")});
    const JournalBatch again = batch(3, Cause::Start, {defined("a", "3", "S"), defined("D", "4", "T")});
    EXPECT_THAT(history({START, set, again}),
                ElementsAre(set, batch(3, Cause::Start,
                                       {change("a", "2", "3", "S", "S"), change("D", "", "4", "", "T"),
                                        change("B", "1", "", "S", ""), change("C", "1", "", "S", "")})));
}

TEST(History, TellsNothingOfAStartThatFindsAllAsItWas) {
    const JournalBatch gone = batch(2, Cause::Reset, {change("B", "1", "", "S", "")});
    EXPECT_THAT(history({START, START}), IsEmpty());
    EXPECT_THAT(history({START, gone, batch(3, Cause::Start, {defined("A", "1", "S")})}), ElementsAre(gone));
}

TEST(History, ForgetsAtAStartWhatWasBeforeIt) {
    const JournalBatch empty = batch(2, Cause::Start, {});
    EXPECT_EQ(history({START, empty, empty}).size(), 1U);
}

TEST(History, InventsNoChangeWhereTheBeginningIsLost) {
    const JournalBatch set = batch(2, Cause::Set, {change("A", "1", "2", "S", "S")});
    const JournalBatch again = batch(3, Cause::Start, {defined("A", "3", "S"), defined("B", "1", "S")});
    EXPECT_THAT(history({set, again}), ElementsAre(set, batch(3, Cause::Start, {change("A", "2", "3", "S", "S")})));
}

TEST(History, CountsAStoreAndItsCopyAsOne) {
    const JournalBatch start = batch(1, Cause::Start, {defined("A", "1", "TFTPConfigStore")});
    const JournalBatch again = batch(2, Cause::Start, {defined("A", "1", "cachedTFTPConfigStore.xml")});
    const JournalBatch joined =
        batch(3, Cause::Download, {change("A", "1", "1", "cachedTFTPConfigStore.xml", "TFTPConfigStore")});
    EXPECT_THAT(history({start, again, joined}), IsEmpty());
}

TEST(History, TellsANewValueFromTheStoreBehindItsCopy) {
    const JournalBatch joined =
        batch(2, Cause::Download, {change("A", "1", "2", "cachedTFTPConfigStore.xml", "TFTPConfigStore")});
    EXPECT_THAT(history({START, joined}), ElementsAre(joined));
}

TEST(History, TellsASameValueFromAnotherStore) {
    const JournalBatch moved = batch(2, Cause::File, {change("A", "1", "1", "S", "T")});
    EXPECT_THAT(history({START, moved}), ElementsAre(moved));
}

TEST(History, MasksSecretsThatTheJournalShows) {
    const JournalBatch set = batch(2, Cause::Set, {change("A", "1", "2", "S", "S", true)});
    EXPECT_THAT(history({START, set}),
                ElementsAre(batch(2, Cause::Set, {change("A", "VALUE_HIDDEN", "VALUE_HIDDEN", "S", "S", true)})));
    EXPECT_THAT(history({START, set}, true), ElementsAre(set));
}

TEST(History, MasksWhatAKeyWasBeforeItWasCalledASecret) {
    const JournalBatch set = batch(2, Cause::Set, {change("A", "", "plain", "", "S")});
    const JournalBatch secret = batch(3, Cause::Download, {defined("a", "VALUE_HIDDEN", "S", true)});
    EXPECT_EQ(history({set, secret})[0].changes[0].newValue, "VALUE_HIDDEN");
    EXPECT_EQ(history({set, secret})[0].changes[0].oldValue, "");
}

TEST(History, TakesAMaskForTheTextBehindIt) {
    const JournalBatch shown = batch(1, Cause::Start, {defined("A", "secret", "S", true)});
    const JournalBatch masked = batch(1, Cause::Start, {defined("A", "VALUE_HIDDEN", "S", true)});
    EXPECT_THAT(history({shown, masked}, true), IsEmpty());
    EXPECT_THAT(history({masked, shown}, true), IsEmpty());
}
