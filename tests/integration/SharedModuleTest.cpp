// The whole road of one value: from a server's file, through the module as a host loads it, into a client's callback.

#include "ConfigFeatureSet.h"
#include "ConfigService.h"
#include "Expectations.h"
#include "LiveValue.h"
#include "Servers.h"

using callcontrol::CertificateAuthority;
using namespace integration;
using testing::ElementsAre;

TEST(SharedModule, BringsAServersValueToALiveObject) {
    const CertificateAuthority authority;
    const Server server(authority, "12.5");
    server.serve({{"origin", "server"}});
    Client client(
        {.servers = {server.address()}, .trusted = authority.certificate(), .modulePath = CONFIGSERVICE_MODULE});
    client.start();
    ASSERT_EQ(client.host().adapter(), nullptr);
    const LiveValue live(client, L"origin");
    client.host().featureSet()->startTftpConfigSource();
    live.waitFor(L"server");
    EXPECT_THAT(live.told(), ElementsAre(LiveValue::Told{L"server", LIVE_STORE, true}));
    EXPECT_THAT(server.stopAndTell(), ElementsAre("8443 /hubm-uds/version 200", "6972 /corvid-config.xml 200"));
    const std::weak_ptr<ConfigService> service = client.host().service();
    client.stop();
    EXPECT_TRUE(service.expired());
}
