// Servers that send a download elsewhere.

#include "Expectations.h"
#include "Nginx.h"
#include "Servers.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using namespace integration;
using namespace HttpDownloader::HttpDownloadResultEnum;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Sends whoever asks for the file to this place.
std::string redirectTo(const std::string& place) {
    return "location = /corvid-config.xml { return 301 " + place + "; }";
}

class Redirects : public testing::Test {
protected:
    Redirects() { healthy_.serve({{"origin", "healthy"}}); }

    ClientOptions bothServers(const std::string& version) const {
        return {.servers = {address_, healthy_.address()}, .version = version, .trusted = authority_.certificate()};
    }

    callcontrol::Credentials credentials() const { return authority_.issue({.names = {address_}}); }

    const CertificateAuthority authority_;
    const std::string address_ = CallControlServer::freeLoopbackAddress();
    const Server healthy_{authority_};
};

}  // namespace

TEST_F(Redirects, AreFollowedOnTheSameServer) {
    Nginx server(address_,
                 {{6970, redirectTo("/moved/once.xml") + "location = /moved/once.xml { return 302 /a.xml; }"}});
    server.serve("a.xml", document({{"origin", "moved"}}));
    Client client(bothServers("10"));
    client.start();
    EXPECT_THAT(client.fetch().cycles.back().attempts, ElementsAre(delivered(address_)));
    EXPECT_EQ(client.value(L"origin"), L"moved");
    EXPECT_THAT(server.stopAndTell(),
                ElementsAre("6970 /corvid-config.xml 301", "6970 /moved/once.xml 302", "6970 /a.xml 200"));
}

TEST_F(Redirects, AreFollowedOnTheSameServerOverHttps) {
    const Nginx server(address_, {{6972, redirectTo("https://" + address_ + ":6972/a.xml"), credentials()}});
    server.serve("a.xml", document({{"origin", "moved"}}));
    Client client(bothServers("12"));
    client.startAndFetch();
    EXPECT_EQ(client.value(L"origin"), L"moved");
}

TEST_F(Redirects, AreNotFollowedInACircle) {
    Nginx server(address_, {{6970, redirectTo("/corvid-config.xml")}});
    Client client(bothServers("10"));
    client.start();
    expectPassedOver(client, address_, RedirectRefused, healthy_.address());
    EXPECT_EQ(server.stopAndTell().size(), 4U);
}

TEST_F(Redirects, AreNotFollowedToAnotherHost) {
    const Server other(authority_);
    other.serve({{"origin", "elsewhere"}});
    const Nginx server(address_, {{6970, redirectTo("http://" + other.address() + ":6970/corvid-config.xml")}});
    Client client(bothServers("10"));
    client.start();
    expectPassedOver(client, address_, RedirectRefused, healthy_.address());
    EXPECT_THAT(other.stopAndTell(), IsEmpty());
}

TEST_F(Redirects, AreNotFollowedToAnotherPort) {
    Nginx server(address_, {{6970, redirectTo("http://" + address_ + ":8080/corvid-config.xml")}, {8080}});
    server.serve("corvid-config.xml", document({{"origin", "elsewhere"}}));
    Client client(bothServers("10"));
    client.start();
    expectPassedOver(client, address_, RedirectRefused, healthy_.address());
    EXPECT_THAT(server.stopAndTell(), ElementsAre("6970 /corvid-config.xml 301"));
}

TEST_F(Redirects, AreNotFollowedFromHttpsToHttp) {
    Nginx server(address_, {{6972, redirectTo("http://" + address_ + ":6970/a.xml"), credentials()}, {6970}});
    server.serve("a.xml", document({{"origin", "elsewhere"}}));
    Client client(bothServers("12"));
    client.start();
    expectPassedOver(client, address_, RedirectRefused, healthy_.address());
    EXPECT_THAT(server.stopAndTell(), ElementsAre("6972 /corvid-config.xml 301"));
}

TEST_F(Redirects, AreNotFollowedToPlainHttpOnTheVeryPort) {
    Nginx server(address_, {{6972, redirectTo("http://" + address_ + ":6972/a.xml"), credentials()}});
    Client client(bothServers("12"));
    client.start();
    expectPassedOver(client, address_, RedirectRefused, healthy_.address());
    EXPECT_THAT(server.stopAndTell(), ElementsAre("6972 /corvid-config.xml 301"));
}
