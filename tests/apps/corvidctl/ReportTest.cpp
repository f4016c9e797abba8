#include "Tool.h"

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

TEST_F(Tool, ReportPrintsTheMasterReport) {
    const support::Ended ended = run({"report"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_THAT(ended.out,
                StartsWith("\n*********************** Master Configuration Settings *********************\n"));
    EXPECT_THAT(ended.out, HasSubstr("\nDefined Values\n--------------\n"));
    EXPECT_THAT(ended.out, HasSubstr("Key: dockedwindow -  Value - [false] valueStoreName [LocalFileConfigStore] | "
                                     "OriginalValue [true] originalValueStoreName [corvid-config-defaults.xml]\n"));
}

TEST_F(Tool, ReportGivesTheSameTextAsJson) {
    EXPECT_EQ(asJson({"report"}), (nlohmann::json{{"report", run({"report"}).out}}));
}

TEST_F(Tool, ReportMasksWhateverRevealSays) {
    const std::string out = run({"--reveal", "report"}).out;
    EXPECT_THAT(out, HasSubstr("Value - [VALUE_HIDDEN]"));
    EXPECT_THAT(out, Not(HasSubstr("reader")));
}
