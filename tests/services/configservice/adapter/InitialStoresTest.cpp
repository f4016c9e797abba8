#include "AdapterFixture.h"
#include "ConfigValueObserver.h"

using testing::ElementsAre;

namespace {

class InitialStores : public AdapterFixture {
protected:
    /// Gives every backing file a key of its own.
    void writeAllFiles() {
        writeOverride({{"ovr", "o"}});
        writeLocal({{"loc", "l"}, {"PrimaryConfigStores", "Server:230;"}});
        writeCache("cachedServer.xml", {{"srv", "s"}});
        writeCache("cachedUrlProvisioningConfigStore.xml", {{"url", "u"}});
        writeBootstrap("boot:b\n");
        writeDefaults({{"def", "d"}});
    }
};

struct Row {
    std::int32_t priority;
    std::string name;
    bool isLocal;
    bool isReadOnly;
    std::wstring key;  ///< what only this store's backing file holds
};

class StoreTable : public InitialStores, public testing::WithParamInterface<Row> {};

/// Writes down each first change of a key.
class NamedObserver : public ConfigValueObserver {
public:
    NamedObserver(std::string name, std::vector<std::string>& heard) : name_(std::move(name)), heard_(heard) {}
    void OnValueChanged() override { heard_.push_back(name_); }

private:
    const std::string name_;
    std::vector<std::string>& heard_;
};

}  // namespace

TEST_P(StoreTable, HoldsThisRow) {
    writeAllFiles();
    inject();
    const auto store = storeNamed(GetParam().name);
    ASSERT_NE(store, nullptr);
    EXPECT_EQ(store->getPriority(), GetParam().priority);
    EXPECT_EQ(store->isLocal(), GetParam().isLocal);
    EXPECT_EQ(store->isReadOnly(), GetParam().isReadOnly);
    std::wstring value;
    EXPECT_TRUE(GetParam().key.empty() || store->getValue(GetParam().key, value));
}

INSTANTIATE_TEST_SUITE_P(Rows, StoreTable,
                         testing::Values(Row{10, "TftpOverrideConfigStore", false, true, L"ovr"},
                                         Row{20, "LocalFileConfigStore", false, false, L"loc"},
                                         Row{230, "cachedServer.xml", true, true, L"srv"},
                                         Row{499, "UrlProvisioningConfigStore", true, true, L"url"},
                                         Row{500, "BootstrapConfigStore", true, true, L"boot"},
                                         Row{600, "InMemoryConfigStore", true, false, L""},
                                         Row{2147483647, "corvid-config-defaults.xml", true, true, L"def"}),
                         [](const auto& row) { return "At" + std::to_string(row.param.priority); });

TEST_F(InitialStores, StandInTheOrderOfTheirPriorities) {
    writeAllFiles();
    inject();
    EXPECT_THAT(chain(), ElementsAre("TftpOverrideConfigStore", "LocalFileConfigStore", "cachedServer.xml",
                                     "UrlProvisioningConfigStore", "BootstrapConfigStore", "InMemoryConfigStore",
                                     "corvid-config-defaults.xml"));
}

TEST_F(InitialStores, AreAllThereAndEmptyWithoutAnyFile) {
    inject();
    EXPECT_THAT(chain(), ElementsAre("TftpOverrideConfigStore", "LocalFileConfigStore", "UrlProvisioningConfigStore",
                                     "BootstrapConfigStore", "InMemoryConfigStore", "corvid-config-defaults.xml"));
    for (const auto& store : manager()->getStores()) {
        EXPECT_TRUE(store->getKeys().empty()) << store->getName();
    }
    EXPECT_EQ(get(L"key"), L"<none>");
}

TEST_F(InitialStores, AskForTheDefaultsFileWithTheSeparatorTwice) {
    inject();
    EXPECT_EQ(log->count(3, "Read config FAILED, config file doesn't exist: " + world.installationDirectory() +
                                "//corvid-config-defaults.xml"),
              1U);
}

TEST_F(InitialStores, AreBuiltByTheConstructorInOrder) {
    writeAllFiles();
    const auto firstService = std::make_shared<ConfigServiceImpl>(factory);
    factory->setService<ConfigService>(CONFIG_SERVICE_ID, firstService);
    std::vector<std::string> heard;
    std::vector<std::shared_ptr<ConfigValue>> values;
    std::vector<std::shared_ptr<NamedObserver>> observers;
    for (const std::string key : {"def", "url", "srv", "boot", "ovr", "loc"}) {
        values.push_back(firstService->getConfig(std::wstring(key.begin(), key.end())));
        observers.push_back(std::make_shared<NamedObserver>(key, heard));
        values.back()->addObserver(std::weak_ptr<ConfigValueObserver>(observers.back()));
    }
    const auto made = std::make_shared<ConfigAdapter>(factory);
    EXPECT_THAT(heard, ElementsAre("loc", "ovr", "boot", "srv", "url", "def"));
}

TEST_F(InitialStores, OfTheStartAreBuiltInOrder) {
    writeAllFiles();
    inject();
    adapter()->setInMemoryConfig(L"mem", L"m");
    writeLocal({{"loc", "l"}});
    observe();
    start();
    EXPECT_THAT(observer.course(), ElementsAre("mem-", "primaryconfigstores-", "~loc=l", "loc!", "~ovr=o", "ovr!"));
}

TEST_F(InitialStores, OfTheRefreshAreBuiltInOrder) {
    writeAllFiles();
    inject();
    adapter()->setInMemoryConfig(L"mem", L"m");
    observe();
    adapter()->refreshConfigFeatureSet();
    EXPECT_THAT(observer.course(),
                ElementsAre("~loc-", "~primaryconfigstores-", "loc!", "primaryconfigstores!", "~ovr-", "ovr!", "mem-",
                            "~loc=l", "~primaryconfigstores=Server:230;", "loc!", "primaryconfigstores!", "~ovr=o",
                            "ovr!", "~srv=s", "srv!", "~url=u", "url!"));
}

TEST_F(InitialStores, AnswerFromTheFirstOfOverrideLocalAndDefaults) {
    writeOverride({{"key", "override"}, {"a", "override"}});
    writeLocal({{"key", "local"}, {"b", "local"}});
    writeDefaults({{"key", "default"}, {"a", "default"}, {"b", "default"}, {"c", "default"}});
    writeBootstrap("key:bootstrap\nb:bootstrap\nd:bootstrap\n");
    inject();
    EXPECT_EQ(get(L"key"), L"override");
    EXPECT_EQ(get(L"a"), L"override");
    EXPECT_EQ(get(L"b"), L"local");
    EXPECT_EQ(get(L"c"), L"default");
    EXPECT_EQ(get(L"d"), L"bootstrap");
}

TEST_F(InitialStores, LetMemoryOverruleOnlyTheDefaults) {
    writeBootstrap("boot:bootstrap\n");
    writeDefaults({{"boot", "default"}, {"def", "default"}});
    inject();
    adapter()->setInMemoryConfig(L"boot", L"memory");
    adapter()->setInMemoryConfig(L"def", L"memory");
    EXPECT_EQ(get(L"boot"), L"bootstrap");
    EXPECT_EQ(get(L"def"), L"memory");
}

TEST_F(InitialStores, TakeUserValuesInTheLocalFile) {
    writeOverride({{"key", "override"}});
    inject();
    adapter()->setConfig(L"key", L"user's");
    EXPECT_EQ(get(L"key"), L"override");
    tasks->runAll();
    EXPECT_THAT(read("config/corvidLocalConfig.xml"), testing::HasSubstr("name=\"key\" value=\"user's\""));
}

TEST_F(InitialStores, ErasePhoneServersThatThePolicyForbids) {
    writeBootstrap("Customize_Phone_Server:FALSE\n");
    writeLocal({{"TFTPPrimaryServer", "a"}, {"CtiServer1", "b"}, {"HubcipServer1", "c"}, {"TFTPBackupServer1", "d"}});
    inject();
    EXPECT_EQ(get(L"TFTPPrimaryServer"), L"<none>");
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
    EXPECT_EQ(get(L"HubcipServer1"), L"<none>");
    EXPECT_EQ(get(L"TFTPBackupServer1"), L"d");
    EXPECT_EQ(get(L"Customize_Phone_Server"), L"FALSE");
}

TEST_F(InitialStores, EraseNoServerForAPolicyWithATrailingBlank) {
    inject();
    adapter()->setConfig({{L"Customize_Phone_Server", L"false "}, {L"CtiServer1", L"b"}});
    start();
    EXPECT_EQ(get(L"CtiServer1"), L"b");
}

TEST_F(InitialStores, EraseNoServerWithoutAPolicy) {
    writeLocal({{"CtiServer1", "b"}, {"VoicemailPrimaryServer", "v"}});
    injectAndStart();
    EXPECT_EQ(get(L"CtiServer1"), L"b");
    EXPECT_EQ(get(L"VoicemailPrimaryServer"), L"v");
}

TEST_F(InitialStores, EraseTheVoicemailServerThatThePolicyForbids) {
    writeBootstrap("Customize_Voicemail_Server:false\n");
    writeLocal({{"CtiServer1", "b"}, {"VoicemailPrimaryServer", "v"}});
    inject();
    EXPECT_EQ(get(L"VoicemailPrimaryServer"), L"<none>");
    EXPECT_EQ(get(L"CtiServer1"), L"b");
}

TEST_F(InitialStores, KeepAServerThatAReadOnlyStoreHolds) {
    writeBootstrap("Customize_Phone_Server:false\nCtiServer1:admin's\n");
    writeLocal({{"CtiServer1", "user's"}});
    inject();
    EXPECT_EQ(get(L"CtiServer1"), L"admin's");
}

TEST_F(InitialStores, ApplyAPolicyThatArrivesWithAnAddedStore) {
    injectAndStart();
    adapter()->setConfig(L"CtiServer1", L"user's");
    const auto store = std::make_shared<fakes::ScriptedStore>("Outside", 30);
    store->readOnly().with(L"Customize_Phone_Server", L"false");
    adapter()->addConfigStore(store);
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
}

TEST_F(InitialStores, KeepTheUsersServerIfTheUsersOwnFileOverrulesThePolicy) {
    writeBootstrap("Customize_Phone_Server:false\n");
    writeLocal({{"Customize_Phone_Server", "true"}, {"CtiServer1", "user's"}});
    inject();
    EXPECT_EQ(get(L"CtiServer1"), L"user's");
}

TEST_F(InitialStores, EraseServersByAPolicyInTheOverrideFileWhateverTheUserSays) {
    writeOverride({{"Customize_Phone_Server", "false"}});
    writeLocal({{"Customize_Phone_Server", "true"}, {"CtiServer1", "user's"}});
    inject();
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
}

TEST_F(InitialStores, EraseServersByAPolicyInTheUsersOwnFile) {
    writeLocal({{"Customize_Phone_Server", "False"}, {"CtiServer1", "user's"}});
    inject();
    EXPECT_EQ(get(L"CtiServer1"), L"<none>");
    EXPECT_EQ(storeOf(L"Customize_Phone_Server"), L"LocalFileConfigStore");
}
