#include "DownloadFixture.h"

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::SizeIs;

namespace {

/// A remote source over a power down that is called off, and what turning it off and on makes good.
class CalledOffPowerDown : public DownloadFixture {
protected:
    void powerDown() const { monitor->report(TesselSystemMonitor::PowerEventTypeEnum::PowerDown); }

    /// As a host does it.
    void callOff() {
        start();
        monitor->report(TesselSystemMonitor::PowerEventTypeEnum::PowerDownCalledOff);
    }

    void turnOffAndOn() const {
        adapter()->stopTftpConfigSource();
        adapter()->startTftpConfigSource();
    }
};

}  // namespace

TEST_F(CalledOffPowerDown, KeepsTheSourceWhoseFirstFileCameMeanwhileOutOfTheChainUntilItIsTurnedOffAndOn) {
    switchOn();
    const auto live = service()->getConfig(L"key");
    powerDown();
    ASSERT_TRUE(deliver({{"key", "meanwhile"}}));
    callOff();
    download({{"key", "later"}});
    EXPECT_THAT(chain(), Not(Contains("TFTPConfigStore")));
    EXPECT_EQ(live->getValue(), L"");
    turnOffAndOn();
    ASSERT_TRUE(deliver({{"key", "at last"}}));
    EXPECT_EQ(storeOf(L"key"), L"TFTPConfigStore");
    EXPECT_EQ(get(L"key"), L"at last");
    EXPECT_EQ(live->getValue(), L"at last");
}

TEST_F(CalledOffPowerDown, LeavesLiveValuesBehindAFileThatCameMeanwhileUntilTheSourceIsTurnedOffAndOn) {
    switchOn();
    const auto live = service()->getConfig(L"key");
    const auto before = service()->getConfig(L"before");
    const auto former = service()->getConfig(L"former");
    ASSERT_TRUE(deliver({{"key", "first"}, {"former", "first"}, {"before", "first"}}));
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    powerDown();
    ASSERT_TRUE(deliver({{"key", "meanwhile"}, {"former", "meanwhile"}}));
    callOff();
    EXPECT_EQ(get(L"key"), L"meanwhile");
    EXPECT_EQ(live->getValue(), L"first");
    turnOffAndOn();
    ASSERT_TRUE(deliver({{"key", "at last"}}));
    EXPECT_EQ(get(L"key"), L"at last");
    EXPECT_EQ(live->getValue(), L"at last");
    EXPECT_EQ(get(L"former"), L"<none>");
    EXPECT_EQ(former->getValue(), L"");
    // Neither of the two stores that the chain has met since then knows of this key.
    EXPECT_EQ(get(L"before"), L"<none>");
    EXPECT_EQ(before->getValue(), L"first");
}

TEST_F(CalledOffPowerDown, LeavesTheSourceWithoutAVersionUntilItIsTurnedOffAndOn) {
    transport->setAnswer([](const std::string&) {
        return std::string("<versionInformation><version>12.5.1</version></versionInformation>");
    });
    writeLocal(oneServer());
    injectAndStart();
    adapter()->startTftpConfigSource();
    ASSERT_TRUE(deliver({{"key", "first"}}));
    powerDown();
    callOff();
    EXPECT_EQ(get(L"HomeUdsVersion"), L"<none>");
    adapter()->getTftpConfigStore()->attemptDownloadFromCachedAddress();
    EXPECT_THAT(transport->running(), IsEmpty());
    EXPECT_THAT(transport->sentUrls(), SizeIs(1));
    turnOffAndOn();
    EXPECT_THAT(transport->sentUrls(),
                ElementsAre("https://one:8443/hubm-uds/version", "https://one:8443/hubm-uds/version"));
    EXPECT_EQ(get(L"HomeUdsVersion"), L"12.5.1");
    ASSERT_TRUE(deliver({{"key", "at last"}}));
    EXPECT_EQ(get(L"key"), L"at last");
}
