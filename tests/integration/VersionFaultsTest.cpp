// Servers that answer wrongly when they are asked for their version, or not at all.

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>

#include "Expectations.h"
#include "FaultTables.h"
#include "Nginx.h"
#include "PatientTransport.h"
#include "Servers.h"
#include "fakes/PlainNetwork.h"
#include "fakes/ScriptedNames.h"
#include "fakes/ScriptedServer.h"
#include "quill/StringUtils.h"
#include "system/World.h"

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

/// Clients that ask three device-list servers for the version, and have a fourth server's file of an earlier download.
class FaultyVersions {
public:
    FaultyVersions() {
        file_.serve({{"origin", "before"}});
        before_.startAndFetch();
        before_.stop();
        file_.serve({{"origin", "new"}});
    }

    /// The servers before the faulty one are dead, and those behind it are well.
    Outcome tryOut(const NetworkFault& fault, std::size_t faulty) {
        for (std::size_t server = 0; server < HOSTS.size(); ++server) {
            names_.answer(HOSTS.at(server), addresses_.at(server));
        }
        Client client(options());
        std::filesystem::copy(before_.directory().path("config"), client.directory().path("config"),
                              std::filesystem::copy_options::recursive);
        client.start();
        EXPECT_EQ(client.value(L"origin"), L"before");
        setNetwork(client, fault.endless ? HOSTS.at(faulty) : "");
        const std::shared_ptr<void> arranged = fault.arrange ? fault.arrange(placeOf(faulty)) : nullptr;
        std::vector<std::unique_ptr<ScriptedServer>> well;
        for (std::size_t server = faulty + 1; server < HOSTS.size(); ++server) {
            well.push_back(wellServer(server, client));
        }
        const std::size_t oldLines = client.log().lines().size();
        cacheWhenAsked_.clear();
        const Cycle cycle = client.fetch().cycles.back();
        for (const std::unique_ptr<ScriptedServer>& server : well) {
            server->stop();
        }
        EXPECT_EQ(cacheWhenAsked_, well.empty() ? "" : before_.cacheFile());
        return outcomeOf(client, cycle, oldLines, faulty);
    }

private:
    ClientOptions options() const {
        return {.servers = {file_.address()},
                .more = {{"HubcipServer1", HOSTS[0]}, {"HubcipServer2", HOSTS[1]}, {"HubcipServer3", HOSTS[2]}},
                .trusted = authority_.certificate()};
    }

    FaultPlace placeOf(std::size_t server) {
        return {HOSTS.at(server), addresses_.at(server), 8443, authority_, names_};
    }

    std::unique_ptr<ScriptedServer> wellServer(std::size_t server, const Client& client) {
        const auto answer = [this, &client](ScriptedConnection& connection) {
            cacheWhenAsked_ = client.cacheFile();
            connection.respond(200, "<versionInformation><version>12.5</version></versionInformation>");
        };
        return std::make_unique<ScriptedServer>(answer, placeOf(server).options());
    }

    static void setNetwork(const Client& client, const std::string& endless) {
        const auto world = std::make_shared<platform::World>(*platform::getWorld());
        world->httpTransport =
            std::make_shared<PatientTransport>(client.directory().path("install/trusted.pem"), endless);
        platform::setWorld(world);
    }

    Outcome outcomeOf(const Client& client, const Cycle& cycle, std::size_t oldLines, std::size_t faulty) const {
        std::vector<std::string> asked;
        for (const VersionQuery& query : cycle.versionQueries) {
            asked.push_back(query.address);
        }
        EXPECT_THAT(asked,
                    testing::ElementsAreArray(HOSTS.begin(), HOSTS.begin() + std::min(faulty + 2, HOSTS.size())));
        EXPECT_EQ(cycle.versionQueries.at(faulty).version, "");
        const bool last = faulty + 1 == HOSTS.size();
        const std::string& cache = client.cacheFile();
        EXPECT_EQ(cache == before_.cacheFile(), last);
        const auto text = [&client](const wchar_t* key) {
            const std::string value = QuillCoreUtils::toString(client.value(key));
            return value.empty() ? std::string("none") : value;
        };
        return {.told = toldSince(client, oldLines, faulty),
                .followed = {{"next asked", asked.size() > faulty + 1 ? asked.back() : "nobody"},
                             {"state", stateOf(*client.store())},
                             {"version", text(L"HomeUdsVersion")},
                             {"file", cycle.end == CycleEnd::Delivered ? "downloaded" : "not asked for"},
                             {"values", text(L"origin")},
                             {"log afterwards, at level 3", quoted(warningsSince(client, oldLines))},
                             {"cache file", cache == before_.cacheFile() ? "as it was" : "the new file"}}};
    }

    static std::vector<std::string> linesSince(const Client& client, std::size_t oldLines, int level) {
        std::vector<std::string> texts;
        const std::vector<fakes::RecordingLogSink::Line> lines = client.log().lines();
        for (std::size_t number = oldLines; number < lines.size(); ++number) {
            if (lines[number].level == level) {
                texts.push_back(lines[number].text);
            }
        }
        return texts;
    }

    /// What the log has at level 2, but of the servers that were dead.
    static std::string toldSince(const Client& client, std::size_t oldLines, std::size_t faulty) {
        const std::vector<std::string> lines = linesSince(client, oldLines, 2);
        const auto empties = static_cast<std::size_t>(std::count(lines.begin(), lines.end(), EMPTY_LINE));
        EXPECT_EQ(lines.size(), empties);
        if (empties > faulty) {
            return empties == faulty + 1 ? "empty" : quoted(lines);
        }
        const std::vector<std::string> warnings = linesSince(client, oldLines, 3);
        const bool isDocument = std::none_of(warnings.begin(), warnings.end(), isOfTheReader);
        return isDocument ? "one without a version" : "no document";
    }

    static bool isOfTheReader(const std::string& line) { return line.starts_with("xmlDocument:"); }

    /// At level 3, but what was wrong with a document.
    static std::vector<std::string> warningsSince(const Client& client, std::size_t oldLines) {
        std::vector<std::string> lines = linesSince(client, oldLines, 3);
        std::erase_if(lines, isOfTheReader);
        return lines;
    }

    const fakes::PlainNetwork environment_;
    const CertificateAuthority authority_;
    const std::array<std::string, 3> addresses_ = {CallControlServer::freeLoopbackAddress(),
                                                   CallControlServer::freeLoopbackAddress(),
                                                   CallControlServer::freeLoopbackAddress()};
    fakes::ScriptedNames names_;
    std::string cacheWhenAsked_;  ///< by the next server
    const Server file_{authority_};
    Client before_{{.servers = {file_.address()}, .version = "12", .trusted = authority_.certificate()}};
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

TEST(VersionFaultsAtEachServer, ComeToWhatTheTableSays) {
    FaultyVersions versions;
    expectAsWritten("When servers are asked for their version", "the answer counts as", faultsOfVersions(),
                    [&versions](const NetworkFault& fault, std::size_t at) { return versions.tryOut(fault, at); });
}
