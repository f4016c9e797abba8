// The server's version decides how its file travels; without one nothing can be fetched.

#include "ConfigFeatureSet.h"
#include "Expectations.h"
#include "Nginx.h"
#include "Servers.h"
#include "quill/StringUtils.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using namespace integration;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// A server with everything that it needs to answer.
std::unique_ptr<Nginx> wholeServer(const CertificateAuthority& authority, const std::string& address) {
    const callcontrol::Credentials credentials = authority.issue({.names = {address}});
    auto server = std::make_unique<Nginx>(
        address,
        std::vector<NginxPort>{
            {8443, "location = /hubm-uds/version { return 200 '<v><version>12.0</version></v>'; }", credentials},
            {6972, "", credentials}});
    server->serve("corvid-config.xml", document({{"origin", "server"}}));
    return server;
}

class Versions : public testing::Test {
protected:
    ClientOptions clientOf(const Server& server) const {
        return {.servers = {server.address()}, .trusted = authority_.certificate()};
    }

    const CertificateAuthority authority_;
};

/// A client whose only server, that of its device list too, does not answer, neither for its version nor for its file.
class UnknownVersion : public testing::Test {
protected:
    UnknownVersion() {
        client_.start();
        client_.host().featureSet()->startTftpConfigSource();
        client_.watch().waitUntil([](const DownloadJournal::Snapshot& snapshot) {
            return !snapshot.cycles.empty() && snapshot.cycles.back().end == CycleEnd::Stalled;
        });
    }

    std::unique_ptr<Nginx> startServer() const { return wholeServer(authority_, address_); }

    const CertificateAuthority authority_;
    const std::string address_ = CallControlServer::freeLoopbackAddress();
    Client client_{{.servers = {address_}, .more = {{"HubcipServer1", address_}}, .trusted = authority_.certificate()}};
};

}  // namespace

TEST_F(Versions, BelowElevenFetchOverHttp) {
    const Server server(authority_, "10.5.2");
    server.serve({{"origin", "server"}});
    Client client(clientOf(server));
    client.start();
    const Cycle cycle = client.fetch().cycles.back();
    EXPECT_EQ(client.value(L"origin"), L"server");
    EXPECT_THAT(server.stopAndTell(), ElementsAre("8443 /hubm-uds/version 200", "6970 /corvid-config.xml 200"));
    ASSERT_EQ(cycle.attempts.size(), 1U);
    EXPECT_EQ(cycle.attempts[0].url, "http://" + server.address() + ":6970/corvid-config.xml");
    EXPECT_EQ(cycle.attempts[0].version, 10);
    EXPECT_EQ(cycle.attempts[0].timeoutSeconds, 3);
    EXPECT_EQ(client.log().count(4, "The Tftp version is less than 11.0 (10). Setting protocol to HTTP and request "
                                    "timeout to 3 seconds."),
              1U);
}

TEST_F(Versions, FromElevenOnFetchOverHttps) {
    const Server server(authority_, "11.0");
    server.serve({{"origin", "server"}});
    Client client(clientOf(server));
    client.start();
    const Cycle cycle = client.fetch().cycles.back();
    EXPECT_EQ(client.value(L"origin"), L"server");
    EXPECT_THAT(server.stopAndTell(), ElementsAre("8443 /hubm-uds/version 200", "6972 /corvid-config.xml 200"));
    ASSERT_EQ(cycle.attempts.size(), 1U);
    EXPECT_EQ(cycle.attempts[0].url, "https://" + server.address() + ":6972/corvid-config.xml");
    EXPECT_EQ(cycle.attempts[0].version, 11);
    EXPECT_EQ(cycle.attempts[0].timeoutSeconds, 10);
    EXPECT_EQ(client.log().count(4, "The Tftp version is 11.0 or greater (11). Setting protocol to HTTPS and request "
                                    "timeout to 10 seconds."),
              1U);
}

TEST_F(Versions, AreAskedOnce) {
    const Server server(authority_, "12.5");
    server.serve({{"origin", "server"}});
    Client client(clientOf(server));
    client.startAndFetch();
    EXPECT_EQ(client.log().count(4, "UDS version '12.5' is set into In-Memory Config Store"), 1U);
    EXPECT_EQ(client.storeOf(L"HomeUdsVersion"), L"InMemoryConfigStore");
    server.setVersion("10.0");
    client.store()->attemptDownloadFromCachedAddress();
    client.watch().waitUntilSettled();
    EXPECT_EQ(
        client.log().count(4, "The UDS server version returned from config service key 'HomeUdsVersion' is: 12.5"), 1U);
    EXPECT_THAT(server.stopAndTell(), ElementsAre("8443 /hubm-uds/version 200", "6972 /corvid-config.xml 200",
                                                  "6972 /corvid-config.xml 200"));
}

TEST_F(Versions, AreAskedOfTheDeviceListServerFirst) {
    const Server lister(authority_, "10.0");
    const Server server(authority_, "12.5");
    server.serve({{"origin", "server"}});
    Client client({.servers = {server.address()},
                   .more = {{"HubcipServer1", lister.address()}},
                   .trusted = authority_.certificate()});
    client.startAndFetch();
    EXPECT_EQ(client.value(L"origin"), L"server");
    EXPECT_THAT(lister.stopAndTell(), ElementsAre("8443 /hubm-uds/version 200"));
    EXPECT_THAT(server.stopAndTell(), ElementsAre("6970 /corvid-config.xml 200"));
    EXPECT_EQ(client.log().count(4, "The UDS server version returned from querying primary HUBCIP server '" +
                                        lister.address() + "' is: 10.0"),
              1U);
}

TEST_F(Versions, AreAskedOfItsBackupsInTurn) {
    const std::string primary = CallControlServer::freeLoopbackAddress();
    const std::string backup = CallControlServer::freeLoopbackAddress();
    const Server secondBackup(authority_, "10.0");
    const Server server(authority_, "12.5");
    server.serve({{"origin", "server"}});
    Client client(
        {.servers = {server.address()},
         .more = {{"HubcipServer1", primary}, {"HubcipServer2", backup}, {"HubcipServer3", secondBackup.address()}},
         .trusted = authority_.certificate()});
    client.startAndFetch();
    EXPECT_THAT(server.stopAndTell(), ElementsAre("6970 /corvid-config.xml 200"));
    EXPECT_EQ(client.log().count(4, "The UDS server version returned from querying primary HUBCIP server '" + primary +
                                        "' is: "),
              1U);
    EXPECT_EQ(client.log().count(4, "The UDS server version returned from querying backup HUBCIP server1 '" + backup +
                                        "' is: "),
              1U);
    EXPECT_EQ(client.log().count(4, "The UDS server version returned from querying backup HUBCIP server2 '" +
                                        secondBackup.address() + "' is: 10.0"),
              1U);
}

TEST_F(Versions, AreAskedOfThreeServersAtMost) {
    const Server server(authority_, "12.5");
    server.serve({{"origin", "server"}});
    Client client({.servers = {server.address()},
                   .more = {{"HubcipServer1", CallControlServer::freeLoopbackAddress()},
                            {"HubcipServer2", CallControlServer::freeLoopbackAddress()},
                            {"HubcipServer3", CallControlServer::freeLoopbackAddress()}},
                   .trusted = authority_.certificate()});
    client.start();
    const Cycle cycle = client.fetch().cycles.back();
    EXPECT_EQ(cycle.end, CycleEnd::Stalled);
    EXPECT_EQ(cycle.versionQueries.size(), 3U);
    EXPECT_THAT(server.stopAndTell(), IsEmpty());
}

TEST_F(Versions, ThatAServerHasNotToldAreNotAskedOfItAgainUnlessItIsTheDeviceLists) {
    const std::string address = CallControlServer::freeLoopbackAddress();
    Client client({.servers = {address}, .trusted = authority_.certificate()});
    client.start();
    EXPECT_EQ(client.fetch().cycles.back().end, CycleEnd::Stalled);
    const std::unique_ptr<Nginx> server = wholeServer(authority_, address);
    client.store()->attemptDownloadFromCachedAddress();
    const Cycle cycle = client.watch().waitUntilSettled().cycles.back();
    EXPECT_TRUE(cycle.forced);
    EXPECT_EQ(cycle.end, CycleEnd::Stalled);
    EXPECT_THAT(cycle.versionQueries, IsEmpty());
    EXPECT_EQ(client.store()->queryState(), TftpConfigStore::IN_PROGRESS);
    client.host().featureSet()->stopTftpConfigSource();
    client.fetch();
    EXPECT_EQ(client.value(L"origin"), L"server");
}

TEST_F(Versions, ThatAreKnownAreNotAsked) {
    const Server server(authority_, "12.5");
    server.serve({{"origin", "server"}});
    Client client({.servers = {server.address()}, .version = "10.9"});
    client.startAndFetch();
    EXPECT_EQ(client.value(L"origin"), L"server");
    EXPECT_THAT(server.stopAndTell(), ElementsAre("6970 /corvid-config.xml 200"));
}

TEST_F(UnknownVersion, StallsTheDownload) {
    EXPECT_EQ(client_.log().count(3, NO_URL_LINE), 1U);
    EXPECT_EQ(client_.log().count(4, "The UDS version is invalid or empty: "), 1U);
    EXPECT_EQ(client_.store()->queryState(), TftpConfigStore::IN_PROGRESS);
    EXPECT_THAT(client_.journal()->snapshot().cycles.back().attempts, IsEmpty());
    EXPECT_FALSE(client_.hasStore("TFTPConfigStore"));
}

TEST_F(UnknownVersion, IsEndedByAForcedDownload) {
    const std::unique_ptr<Nginx> server = startServer();
    client_.store()->attemptDownloadFromCachedAddress();
    const Cycle cycle = client_.watch().waitUntilSettled().cycles.back();
    EXPECT_TRUE(cycle.forced);
    EXPECT_EQ(cycle.end, CycleEnd::Delivered);
    EXPECT_EQ(client_.value(L"origin"), L"server");
    EXPECT_EQ(client_.store()->queryState(), TftpConfigStore::FINISHED);
    EXPECT_TRUE(isReleased(*client_.store()));
}

TEST_F(UnknownVersion, IsNotEndedByNewDetails) {
    const std::unique_ptr<Nginx> server = startServer();
    client_.set(L"TFTPBackupServer1", QuillCoreUtils::toWideString(address_));
    client_.watch().waitUntilSettled();
    EXPECT_EQ(client_.store()->queryState(), TftpConfigStore::RESTART_PENDING);
    EXPECT_EQ(client_.value(L"origin"), L"");
    client_.store()->attemptDownloadFromCachedAddress();
    client_.watch().waitUntilSettled();
    EXPECT_EQ(client_.value(L"origin"), L"server");
}
