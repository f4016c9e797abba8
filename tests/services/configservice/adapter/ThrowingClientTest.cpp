#include <stdexcept>

#include "EdgeDownloadFixture.h"
#include "OnceClient.h"

using testing::IsEmpty;
using testing::SizeIs;

namespace {

/// A client that throws when it is told of the version that a server has given.
class ThrowingClient : public EdgeDownloadFixture {
protected:
    ThrowingClient() {
        transport->setAnswer([](const std::string&) {
            return std::string("<versionInformation><version>12.5.1</version></versionInformation>");
        });
    }

    void throwAtTheVersion() {
        live_ = service()->getConfig(L"HomeUdsVersion");
        client_ = std::make_shared<OnceClient>([] { throw std::runtime_error("a client's"); });
        live_->addObserver(std::weak_ptr<ConfigValueObserver>(client_));
    }

private:
    std::shared_ptr<ConfigValue> live_;
    std::shared_ptr<OnceClient> client_;
};

}  // namespace

TEST_F(ThrowingClient, AtTheSourcesStartLeavesItOnWithItsServersAndTheEdgeWatched) {
    writeLocal({{"TFTPPrimaryServer", "one"}});
    const auto softphone = health(SOFTPHONE);
    setList({softphone});
    injectAndStart();
    throwAtTheVersion();
    EXPECT_THROW(adapter()->startTftpConfigSource(), std::runtime_error);
    EXPECT_THAT(transport->running(), IsEmpty());
    adapter()->setConfig(L"TFTPPrimaryServer", L"two");
    EXPECT_EQ(pool->runAll(), 1U);
    ASSERT_EQ(softphone->connections(), 1U);
    softphone->change(CONNECTED);
    EXPECT_TRUE(everythingIsDisconnected());
    EXPECT_THAT(transport->startedUrls(), testing::ElementsAre("https://two:6972/corvid-config.xml"));
    ASSERT_TRUE(transport->deliver(serverDocument({{"key", "value"}})));
    EXPECT_EQ(get(L"key"), L"value");
}

TEST_F(ThrowingClient, WhenTelephonyConnectsLeavesNothingWatched) {
    const auto softphone = health(SOFTPHONE);
    watch({softphone});
    adapter()->resetConfig(L"HomeUdsVersion");
    throwAtTheVersion();
    EXPECT_THROW(softphone->change(CONNECTED), std::runtime_error);
    EXPECT_THAT(transport->sentUrls(), SizeIs(1));
    EXPECT_TRUE(everythingIsDisconnected());
    // Nor is the entry kept for the next watch.
    setList({});
    restartSource();
    EXPECT_EQ(softphone->connections(), 0U);
}
