#include "AdapterFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;

namespace {

class FeatureSetOperations : public AdapterFixture {};

const std::string NOT_STARTED = "Config FeatureSet Not Started";

}  // namespace

TEST_F(FeatureSetOperations, GetConfigBeforeTheStartAnswersAndLogsOneLine) {
    writeDefaults({{"key", "value"}});
    inject();
    log->clear();
    std::wstring value;
    EXPECT_TRUE(adapter()->getConfig(L"key", value, false));
    EXPECT_EQ(value, L"value");
    EXPECT_THAT(adapterLines(2), ElementsAre("getConfig: " + NOT_STARTED));
}

TEST_F(FeatureSetOperations, GetConfigWithTheStoreNameBeforeTheStartDoesTheSame) {
    writeDefaults({{"key", "value"}});
    inject();
    log->clear();
    std::wstring value;
    std::wstring storeName;
    bool usedOtherKeyName = false;
    EXPECT_TRUE(adapter()->getConfig(L"key", value, storeName, usedOtherKeyName, false));
    EXPECT_EQ(storeName, L"corvid-config-defaults.xml");
    EXPECT_FALSE(usedOtherKeyName);
    EXPECT_THAT(adapterLines(2), ElementsAre("getConfig: " + NOT_STARTED));
}

TEST_F(FeatureSetOperations, GetConfigPassesSkipLocalOn) {
    writeDefaults({{"key", "read-only"}});
    injectAndStart();
    adapter()->setConfig(L"key", L"user's");
    std::wstring value;
    EXPECT_TRUE(adapter()->getConfig(L"key", value, true));
    EXPECT_EQ(value, L"read-only");
    EXPECT_TRUE(adapter()->getConfig(L"key", value, false));
    EXPECT_EQ(value, L"user's");
}

TEST_F(FeatureSetOperations, GetConfigKnowsAKeyOfAnyScriptInEitherCase) {
    injectAndStart();
    adapter()->setConfig(L"\u00c4rgernis", L"value");
    std::wstring value;
    EXPECT_TRUE(adapter()->getConfig(L"\u00e4RGERNIS", value, false));
    EXPECT_EQ(value, L"value");
    EXPECT_FALSE(adapter()->getConfig(L"\u00f6rgernis", value, false));
}

TEST_F(FeatureSetOperations, GetConfigTellsThatTheOtherNameAnswered) {
    injectAndStart();
    adapter()->setConfig(L"TftpServer1", L"host");
    std::wstring value;
    std::wstring storeName;
    bool usedOtherKeyName = false;
    EXPECT_TRUE(adapter()->getConfig(L"TFTPPrimaryServer", value, storeName, usedOtherKeyName, false));
    EXPECT_TRUE(usedOtherKeyName);
}

TEST_F(FeatureSetOperations, SetConfigBeforeTheStartStoresAndLogsNothing) {
    inject();
    log->clear();
    EXPECT_TRUE(adapter()->setConfig(L"key", L"value"));
    EXPECT_EQ(get(L"key"), L"value");
    EXPECT_EQ(storeOf(L"key"), L"LocalFileConfigStore");
    EXPECT_THAT(adapterLines(2), IsEmpty());
}

TEST_F(FeatureSetOperations, SetConfigOfAMapBeforeTheStartStoresAndLogsNothing) {
    inject();
    log->clear();
    EXPECT_TRUE(adapter()->setConfig({{L"a", L"1"}, {L"b", L"2"}}));
    EXPECT_EQ(get(L"a"), L"1");
    EXPECT_EQ(get(L"b"), L"2");
    EXPECT_THAT(adapterLines(2), IsEmpty());
}

TEST_F(FeatureSetOperations, SetInMemoryConfigBeforeTheStartStoresAndLogs) {
    inject();
    log->clear();
    EXPECT_TRUE(adapter()->setInMemoryConfig(L"key", L"value"));
    EXPECT_EQ(storeOf(L"key"), L"InMemoryConfigStore");
    EXPECT_THAT(adapterLines(2), ElementsAre("setInMemoryConfig: " + NOT_STARTED));
}

TEST_F(FeatureSetOperations, AddConfigStoreBeforeTheStartLeavesTheChainAndLogs) {
    inject();
    log->clear();
    const std::vector<std::string> before = chain();
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("Outside", 30));
    EXPECT_EQ(chain(), before);
    EXPECT_THAT(adapterLines(2),
                ElementsAre("addConfigStore: Config FeatureSet Not Started, failed to add ConfigStore with name: "
                            "[Outside]"));
}

TEST_F(FeatureSetOperations, RemoveConfigStoreBeforeTheStartIsRefusedAndLogs) {
    inject();
    log->clear();
    EXPECT_FALSE(adapter()->removeConfigStore("BootstrapConfigStore"));
    EXPECT_THAT(chain(), Contains("BootstrapConfigStore"));
    EXPECT_THAT(adapterLines(2),
                ElementsAre("removeConfigStore: Config FeatureSet Not Started, failed to remove ConfigStore with name: "
                            "[BootstrapConfigStore]"));
}

TEST_F(FeatureSetOperations, RemoveAllCachedConfigStoresBeforeTheStartLogsAndGoesOn) {
    writeLocal({{"PrimaryConfigStores", "Server:240;"}});
    writeCache("cachedServer.xml", {{"key", "value"}});
    inject();
    log->clear();
    adapter()->removeAllCachedConfigStores();
    EXPECT_THAT(chain(), Not(Contains("cachedServer.xml")));
    EXPECT_THAT(adapterLines(2), ElementsAre("removeAllCachedConfigStores: Config FeatureSet Not Started, failed to "
                                             "remove cached ConfigStores"));
}

TEST_F(FeatureSetOperations, LogNoSuchLineOnceStarted) {
    injectAndStart();
    log->clear();
    std::wstring value;
    adapter()->getConfig(L"key", value, false);
    adapter()->setInMemoryConfig(L"key", L"value");
    adapter()->removeAllCachedConfigStores();
    adapter()->addConfigStore(std::make_shared<fakes::ScriptedStore>("Outside", 30));
    EXPECT_TRUE(adapter()->removeConfigStore("Outside"));
    EXPECT_FALSE(log->mentions("Not Started"));
}

TEST_F(FeatureSetOperations, AddConfigStoreIgnoresANullStore) {
    injectAndStart();
    const std::vector<std::string> before = chain();
    adapter()->addConfigStore(nullptr);
    EXPECT_EQ(chain(), before);
}

TEST_F(FeatureSetOperations, ResetConfigErasesTheKey) {
    inject();
    adapter()->setConfig(L"key", L"value");
    adapter()->resetConfig(L"KEY");
    EXPECT_EQ(get(L"key"), L"<none>");
}

TEST_F(FeatureSetOperations, SetKeySensitiveIsKnownToTheChainAndToTheService) {
    inject();
    EXPECT_FALSE(adapter()->isKeySensitive(L"secret"));
    adapter()->setKeySensitive(L"secret");
    EXPECT_TRUE(adapter()->isKeySensitive(L"Secret"));
    EXPECT_TRUE(service()->isKeySensitive(L"SECRET"));
}

TEST_F(FeatureSetOperations, SetKeySensitiveOnAnotherThreadReachesTheServiceByTask) {
    inject();
    dispatcher->setUpdateAccess(false);
    adapter()->setKeySensitive(L"secret");
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("ConfigServiceImpl::OnConfigChanged"));
    dispatcher->setUpdateAccess(true);
    EXPECT_FALSE(service()->isKeySensitive(L"secret"));
    dispatcher->runAll();
    EXPECT_TRUE(service()->isKeySensitive(L"secret"));
}

TEST_F(FeatureSetOperations, KnowTheSixSensitiveKeysFromTheStart) {
    inject();
    for (const wchar_t* const key : {L"Addtional_Info", L"connectionpassword", L"connectionusername",
                                     L"BDIConnectionPassword", L"BDIConnectionUsername", L"BDIConnectionUserDn"}) {
        EXPECT_TRUE(adapter()->isKeySensitive(key)) << key;
        EXPECT_TRUE(service()->isKeySensitive(key)) << key;
    }
}

TEST_F(FeatureSetOperations, UrlProvisioningIsRefusedWhenItsKeyReadsFalse) {
    writeOverride({{"allowurlprovisioning", "FALSE"}});
    inject();
    EXPECT_FALSE(adapter()->setUrlProvisioningData(L"corvid://x?ServicesDomain=example.com"));
    EXPECT_EQ(get(L"ServicesDomain"), L"<none>");
}

TEST_F(FeatureSetOperations, UrlProvisioningGoesThroughWhenItsKeyIsAbsent) {
    inject();
    EXPECT_TRUE(adapter()->setUrlProvisioningData(L"corvid://x?ServicesDomain=example.com"));
    EXPECT_EQ(get(L"ServicesDomain"), L"example.com");
    EXPECT_EQ(storeOf(L"ServicesDomain"), L"UrlProvisioningConfigStore");
}

TEST_F(FeatureSetOperations, UrlProvisioningIsNotRefusedByWhatAStoreLeavesOnAMiss) {
    inject();
    const auto careless = std::make_shared<fakes::ScriptedStore>("Careless", 2147483647);
    careless->leavingOnMiss(L"false");
    manager()->addStore(careless);
    EXPECT_TRUE(adapter()->setUrlProvisioningData(L"corvid://x?ServicesDomain=example.com"));
}

TEST_F(FeatureSetOperations, ResetOfUrlProvisioningActsOnlyWhereTheOtherRefuses) {
    inject();
    EXPECT_FALSE(adapter()->resetAllowUriProvisioningData());
    adapter()->setUrlProvisioningData(L"corvid://x?ServicesDomain=example.com");
    EXPECT_EQ(get(L"AllowUrlProvisioning"), L"False");
    EXPECT_FALSE(adapter()->setUrlProvisioningData(L"corvid://x?ServicesDomain=other.com"));
    EXPECT_TRUE(adapter()->resetAllowUriProvisioningData());
    EXPECT_EQ(get(L"AllowUrlProvisioning"), L"<none>");
    EXPECT_FALSE(adapter()->resetAllowUriProvisioningData());
}

TEST_F(FeatureSetOperations, ResetOfUrlProvisioningErasesNothingWhenTheKeyReadsOtherwise) {
    inject();
    adapter()->setConfig(L"AllowUrlProvisioning", L"true");
    EXPECT_FALSE(adapter()->resetAllowUriProvisioningData());
    EXPECT_EQ(get(L"AllowUrlProvisioning"), L"true");
}
