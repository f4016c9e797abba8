#include "Tool.h"

using nlohmann::json;

TEST_F(Tool, StoresGivesTheChainInOrder) {
    const json expected = json::parse(R"([
        {"name": "TftpOverrideConfigStore", "priority": 10, "isReadOnly": true, "isLocal": false, "keys": 2},
        {"name": "LocalFileConfigStore", "priority": 20, "isReadOnly": false, "isLocal": false, "keys": 3},
        {"name": "UrlProvisioningConfigStore", "priority": 499, "isReadOnly": true, "isLocal": true, "keys": 0},
        {"name": "BootstrapConfigStore", "priority": 500, "isReadOnly": true, "isLocal": true, "keys": 2},
        {"name": "InMemoryConfigStore", "priority": 600, "isReadOnly": false, "isLocal": true, "keys": 0},
        {"name": "corvid-config-defaults.xml", "priority": 2147483647, "isReadOnly": true, "isLocal": true, "keys": 2}
    ])");
    json stores = asJson({"stores"});
    for (json& store : stores) {
        for (const char* const addition : {"state", "wins", "file", "url", "time", "isCached", "problem"}) {
            EXPECT_EQ(store.erase(addition), 1U) << addition;
        }
    }
    EXPECT_EQ(stores, expected);
}

TEST_F(Tool, StoresShowsCachedCopiesOfRemoteStores) {
    writeConfig("corvidLocalConfig.xml", localFile({{"PrimaryConfigStores", "TFTPConfigStore:240;"}}));
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<Corvid><CachedConfig><a>1</a><b>2</b></CachedConfig></Corvid>");
    const json cached = asJson({"stores"}).at(2);
    EXPECT_EQ(cached.at("name"), "cachedTFTPConfigStore.xml");
    EXPECT_EQ(cached.at("priority"), 240);
    EXPECT_EQ(cached.at("keys"), 2);
}

TEST_F(Tool, StoresTellsWhereValuesComeFromAndWhatTheyWin) {
    writeConfig("corvid-config-user.xml", "<broken>");
    const json stores = asJson({"stores"});
    const auto answers = [&stores](std::size_t store) {
        const json& one = stores.at(store);
        return json::array({one.at("state"), one.at("wins"), one.at("file")});
    };
    EXPECT_EQ(answers(0), json::array({"failed", 0, directory_.path("config/corvid-config-user.xml")}));
    EXPECT_EQ(answers(1), json::array({"loaded", 3, directory_.path("config/corvidLocalConfig.xml")}));
    EXPECT_EQ(answers(2),
              json::array({"missing", 0, directory_.path("config/Cache/cachedUrlProvisioningConfigStore.xml")}));
    EXPECT_EQ(answers(3), json::array({"loaded", 2, directory_.path("install/bootstrap.properties")}));
    EXPECT_EQ(answers(4), json::array({"empty", 0, nullptr}));
    EXPECT_EQ(answers(5), json::array({"loaded", 1, directory_.path("install/corvid-config-defaults.xml")}));
    EXPECT_THAT(stores.at(0).at("problem"), testing::StartsWith("line 1, column "));
    EXPECT_EQ(stores.at(4).at("time"), nullptr);
}

TEST_F(Tool, StoresPrintsAnAlignedTable) {
    const std::string out = run({"stores"}).out;
    EXPECT_THAT(out, testing::StartsWith("  PRIORITY  STORE                       ACCESS     SCOPE    STATE    KEYS  "
                                         "WINS  WHERE "));
    EXPECT_THAT(out,
                testing::HasSubstr("\n        20  LocalFileConfigStore        writable   profile  loaded      3     2  "
                                   "corvidLocalConfig.xml "));
    EXPECT_THAT(out,
                testing::HasSubstr("\n       600  InMemoryConfigStore         writable   local    empty       0     0  "
                                   "this run\n"));
}
