// Servers that answer wrongly when they are asked for their version, or not at all.

#include <chrono>

#include "Expectations.h"
#include "Nginx.h"
#include "Servers.h"
#include "fakes/ScriptedServer.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using namespace integration;
using testing::ElementsAre;

using VersionQuery = DownloadJournal::VersionQuery;

namespace {

auto answered(const std::string& address, const std::string& version) {
    return testing::AllOf(testing::Field(&VersionQuery::address, address),
                          testing::Field(&VersionQuery::answered, true),
                          testing::Field(&VersionQuery::version, version));
}

constexpr const char* EMPTY_LINE =
    "ERROR: The UDS version http response was empty. Cannot parse the UDS server version.";

/// A device-list server that is asked first, and a healthy server that is asked next; only that one has the file.
class VersionFaults : public testing::Test {
protected:
    VersionFaults() { healthy_.serve({{"origin", "healthy"}}); }

    ClientOptions bothServers() const {
        return {.servers = {healthy_.address()},
                .more = {{"HubcipServer1", address_}},
                .trusted = authority_.certificate()};
    }

    callcontrol::Credentials credentials() const { return authority_.issue({.names = {address_}}); }

    std::unique_ptr<Nginx> nginxThat(const std::string& answer) const {
        return std::make_unique<Nginx>(
            address_, std::vector<NginxPort>{{8443, "location = /hubm-uds/version { " + answer + " }", credentials()}});
    }

    /// The faulty server is asked once, tells nothing, and the next one is.
    void expectNextIsAsked(Client& client) const {
        const Cycle cycle = client.fetch().cycles.back();
        EXPECT_EQ(cycle.end, CycleEnd::Delivered);
        EXPECT_THAT(cycle.versionQueries, ElementsAre(answered(address_, ""), answered(healthy_.address(), "12.5")));
        EXPECT_THAT(cycle.attempts, ElementsAre(delivered(healthy_.address())));
        EXPECT_EQ(client.value(L"HomeUdsVersion"), L"12.5");
        EXPECT_EQ(client.value(L"origin"), L"healthy");
        EXPECT_THAT(healthy_.stopAndTell(), ElementsAre("8443 /hubm-uds/version 200", "6972 /corvid-config.xml 200"));
    }

    /// @param status of the only answer. @param empties how many answers without a body the log tells of.
    void expectNextIsAskedAfter(const std::string& answer, const std::string& status, std::size_t empties) const {
        const std::unique_ptr<Nginx> server = nginxThat(answer);
        Client client(bothServers());
        client.start();
        expectNextIsAsked(client);
        EXPECT_EQ(client.log().count(2, EMPTY_LINE), empties);
        EXPECT_THAT(server->stopAndTell(), ElementsAre("8443 /hubm-uds/version " + status));
    }

    void expectTakenFrom(const std::string& status) const {
        const std::unique_ptr<Nginx> server =
            nginxThat("return " + status + " '<versionInformation><version>10.5</version></versionInformation>';");
        Client client(bothServers());
        client.start();
        EXPECT_THAT(client.fetch().cycles.back().versionQueries, ElementsAre(answered(address_, "10.5")));
        EXPECT_EQ(client.value(L"HomeUdsVersion"), L"10.5");
        EXPECT_THAT(server->stopAndTell(), ElementsAre("8443 /hubm-uds/version " + status));
        EXPECT_THAT(healthy_.stopAndTell(), ElementsAre("6970 /corvid-config.xml 200"));
    }

    const CertificateAuthority authority_;
    const std::string address_ = CallControlServer::freeLoopbackAddress();
    const Server healthy_{authority_};
};

}  // namespace

TEST_F(VersionFaults, DoNotIncludeANotFoundThatComesWithADocument) { expectTakenFrom("404"); }

TEST_F(VersionFaults, DoNotIncludeAServerErrorThatComesWithADocument) { expectTakenFrom("500"); }

TEST_F(VersionFaults, HaveTheNextAskedWhenNoAnswerComesInTenSeconds) {
    const callcontrol::Credentials own = credentials();
    ScriptedServer server(
        [](ScriptedConnection& connection) { connection.waitUntilClientLeaves(); },
        {.address = address_, .port = 8443, .certificate = own.certificate, .privateKey = own.privateKey});
    Client client(bothServers());
    client.start();
    const auto began = std::chrono::steady_clock::now();
    expectNextIsAsked(client);
    const auto took = std::chrono::steady_clock::now() - began;
    EXPECT_GE(took, std::chrono::seconds(10));
    EXPECT_LT(took, std::chrono::seconds(30));
    EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(VersionFaults, HaveTheNextAskedWhenTheAnswerIsEmpty) { expectNextIsAskedAfter("return 200 '';", "200", 1); }

TEST_F(VersionFaults, HaveTheNextAskedWhenTheAnswerIsNoXml) {
    expectNextIsAskedAfter("return 200 'version 12';", "200", 0);
}

TEST_F(VersionFaults, HaveTheNextAskedWhenTheAnswerIsAPageAboutAnError) {
    expectNextIsAskedAfter("return 503;", "503", 0);
}

TEST_F(VersionFaults, HaveTheNextAskedWhenTheAnswerSendsTheClientElsewhere) {
    const Server elsewhere(authority_, "10.0");
    expectNextIsAskedAfter("return 302 https://" + elsewhere.address() + ":8443/hubm-uds/version;", "302", 1);
    EXPECT_THAT(elsewhere.stopAndTell(), testing::IsEmpty());
}
