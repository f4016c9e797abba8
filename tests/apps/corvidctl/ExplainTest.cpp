#include "Tool.h"

using nlohmann::json;
using testing::HasSubstr;

TEST_F(Tool, ExplainGivesEveryStoreInOrder) {
    const json explanation = asJson({"explain", "DockedWindow"});
    EXPECT_EQ(explanation.at("key"), "DockedWindow");
    EXPECT_EQ(explanation.at("lookedUp"), json::array({"DockedWindow"}));
    EXPECT_EQ(explanation.at("value"), "false");
    EXPECT_EQ(explanation.at("isDefined"), true);
    EXPECT_EQ(explanation.at("valueStoreName"), "LocalFileConfigStore");
    EXPECT_EQ(explanation.at("originalValue"), "true");
    EXPECT_EQ(explanation.at("originalValueStoreName"), "corvid-config-defaults.xml");
    EXPECT_EQ(explanation.at("isOverridden"), true);
    EXPECT_EQ(explanation.size(), 9U);

    const json layer = [](const char* store, int priority, bool readOnly, bool local, const json& value, bool wins) {
        return json{{"store", store},   {"priority", priority},  {"isReadOnly", readOnly},
                    {"isLocal", local}, {"key", "DockedWindow"}, {"value", value},
                    {"wins", wins}};
    }("LocalFileConfigStore", 20, false, false, "false", true);
    EXPECT_EQ(explanation.at("layers").at(1), layer);
    EXPECT_EQ(explanation.at("layers").at(0).at("value"), nullptr);
    EXPECT_EQ(explanation.at("layers").at(0).at("store"), "TftpOverrideConfigStore");
    EXPECT_EQ(explanation.at("layers").size(), asJson({"stores"}).size());
}

TEST_F(Tool, ExplainLetsOneLayerWinAtMost) {
    const auto winners = [](const json& explanation) {
        int count = 0;
        for (const json& layer : explanation.at("layers")) {
            count += layer.at("wins").get<bool>() ? 1 : 0;
        }
        return count;
    };
    EXPECT_EQ(winners(asJson({"explain", "Telephony_Enabled"})), 1);
    EXPECT_EQ(winners(asJson({"explain", "Nowhere"}, 1)), 0);
}

TEST_F(Tool, ExplainEndsTheNamesWithTheOneThatHit) {
    EXPECT_EQ(asJson({"explain", "TFTPPrimaryServer"}).at("lookedUp"),
              json::array({"TFTPPrimaryServer", "TftpServer1"}));
    EXPECT_EQ(asJson({"explain", "TftpServer1"}).at("lookedUp"), json::array({"TFTPPrimaryServer", "TftpServer1"}));
    EXPECT_EQ(run({"set", "TFTPPrimaryServer", "mine"}).status, 0);
    EXPECT_EQ(asJson({"explain", "TftpServer1"}).at("lookedUp"), json::array({"TFTPPrimaryServer"}));
}

TEST_F(Tool, ExplainHasARowForEachNameAndStore) {
    const json explanation = asJson({"explain", "TftpServer1"});
    const std::size_t stores = asJson({"stores"}).size();
    ASSERT_EQ(explanation.at("layers").size(), 2 * stores);
    EXPECT_EQ(explanation.at("layers").at(0).at("key"), "TFTPPrimaryServer");
    EXPECT_EQ(explanation.at("layers").at(stores).at("key"), "TftpServer1");
}

TEST_F(Tool, ExplainOfAnUndefinedKeyIsStatusOneWithJsonAllTheSame) {
    const json explanation = asJson({"explain", "Nowhere"}, 1);
    EXPECT_EQ(explanation.at("isDefined"), false);
    EXPECT_EQ(explanation.at("lookedUp"), json::array({"Nowhere"}));
    EXPECT_THAT(run({"explain", "Nowhere"}).out, HasSubstr("Nowhere is not defined: no store holds it."));
}

TEST_F(Tool, ExplainHidesSensitiveValuesInEveryLayer) {
    EXPECT_EQ(run({"set", "BDIConnectionUsername", "mine"}).status, 0);
    const json explanation = asJson({"explain", "BDIConnectionUsername"});
    EXPECT_EQ(explanation.at("value"), "VALUE_HIDDEN");
    EXPECT_EQ(explanation.at("layers").at(0).at("value"), "VALUE_HIDDEN");
    EXPECT_EQ(explanation.at("layers").at(1).at("value"), "VALUE_HIDDEN");
    EXPECT_EQ(explanation.at("layers").at(2).at("value"), nullptr);
    EXPECT_EQ(asJson({"--reveal", "explain", "BDIConnectionUsername"}).at("layers").at(1).at("value"), "mine");
}

TEST_F(Tool, ExplainTellsWhoWinsAndWhy) {
    const std::string out = run({"explain", "DockedWindow"}).out;
    EXPECT_THAT(out, HasSubstr("DockedWindow is \"false\", from LocalFileConfigStore"));
    EXPECT_THAT(out, HasSubstr("The user overrides the administrator's \"true\", from corvid-config-defaults.xml."));
}

TEST_F(Tool, ExplainTellsTheAliasThatItFollowed) {
    const std::string out = run({"explain", "TftpServer1"}).out;
    EXPECT_THAT(out, HasSubstr("TftpServer1 is the old name of TFTPPrimaryServer."));
    EXPECT_THAT(out, HasSubstr("No store holds TFTPPrimaryServer, so its old name TftpServer1 was looked up too."));
}

TEST_F(Tool, ExplainTellsWhenTheFipsRuleSpoke) {
    const char* const sentence = "FIPS mode is on: peer-to-peer calling reads as \"false\" whatever the stores hold.";
    EXPECT_THAT(run({"--fips", "on", "explain", "Telephony_P2P_Enabled"}).out, HasSubstr(sentence));
    EXPECT_THAT(run({"--fips", "off", "explain", "Telephony_P2P_Enabled"}).out, testing::Not(HasSubstr(sentence)));
    EXPECT_THAT(run({"--fips", "on", "explain", "DockedWindow"}).out, testing::Not(HasSubstr(sentence)));
}

TEST_F(Tool, ExplainPrintsATableOfTheLayers) {
    EXPECT_THAT(
        run({"explain", "DockedWindow"}).out,
        testing::StartsWith("        PRIORITY  STORE                       KIND              NAME          VALUE\n"));
    EXPECT_THAT(run({"explain", "DockedWindow"}).out,
                HasSubstr("\nwins          20  LocalFileConfigStore        writable          DockedWindow  false\n"));
}

TEST_F(Tool, ExplainTellsTheAdministratorsValueThatWins) {
    EXPECT_THAT(run({"explain", "ServicesDomain"}).out,
                HasSubstr("ServicesDomain is \"example.org\", from BootstrapConfigStore: it has the smallest priority "
                          "number of the stores that hold the key.\nThat is the administrator's value.\n"));
}

TEST_F(Tool, ExplainTellsTheUsersValueThatWaits) {
    EXPECT_THAT(run({"explain", "Telephony_Enabled"}).out,
                HasSubstr("That is the administrator's value.\nThe user's value waits behind it.\n"));
}

TEST_F(Tool, ExplainTellsWhatOnlyTheUserHasSet) {
    EXPECT_THAT(run({"explain", "OnlyMine"}).out, HasSubstr("Only the user has set it; the administrator has not.\n"));
}

TEST_F(Tool, ExplainClaimsNoUsersVictoryOverAnEmptyOverride) {
    writeConfig("corvid-config-user.xml", "<c><g><DockedWindow/></g></c>");
    const std::string out = run({"explain", "DockedWindow"}).out;
    EXPECT_THAT(out, HasSubstr("DockedWindow is \"\", from TftpOverrideConfigStore"));
    EXPECT_THAT(out, testing::Not(HasSubstr("The user overrides")));
    EXPECT_THAT(out, HasSubstr("It counts as overridden, although it is not the user's value that wins.\n"
                               "The administrator's value is \"true\", from corvid-config-defaults.xml.\n"));
}

TEST_F(Tool, ExplainOfAnUndefinedKeyUnderTheFipsRule) {
    const json explanation = [this] {
        const support::Ended ended = run({"--json", "--fips", "on", "explain", "Telephony_P2P_Enabled"});
        EXPECT_EQ(ended.status, 1);
        return json::parse(ended.out);
    }();
    EXPECT_EQ(explanation.at("isDefined"), false);
    EXPECT_EQ(explanation.at("value"), "false");
    EXPECT_EQ(explanation.at("valueStoreName"), "");
    EXPECT_THAT(run({"--fips", "on", "explain", "Telephony_P2P_Enabled"}).out,
                HasSubstr("Telephony_P2P_Enabled is not defined: no store holds it.\nFIPS mode is on: "));
}
