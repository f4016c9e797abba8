#include "explaining/Explainer.h"

#include "chain/ConfigStoreManager.h"
#include "fakes/ScriptedStore.h"
#include "fakes/TemporaryDirectory.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A chain of scripted stores under the names of the real ones, and files of the test's own.
class ExplainerTest : public ::testing::Test {
protected:
    fakes::ScriptedStore& add(const std::string& name, std::int32_t priority) {
        const auto store = std::make_shared<fakes::ScriptedStore>(name, priority);
        stores_.push_back(store);
        return *store;
    }

    fakes::ScriptedStore& addOverride() { return add("TftpOverrideConfigStore", 10).readOnly(); }
    fakes::ScriptedStore& addLocal() { return add("LocalFileConfigStore", 20); }
    fakes::ScriptedStore& addDefaults() { return add("corvid-config-defaults.xml", 1000).readOnly(); }

    /// Puts the stores into the chain, reads the files, and looks.
    template <class Look>
    auto look(const Look& look, bool reveal = false) {
        for (const auto& store : stores_) {
            chain_.addStore(store);
        }
        StoreSources sources(
            {directory_.path("config"), directory_.path("install"), directory_.path("install/bootstrap.properties")});
        const ChainReader reader(chain_, reveal);
        return look(Explainer(chain_, reader, sources, reveal), reader);
    }

    Explanation explain(const std::wstring& key, bool reveal = false) {
        return look([&key](const Explainer& explainer, const ChainReader&) { return explainer.explain(key); }, reveal);
    }

    std::vector<std::string> sharedKeys(const std::vector<std::string>& globs = {}) {
        return look([&globs](const Explainer& explainer, const ChainReader& reader) {
            std::vector<std::string> keys;
            for (const Explanation& key : explainer.explainShared(KeySelection(globs, reader))) {
                keys.push_back(key.value.key);
            }
            return keys;
        });
    }

    ConfigStoreManager chain_{nullptr};
    fakes::TemporaryDirectory directory_;
    std::vector<std::shared_ptr<fakes::ScriptedStore>> stores_;
};

std::vector<std::string> statesOf(const Explanation& key) {
    std::vector<std::string> states;
    for (const KeyLayer& layer : key.layers) {
        states.emplace_back(nameOf(layer.state));
    }
    return states;
}

}  // namespace

TEST_F(ExplainerTest, TellsThePartOfEachStore) {
    addOverride();
    addLocal().with(L"Key", L"mine");
    addDefaults().with(L"Key", L"theirs");
    const Explanation key = explain(L"Key");
    EXPECT_THAT(statesOf(key), ElementsAre("absent", "wins", "shadowed"));
    EXPECT_EQ(key.layers[1].value, "mine");
    EXPECT_EQ(key.layers[2].value, "theirs");
    EXPECT_EQ(key.alias, "");
    EXPECT_THAT(key.rules, IsEmpty());
}

TEST_F(ExplainerTest, TellsTheFileAndTheLineOfEachStore) {
    directory_.write("config/corvidLocalConfig.xml", "<Corvid>\n<userConfig name='key' value='mine'/></Corvid>");
    addOverride();
    addLocal().with(L"Key", L"mine");
    const Explanation key = explain(L"KEY");
    EXPECT_EQ(key.layers[1].origin.shownFile, "corvidLocalConfig.xml");
    ASSERT_TRUE(key.layers[1].inFile);
    EXPECT_EQ(key.layers[1].inFile->line, 2);
    EXPECT_FALSE(key.layers[0].inFile);
    EXPECT_TRUE(key.layers[0].origin.isMissing);
}

TEST_F(ExplainerTest, TellsAStoreThatFailedToLoad) {
    directory_.write("config/corvid-config-user.xml", "<broken>");
    addOverride();
    addLocal();
    EXPECT_THAT(statesOf(explain(L"Key")), ElementsAre("failed", "absent"));
}

TEST_F(ExplainerTest, LetsAStoreWinThatHasValuesAlthoughItsFileFailed) {
    directory_.write("config/corvidLocalConfig.xml", "<broken>");
    addLocal().with(L"Key", L"stored since");
    EXPECT_THAT(statesOf(explain(L"Key")), ElementsAre("wins"));
}

TEST_F(ExplainerTest, TellsTheCertificateKeyThatAStoreHasAndNeverGives) {
    /// As a store of a document answers.
    class DocumentStore : public fakes::ScriptedStore {
    public:
        using fakes::ScriptedStore::ScriptedStore;
        bool getValue(const std::wstring&, std::wstring& value) override {
            value.clear();
            return false;
        }
    };
    const auto document = std::make_shared<DocumentStore>("TftpOverrideConfigStore", 10);
    document->with(L"certificatevalidationenabled", L"false");
    stores_.push_back(document);
    addLocal();
    EXPECT_THAT(statesOf(explain(L"CertificateValidationEnabled")), ElementsAre("ignored", "absent"));
    EXPECT_THAT(statesOf(explain(L"Other")), ElementsAre("absent", "absent"));
}

TEST_F(ExplainerTest, FollowsAnAliasFromEitherName) {
    addLocal().with(L"TftpServer1", L"old");
    EXPECT_EQ(explain(L"TFTPPrimaryServer").alias, "TftpServer1");
    EXPECT_EQ(explain(L"tftpserver1").alias, "TftpServer1");
    EXPECT_THAT(statesOf(explain(L"TFTPPrimaryServer")), ElementsAre("absent", "wins"));
}

TEST_F(ExplainerTest, FollowsNoAliasOfACurrentNameThatIsFound) {
    addLocal().with(L"TFTPPrimaryServer", L"new");
    EXPECT_EQ(explain(L"TFTPPrimaryServer").alias, "");
    EXPECT_EQ(explain(L"TftpServer1").alias, "TftpServer1");
}

TEST_F(ExplainerTest, FindsWhoHoldsAnOldNameInVain) {
    directory_.write("config/corvidLocalConfig.xml", "<Corvid><userConfig name='TftpServer1' value='x'/></Corvid>");
    addLocal().with(L"TftpServer1", L"mine");
    addDefaults().with(L"TFTPPrimaryServer", L"theirs");
    const Explanation key = explain(L"TFTPPrimaryServer");
    EXPECT_EQ(key.value.value, "theirs");
    ASSERT_EQ(key.heldUnderOldName.size(), 1U);
    EXPECT_EQ(key.heldUnderOldName[0].store, "LocalFileConfigStore");
    EXPECT_EQ(key.heldUnderOldName[0].file, "corvidLocalConfig.xml");
    EXPECT_EQ(key.heldUnderOldName[0].line, 1);
}

TEST_F(ExplainerTest, LetsNoValueWaitBehindItself) {
    addLocal().with(L"TFTPPrimaryServer", L"mine");
    addDefaults().with(L"TftpServer1", L"theirs");
    const Explanation key = explain(L"TFTPPrimaryServer");
    EXPECT_EQ(key.value.valueStoreName, "LocalFileConfigStore");
    EXPECT_FALSE(key.value.isOverridden);
    EXPECT_FALSE(key.value.shadowsUser);
}

TEST_F(ExplainerTest, LetsTheUsersValueWaitBehindAnAdministratorsStore) {
    addOverride().with(L"Key", L"theirs");
    addLocal().with(L"Key", L"mine");
    EXPECT_TRUE(explain(L"Key").value.shadowsUser);
}

TEST_F(ExplainerTest, FindsTheKeyThatWasMeant) {
    addLocal().with(L"PaneOrder", L"1").with(L"Pane2", L"1");
    EXPECT_EQ(explain(L"PaneOrdr").meant, "PaneOrder");
    EXPECT_EQ(explain(L"TFTPPrimarySrver").meant, "TFTPPrimaryServer");
    EXPECT_EQ(explain(L"PaneOrder").meant, "");
    EXPECT_EQ(explain(L"Pane3").meant, "");
    EXPECT_EQ(explain(L"SomethingElse").meant, "");
}

TEST_F(ExplainerTest, FindsWhereAFileHasTheKeyOutsideAnyGroup) {
    directory_.write("config/corvid-config-user.xml", "<c>\n<PaneOrder>1</PaneOrder>\n<g><Other>1</Other></g></c>");
    addOverride();
    const Explanation key = explain(L"paneorder");
    ASSERT_EQ(key.lost.size(), 1U);
    EXPECT_EQ(key.lost[0].file, "corvid-config-user.xml");
    EXPECT_EQ(key.lost[0].line, 2);
    EXPECT_THAT(explain(L"Other").lost, IsEmpty());
}

TEST_F(ExplainerTest, FindsThePolicyAndWhatItHasErased) {
    directory_.write("config/corvidLocalConfig.xml", "<Corvid>\n<userConfig name='CtiServer1' value='mine'/></Corvid>");
    addOverride().with(L"Customize_Phone_Server", L"FALSE");
    addLocal();
    const Explanation key = explain(L"CTIPrimaryServer");
    ASSERT_TRUE(key.policy);
    EXPECT_EQ(key.policy->key, "Customize_Phone_Server");
    EXPECT_EQ(key.policy->store, "TftpOverrideConfigStore");
    ASSERT_EQ(key.policy->erased.size(), 1U);
    EXPECT_EQ(key.policy->erased[0].line, 2);
    EXPECT_TRUE(explain(L"HubcipServer1").policy);
    EXPECT_FALSE(explain(L"TFTPBackupServer1").policy);
    EXPECT_FALSE(explain(L"VoicemailPrimaryServer").policy);
}

TEST_F(ExplainerTest, FindsNoPolicyThatAllows) {
    addOverride().with(L"Customize_Voicemail_Server", L"0");
    EXPECT_FALSE(explain(L"VoicemailPrimaryServer").policy);
}

TEST_F(ExplainerTest, FindsKeptCopiesThatTheChainDoesNotRead) {
    directory_.write("config/Cache/cachedTFTPConfigStore.xml", "<r><g>\n<Key>1</Key></g></r>");
    addLocal();
    const Explanation key = explain(L"Key");
    ASSERT_EQ(key.unreadCopies.size(), 1U);
    EXPECT_EQ(key.unreadCopies[0].file, "Cache/cachedTFTPConfigStore.xml");
    EXPECT_EQ(key.unreadCopies[0].line, 2);
    EXPECT_THAT(explain(L"Other").unreadCopies, IsEmpty());
}

TEST_F(ExplainerTest, CallsNoCopyUnreadWhoseStoreIsThere) {
    directory_.write("config/Cache/cachedTFTPConfigStore.xml", "<r><g><Key>1</Key></g></r>");
    add("TFTPConfigStore", 40).readOnly();
    EXPECT_THAT(explain(L"Key").unreadCopies, IsEmpty());
}

TEST_F(ExplainerTest, HidesSensitiveValues) {
    addLocal().with(L"Secret", L"s3cret");
    chain_.setKeySensitive(L"secret");
    const Explanation key = explain(L"Secret");
    EXPECT_TRUE(key.isHidden);
    EXPECT_EQ(key.value.value, "VALUE_HIDDEN");
    EXPECT_EQ(key.layers[0].value, "VALUE_HIDDEN");
    EXPECT_FALSE(explain(L"Secret", true).isHidden);
    EXPECT_EQ(explain(L"Secret", true).layers[0].value, "s3cret");
}

TEST_F(ExplainerTest, HidesValuesOfAKeyWhoseOldNameAloneIsSensitive) {
    addLocal().with(L"TFTPPrimaryServer", L"s3cret").with(L"TftpServer1", L"0ld");
    chain_.setKeySensitive(L"TftpServer1");
    const Explanation key = explain(L"TFTPPrimaryServer");
    EXPECT_TRUE(key.isHidden);
    EXPECT_EQ(key.value.value, "VALUE_HIDDEN");
    EXPECT_EQ(key.value.originalValue, "");
    EXPECT_EQ(key.layers[0].value, "VALUE_HIDDEN");
}

TEST_F(ExplainerTest, ClaimsNothingHiddenOfASensitiveKeyWithoutAValue) {
    addLocal();
    chain_.setKeySensitive(L"Secret");
    EXPECT_FALSE(explain(L"Secret").isHidden);
}

TEST_F(ExplainerTest, TellsTheKeysThatMoreThanOneStoreHolds) {
    addLocal().with(L"Both", L"1").with(L"Mine", L"1").with(L"TftpServer1", L"old").with(L"Bother", L"1");
    addDefaults().with(L"both", L"2").with(L"Theirs", L"2").with(L"TFTPPrimaryServer", L"2").with(L"Bother", L"2");
    EXPECT_THAT(sharedKeys(), ElementsAre("Both", "Bother", "TFTPPrimaryServer"));
    EXPECT_THAT(sharedKeys({"both*"}), ElementsAre("Both", "Bother"));
    EXPECT_THAT(sharedKeys({"both", "tftpserver1"}), ElementsAre("Both", "TFTPPrimaryServer"));
    EXPECT_THAT(sharedKeys({"Mine"}), IsEmpty());
}

TEST_F(ExplainerTest, DoesNotCountAStoreTwiceThatHoldsBothNames) {
    addLocal().with(L"TftpServer1", L"old").with(L"TFTPPrimaryServer", L"new");
    EXPECT_THAT(sharedKeys(), IsEmpty());
}

TEST_F(ExplainerTest, ReportsTheStoresAndWhatTheyWin) {
    directory_.write("config/corvidLocalConfig.xml", "<Corvid><userConfig name='A' value='1'/></Corvid>");
    directory_.write("config/corvid-config-user.xml", "<broken>");
    addOverride();
    addLocal().with(L"A", L"1").with(L"B", L"1");
    add("InMemoryConfigStore", 600);
    addDefaults().with(L"A", L"2").with(L"B", L"2").with(L"C", L"2");
    const std::vector<StoreReport> stores =
        look([](const Explainer& explainer, const ChainReader&) { return explainer.stores(); });
    ASSERT_EQ(stores.size(), 4U);
    EXPECT_EQ(stores[0].state, StoreState::Failed);
    EXPECT_EQ(stores[1].state, StoreState::Loaded);
    EXPECT_EQ(stores[1].keys, 2U);
    EXPECT_EQ(stores[1].wins, 2U);
    EXPECT_EQ(stores[1].origin.shownFile, "corvidLocalConfig.xml");
    EXPECT_EQ(stores[2].state, StoreState::Empty);
    EXPECT_EQ(stores[3].wins, 1U);
    EXPECT_EQ(stores[3].keys, 3U);
}
