// Every kind of fault of the network, at each of three servers, and what it comes to: docs/network-faults.md, letter by
// letter. CORVID_WRITE_TABLES=1 writes its tables anew.

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <set>
#include <stdexcept>

#include "Expectations.h"
#include "NetworkFaults.h"
#include "Servers.h"
#include "fakes/PlainNetwork.h"
#include "http/HttpTransport.h"
#include "impl/http/CurlTransport.h"
#include "system/World.h"

using callcontrol::CallControlServer;
using callcontrol::CertificateAuthority;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using namespace integration;

namespace {

const std::array<std::string, 3> HOSTS = {"first.example", "second.example", "third.example"};

/// A network of its own for each fault, since one remembers the names that it has looked up. Nothing that is to end by
/// itself is hurried; what would not is ended after a second.
class PatientTransport : public platform::HttpTransport {
public:
    /// @param endless the host whose transfers do not end by themselves; empty: none.
    PatientTransport(std::string caFile, std::string endless)
        : network_(std::move(caFile)), endless_(std::move(endless)) {}

    bool start(Transfer transfer) override {
        const bool ends = endless_.empty() || transfer.url.find(endless_) == std::string::npos;
        transfer.timeoutSeconds = ends ? 600 : 1;
        return network_.start(std::move(transfer));
    }
    void cancel(std::uint64_t downloader) override { network_.cancel(downloader); }
    Result send(const tessel::http::Request& request, tessel::http::Response& response) override {
        return network_.send(request, response);
    }

private:
    platform::CurlTransport network_;
    const std::string endless_;
};

/// What a fault at one server has come to.
struct Outcome {
    std::string result;              ///< as the downloader calls it
    std::vector<std::string> lines;  ///< of the log
    std::string nextAsked;           ///< the server, or "nobody"
    std::string state;
    std::string cache;
};

using Outcomes = std::vector<Outcome>;  ///< at each of the servers

const std::string TABLE_HEAD = "| fault | the downloader calls it | log, at level 3 | at the first: next asked, state "
                               "| at the second | at the third "
                               "| cache file |\n|---|---|---|---|---|---|---|\n";

/// The one text of all, or all of them.
std::string agreed(const Outcomes& outcomes, const std::function<std::string(std::size_t)>& textAt) {
    std::string all = textAt(0);
    bool same = true;
    for (std::size_t server = 1; server < outcomes.size(); ++server) {
        same = same && textAt(server) == textAt(0);
        all.append(" / ").append(textAt(server));
    }
    return same ? textAt(0) : all;
}

/// The line that tells of the fault itself.
std::string firstLine(const Outcome& outcome, const std::string& host) {
    std::string line = outcome.lines.empty() ? "nothing" : outcome.lines.front();
    const std::size_t place = line.find(host);
    return place == std::string::npos ? line : line.replace(place, host.size(), "SERVER");
}

std::string whatFollowed(const Outcome& outcome) {
    std::string text = outcome.nextAsked + "; " + outcome.state;
    for (std::size_t number = 1; number < outcome.lines.size(); ++number) {
        text.append("; \"").append(outcome.lines[number]).append("\"");
    }
    return text;
}

std::string rowOf(const std::string& fault, const Outcomes& all) {
    std::string row = "| " + fault;
    for (const std::string& cell : {agreed(all, [&](std::size_t at) { return all[at].result; }),
                                    agreed(all, [&](std::size_t at) { return firstLine(all[at], HOSTS.at(at)); }),
                                    whatFollowed(all.at(0)), whatFollowed(all.at(1)), whatFollowed(all.at(2)),
                                    agreed(all, [&](std::size_t at) { return all[at].cache; })}) {
        row.append(" | ").append(cell);
    }
    return row + " |\n";
}

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
        fetchWhatWasBefore();
        renewNetwork(fault.endless ? HOSTS.at(faulty) : "");
        const std::string cache = client_.cacheFile();
        const std::size_t oldLines = client_.log().lines().size();
        const std::shared_ptr<void> arranged = fault.arrange ? fault.arrange(placeOf(faulty)) : nullptr;
        std::vector<std::unique_ptr<ScriptedServer>> well;
        for (std::size_t server = faulty + 1; server < HOSTS.size(); ++server) {
            well.push_back(wellServer(server, HOSTS.at(server)));
        }
        cacheWhenAsked_.clear();
        const Cycle cycle = fetchAgain();
        Outcome outcome{.result = "",
                        .lines = linesSince(oldLines, faulty),
                        .nextAsked = askedOf(well, faulty),
                        .state = state(),
                        .cache = ""};
        if (cycle.attempts.size() > faulty) {
            outcome.result = describe(cycle.attempts[faulty].result);
        }
        // Those who were asked write it; when they were, it was nobody's but the fault's.
        const std::string& left = outcome.nextAsked == "nobody" ? client_.cacheFile() : cacheWhenAsked_;
        outcome.cache = left == cache ? "as it was" : "CHANGED";
        return outcome;
    }

private:
    ClientOptions options() const {
        return {.servers = {HOSTS.begin(), HOSTS.end()},
                .version = overTls_ ? "12" : "10",
                .trusted = authority_.certificate()};
    }

    FaultPlace placeOf(std::size_t server) {
        return {HOSTS.at(server), addresses_.at(server), overTls_, authority_, names_};
    }

    std::unique_ptr<ScriptedServer> wellServer(std::size_t server, const std::string& origin) {
        const auto answer = [this, origin](ScriptedConnection& connection) {
            cacheWhenAsked_ = client_.cacheFile();
            connection.respond(200, document({{"origin", origin}}));
        };
        return std::make_unique<ScriptedServer>(answer, placeOf(server).options());
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
        static const char* const names[] = {"NOT_STARTED", "IN_PROGRESS", "CANCELLED", "RESTART_PENDING", "FINISHED"};
        EXPECT_TRUE(isReleased(*client_.store()));
        std::string text = names[client_.store()->queryState()];
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

std::string textOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The table below a heading of the document, and the text around it.
struct Section {
    std::string before;
    std::string table;
    std::string behind;

    explicit Section(const std::string& heading) {
        const std::string text = textOf(NETWORK_FAULTS_DOCUMENT);
        const std::size_t begin = text.find("## " + heading + "\n\n");
        if (begin == std::string::npos) {
            throw std::runtime_error("docs/network-faults.md has no heading: " + heading);
        }
        const std::size_t first = begin + heading.size() + 5;
        const std::size_t end = std::min(text.find("\n## ", first), text.size());
        before = text.substr(0, first);
        table = text.substr(first, end - first);
        behind = text.substr(end);
    }
};

void expectAsWritten(const std::string& heading, bool overTls, const std::vector<NetworkFault>& faults) {
    std::string table = TABLE_HEAD;
    std::set<std::string> names;
    FaultyNetwork network(overTls);
    for (const NetworkFault& fault : faults) {
        EXPECT_TRUE(names.insert(fault.name).second) << fault.name;
        Outcomes outcomes;
        for (std::size_t server = 0; server < HOSTS.size(); ++server) {
            SCOPED_TRACE(fault.name + " at " + HOSTS.at(server));
            outcomes.push_back(network.tryOut(fault, server));
            EXPECT_NE(outcomes.back().result, "done");
            EXPECT_EQ(outcomes.back().cache, "as it was");
            EXPECT_EQ(outcomes.back().nextAsked, server + 1 < HOSTS.size() ? HOSTS.at(server + 1) : "nobody");
        }
        table += rowOf(fault.name, outcomes);
    }
    const Section section(heading);
    if (std::getenv("CORVID_WRITE_TABLES") != nullptr) {
        std::ofstream(NETWORK_FAULTS_DOCUMENT) << section.before << table << section.behind;
        FAIL() << "wrote " << NETWORK_FAULTS_DOCUMENT << ": look at it, and run again without CORVID_WRITE_TABLES";
    }
    EXPECT_EQ(section.table, table);
}

}  // namespace

TEST(NetworkFaults, OverHttpComeToWhatTheTableSays) {
    expectAsWritten("Over HTTP, to servers below version 11", false, faultsOverHttp());
}

TEST(NetworkFaults, OverHttpsComeToWhatTheTableSays) {
    expectAsWritten("Over HTTPS, to servers from version 11 on", true, faultsOverHttps());
}
