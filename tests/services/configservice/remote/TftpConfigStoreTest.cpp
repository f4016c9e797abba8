#include "remote/TftpConfigStore.h"

#include "AdapterFixture.h"
#include "fakes/ScriptedFeatureSet.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class RemoteStore : public AdapterFixture {
protected:
    std::shared_ptr<TftpConfigStore> make() {
        return std::make_shared<TftpConfigStore>(factory, "TFTPConfigStore", 40, L"one", L"two", L"three", L"file.xml");
    }

    std::shared_ptr<fakes::ScriptedFeatureSet> registerFeatureSet() {
        const auto featureSet = std::make_shared<fakes::ScriptedFeatureSet>();
        factory->setFeatureSetAdapter<ConfigFeatureSet>(CONFIG_SERVICE_ID, featureSet);
        return featureSet;
    }

    std::vector<std::string> lines(int level) const {
        std::vector<std::string> texts;
        for (const auto& line : log->lines()) {
            if (line.logger == "TftpConfigStore" && line.level == level) {
                texts.push_back(line.function + ": " + line.text);
            }
        }
        return texts;
    }
};

const std::string NOT_FINISHED =
    "getValue: TftpConfigStore::getValue() currentQueryState is not FINISHED - Current State: 0";

}  // namespace

TEST_F(RemoteStore, GivesItsConstantAnswers) {
    const auto store = make();
    EXPECT_EQ(store->getName(), "TFTPConfigStore");
    EXPECT_EQ(store->getPriority(), 40);
    EXPECT_EQ(store->getCachedPriority(), 240);
    EXPECT_TRUE(store->isReadOnly());
    EXPECT_FALSE(store->isLocal());
    EXPECT_TRUE(store->shouldCacheConfigStore());
    EXPECT_FALSE(store->isTftpConfigured());
}

TEST_F(RemoteStore, RemovesTheCopyOfAnEarlierVersion) {
    write("config/corvid-config.xml", "old");
    make();
    EXPECT_FALSE(world.directory().exists("config/corvid-config.xml"));
    EXPECT_THAT(lines(4), ElementsAre("removeLegacyTftpCachedFile: Removing file cached file : [" +
                                      world.configDirectory() + "/corvid-config.xml]"));
}

TEST_F(RemoteStore, SaysThatThereIsNoCopyOfAnEarlierVersion) {
    make();
    EXPECT_THAT(lines(4), ElementsAre("removeLegacyTftpCachedFile: Failed to remove legacy cached file: [" +
                                      world.configDirectory() + "/corvid-config.xml] file does not exist"));
}

TEST_F(RemoteStore, AnswersBeforeADownloadWithALine) {
    const auto store = make();
    log->clear();
    std::wstring value = L"before";
    EXPECT_FALSE(store->getValue(L"key", value));
    EXPECT_EQ(value, L"");
    EXPECT_THAT(lines(4), ElementsAre(NOT_FINISHED));
}

TEST_F(RemoteStore, HoldsWhatIsStoredWithoutRegardToCase) {
    const auto store = make();
    EXPECT_TRUE(store->storeValue(L"Key", L"value"));
    EXPECT_TRUE(store->storeValue(L"a", L""));
    std::wstring value;
    EXPECT_TRUE(store->getValue(L"kEY", value));
    EXPECT_EQ(value, L"value");
    EXPECT_TRUE(store->getValue(L"a", value));
    EXPECT_EQ(value, L"");
    EXPECT_THAT(store->getKeys(), ElementsAre(L"a", L"Key"));
}

TEST_F(RemoteStore, RemovesAKey) {
    const auto store = make();
    store->storeValue(L"key", L"value");
    EXPECT_TRUE(store->removeValue(L"KEY"));
    EXPECT_FALSE(store->removeValue(L"key"));
    EXPECT_THAT(store->getKeys(), IsEmpty());
}

TEST_F(RemoteStore, NeverAnswersForTheCheckOfCertificates) {
    const auto store = make();
    store->storeValue(L"CertificateValidationEnabled", L"false");
    std::wstring value = L"before";
    EXPECT_FALSE(store->getValue(L"certificatevalidationenabled", value));
    EXPECT_EQ(value, L"");
    EXPECT_THAT(store->getKeys(), ElementsAre(L"CertificateValidationEnabled"));
}

TEST_F(RemoteStore, ReadsPeerToPeerCallingAsOffInFipsMode) {
    const auto store = make();
    std::wstring value;
    world.setFips(true);
    EXPECT_FALSE(store->getValue(L"telephony_p2p_enabled", value));
    store->storeValue(L"Telephony_P2P_Enabled", L"true");
    EXPECT_TRUE(store->getValue(L"telephony_p2p_enabled", value));
    EXPECT_EQ(value, L"false");
}

TEST_F(RemoteStore, KeepsItsValuesOnRemoveAll) {
    const auto store = make();
    store->storeValue(L"key", L"value");
    store->removeAllValues();
    EXPECT_THAT(store->getKeys(), ElementsAre(L"key"));
    EXPECT_THAT(lines(3), ElementsAre("removeAllValues: TftpConfigStore::removeAllValues() should not be called on "
                                      "read only store"));
}

TEST_F(RemoteStore, PersistsNothing) {
    const auto store = make();
    store->persistValues();
    EXPECT_TRUE(std::filesystem::is_empty(world.configDirectory()));
    EXPECT_THAT(lines(3), ElementsAre("persistValues: TftpConfigStore::persistValues() ignoring for TftpConfigStore"));
}

TEST_F(RemoteStore, KeepsItsValuesOnDestroy) {
    const auto store = make();
    store->storeValue(L"key", L"value");
    store->destroy();
    EXPECT_THAT(store->getKeys(), ElementsAre(L"key"));
}

TEST_F(RemoteStore, ForgetsItsAddresses) {
    const auto store = make();
    EXPECT_EQ(store->lastServerDetails(), (TftpServerDetails{L"one", L"two", L"three", L"file.xml"}));
    store->storeValue(L"key", L"value");
    store->clearCachedAddresses();
    EXPECT_EQ(store->lastServerDetails(), TftpServerDetails());
    EXPECT_THAT(store->getKeys(), ElementsAre(L"key"));
}

TEST_F(RemoteStore, IgnoresNullAndUnknownObservers) {
    inject();
    const auto store = make();
    store->addObserver(nullptr);
    store->removeObserver(nullptr);
    store->removeObserver(adapter().get());
    EXPECT_EQ(store.use_count(), 1);
}

TEST_F(RemoteStore, AsksTheWholeChainForAnotherComponent) {
    const auto featureSet = registerFeatureSet();
    featureSet->holdValue(L"key", L"value");
    std::wstring value;
    std::wstring storeName;
    EXPECT_TRUE(make()->getConfigStoreValue(L"key", value, storeName, true));
    EXPECT_EQ(value, L"value");
    EXPECT_EQ(storeName, L"ScriptedStore");
}

TEST_F(RemoteStore, TakesAnEmptyValueOfTheChainAsNone) {
    const auto featureSet = registerFeatureSet();
    featureSet->holdValue(L"key", L"");
    std::wstring value;
    std::wstring storeName;
    EXPECT_FALSE(make()->getConfigStoreValue(L"key", value, storeName, false));
}

TEST_F(RemoteStore, AsksNobodyWithoutAFeatureSet) {
    std::wstring value = L"before";
    std::wstring storeName;
    EXPECT_FALSE(make()->getConfigStoreValue(L"key", value, storeName, false));
    make()->setSensitiveKeys({L"key"});
}

TEST_F(RemoteStore, MarksSensitiveKeysInTheFeatureSet) {
    const auto featureSet = registerFeatureSet();
    make()->setSensitiveKeys({L"b", L"A"});
    using Call = fakes::ScriptedFeatureSet::Call;
    EXPECT_THAT(featureSet->calls(), ElementsAre(Call{"setKeySensitive", {L"A"}}, Call{"setKeySensitive", {L"b"}}));
}

TEST_F(RemoteStore, LogsItsValuesWithTheSensitiveOnesMasked) {
    inject();
    adapter()->setKeySensitive(L"known");
    const auto store = make();
    store->storeValue(L"a", L"1");
    store->storeValue(L"known", L"secret");
    store->storeValue(L"told", L"secret");
    log->clear();
    store->logConfigMap({L"TOLD"});
    EXPECT_THAT(lines(4), ElementsAre("logConfigMap: \na: 1\nknown: VALUE_HIDDEN\ntold: VALUE_HIDDEN"));
}

TEST_F(RemoteStore, LogsWithoutAFeatureSet) {
    const auto store = make();
    store->storeValue(L"a", L"1");
    log->clear();
    store->logConfigMap({});
    EXPECT_THAT(lines(4), ElementsAre("logConfigMap: \na: 1"));
}
