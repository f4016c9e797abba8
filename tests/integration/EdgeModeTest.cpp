// A client in edge mode fetches once more when its telephony has connected.

#include "Expectations.h"
#include "Servers.h"
#include "impl/system/ServerHealthInformationImpl.h"
#include "impl/system/SystemServiceImpl.h"

using callcontrol::CertificateAuthority;
using namespace integration;
using testing::ElementsAre;

namespace {

constexpr int SOFTPHONE = 2;
constexpr int SECOND_TELEPHONY = 4;
constexpr int CONNECTED = 1;
constexpr const char* FETCHING_LINE = "Telephony has connected in edge mode. Attempting download of tftp config store";

class EdgeMode : public testing::Test {
protected:
    EdgeMode() {
        server_.serve({{"origin", "early"}});
        client_.start();
    }

    void fetchInEdgeMode() {
        system().setEdgeMode(true);
        client_.fetch();
        runQueuedTasks();
        server_.serve({{"origin", "late"}});
    }

    SystemServiceImpl& system() const { return *client_.host().systemService(); }

    /// What has been queued on the dispatcher thread so far has run when this returns, and what follows from it.
    void runQueuedTasks() const {
        client_.host().runOnDispatcher([] {});
        client_.watch().waitUntilSettled();
    }

    const CertificateAuthority authority_;
    const Server server_{authority_};
    Client client_{{.servers = {server_.address()}, .version = "12", .trusted = authority_.certificate()}};
};

}  // namespace

TEST_F(EdgeMode, FetchesAgainWhenTheSoftphoneConnects) {
    const auto softphone = std::make_shared<ServerHealthInformationImpl>(SOFTPHONE);
    system().addServerHealthInformation(softphone);
    fetchInEdgeMode();
    softphone->setConnectionStatus(CONNECTED);
    runQueuedTasks();
    EXPECT_EQ(client_.log().count(4, FETCHING_LINE), 1U);
    EXPECT_EQ(client_.value(L"origin"), L"late");
    EXPECT_THAT(server_.stopAndTell(), ElementsAre("6972 /corvid-config.xml 200", "6972 /corvid-config.xml 200"));
}

TEST_F(EdgeMode, FetchesAgainWhenAConnectedEntryAppears) {
    fetchInEdgeMode();
    system().addServerHealthInformation(std::make_shared<ServerHealthInformationImpl>(SECOND_TELEPHONY, CONNECTED));
    runQueuedTasks();
    EXPECT_EQ(client_.log().count(4, FETCHING_LINE), 1U);
    EXPECT_EQ(client_.value(L"origin"), L"late");
}

TEST_F(EdgeMode, FetchesAgainOnlyOnce) {
    const auto softphone = std::make_shared<ServerHealthInformationImpl>(SOFTPHONE);
    system().addServerHealthInformation(softphone);
    fetchInEdgeMode();
    softphone->setConnectionStatus(CONNECTED);
    runQueuedTasks();
    softphone->setConnectionStatus(0);
    softphone->setConnectionStatus(CONNECTED);
    runQueuedTasks();
    EXPECT_EQ(client_.log().count(4, FETCHING_LINE), 1U);
    EXPECT_EQ(server_.stopAndTell().size(), 2U);
}

TEST_F(EdgeMode, FetchesOnceIfTelephonyIsConnectedAlready) {
    system().addServerHealthInformation(std::make_shared<ServerHealthInformationImpl>(SOFTPHONE, CONNECTED));
    fetchInEdgeMode();
    EXPECT_EQ(server_.stopAndTell().size(), 1U);
}

TEST_F(EdgeMode, MattersOnlyWhenItIsOn) {
    const auto softphone = std::make_shared<ServerHealthInformationImpl>(SOFTPHONE);
    system().addServerHealthInformation(softphone);
    client_.fetch();
    runQueuedTasks();
    softphone->setConnectionStatus(CONNECTED);
    runQueuedTasks();
    EXPECT_EQ(client_.log().count(4, FETCHING_LINE), 0U);
    EXPECT_EQ(server_.stopAndTell().size(), 1U);
}
