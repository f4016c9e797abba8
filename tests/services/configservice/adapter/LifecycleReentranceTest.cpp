#include "AdapterFixture.h"
#include "ConfigValueObserver.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A client asks for a lifecycle operation when it is notified from the midst of another one, on one and the same
/// thread.
class LifecycleReentrance : public AdapterFixture {
protected:
    /// Calls the action at the first change of the key "gone", which the local file loses before the next reading.
    void startWithClient(const std::function<void()>& action) {
        writeLocal({{"gone", "value"}, {"LastLoadedUserProfile", "a"}});
        injectAndStart();
        client_->action = action;
        live_ = service()->getConfig(L"gone");
        live_->addObserver(std::weak_ptr<ConfigValueObserver>(client_));
        writeLocal({{"LastLoadedUserProfile", "a"}});
    }

    /// What the user stores from now on answers, and reaches the disk.
    void expectThatValuesAreKept(const std::wstring& key) {
        EXPECT_TRUE(adapter()->setConfig(key, L"kept"));
        tasks->runAll();
        EXPECT_EQ(get(key), L"kept");
        EXPECT_THAT(read("config/corvidLocalConfig.xml"),
                    testing::HasSubstr("name=\"" + QuillCoreUtils::toString(key) + "\" value=\"kept\""));
    }

private:
    class Client : public ConfigValueObserver {
    public:
        void OnValueChanged() override {
            if (const auto once = std::exchange(action, nullptr)) {
                once();
            }
        }
        std::function<void()> action;
    };

    const std::shared_ptr<Client> client_ = std::make_shared<Client>();
    std::shared_ptr<ConfigValue> live_;
};

}  // namespace

TEST_F(LifecycleReentrance, ARefreshFromTheMidstOfAStartRunsAfterItAndLosesNoValue) {
    startWithClient([this] { adapter()->refreshConfigFeatureSet(); });
    adapter()->Destroy();
    start();
    EXPECT_THAT(dispatcher->waitingNames(), ElementsAre("ConfigAdapter::refreshConfigFeatureSet"));
    expectThatValuesAreKept(L"before");
    dispatcher->runAll();
    EXPECT_EQ(get(L"before"), L"kept");
    expectThatValuesAreKept(L"after");
}

TEST_F(LifecycleReentrance, EveryOperationFromTheMidstOfARefreshRunsAfterIt) {
    startWithClient([this] {
        stop();
        start();
        adapter()->startTftpConfigSource();
        adapter()->stopTftpConfigSource();
        systemService->userProfileChanged();
        adapter()->Destroy();
    });
    adapter()->refreshConfigFeatureSet();
    EXPECT_TRUE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_THAT(dispatcher->waitingNames(),
                ElementsAre("ConfigAdapter::stopConfigFeatureSet", "ConfigAdapter::startConfigFeatureSet",
                            "ConfigAdapter::startTftpConfigSource", "ConfigAdapter::stopTftpConfigSource",
                            "ConfigAdapter::onUserProfileChanged", "ConfigAdapter::Destroy"));
    expectThatValuesAreKept(L"before");
    dispatcher->runAll();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_EQ(get(L"before"), L"kept");
}

TEST_F(LifecycleReentrance, TheNextOperationRunsAtOnceAgain) {
    startWithClient([this] { adapter()->refreshConfigFeatureSet(); });
    adapter()->refreshConfigFeatureSet();
    dispatcher->runAll();
    const auto local = storeNamed("LocalFileConfigStore");
    adapter()->refreshConfigFeatureSet();
    EXPECT_NE(storeNamed("LocalFileConfigStore"), local);
    stop();
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_THAT(dispatcher->waitingNames(), IsEmpty());
}

TEST_F(LifecycleReentrance, AStopFromInsideANotificationTurnsTheRemoteSourceOffAtOnce) {
    startWithClient([this] { stop(); });
    adapter()->startTftpConfigSource();
    adapter()->setConfig(L"gone", L"changed");
    EXPECT_FALSE(adapter()->IsFeatureSetStarted(1300));
    EXPECT_EQ(adapter()->getTftpConfigStore(), nullptr);
    EXPECT_THAT(dispatcher->waitingNames(), IsEmpty());
}
