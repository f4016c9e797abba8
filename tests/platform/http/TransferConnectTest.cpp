// Transfers that never get as far as a connection.

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>

#include "Download.h"
#include "callcontrol/CertificateAuthority.h"
#include "fakes/ScriptedServer.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;

namespace {

constexpr std::chrono::seconds LIMIT{2};

/// libcurl counts whole milliseconds, from a moment of its own.
constexpr std::chrono::milliseconds CLOCKS_DIFFER{10};

/// A port where somebody listens who takes no one in, and has no room for another to wait.
class FullPort {
public:
    FullPort() {
        auto* const name = reinterpret_cast<sockaddr*>(&address_);
        socklen_t size = sizeof address_;
        address_.sin_family = AF_INET;
        address_.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        if (::bind(listener_, name, size) != 0 || ::listen(listener_, 0) != 0 ||
            ::getsockname(listener_, name, &size) != 0 || ::connect(waiting_, name, size) != 0) {
            throw std::runtime_error("FullPort: cannot be listened on");
        }
    }

    ~FullPort() {
        ::close(waiting_);
        ::close(listener_);
    }

    FullPort(const FullPort&) = delete;
    FullPort& operator=(const FullPort&) = delete;

    std::string url() const { return "http://127.0.0.1:" + std::to_string(ntohs(address_.sin_port)) + "/file.xml"; }

    /// Whether somebody has come in besides the one who has been waiting from the beginning on.
    bool hasTakenAnother() const {
        ::close(::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC));
        return ::accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC) >= 0;
    }

private:
    const int listener_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    const int waiting_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address_{};
};

/// A server that takes connections in and never says a word, not even of TLS.
class Mute {
public:
    std::string url() const { return server_.url("/file.xml"); }

private:
    static ScriptedServer::Options options() {
        const callcontrol::Credentials credentials = callcontrol::CertificateAuthority().issue({{"127.0.0.1"}});
        return {.certificate = credentials.certificate,
                .privateKey = credentials.privateKey,
                .onConnect = [](ScriptedConnection& client) {
                    client.waitUntilClientLeaves();
                    client.close();
                }};
    }

    ScriptedServer server_{[](ScriptedConnection&) {}, options()};
};

class TransferConnect : public testing::Test {
protected:
    /// The limit must have ended it: not sooner, and not several limits later, however slow the machine is.
    static void expectTimedOut(const std::function<HttpDownloadResult()>& action) {
        const auto began = std::chrono::steady_clock::now();
        EXPECT_EQ(action(), TimedOut);
        const auto took = std::chrono::duration<double>(std::chrono::steady_clock::now() - began);
        EXPECT_GT(took, LIMIT - CLOCKS_DIFFER) << took.count();
        EXPECT_LT(took, 3 * LIMIT) << took.count();
    }

    void expectTransferTimedOut(const std::string& url) {
        expectTimedOut([&] { return download(transport, url, LIMIT.count()).result; });
    }

    void expectRequestTimedOut(const std::string& url) {
        tessel::http::Request request(url);
        request.getOptions()->requestTimeout = LIMIT.count() * 1000;
        tessel::http::Response response;
        expectTimedOut([&] { return transport.send(request, response); });
    }

    platform::CurlTransport transport{""};
};

}  // namespace

TEST_F(TransferConnect, CountsAgainstTheLimit) {
    const FullPort port;
    expectTransferTimedOut(port.url());
    EXPECT_FALSE(port.hasTakenAnother());
}

TEST_F(TransferConnect, CountsAgainstTheLimitOfARequest) {
    const FullPort port;
    expectRequestTimedOut(port.url());
    EXPECT_FALSE(port.hasTakenAnother());
}

TEST_F(TransferConnect, CountsTheAgreementOnTlsAgainstTheLimit) {
    const Mute server;
    expectTransferTimedOut(server.url());
}

TEST_F(TransferConnect, CountsTheAgreementOnTlsAgainstTheLimitOfARequest) {
    const Mute server;
    expectRequestTimedOut(server.url());
}
