// Downloads that are ended at any moment, from the outside: by a cancellation, an interruption, the end of the network,
// the end of the host. None of them waits for a server.

#include <array>
#include <chrono>
#include <cstdint>
#include <future>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "ConfigFeatureSet.h"
#include "Trial.h"
#include "callcontrol/CallControlServer.h"
#include "callcontrol/CertificateAuthority.h"
#include "fakes/FullBacklog.h"
#include "fakes/PlainNetwork.h"
#include "fakes/ScriptedNames.h"
#include "fakes/ScriptedServer.h"
#include "fakes/TemporaryDirectory.h"
#include "host/ReferenceHost.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"

namespace torture {
namespace {

using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using std::chrono::microseconds;
using Clock = std::chrono::steady_clock;
using Result = HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult;

constexpr const char* HOST = "server.example";
constexpr const char* CONFIG_FILE = "<config><group><origin>server</origin></group></config>";
constexpr long LONGER_THAN_ANY_TEST = 24 * 3600;  // seconds

constexpr auto PROMPT = std::chrono::milliseconds(200);

/// Where the server leaves its client waiting.
enum class Wait { Name, Connection, Handshake, Answer, Body, Nowhere };
constexpr std::array<const char*, 6> WAITS = {"a name server that never answers",
                                              "a connection that is not admitted",
                                              "a handshake without a word",
                                              "a request without an answer",
                                              "a body that drips",
                                              "a server that answers"};

/// What ends the download.
enum class End { Cancellation, Interruption, EndOfNetwork, EndOfHost };
constexpr std::array<const char*, 4> ENDS = {"cancellation", "interruption of a request", "end of the network",
                                             "end of the host"};

/// Who is waited for, at HOST: with the file over HTTP, or with the version over HTTPS.
class Waited {
public:
    Waited(Wait wait, bool overTls, const std::string& address, const callcontrol::Credentials& credentials)
        : overTls_(overTls) {
        wait == Wait::Name ? names_.keepSilent(HOST) : names_.answer(HOST, address);
        if (wait == Wait::Connection) {
            backlog_ = std::make_unique<fakes::FullBacklog>(address, port());
        } else if (wait != Wait::Name) {
            server_ = std::make_unique<ScriptedServer>(scriptOf(wait, overTls), optionsOf(wait, address, credentials));
        }
    }

    std::uint16_t port() const { return overTls_ ? 8443 : 6970; }
    std::string url() const {
        return (overTls_ ? "https://" : "http://") + std::string(HOST) + ":" + std::to_string(port()) + "/";
    }

private:
    ScriptedServer::Options optionsOf(Wait wait, const std::string& address,
                                      const callcontrol::Credentials& credentials) const {
        ScriptedServer::Options options{.address = address, .port = port()};
        if (wait == Wait::Handshake) {
            options.onConnect = [](ScriptedConnection& connection) {
                connection.waitUntilClientLeaves();
                connection.close();
            };
        } else if (overTls_) {
            options.certificate = credentials.certificate;
            options.privateKey = credentials.privateKey;
        }
        return options;
    }

    static ScriptedServer::Script scriptOf(Wait wait, bool overTls) {
        if (wait == Wait::Answer) {
            return [](ScriptedConnection& connection) { connection.waitUntilClientLeaves(); };
        }
        if (wait == Wait::Body) {
            return [](ScriptedConnection& connection) {
                connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
                connection.sendSlowly(std::string(100000, ' '), std::chrono::milliseconds(1));
            };
        }
        return [overTls](ScriptedConnection& connection) {
            connection.respond(200, overTls ? "<v><version>10.0</version></v>" : CONFIG_FILE);
        };
    }

    const bool overTls_;
    fakes::ScriptedNames names_;
    std::unique_ptr<fakes::FullBacklog> backlog_;
    std::unique_ptr<ScriptedServer> server_;
};

/// The end of a transfer.
class Ending {
public:
    platform::HttpTransport::Transfer transferOf(const std::string& url) {
        const auto tell = [promise = promise_](std::string&, Result result) { promise->set_value(result); };
        return {1, url, {}, tell, LONGER_THAN_ANY_TEST};
    }

    void await() { promise_->get_future().wait(); }

private:
    const std::shared_ptr<std::promise<Result>> promise_ = std::make_shared<std::promise<Result>>();
};

class CancelledDownloads : public testing::Test {
protected:
    /// Has a download under way ended after a random time. @return how long that took.
    Clock::duration endAfterAWhile(End end, const std::string& url, bool overTls) {
        switch (end) {
        case End::Cancellation:
            return cancel(url);
        case End::Interruption:
            return interrupt(url);
        case End::EndOfNetwork:
            return endNetwork(url);
        case End::EndOfHost:
            break;
        }
        return endHost(overTls);
    }

    /// @return false if it took too long.
    bool measure(End end, Wait wait, Clock::duration took) {
        slow_ += took > PROMPT ? 1 : 0;
        if (took > longest_) {
            longest_ = took;
            longestWas_ =
                std::string(ENDS.at(static_cast<std::size_t>(end))) + " at " + WAITS.at(static_cast<std::size_t>(wait));
        }
        return took <= Trial::longest(PROMPT);
    }

    /// Where the files are of what has ended.
    std::string folderOf(End end) const { return end == End::EndOfHost ? home_->path() : directory_.path(); }

    /// For the table.
    std::string summary() const {
        const auto tenths = std::chrono::duration_cast<microseconds>(longest_).count() / 100;
        return "the longest end took " + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " ms (" +
               longestWas_ + "); " + std::to_string(slow_) + " took more than 200 ms";
    }

    const fakes::PlainNetwork environment_;
    Trial trial_{"cancel", "ends", 50, 1000};
    const callcontrol::CertificateAuthority authority_;
    const callcontrol::Credentials credentials_ = authority_.issue({.names = {HOST}});
    const std::string address_ = callcontrol::CallControlServer::freeLoopbackAddress();
    fakes::TemporaryDirectory directory_;

private:
    template <typename Action>
    static Clock::duration timeOf(Action action) {
        const auto began = Clock::now();
        action();
        return Clock::now() - began;
    }

    std::string caFile() const { return directory_.write("trusted.pem", authority_.certificate()); }

    Clock::duration cancel(const std::string& url) {
        platform::CurlTransport transport(caFile());
        Ending ending;
        transport.start(ending.transferOf(url));
        trial_.passUpTo(microseconds(5000));
        return timeOf([&] {
            transport.cancel(1);
            ending.await();
        });
    }

    static void ask(platform::CurlTransport& transport, const std::string& url) {
        const tessel::http::Request request(url);
        request.getOptions()->requestTimeout = LONGER_THAN_ANY_TEST * 1000;
        tessel::http::Response response;
        transport.send(request, response);
    }

    Clock::duration interrupt(const std::string& url) {
        platform::CurlTransport transport(caFile());
        std::thread asking([&] { ask(transport, url); });
        trial_.passUpTo(microseconds(5000));
        return timeOf([&] {
            transport.interruptRequests();
            asking.join();
        });
    }

    Clock::duration endNetwork(const std::string& url) {
        platform::CurlTransport transport(caFile());
        std::array<Ending, 3> endings;
        for (Ending& ending : endings) {
            transport.start(ending.transferOf(url));
        }
        std::thread asking([&] { ask(transport, url); });
        trial_.passUpTo(microseconds(5000));
        return timeOf([&] {
            transport.stop();
            asking.join();
            for (Ending& ending : endings) {
                ending.await();
            }
        });
    }

    Clock::duration endHost(bool asksForTheVersion) {
        home_ = std::make_unique<fakes::TemporaryDirectory>();
        const fakes::TemporaryDirectory& home = *home_;
        host::ReferenceHost::Options options;
        options.configDirectory = home.path("config");
        options.installationDirectory = home.path("install");
        options.bootstrapFilePath =
            home.write("install/bootstrap.properties", "TFTPPrimaryServer: " + std::string(HOST) +
                                                           (asksForTheVersion ? "\n" : "\nHomeUdsVersion: 10\n"));
        options.fips = host::ReferenceHost::Options::Fips::Off;
        options.caFile = caFile();
        options.logFile = home.path("host.log");
        options.powerEvents = false;
        host::ReferenceHost host(options);
        if (!host.start()) {
            throw std::runtime_error(host.failure());
        }
        std::thread fetching([featureSet = host.featureSet()] { featureSet->startTftpConfigSource(); });
        trial_.passUpTo(microseconds(20000));
        const Clock::duration took = timeOf([&] {
            host.stop();
            fetching.join();
        });
        expectWholeOrNone(home);
        return took;
    }

    void expectWholeOrNone(const fakes::TemporaryDirectory& home) {
        const std::string cache = home.read("config/Cache/cachedTFTPConfigStore.xml");
        if (!cache.empty() && cache.find("<origin>server</origin>") == std::string::npos) {
            trial_.lost("the cache file holds: " + cache, home.path());
        }
    }

    std::unique_ptr<fakes::TemporaryDirectory> home_;  ///< of the last host
    Clock::duration longest_{};
    std::string longestWas_;
    std::uint64_t slow_ = 0;
};

}  // namespace

TEST_F(CancelledDownloads, EndWithoutWaitingForAServer) {
    while (trial_.nextRound()) {
        const auto end = static_cast<End>(trial_.below(ENDS.size()));
        const auto wait = static_cast<Wait>(trial_.below(WAITS.size()));
        const bool overTls = wait == Wait::Handshake || trial_.below(2) == 0;
        const Waited waited(wait, overTls, address_, credentials_);
        const Clock::duration took = endAfterAWhile(end, waited.url(), overTls);
        trial_.tried();
        if (!measure(end, wait, took)) {
            trial_.lost(summary(), folderOf(end));
        }
    }
    std::cout << "cancel: " << summary() << "\n";
    trial_.remark(summary());
}

}  // namespace torture
