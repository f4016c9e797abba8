// Every kind of fault of the network, at each of three servers, and what it comes to: docs/network-faults.md, letter by
// letter. CORVID_WRITE_TABLES=1 writes its tables anew.

#include <array>

#include "Expectations.h"
#include "FaultTables.h"
#include "PatientTransport.h"
#include "Servers.h"
#include "fakes/PlainNetwork.h"
#include "system/World.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using namespace integration;

namespace {

/// A client of three servers, which has their file of an earlier download.
class FaultyNetwork {
public:
    explicit FaultyNetwork(bool overTls) : overTls_(overTls), client_(options()) {
        client_.start();
        renewNetwork();
        const std::unique_ptr<ScriptedServer> before = wellServer(0, "before");
        client_.fetch();
    }

    /// The servers before the faulty one are dead, and those behind it are well.
    Outcome tryOut(const NetworkFault& fault, std::size_t faulty) {
        const Try tried = fetchDespite(fault, faulty);
        const std::string& asked = tried.asked;
        // Those who were asked write it; when they were, it was nobody's but the fault's.
        const std::string& left = asked == "nobody" ? client_.cacheFile() : cacheWhenAsked_;
        EXPECT_EQ(asked, faulty + 1 < HOSTS.size() ? HOSTS.at(faulty + 1) : "nobody");
        EXPECT_EQ(left, tried.cache);
        return outcomeOf(tried.cycle, linesSince(tried.oldLines, faulty), asked,
                         left == tried.cache ? "as it was" : "CHANGED", faulty);
    }

    /// The same where a file arrives that is none.
    Outcome tryOutFile(const NetworkFault& fault, std::size_t faulty) {
        const Try tried = fetchDespite(fault, faulty);
        EXPECT_EQ(tried.cycle.end, CycleEnd::Unreadable);
        EXPECT_EQ(tried.cycle.attempts.size(), faulty + 1);
        const bool isEmpty = client_.cacheFile().find("<CachedConfig/>") != std::string::npos;
        return {.told = describe(tried.cycle.attempts.back().result),
                .followed = {{"log, at level 2", quoted(failuresSince(tried.oldLines))},
                             {"next asked", tried.asked},
                             {"state", state()},
                             {"cache file", isEmpty ? "empty" : "NOT EMPTY"}}};
    }

private:
    /// A fetch, and what there was before it.
    struct Try {
        std::string cache;
        std::size_t oldLines = 0;
        Cycle cycle;
        std::string asked;  ///< of those behind the faulty one
    };

    Try fetchDespite(const NetworkFault& fault, std::size_t faulty) {
        fetchWhatWasBefore();
        renewNetwork(fault.endless ? HOSTS.at(faulty) : "");
        Try tried;
        tried.cache = client_.cacheFile();
        tried.oldLines = client_.log().lines().size();
        const std::shared_ptr<void> arranged = fault.arrange ? fault.arrange(placeOf(faulty)) : nullptr;
        std::vector<std::unique_ptr<ScriptedServer>> well;
        for (std::size_t server = faulty + 1; server < HOSTS.size(); ++server) {
            well.push_back(wellServer(server, HOSTS.at(server)));
        }
        cacheWhenAsked_.clear();
        tried.cycle = fetchAgain();
        tried.asked = askedOf(well, faulty);
        return tried;
    }

    ClientOptions options() const {
        return {.servers = {HOSTS.begin(), HOSTS.end()},
                .version = overTls_ ? "12" : "10",
                .trusted = authority_.certificate()};
    }

    FaultPlace placeOf(std::size_t server) {
        const std::uint16_t port = overTls_ ? 6972 : 6970;
        return {HOSTS.at(server), addresses_.at(server), port, authority_, names_};
    }

    std::unique_ptr<ScriptedServer> wellServer(std::size_t server, const std::string& origin) {
        const auto answer = [this, origin](ScriptedConnection& connection) {
            cacheWhenAsked_ = client_.cacheFile();
            connection.respond(200, document({{"origin", origin}}));
        };
        return std::make_unique<ScriptedServer>(answer, placeOf(server).options());
    }

    Outcome outcomeOf(const Cycle& cycle, std::vector<std::string> lines, const std::string& asked,
                      const std::string& cache, std::size_t faulty) const {
        Outcome outcome;
        if (cycle.attempts.size() > faulty) {
            outcome.told = describe(cycle.attempts[faulty].result);
        }
        EXPECT_NE(outcome.told, "done");
        // The first line tells of the fault itself.
        const std::string line = lines.empty() ? "nothing" : lines.front();
        lines.erase(lines.begin(), lines.begin() + (lines.empty() ? 0 : 1));
        outcome.followed = {{"log, at level 3", quoted({withoutName(line, HOSTS.at(faulty))})},
                            {"next asked", asked},
                            {"state", state()},
                            {"log afterwards, at level 3", quoted(lines)},
                            {"cache file", cache}};
        return outcome;
    }

    /// Nothing is remembered, and every name has its address.
    void renewNetwork(const std::string& endless = "") {
        for (std::size_t server = 0; server < HOSTS.size(); ++server) {
            names_.answer(HOSTS.at(server), addresses_.at(server));
        }
        const auto world = std::make_shared<platform::World>(*platform::getWorld());
        world->httpTransport =
            std::make_shared<PatientTransport>(client_.directory().path("install/trusted.pem"), endless);
        platform::setWorld(world);
    }

    Cycle fetchAgain() {
        client_.store()->attemptDownloadFromCachedAddress();
        return client_.watch().waitUntilSettled().cycles.back();
    }

    void fetchWhatWasBefore() {
        renewNetwork();
        const std::unique_ptr<ScriptedServer> before = wellServer(0, "before");
        EXPECT_EQ(fetchAgain().end, CycleEnd::Delivered);
        EXPECT_EQ(client_.value(L"origin"), L"before");
        EXPECT_THAT(client_.cacheFile(), testing::HasSubstr("<origin>before</origin>"));
    }

    /// Warnings and failures, but those of the servers that were dead.
    std::vector<std::string> linesSince(std::size_t oldLines, std::size_t faulty) const {
        std::vector<std::string> texts;
        const std::vector<fakes::RecordingLogSink::Line> lines = client_.log().lines();
        for (std::size_t number = oldLines; number < lines.size(); ++number) {
            bool ofADeadOne = false;
            for (std::size_t dead = 0; dead < faulty; ++dead) {
                ofADeadOne = ofADeadOne || lines[number].text == failureLine(HOSTS.at(dead));
            }
            if (lines[number].level <= 3 && !ofADeadOne) {
                EXPECT_EQ(lines[number].level, 3);
                texts.push_back(lines[number].text);
            }
        }
        return texts;
    }

    /// At level 2, each in one row.
    std::vector<std::string> failuresSince(std::size_t oldLines) const {
        std::vector<std::string> texts;
        const std::vector<fakes::RecordingLogSink::Line> lines = client_.log().lines();
        for (std::size_t number = oldLines; number < lines.size(); ++number) {
            if (lines[number].level == 2) {
                texts.push_back(lines[number].text);
                std::erase_if(texts.back(), [](char character) { return character == '\n' || character == '*'; });
            }
        }
        return texts;
    }

    /// Stops them, after which nobody writes what they have seen.
    static std::string askedOf(const std::vector<std::unique_ptr<ScriptedServer>>& well, std::size_t faulty) {
        std::string asked;
        for (std::size_t number = 0; number < well.size(); ++number) {
            well[number]->stop();
            if (!well[number]->requests().empty()) {
                asked.append(asked.empty() ? "" : ", ").append(HOSTS.at(faulty + 1 + number));
            }
        }
        return asked.empty() ? "nobody" : asked;
    }

    std::string state() const {
        EXPECT_TRUE(isReleased(*client_.store()));
        std::string text = stateOf(*client_.store());
        const std::wstring origin = client_.value(L"origin");
        EXPECT_EQ(client_.store()->getKeys().empty(), origin.empty());
        return text.append(origin.empty() ? ", no values" : ", values of ").append(origin.begin(), origin.end());
    }

    const fakes::PlainNetwork environment_;
    const bool overTls_;
    const CertificateAuthority authority_;
    const std::array<std::string, 3> addresses_ = {CallControlServer::freeLoopbackAddress(),
                                                   CallControlServer::freeLoopbackAddress(),
                                                   CallControlServer::freeLoopbackAddress()};
    fakes::ScriptedNames names_;
    std::string cacheWhenAsked_;
    Client client_;
};

void expectOutcomesAsWritten(const std::string& heading, bool overTls, const std::vector<NetworkFault>& faults) {
    FaultyNetwork network(overTls);
    expectAsWritten(heading, "the downloader calls it", faults,
                    [&network](const NetworkFault& fault, std::size_t at) { return network.tryOut(fault, at); });
}

}  // namespace

TEST(NetworkFaults, OverHttpComeToWhatTheTableSays) {
    expectOutcomesAsWritten("Over HTTP, to servers below version 11", false, faultsOverHttp());
}

TEST(NetworkFaults, OverHttpsComeToWhatTheTableSays) {
    expectOutcomesAsWritten("Over HTTPS, to servers from version 11 on", true, faultsOverHttps());
}

TEST(NetworkFaults, DoNotIncludeAFileThatIsNotWellFormed) {
    for (const bool overTls : {false, true}) {
        FaultyNetwork network(overTls);
        expectAsWritten(
            "When a file arrives that is not well-formed", "the downloader calls it", faultsOfFiles(),
            [&network](const NetworkFault& fault, std::size_t at) { return network.tryOutFile(fault, at); });
    }
}
