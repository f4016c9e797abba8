#include "journal/JournalPrinting.h"

#include <sstream>

#include "Journals.h"
#include "journal/History.h"
#include "output/Output.h"
#include "output/Text.h"

using namespace corvidctl;
using journals::batch;
using journals::change;
using journals::defined;
using testing::HasSubstr;
using testing::Not;

namespace {

std::string printedBatch(const JournalBatch& printed, std::size_t columns = 0) {
    std::ostringstream out;
    Output output{out, out, false, false, nullptr, columns};
    printBatch(output, printed);
    return out.str();
}

const JournalChange FROM_ITS_COPY = change("B", "1", "1", "cachedTFTPConfigStore.xml", "TFTPConfigStore");

std::vector<LastAnswer> lastAnswers(const std::vector<JournalBatch>& batches) {
    return lastAnswersOf(
        batches, [](const std::wstring&) { return true; }, false);
}

}  // namespace

TEST(PrintedBatch, CountsWhatOnlyComesFromAStoreInsteadOfItsCopy) {
    EXPECT_EQ(printedBatch(batch(2, Cause::Download, {change("A", "1", "2", "S", "T"), FROM_ITS_COPY})),
              "2001-09-09T01:46:40.500Z  download  2 keys, 1 of them only from TFTPConfigStore instead of its kept "
              "copy\n  A: \"1\" -> \"2\" (S -> T)\n");
}

TEST(PrintedBatch, WrapsWhatATerminalHasNoRoomFor) {
    const std::string text =
        printedBatch(batch(2, Cause::Set, {change("A", std::string(30, 'a'), std::string(30, 'b'), "S", "T")}), 60);
    std::istringstream lines(text);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line)) {
        EXPECT_LE(displayWidth(line), 60U) << line;
    }
    EXPECT_THAT(text, HasSubstr(std::string(30, 'b')));
}

TEST(PrintedChanges, KeepTheCauseOnANarrowTerminal) {
    std::ostringstream out;
    Output output{out, out, false, false, nullptr, 80};
    printChanges(output, {batch(2, Cause::Provisioning,
                                {change("VoicemailPrimaryServerOfTheCompany", std::string(30, 'a'),
                                        std::string(30, 'b'), "LocalFileConfigStore", "TftpOverrideConfigStore")})});
    EXPECT_THAT(out.str(), HasSubstr("TIME (UTC)           CAUSE"));
    EXPECT_THAT(out.str(), HasSubstr("2001-09-09 01:46:40  provisioning"));
    EXPECT_THAT(out.str(), HasSubstr("not shown here: STORE;"));
}

TEST(LastAnswers, AreThoseOfTheEndUnderCurrentNamesAndMasked) {
    const std::vector<JournalBatch> batches = {
        batch(1, Cause::Start, {defined("A", "1", "S"), defined("gone", "1", "S"), defined("Key", "x", "S", true)}),
        batch(2, Cause::Start, {defined("A", "2", "S"), defined("Key", "x", "S", true)})};
    const std::vector<LastAnswer> answers = lastAnswers(batches);
    ASSERT_EQ(answers.size(), 2U);
    EXPECT_EQ(answers[0].change, defined("A", "2", "S"));
    EXPECT_EQ(answers[1].change, defined("Key", "VALUE_HIDDEN", "S", true));
}

TEST(LastAnswers, TellSinceWhenAKeyHasReadSo) {
    const auto sinceOf = [](const std::vector<JournalBatch>& batches) { return lastAnswers(batches).front().since; };
    const auto at = &journals::TickingClock::at;
    const JournalBatch one = batch(1, Cause::Start, {defined("A", "1", "TFTPConfigStore")});
    const JournalBatch copy = batch(2, Cause::Start, {defined("a", "1", "cachedTFTPConfigStore.xml")});
    EXPECT_EQ(sinceOf({one, copy}), at(0));
    EXPECT_EQ(sinceOf({one, copy, batch(3, Cause::Start, {defined("A", "2", "S")})}), at(2));
    EXPECT_EQ(sinceOf({one, batch(2, Cause::Start, {}), batch(3, Cause::Start, {defined("A", "1", "S")})}), at(2));
    EXPECT_EQ(sinceOf({batch(1, Cause::Set, {change("B", "", "", "S", "")}), copy}), at(1));
    EXPECT_EQ(sinceOf({one, batch(2, Cause::Set, {change("A", "1", "2", "S", "S")}),
                       batch(3, Cause::Set, {change("A", "2", "1", "S", "S")})}),
              at(2));
}
