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
    EXPECT_EQ(asJson({"stores"}), expected);
}

TEST_F(Tool, StoresShowsCachedCopiesOfRemoteStores) {
    writeConfig("corvidLocalConfig.xml", localFile({{"PrimaryConfigStores", "TFTPConfigStore:240;"}}));
    writeConfig("Cache/cachedTFTPConfigStore.xml", "<Corvid><CachedConfig><a>1</a><b>2</b></CachedConfig></Corvid>");
    const json cached = asJson({"stores"}).at(2);
    EXPECT_EQ(cached.at("name"), "cachedTFTPConfigStore.xml");
    EXPECT_EQ(cached.at("priority"), 240);
    EXPECT_EQ(cached.at("keys"), 2);
}

TEST_F(Tool, StoresPrintsAnAlignedTable) {
    EXPECT_EQ(run({"stores"}).out, "  PRIORITY  STORE                       ACCESS     SCOPE    KEYS\n"
                                   "        10  TftpOverrideConfigStore     read-only  profile     2\n"
                                   "        20  LocalFileConfigStore        writable   profile     3\n"
                                   "       499  UrlProvisioningConfigStore  read-only  local       0\n"
                                   "       500  BootstrapConfigStore        read-only  local       2\n"
                                   "       600  InMemoryConfigStore         writable   local       0\n"
                                   "2147483647  corvid-config-defaults.xml  read-only  local       2\n");
}
