#include "remote/DownloadDecision.h"

#include <gtest/gtest.h>

#include <string>

using DownloadDecision::decide;
using DownloadDecision::Decision;
using DownloadDecision::haveChanged;
using DownloadDecision::Situation;

namespace {

constexpr bool ALLOW = true;
constexpr bool REFUSE = false;

const std::wstring NO_SUCCESS =
    L"Allowing download. Reason: There has not already been a successful tftp file download.";

TftpServerDetails last() { return {L"L1", L"L2", L"L3", L"F"}; }

struct Row {
    const char* name;
    int row;
    bool allowed;
    int level;
    std::wstring reason;
    std::wstring successful;
    TftpServerDetails now;
};

class DecisionTable : public testing::TestWithParam<Row> {};

const Row ROWS[] = {
    {"NoSuccessYet", 1, ALLOW, 4, NO_SUCCESS, L"", last()},
    {"NewFile",
     2,
     ALLOW,
     4,
     L"Allowing download. Reason: The server file (f)  to download is different to last server (F) file already "
     L"downloaded.",
     L"L1",
     {L"L1", L"L2", L"L3", L"f"}},
    {"Server1Delivered",
     3,
     REFUSE,
     4,
     L"Disallowing download. Reason: This tftp server 1 (l1) address has already been used for a successful download.",
     L"L1",
     {L"l1", L"x", L"y", L"F"}},
    {"Server1DeliveredAndDiffers",
     4,
     ALLOW,
     5,
     L"Allowing download. Reason: This tftp server 1 address (s1) is different to the last successful tftp server 1 "
     L"(L1) already address used.",
     L"l1",
     {L"s1", L"L2", L"L3", L"F"}},
    {"Server1Differs",
     5,
     ALLOW,
     4,
     L"Allowing download. Reason: This tftp server 1 address (s1) is different to the last tftp server 1 (L1) used.",
     L"L2",
     {L"s1", L"L2", L"L3", L"F"}},
    {"Server2Delivered",
     6,
     REFUSE,
     4,
     L"Disallowing download. Reason: This tftp server 2 (l2) address has already been used for a successful download.",
     L"L2",
     {L"L1", L"l2", L"y", L"F"}},
    {"Server2DeliveredAndDiffers",
     7,
     ALLOW,
     5,
     L"Allowing download. Reason: This tftp server 2 address (s2) is different to the last successful tftp server 2 "
     L"(L2) address already used.",
     L"L2",
     {L"L1", L"s2", L"L3", L"F"}},
    {"Server2Differs",
     8,
     ALLOW,
     4,
     L"Allowing download. Reason: This tftp server 2 address (s2) is different to the last tftp server 1 (L2) address "
     L"used.",
     L"L3",
     {L"l1", L"s2", L"L3", L"F"}},
    {"Server3Delivered",
     9,
     REFUSE,
     4,
     L"Disallowing download. Reason: This tftp server 3 (l3) address has already been used for a successful download.",
     L"L3",
     {L"l1", L"l2", L"l3", L"F"}},
    {"Server3DeliveredAndDiffers",
     10,
     ALLOW,
     5,
     L"Allowing download. Reason: This tftp server 3 address (s3) is different to the last successful tftp server 3 "
     L"(L3) address used.",
     L"L3",
     {L"L1", L"L2", L"s3", L"F"}},
    {"Server3Differs",
     11,
     ALLOW,
     4,
     L"Allowing download. Reason: This tftp server 3 address (s3) is different to the last tftp server 3 (L3) address "
     L"already used.",
     L"elsewhere",
     {L"L1", L"L2", L"s3", L"F"}},
    {"AllSameAndNoneDelivered", 12, ALLOW, 4, NO_SUCCESS, L"elsewhere", {L"l1", L"l2", L"l3", L""}},
};

}  // namespace

TEST_P(DecisionTable, GivesTheRowsAnswerLevelAndReason) {
    const Row& expected = GetParam();
    const Decision decision = decide({last(), expected.successful, expected.now}, true);
    EXPECT_EQ(decision.row, expected.row);
    EXPECT_EQ(decision.allowed, expected.allowed);
    EXPECT_EQ(decision.level, expected.level);
    EXPECT_EQ(decision.reason, expected.reason);
}

TEST_P(DecisionTable, BuildsNoReasonForALineThatNobodyWrites) {
    const Row& expected = GetParam();
    const Decision decision = decide({last(), expected.successful, expected.now}, false);
    EXPECT_EQ(decision.row, expected.row);
    EXPECT_EQ(decision.allowed, expected.allowed);
    EXPECT_EQ(decision.reason, expected.level == 5 ? std::wstring() : expected.reason);
}

INSTANTIATE_TEST_SUITE_P(Rows, DecisionTable, testing::ValuesIn(ROWS),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(DownloadDecision, AllowsAnythingBeforeTheFirstSuccess) {
    EXPECT_EQ(decide({last(), L"", {L"x", L"y", L"z", L"other"}}, false).row, 1);
    EXPECT_EQ(decide({{}, L"", {}}, false).row, 1);
}

TEST(DownloadDecision, TakesAnEmptyFileForNoNewFile) {
    EXPECT_EQ(decide({last(), L"L1", {L"L1", L"L2", L"L3", L""}}, false).row, 3);
}

TEST(DownloadDecision, TakesAFileOfAnotherCaseForANewOne) {
    EXPECT_EQ(decide({last(), L"L1", {L"L1", L"L2", L"L3", L"f"}}, false).row, 2);
}

TEST(DownloadDecision, PutsANewFileBeforeARefusedAddress) {
    EXPECT_TRUE(decide({last(), L"L1", {L"L1", L"L2", L"L3", L"new"}}, false).allowed);
    EXPECT_FALSE(decide({last(), L"L1", {L"L1", L"L2", L"L3", L"F"}}, false).allowed);
}

TEST(DownloadDecision, DoesNotLookBehindThePositionThatDelivered) {
    EXPECT_EQ(decide({last(), L"L1", {L"L1", L"x", L"y", L"F"}}, false).row, 3);
    EXPECT_EQ(decide({last(), L"L2", {L"L1", L"L2", L"y", L"F"}}, false).row, 6);
}

TEST(DownloadDecision, LooksBeforeThePositionThatDelivered) {
    EXPECT_EQ(decide({last(), L"L3", {L"x", L"L2", L"L3", L"F"}}, false).row, 5);
    EXPECT_EQ(decide({last(), L"L3", {L"L1", L"x", L"L3", L"F"}}, false).row, 8);
}

TEST(DownloadDecision, CountsTheFirstOfTwoPositionsThatHoldTheSuccessfulAddress) {
    const TftpServerDetails twice{L"S", L"S", L"L3", L"F"};
    EXPECT_EQ(decide({twice, L"S", {L"x", L"S", L"L3", L"F"}}, false).row, 4);
    EXPECT_EQ(decide({twice, L"S", {L"S", L"x", L"L3", L"F"}}, false).row, 3);
}

TEST(DownloadDecision, AllowsTheSameAddressAgainOnceTheLastOnesAreForgotten) {
    EXPECT_EQ(decide({{}, L"L1", {L"L1", L"", L"", L""}}, false).row, 5);
    EXPECT_EQ(decide({{}, L"L1", {}}, false).row, 12);
}

TEST(ServerDetails, CountAsChangedByEachPositionAndTheFile) {
    EXPECT_FALSE(haveChanged(last(), last(), true));
    EXPECT_TRUE(haveChanged(last(), {L"x", L"L2", L"L3", L"F"}, true));
    EXPECT_TRUE(haveChanged(last(), {L"L1", L"x", L"L3", L"F"}, true));
    EXPECT_TRUE(haveChanged(last(), {L"L1", L"L2", L"x", L"F"}, true));
    EXPECT_TRUE(haveChanged(last(), {L"L1", L"L2", L"L3", L"x"}, true));
}

TEST(ServerDetails, CountAsChangedByCase) {
    EXPECT_TRUE(haveChanged(last(), {L"l1", L"L2", L"L3", L"F"}, true));
    EXPECT_TRUE(haveChanged(last(), {L"L1", L"l2", L"L3", L"F"}, true));
    EXPECT_TRUE(haveChanged(last(), {L"L1", L"L2", L"l3", L"F"}, true));
    EXPECT_TRUE(haveChanged(last(), {L"L1", L"L2", L"L3", L"f"}, true));
}

TEST(ServerDetails, AreNotChangedByAnEmptyFile) { EXPECT_FALSE(haveChanged(last(), {L"L1", L"L2", L"L3", L""}, true)); }

TEST(ServerDetails, CountAsChangedWhenAnAddressIsGone) {
    EXPECT_TRUE(haveChanged(last(), {L"L1", L"L2", L"", L"F"}, true));
    EXPECT_TRUE(haveChanged(last(), {}, true));
}

TEST(ServerDetails, CountAsChangedAtTheFirstSightOfASystemWithoutAny) {
    EXPECT_TRUE(haveChanged({}, {}, false));
    EXPECT_TRUE(haveChanged({L"", L"", L"", L"F"}, {L"", L"", L"", L"F"}, false));
    EXPECT_FALSE(haveChanged({}, {}, true));
}

TEST(ServerDetails, AreNotChangedByTheirFirstSightIfThereAreAny) {
    EXPECT_FALSE(haveChanged(last(), last(), false));
    EXPECT_FALSE(haveChanged({L"", L"", L"L3", L""}, {L"", L"", L"L3", L""}, false));
}
