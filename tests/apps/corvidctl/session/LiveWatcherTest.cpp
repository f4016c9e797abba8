#include "session/LiveWatcher.h"

#include <thread>

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "fakes/TemporaryDirectory.h"
#include "session/Session.h"
#include "unified/UnifiedFactory.h"

using namespace corvidctl;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A store that another component of a host adds.
class ServerStore : public ConfigStore {
public:
    explicit ServerStore(std::map<std::wstring, std::wstring> values) : values_(std::move(values)) {}

    bool getValue(const std::wstring& key, std::wstring& value) override {
        const auto found = values_.find(key);
        value = found == values_.end() ? L"" : found->second;
        return found != values_.end();
    }
    bool storeValue(const std::wstring&, const std::wstring&) override { return false; }
    std::vector<std::wstring> getKeys() override {
        std::vector<std::wstring> keys;
        for (const auto& [key, value] : values_) {
            keys.push_back(key);
        }
        return keys;
    }
    bool removeValue(const std::wstring&) override { return false; }
    void removeAllValues() override {}
    bool isReadOnly() override { return true; }
    std::string getName() override { return "ServerStore"; }
    std::int32_t getPriority() override { return 50; }
    void persistValues() override {}
    void destroy() override {}
    bool isLocal() override { return false; }
    bool waitForStoreReady() override { return true; }

private:
    const std::map<std::wstring, std::wstring> values_;
};

Invocation invocationOn(const fakes::TemporaryDirectory& directory) {
    Invocation invocation;
    invocation.host.configDirectory = directory.path("config");
    invocation.host.installationDirectory = directory.path("install");
    invocation.host.bootstrapFilePath = directory.path("install/bootstrap.properties");
    invocation.host.logLevel = 2;
    return invocation;
}

class LiveWatching : public ::testing::Test {
protected:
    LiveWatching() : session_(invocationOn(directory_)) {}
    ~LiveWatching() override { session_.finish(); }

    /// Watches while the change is made; on the dispatcher thread, or on this one.
    void watch(const std::function<void(ConfigFeatureSet&)>& change, bool onDispatcher = true,
               const std::vector<std::string>& globs = {}) {
        std::shared_ptr<LiveWatcher> watcher;
        session_.work([&](Session::Inside& inside) {
            watcher = std::make_shared<LiveWatcher>(inside.chain, session_.host().service(),
                                                    session_.host().factory()->getServicesDispatcher(), inside.reader,
                                                    KeySelection(globs, inside.reader),
                                                    [this](const ChangeView& view) { changes_.push_back(view); });
            watcher->start();
        });
        if (onDispatcher) {
            session_.work([&change](Session::Inside& inside) { change(inside.featureSet); });
        } else {
            change(*session_.host().featureSet());
        }
        session_.work([&watcher](Session::Inside&) {
            watcher->stop();
            watcher.reset();
        });
    }

    std::vector<std::string> keys() const {
        std::vector<std::string> keys;
        for (const ChangeView& change : changes_) {
            keys.push_back(change.value.key);
        }
        return keys;
    }

    const fakes::TemporaryDirectory directory_;
    Session session_;
    std::vector<ChangeView> changes_;
};

}  // namespace

TEST_F(LiveWatching, TellsNothingWhenNothingChanges) {
    watch([](ConfigFeatureSet&) {});
    EXPECT_THAT(changes_, IsEmpty());
}

TEST_F(LiveWatching, TellsANewKeyOnceWithAllThatItBrought) {
    watch([](ConfigFeatureSet& featureSet) { featureSet.setConfig(L"A", L"1"); });
    ASSERT_THAT(keys(), ElementsAre("A"));
    EXPECT_EQ(changes_[0].value.value, "1");
    EXPECT_TRUE(changes_[0].value.isDefined);
    EXPECT_TRUE(changes_[0].value.isOverridden);
    EXPECT_THAT(changes_[0].changed,
                testing::UnorderedElementsAre("value", "isDefined", "isOverridden", "valueStoreName"));
}

TEST_F(LiveWatching, TellsEachReportOfOneKey) {
    watch([](ConfigFeatureSet& featureSet) {
        featureSet.setConfig(L"A", L"1");
        featureSet.setConfig(L"A", L"2");
        featureSet.setConfig(L"A", L"2");
        featureSet.resetConfig(L"A");
    });
    ASSERT_THAT(keys(), ElementsAre("A", "A", "A"));
    EXPECT_EQ(changes_[0].value.value, "1");
    EXPECT_EQ(changes_[1].value.value, "2");
    EXPECT_THAT(changes_[1].changed, ElementsAre("value"));
    EXPECT_FALSE(changes_[2].value.isDefined);
    EXPECT_FALSE(changes_[2].value.isOverridden);
}

TEST_F(LiveWatching, TellsAWholeStoreThatJoinsKeyByKey) {
    watch([](ConfigFeatureSet& featureSet) {
        featureSet.addConfigStore(
            std::make_shared<ServerStore>(std::map<std::wstring, std::wstring>{{L"A", L"1"}, {L"B", L"2"}}));
    });
    ASSERT_THAT(keys(), ElementsAre("A", "B"));
    EXPECT_EQ(changes_[1].value.originalValueStoreName, "ServerStore");
}

TEST_F(LiveWatching, TellsTheSameWhenAnotherThreadMakesTheChange) {
    watch(
        [](ConfigFeatureSet& featureSet) {
            featureSet.addConfigStore(
                std::make_shared<ServerStore>(std::map<std::wstring, std::wstring>{{L"A", L"1"}, {L"B", L"2"}}));
            featureSet.setConfig(L"A", L"3");
            featureSet.setConfig(L"C", L"4");
        },
        false);
    ASSERT_THAT(keys(), ElementsAre("A", "B", "A", "C"));
    EXPECT_EQ(changes_[0].value.value, "1");
    EXPECT_EQ(changes_[2].value.value, "3");
}

TEST_F(LiveWatching, TellsOnlyTheKeysThatWereChosen) {
    watch(
        [](ConfigFeatureSet& featureSet) {
            featureSet.setConfig(L"Alpha", L"1");
            featureSet.setConfig(L"Beta", L"2");
            featureSet.setConfig(L"TftpServer1", L"3");
        },
        true, {"b*", "tftpserver1"});
    EXPECT_THAT(keys(), ElementsAre("Beta", "TFTPPrimaryServer"));
}

TEST_F(LiveWatching, HidesSensitiveValues) {
    watch([](ConfigFeatureSet& featureSet) { featureSet.setConfig(L"connectionpassword", L"secret"); });
    ASSERT_EQ(changes_.size(), 1U);
    EXPECT_EQ(changes_[0].value.value, "VALUE_HIDDEN");
}

TEST_F(LiveWatching, HidesThatASensitiveValueIsEmptyButNotThatItHasGone) {
    watch([](ConfigFeatureSet& featureSet) {
        featureSet.setConfig(L"connectionpassword", L"");
        featureSet.resetConfig(L"connectionpassword");
    });
    ASSERT_EQ(changes_.size(), 2U);
    EXPECT_EQ(changes_[0].value.value, "VALUE_HIDDEN");
    EXPECT_EQ(changes_[1].value.value, "");
}

TEST_F(LiveWatching, HidesThatAnAdministratorsSensitiveValueIsEmpty) {
    watch([](ConfigFeatureSet& featureSet) {
        featureSet.addConfigStore(
            std::make_shared<ServerStore>(std::map<std::wstring, std::wstring>{{L"connectionpassword", L""}}));
    });
    ASSERT_THAT(keys(), ElementsAre("connectionpassword"));
    EXPECT_EQ(changes_[0].value.originalValueStoreName, "ServerStore");
    EXPECT_EQ(changes_[0].value.originalValue, "VALUE_HIDDEN");
}
