// Whom a client believes to be its server, for the version and for the file.

#include "Expectations.h"
#include "Nginx.h"
#include "Servers.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using callcontrol::Credentials;
using namespace integration;
using namespace HttpDownloader::HttpDownloadResultEnum;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct Impostor {
    const char* name;
    Credentials (*credentials)(const CertificateAuthority& authority, const std::string& address);

    friend void PrintTo(const Impostor& impostor, std::ostream* out) { *out << impostor.name; }
};

const Impostor IMPOSTORS[] = {
    {"ForAnotherName",
     [](const CertificateAuthority& authority, const std::string&) {
         return authority.issue({.names = {"other.example", "127.0.0.1"}});
     }},
    {"Expired",
     [](const CertificateAuthority& authority, const std::string& address) {
         return authority.issue({.names = {address}, .validFromDays = -10, .validToDays = -1});
     }},
    {"NotYetValid",
     [](const CertificateAuthority& authority, const std::string& address) {
         return authority.issue({.names = {address}, .validFromDays = 2});
     }},
    {"SelfSigned", [](const CertificateAuthority&,
                      const std::string& address) { return CertificateAuthority::selfSigned({.names = {address}}); }},
    {"OfAnUnknownAuthority",
     [](const CertificateAuthority&, const std::string& address) {
         return CertificateAuthority().issue({.names = {address}});
     }},
};

const std::string VERSION_RULE =
    "location = /hubm-uds/version { return 200 '<versionInformation><version>12.5</version></versionInformation>'; }";

class Certificates : public testing::TestWithParam<Impostor> {
protected:
    Certificates() { healthy_.serve({{"origin", "healthy"}}); }

    Credentials impostorCredentials() const { return GetParam().credentials(authority_, address_); }

    ClientOptions bothServers(const std::string& version) const {
        return {.servers = {address_, healthy_.address()}, .version = version, .trusted = authority_.certificate()};
    }

    const CertificateAuthority authority_;
    const std::string address_ = CallControlServer::freeLoopbackAddress();
    const Server healthy_{authority_};
};

}  // namespace

INSTANTIATE_TEST_SUITE_P(All, Certificates, testing::ValuesIn(IMPOSTORS),
                         [](const auto& param) { return std::string(param.param.name); });

TEST_P(Certificates, AreRejectedWhenTheFileIsFetched) {
    Nginx server(address_, {{6972, "", impostorCredentials()}});
    server.serve("corvid-config.xml", document({{"origin", "impostor"}}));
    Client client(bothServers("12"));
    client.start();
    expectPassedOver(client, address_, CertificateRejected, healthy_.address());
    EXPECT_THAT(server.stopAndTell(), IsEmpty());
}

TEST_P(Certificates, AreRejectedWhenTheVersionIsAsked) {
    Nginx server(address_, {{8443, VERSION_RULE, impostorCredentials()}});
    Client client(bothServers(""));
    client.startAndFetch();
    const Cycle cycle = client.journal()->snapshot().cycles.back();
    ASSERT_EQ(cycle.versionQueries.size(), 2U);
    EXPECT_EQ(cycle.versionQueries[0].address, address_);
    EXPECT_EQ(cycle.versionQueries[0].version, "");
    EXPECT_EQ(cycle.versionQueries[1].version, "12.5");
    EXPECT_EQ(
        client.log().count(4, "The UDS server version returned from querying the tftp server '" + address_ + "' is: "),
        1U);
    EXPECT_EQ(
        client.log().count(2, "ERROR: The UDS version http response was empty. Cannot parse the UDS server version."),
        1U);
    EXPECT_EQ(client.value(L"HomeUdsVersion"), L"12.5");
    EXPECT_EQ(client.value(L"origin"), L"healthy");
    EXPECT_THAT(server.stopAndTell(), IsEmpty());
}

TEST(TrustedCertificate, LetsAVersionAndAFileThrough) {
    const CertificateAuthority authority;
    const std::string address = CallControlServer::freeLoopbackAddress();
    const Credentials credentials = authority.issue({.names = {address}});
    Nginx server(address, {{8443, VERSION_RULE, credentials}, {6972, "", credentials}});
    server.serve("corvid-config.xml", document({{"origin", "trusted"}}));
    Client client({.servers = {address}, .trusted = authority.certificate()});
    client.startAndFetch();
    EXPECT_EQ(client.value(L"origin"), L"trusted");
    EXPECT_THAT(server.stopAndTell(), ElementsAre("8443 /hubm-uds/version 200", "6972 /corvid-config.xml 200"));
}

TEST(TrustedCertificate, IsOneOfAnAuthorityThatTheHostNames) {
    const CertificateAuthority authority;
    const Server server(authority);
    server.serve({{"origin", "unknown"}});
    Client client({.servers = {server.address()}, .version = "12"});
    client.start();
    expectNothingFetched(client, server.address(), CertificateRejected);
}
