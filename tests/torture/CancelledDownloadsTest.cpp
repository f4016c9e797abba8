// Downloads that are ended at any moment, from the outside: by a cancellation, an interruption, the end of the network,
// of the host or of the source, another server. None of them waits for a server, and none leaves half a copy.

#include <array>
#include <chrono>
#include <cstdint>
#include <future>
#include <iostream>
#include <map>
#include <memory>
#include <numeric>
#include <string>
#include <thread>
#include <utility>

#include "DownloadingHost.h"
#include "Trial.h"
#include "callcontrol/CallControlServer.h"
#include "callcontrol/CertificateAuthority.h"
#include "fakes/FullBacklog.h"
#include "fakes/PlainNetwork.h"
#include "fakes/ScriptedNames.h"
#include "fakes/ScriptedServer.h"
#include "fakes/TemporaryDirectory.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"
#include "quill/StringUtils.h"

namespace torture {
namespace {

using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using std::chrono::microseconds;
using Clock = std::chrono::steady_clock;
using Result = HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult;

constexpr const char* HOST = "server.example";
constexpr const char* OTHER_HOST = "other.example";
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
enum class End { Cancellation, Interruption, EndOfNetwork, EndOfHost, EndOfSource, OtherServer };
constexpr std::array<const char*, 6> ENDS = {"cancellation",    "interruption of a request", "end of the network",
                                             "end of the host", "end of the source",         "change of servers"};

/// What the server is asked for: the file over HTTP, the version, the file over HTTPS.
enum class Request { File, Version, SecureFile };
constexpr std::array<std::uint16_t, 3> PORTS = {6970, 8443, 6972};

std::uint16_t portOf(Request request) { return PORTS.at(static_cast<std::size_t>(request)); }

/// The file of a server; what it tells is long enough to be cut.
std::string fileFrom(const std::string& server) {
    return "<config><group><origin>" + server + "</origin><text>" + std::string(2000, server.front()) +
           "</text></group></config>";
}

/// Who is waited for, at HOST, and who is well, at OTHER_HOST.
class Waited {
public:
    /// @param text of the file at HOST, if it can be had.
    Waited(Wait wait, Request request, const std::array<std::string, 2>& addresses,
           const callcontrol::Credentials& credentials, const std::string& text = fileFrom("server"))
        : wait_(wait), request_(request) {
        names_.answer(OTHER_HOST, addresses[1]);
        wait == Wait::Name ? names_.keepSilent(HOST) : names_.answer(HOST, addresses[0]);
        if (wait == Wait::Connection) {
            backlog_ = std::make_unique<fakes::FullBacklog>(addresses[0], portOf(request));
        } else if (wait != Wait::Name) {
            server_ = std::make_unique<ScriptedServer>(scriptOf(wait, textOf(text)),
                                                       optionsOf(wait, addresses[0], credentials));
        }
        other_ = std::make_unique<ScriptedServer>(scriptOf(Wait::Nowhere, textOf(fileFrom("other"))),
                                                  optionsOf(Wait::Nowhere, addresses[1], credentials));
    }

    std::string url() const {
        return (request_ == Request::File ? "http://" : "https://") + std::string(HOST) + ":" +
               std::to_string(portOf(request_)) + "/";
    }

    Wait wait() const { return wait_; }

    /// Whether somebody has come to where he is left waiting; of a server that answers, whether it was asked.
    bool isReached() const {
        switch (wait_) {
        case Wait::Name:
            return names_.silences() > 0;
        case Wait::Connection:
            return backlog_->isWaitedFor();
        case Wait::Handshake:
            return server_->connections() > 0;
        default:
            return !server_->requests().empty();
        }
    }

private:
    std::string textOf(const std::string& file) const {
        return request_ == Request::Version ? "<v><version>10.0</version></v>" : file;
    }

    ScriptedServer::Options optionsOf(Wait wait, const std::string& address,
                                      const callcontrol::Credentials& credentials) const {
        ScriptedServer::Options options{.address = address, .port = portOf(request_)};
        if (wait == Wait::Handshake) {
            options.onConnect = [](ScriptedConnection& connection) {
                connection.waitUntilClientLeaves();
                connection.close();
            };
        } else if (request_ != Request::File) {
            options.certificate = credentials.certificate;
            options.privateKey = credentials.privateKey;
        }
        return options;
    }

    static ScriptedServer::Script scriptOf(Wait wait, const std::string& text) {
        if (wait == Wait::Answer) {
            return [](ScriptedConnection& connection) { connection.waitUntilClientLeaves(); };
        }
        if (wait == Wait::Body) {
            return [](ScriptedConnection& connection) {
                connection.send("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
                connection.sendSlowly(std::string(100000, ' '), std::chrono::milliseconds(1));
            };
        }
        return [text](ScriptedConnection& connection) { connection.respond(200, text); };
    }

    const Wait wait_;
    const Request request_;
    fakes::ScriptedNames names_;
    std::unique_ptr<fakes::FullBacklog> backlog_;
    std::unique_ptr<ScriptedServer> server_;
    std::unique_ptr<ScriptedServer> other_;
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
    CancelledDownloads() {
        copies_["earlier"] = fetched("earlier");
        earlier_ = std::move(host_);
        copies_["server"] = fetched("server");
        copies_["other"] = fetched("other");
    }

    /// What may be asked for: a handshake is one of HTTPS, and of new servers the store hears when it knows the
    /// version.
    Request anyRequest(End end, Wait wait) {
        const bool first = trial_.below(2) == 0;
        if (end == End::OtherServer) {
            return wait == Wait::Handshake || first ? Request::SecureFile : Request::File;
        }
        if (wait == Wait::Handshake) {
            return first ? Request::SecureFile : Request::Version;
        }
        return static_cast<Request>(trial_.below(PORTS.size()));
    }

    /// Has a download under way ended after a random time. @return how long that took.
    Clock::duration endAfterAWhile(End end, const Waited& waited, Request request) {
        host_.reset();
        waited_ = &waited;
        count_ = &counts_[nameOf(end, waited.wait())];
        const std::string url = waited.url();
        switch (end) {
        case End::Cancellation:
            return cancel(url);
        case End::Interruption:
            return interrupt(url);
        case End::EndOfNetwork:
            return endNetwork(url);
        case End::EndOfHost:
            return endHost(request);
        case End::EndOfSource:
            return endSource(request);
        case End::OtherServer:
            break;
        }
        return changeServer(request);
    }

    /// Whether the copy on disk is the one of before or one that came whole, byte for byte.
    bool hasWholeCopy(End end, Wait wait) const {
        if (host_ == nullptr) {
            return true;
        }
        const std::string copy = host_->cache();
        if (end == End::OtherServer) {
            return copy == copies_.at("other");
        }
        return copy == copies_.at("earlier") || (wait == Wait::Nowhere && copy == copies_.at("server"));
    }

    /// @return false if it took too long.
    bool measure(End end, Wait wait, Clock::duration took) {
        slow_ += took > PROMPT ? 1 : 0;
        if (took > longest_) {
            longest_ = took;
            longestWas_ = nameOf(end, wait);
        }
        return took <= Trial::longest(PROMPT);
    }

    static std::string nameOf(End end, Wait wait) {
        return std::string(ENDS.at(static_cast<std::size_t>(end))) + " at " + WAITS.at(static_cast<std::size_t>(wait));
    }

    /// An end that comes before that tries next to nothing. Of each at each server that was tried.
    void expectThatServersWereReached() const {
        for (const auto& [name, count] : counts_) {
            EXPECT_GT(count.reached, 0U) << "of " << count.tried << ", " << name;
        }
    }

    /// Where the files are of what has ended.
    std::string folder() const { return host_ != nullptr ? host_->folder() : directory_.path(); }

    /// For the table.
    std::string summary() const {
        const auto tenths = std::chrono::duration_cast<microseconds>(longest_).count() / 100;
        return "the longest end took " + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + " ms (" +
               longestWas_ + "); " + std::to_string(slow_) + " took more than 200 ms; " + std::to_string(reached()) +
               " came when the server had been reached";
    }

    const fakes::PlainNetwork environment_;
    Trial trial_{"cancel", "ends", 50, 1000};
    const callcontrol::CertificateAuthority authority_;
    const callcontrol::Credentials credentials_ = authority_.issue({.names = {HOST, OTHER_HOST}});
    const std::array<std::string, 2> addresses_ = {callcontrol::CallControlServer::freeLoopbackAddress(),
                                                   callcontrol::CallControlServer::freeLoopbackAddress()};
    fakes::TemporaryDirectory directory_;

private:
    /// How often a download was ended, and how often it had come to where the server leaves it waiting.
    struct Count {
        std::uint64_t tried = 0;
        std::uint64_t reached = 0;
    };

    std::uint64_t reached() const {
        return std::accumulate(counts_.begin(), counts_.end(), std::uint64_t{0},
                               [](std::uint64_t sum, const auto& each) { return sum + each.second.reached; });
    }

    /// Every other time, the first one included, it begins when the server has been reached.
    void passUpTo(microseconds limit) {
        const auto giveUp = Clock::now() + std::chrono::minutes(1);
        while (count_->tried % 2 == 0 && !waited_->isReached() && Clock::now() < giveUp) {
            std::this_thread::yield();
        }
        trial_.passUpTo(limit);
    }

    template <typename Action>
    Clock::duration timeOf(Action action) {
        ++count_->tried;
        count_->reached += waited_->isReached() ? 1 : 0;
        const auto began = Clock::now();
        action();
        return Clock::now() - began;
    }

    std::string caFile() const { return directory_.write("trusted.pem", authority_.certificate()); }

    Clock::duration cancel(const std::string& url) {
        platform::CurlTransport transport(caFile());
        Ending ending;
        transport.start(ending.transferOf(url));
        passUpTo(microseconds(5000));
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
        passUpTo(microseconds(5000));
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
        passUpTo(microseconds(5000));
        return timeOf([&] {
            transport.stop();
            asking.join();
            for (Ending& ending : endings) {
                ending.await();
            }
        });
    }

    /// A client that has the earlier copy, if there is one yet.
    void startHost(Request request) {
        static constexpr std::array<const char*, 3> VERSIONS = {"10", "", "12"};
        host_ = std::make_unique<DownloadingHost>(
            DownloadingHost::Options{.server = HOST,
                                     .version = VERSIONS.at(static_cast<std::size_t>(request)),
                                     .caFile = caFile(),
                                     .filesAtHand = earlier_ == nullptr ? "" : earlier_->folder()});
        host_->beginFetching();
    }

    /// @return the copy that a client has of a server's file that has come whole.
    std::string fetched(const std::string& server) {
        const Waited waited(Wait::Nowhere, Request::File, addresses_, credentials_, fileFrom(server));
        startHost(Request::File);
        host_->waitUntilFetching();
        host_->waitUntilSettled();
        host_->stop();
        const std::string copy = host_->cache();
        EXPECT_NE(copy.find("<origin>" + server + "</origin>"), std::string::npos) << copy;
        return copy;
    }

    Clock::duration endHost(Request request) {
        startHost(request);
        passUpTo(microseconds(20000));
        return timeOf([this] { host_->stop(); });
    }

    Clock::duration endSource(Request request) {
        startHost(request);
        passUpTo(microseconds(20000));
        const Clock::duration took = timeOf([this] { host_->endSource(); });
        // Until then what is on its way goes on, and brings nothing.
        host_->stop();
        return took;
    }

    /// Ends with the file of the other server.
    Clock::duration changeServer(Request request) {
        startHost(request);
        host_->waitUntilFetching();
        passUpTo(microseconds(20000));
        const Clock::duration took = timeOf([this] {
            host_->changeServer(QuillCoreUtils::toWideString(OTHER_HOST));
            host_->waitUntilSettled();
        });
        host_->stop();
        return took;
    }

    std::map<std::string, std::string> copies_;  ///< of the file of each server, whole
    std::unique_ptr<DownloadingHost> earlier_;   ///< has the copy that all later ones begin with
    std::unique_ptr<DownloadingHost> host_;      ///< the last one, if that is what has ended
    const Waited* waited_ = nullptr;             ///< while a download is ended
    std::map<std::string, Count> counts_;        ///< of each end at each server
    Count* count_ = nullptr;                     ///< of that download
    Clock::duration longest_{};
    std::string longestWas_;
    std::uint64_t slow_ = 0;
};

}  // namespace

TEST_F(CancelledDownloads, EndWithoutWaitingForAServerAndLeaveAWholeCopy) {
    while (trial_.nextRound()) {
        const auto end = static_cast<End>(trial_.below(ENDS.size()));
        const auto wait = static_cast<Wait>(trial_.below(WAITS.size()));
        const Request request = anyRequest(end, wait);
        const Waited waited(wait, request, addresses_, credentials_);
        const Clock::duration took = endAfterAWhile(end, waited, request);
        trial_.tried();
        if (!measure(end, wait, took)) {
            trial_.lost(summary(), folder());
        } else if (!hasWholeCopy(end, wait)) {
            trial_.lost("the copy of the server's file is not whole after the " + nameOf(end, wait), folder());
        }
    }
    std::cout << "cancel: " << summary() << "\n";
    trial_.remark(summary());
    expectThatServersWereReached();
}

}  // namespace torture
