
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
    EXPECT_EQ(explanation.at("isSensitive"), false);
    EXPECT_EQ(explanation.at("alias"), nullptr);
    EXPECT_EQ(explanation.at("rules"), json::array());
    EXPECT_EQ(explanation.size(), 12U);

    json layer = explanation.at("layers").at(1);
    EXPECT_THAT(layer.at("time").get<std::string>(), testing::MatchesRegex("....-..-..T..:..:..Z"));
    layer.erase("time");
    EXPECT_EQ(layer, (json{{"store", "LocalFileConfigStore"},
                           {"priority", 20},
                           {"isReadOnly", false},
                           {"isLocal", false},
                           {"key", "DockedWindow"},
                           {"value", "false"},
                           {"wins", true},
                           {"state", "wins"},
                           {"file", directory_.path("config/corvidLocalConfig.xml")},
                           {"line", 3},
                           {"url", nullptr},
                           {"isCached", false},
                           {"problem", nullptr}}));
    EXPECT_EQ(explanation.at("layers").at(0).at("value"), nullptr);
    EXPECT_EQ(explanation.at("layers").at(0).at("store"), "TftpOverrideConfigStore");
    EXPECT_EQ(explanation.at("layers").size(), asJson({"stores"}).size());
}

TEST_F(Tool, ExplainCallsAKeySensitiveThatNoStoreHolds) {
    const json explanation = asJson({"explain", "BDIConnectionPassword"}, 1);
    EXPECT_EQ(explanation.at("isDefined"), false);
    EXPECT_EQ(explanation.at("isSensitive"), true);
    EXPECT_EQ(explanation.at("value"), "");
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
    const std::string out = run({"explain", "DockedWindow"}).out;
    EXPECT_THAT(out, testing::StartsWith("STATE       PRIORITY  STORE                       KIND                VALUE  "
                                         "WHERE "));
    EXPECT_THAT(out, HasSubstr("\nwins              20  LocalFileConfigStore        writable, profile   false  "
                               "corvidLocalConfig.xml:3 "));
    EXPECT_THAT(out, HasSubstr("  just now\n"));
}

TEST_F(Tool, ExplainTellsTheAdministratorsValueThatWins) {
    EXPECT_THAT(run({"explain", "ServicesDomain"}).out,
                HasSubstr("ServicesDomain is \"example.org\", from BootstrapConfigStore (" +
                          directory_.path("install/bootstrap.properties") +
                          ", line 1; read-only): it has the smallest priority "
                          "number of the stores that hold the key.\nThat is the administrator's value.\n"));
}

TEST_F(Tool, ExplainTellsTheUsersValueThatWaits) {
    EXPECT_THAT(run({"explain", "Telephony_Enabled"}).out,
                HasSubstr("That is the administrator's value.\nThe user's value waits behind it.\n"));
}

TEST_F(Tool, ExplainLetsAUsersValueOverAnOldNameNotWaitBehindItself) {
    EXPECT_EQ(run({"set", "TFTPPrimaryServer", "mine"}).status, 0);
    EXPECT_THAT(run({"explain", "TFTPPrimaryServer"}).out, testing::Not(HasSubstr("waits behind it")));
    EXPECT_THAT(run({"list", "tftp*"}).out, testing::Not(HasSubstr("waits behind it")));
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

TEST_F(Tool, ExplainTellsAFileThatFailedToLoadAndWhereItWent) {
    writeConfig("corvidLocalConfig.xml", "<Corvid>\n<userConfig name='DockedWindow' value='false'>\n</Corvid>\n");
    const support::Ended ended = run({"--json", "explain", "DockedWindow"});
    const json explanation = json::parse(ended.out);
    EXPECT_EQ(explanation.at("layers").at(1).at("state"), "failed");
    EXPECT_THAT(explanation.at("layers").at(1).at("problem"), testing::StartsWith("line 3, column "));
    EXPECT_THAT(explanation.at("rules").at(0),
                testing::ContainsRegex("^LocalFileConfigStore failed to load: corvidLocalConfig.xml, line 3, column "
                                       "[0-9]+: it is not well-formed XML; the file was moved to "
                                       "corvidLocalConfig-backup.xml.$"));
    EXPECT_THAT(run({"explain", "DockedWindow"}).out,
                HasSubstr("An earlier corvidLocalConfig.xml could not be read; it was moved to "
                          "corvidLocalConfig-backup.xml.\n"));
}

TEST_F(Tool, ExplainPrintsNothingBesidesOfAFileThatItLooksAt) {
    writeConfig("Cache/cachedOldConfigStore.xml", "<broken>");
    writeConfig("Cache/cachedFolder.xml/file", "");
    const support::Ended ended = run({"--log-level", "2", "explain", "DockedWindow"});
    EXPECT_EQ(ended.error, "");
    EXPECT_THAT(ended.out, testing::Not(HasSubstr("failed to load")));
}

TEST_F(Tool, ExplainTellsThePolicyThatHasErasedAServer) {
    writeConfig("corvid-config-user.xml", "<c><g><Customize_Phone_Server>false</Customize_Phone_Server></g></c>");
    writeConfig("corvidLocalConfig.xml", localFile({{"TftpServer1", "mine"}}));
    const std::string out = run({"explain", "TFTPPrimaryServer"}).out;
    EXPECT_THAT(out, HasSubstr("Customize_Phone_Server is \"false\", from TftpOverrideConfigStore: a server of the "
                               "user's own is erased whenever the client starts.\nThis start has erased it from "
                               "LocalFileConfigStore (corvidLocalConfig.xml, line 3).\n"));
}

TEST_F(Tool, ExplainTellsOfAKeyThatNoDocumentGives) {
    writeConfig("corvid-config-user.xml",
                "<c><g>\n<CertificateValidationEnabled>false</CertificateValidationEnabled></g></c>");
    const json explanation = asJson({"explain", "CertificateValidationEnabled"}, 1);
    EXPECT_EQ(explanation.at("layers").at(0).at("state"), "ignored");
    EXPECT_EQ(explanation.at("layers").at(0).at("line"), 2);
    EXPECT_EQ(explanation.at("layers").at(0).at("value"), nullptr);
    EXPECT_EQ(explanation.at("rules").at(0),
              "What TftpOverrideConfigStore says of it (corvid-config-user.xml, line 2) is ignored: this key is never "
              "taken from a configuration document.");
}

TEST_F(Tool, ExplainTellsACachedCopy) {
    writeConfig("corvidLocalConfig.xml", localFile({{"PrimaryConfigStores", "TFTPConfigStore:240;"}}));
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<Corvid><CachedConfig>\n<a>1</a></CachedConfig></Corvid>");
    const json layer = asJson({"explain", "A"}).at("layers").at(2);
    EXPECT_EQ(layer.at("isCached"), true);
    EXPECT_EQ(layer.at("line"), 2);
    EXPECT_EQ(layer.at("file"), directory_.path("config/Cache/cachedTFTPConfigStore.xml"));
    EXPECT_EQ(asJson({"explain", "A"}).at("layers").at(1).at("isCached"), false);
}

TEST_F(Tool, ExplainAllStoresGivesTheStackOfEachSharedKey) {
    const json explanations = asJson({"explain", "--all-stores"});
    ASSERT_EQ(explanations.size(), 2U);
    EXPECT_EQ(explanations.at(0), asJson({"explain", "DockedWindow"}));
    EXPECT_EQ(explanations.at(1).at("key"), "telephony_enabled");
    EXPECT_EQ(asJson({"explain", "--all-stores", "d*"}).size(), 1U);
    EXPECT_EQ(asJson({"explain", "--all-stores", "OnlyMine"}), json::array());
    EXPECT_EQ(asJson({"explain", "--all-stores", "", "DockedWindow"}).size(), 1U);
}

TEST_F(Tool, ExplainAllStoresPrintsOneTable) {
    EXPECT_THAT(run({"explain", "--all-stores"}).out,
                testing::StartsWith(
                    "KEY                STATE     VALUE  STORE                       WHERE\n"
                    "DockedWindow       wins      false  LocalFileConfigStore        corvidLocalConfig.xml:3\n"
                    "                   shadowed  true   corvid-config-defaults.xml  " +
                    directory_.path("install/corvid-config-defaults.xml") +
                    ":3\n"
                    "telephony_enabled  wins      true   TftpOverrideConfigStore     corvid-config-user.xml:1\n"
                    "                   shadowed  false  LocalFileConfigStore        corvidLocalConfig.xml:5\n"));
    const support::Ended ended = run({"explain", "--all-stores", "OnlyMine"});
    EXPECT_EQ(ended.status, 0);
    EXPECT_EQ(ended.out, "No key that matches is held by more than one store.\n");
}

TEST_F(Tool, ExplainAllStoresHidesSensitiveValues) {
    EXPECT_EQ(run({"set", "BDIConnectionUsername", "mine"}).status, 0);
    for (const char* const format : {"table", "json", "jsonl", "tsv"}) {
        const std::string out = run({"-o", format, "explain", "--all-stores"}).out;
        EXPECT_THAT(out, HasSubstr("VALUE_HIDDEN"));
        EXPECT_THAT(out, testing::Not(HasSubstr("reader")));
        EXPECT_THAT(out, testing::Not(HasSubstr("mine\t")));
    }
}

TEST_F(Tool, ExplainChangesNothing) {
    const auto before = files();
    EXPECT_EQ(run({"explain", "DockedWindow"}).status, 0);
    EXPECT_EQ(run({"explain", "--all-stores"}).status, 0);
    EXPECT_EQ(run({"stores"}).status, 0);
    EXPECT_EQ(files(), before);
}

TEST_F(Tool, ExplainTakesManyKeysInItsStride) {
    std::string document = "<c><g>\n";
    std::map<std::string, std::string> mine;
    for (int i = 0; i < 1000; ++i) {
        document += "<Key" + std::to_string(i) + ">1</Key" + std::to_string(i) + ">\n";
        mine["Key" + std::to_string(i)] = "2";
    }
    writeConfig("corvid-config-user.xml", document + "</g></c>");
    writeConfig("corvidLocalConfig.xml", localFile(mine));
    EXPECT_EQ(asJson({"explain", "Key999"}).at("layers").at(0).at("line"), 1001);
    const std::string lines = run({"-o", "jsonl", "explain", "--all-stores", "key*"}).out;
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 1000);
}

TEST_F(Tool, ExplainTellsWhatAFileSaysBehindTheFipsRule) {
    writeConfig("corvid-config-user.xml", "<c><g>\n<Telephony_P2P_Enabled>true</Telephony_P2P_Enabled></g></c>");
    EXPECT_THAT(run({"--fips", "on", "explain", "Telephony_P2P_Enabled"}).out,
                HasSubstr("whatever the stores hold.\ncorvid-config-user.xml, line 2, says \"true\".\n"));
    directory_.write("install/bootstrap.properties", "Telephony_P2P_Enabled: yes\n");
    EXPECT_THAT(run({"--fips", "on", "explain", "Telephony_P2P_Enabled"}).out,
                HasSubstr("bootstrap.properties, line 1, says \"yes\".\n"));
}

TEST_F(Tool, ExplainSaysNothingOfAnAdministratorWhoseValueIsNotTold) {
    writeConfig("corvidLocalConfig.xml", localFile({{"Telephony_P2P_Enabled", "true"}}));
    const std::string alone = "Only the user has set it; the administrator has not.\n";
    EXPECT_THAT(run({"--fips", "on", "explain", "Telephony_P2P_Enabled"}).out, HasSubstr(alone));
    EXPECT_THAT(run({"--fips", "on", "list", "Telephony_P2P*"}).out, HasSubstr("user only"));
    directory_.write("install/corvid-config-defaults.xml", localFile({{"Telephony_P2P_Enabled", "true"}}));
    const std::string out = run({"--fips", "on", "explain", "Telephony_P2P_Enabled"}).out;
    EXPECT_THAT(out, HasSubstr("The user has set it.\n"));
    EXPECT_THAT(out, testing::Not(HasSubstr("administrator")));
    EXPECT_THAT(out, HasSubstr("corvid-config-defaults.xml, line 3, says \"true\".\n"));
    const std::string row = run({"--fips", "on", "list", "Telephony_P2P*"}).out;
    EXPECT_THAT(row, HasSubstr("overridden"));
    EXPECT_THAT(row, testing::Not(HasSubstr("user only")));
    EXPECT_THAT(run({"--fips", "off", "explain", "Telephony_P2P_Enabled"}).out,
                HasSubstr("The user overrides the administrator's \"true\", from corvid-config-defaults.xml.\n"));
}

TEST_F(Tool, ExplainTellsTheKeyThatWasMeant) {
    EXPECT_THAT(run({"explain", "DockedWindw"}).out,
                HasSubstr("DockedWindw is not defined: no store holds it.\nDid you mean DockedWindow?\n"));
}
