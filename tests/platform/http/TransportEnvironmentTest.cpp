#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>
#include <string>

#include "Download.h"
#include "callcontrol/CertificateAuthority.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScriptedServer.h"
#include "fakes/TemporaryDirectory.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"
#include "support/ChildProcess.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

namespace {

/// A variable of the environment for the length of a scope.
class ScopedVariable {
public:
    ScopedVariable(std::string name, const std::string& value) : name_(std::move(name)) {
        const char* const before = std::getenv(name_.c_str());
        had_ = before != nullptr;
        before_ = had_ ? before : "";
        setenv(name_.c_str(), value.c_str(), 1);
    }
    ~ScopedVariable() { had_ ? setenv(name_.c_str(), before_.c_str(), 1) : unsetenv(name_.c_str()); }

    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

private:
    const std::string name_;
    bool had_ = false;
    std::string before_;
};

void answerWell(ScriptedConnection& client) { client.respond(200, "<Corvid/>"); }

ScriptedServer::Options withCredentials(const callcontrol::Credentials& credentials) {
    ScriptedServer::Options options;
    options.certificate = credentials.certificate;
    options.privateKey = credentials.privateKey;
    return options;
}

std::string deadProxy() {
    ScriptedServer gone([](ScriptedConnection&) {});
    return gone.url();
}

HttpDownloadResult sendTo(const std::string& url) {
    platform::CurlTransport transport("");
    tessel::http::Response response;
    return transport.send(tessel::http::Request(url), response);
}

HttpDownloadResult downloadFrom(const std::string& url) {
    platform::CurlTransport transport("");
    return download(transport, url).result;
}

bool brokenPipeSignalIsBlocked() {
    sigset_t mask;
    pthread_sigmask(SIG_SETMASK, nullptr, &mask);
    return sigismember(&mask, SIGPIPE) == 1;
}

}  // namespace

TEST(TransportEnvironment, NamesNoProxyForThisMachine) {
    const std::string dead = deadProxy();
    const ScopedVariable http("http_proxy", dead), all("all_proxy", dead), https("https_proxy", dead);
    const ScopedVariable none("no_proxy", "");
    ScriptedServer server(answerWell);
    const std::string port = std::to_string(server.port());
    EXPECT_EQ(downloadFrom("http://127.0.0.1:" + port), Success);
    EXPECT_EQ(downloadFrom("http://localhost:" + port), Success);
    EXPECT_EQ(sendTo("http://127.0.0.1:" + port), Success);
}

TEST(TransportEnvironment, NamesTheProxyForOtherMachines) {
    ScriptedServer proxy(answerWell);
    const ScopedVariable http("http_proxy", proxy.url()), none("no_proxy", "");
    EXPECT_EQ(downloadFrom("http://server.invalid/file.xml"), Success);
    EXPECT_EQ(sendTo("http://server.invalid/version"), Success);
    EXPECT_THAT(proxy.requests().at(0), HasSubstr("GET http://server.invalid/file.xml "));
    EXPECT_THAT(proxy.requests().at(1), HasSubstr("GET http://server.invalid/version "));
}

TEST(TransportEnvironment, NamesNoProxyForThisMachineOverHttps) {
    const std::string dead = deadProxy();
    const ScopedVariable https("https_proxy", dead), all("all_proxy", dead), none("no_proxy", "");
    const fakes::TemporaryDirectory directory;
    const callcontrol::CertificateAuthority authority;
    ScriptedServer server(answerWell, withCredentials(authority.issue({{"127.0.0.1", "localhost"}})));
    platform::CurlTransport transport(directory.write("ca.pem", authority.certificate()));
    EXPECT_EQ(download(transport, server.url()).result, Success);
    EXPECT_EQ(download(transport, "https://localhost:" + std::to_string(server.port())).result, Success);
    tessel::http::Response response;
    EXPECT_EQ(transport.send(tessel::http::Request(server.url()), response), Success);
}

TEST(TransportEnvironment, NamesTheProxyForOtherMachinesOverHttps) {
    ScriptedServer proxy([](ScriptedConnection& client) { client.respond(403, "no way through"); });
    const ScopedVariable https("https_proxy", proxy.url()), none("no_proxy", "");
    EXPECT_EQ(downloadFrom("https://server.invalid/file.xml"), ConnectionFailed);
    EXPECT_EQ(sendTo("https://server.invalid:8443/version"), ConnectionFailed);
    ASSERT_EQ(proxy.requests().size(), 2U);
    EXPECT_THAT(proxy.requests().at(0), StartsWith("CONNECT server.invalid:443 HTTP/1.1\r\n"));
    EXPECT_THAT(proxy.requests().at(1), StartsWith("CONNECT server.invalid:8443 HTTP/1.1\r\n"));
    // What is asked for goes through the tunnel, and so nowhere without one.
    EXPECT_THAT(proxy.requests().at(0), Not(HasSubstr("file.xml")));
}

TEST(TransportEnvironment, MayNameAProxyThatIsNotThere) {
    const ScopedVariable http("http_proxy", deadProxy()), none("no_proxy", "");
    EXPECT_EQ(downloadFrom("http://server.invalid/file.xml"), ConnectionFailed);
}

TEST(TransportEnvironment, LendsNoPasswords) {
    const fakes::TemporaryDirectory home;
    home.write(".netrc", "machine 127.0.0.1 login user password s3cret\n");
    const ScopedVariable variable("HOME", home.path(""));
    ScriptedServer server(answerWell);
    EXPECT_EQ(downloadFrom(server.url()), Success);
    EXPECT_THAT(server.requests().at(0), Not(HasSubstr("Authorization")));
}

TEST(TransportEnvironment, KeepsTheSystemsAuthoritiesBesideTheExtraFile) {
    const fakes::TemporaryDirectory directory;
    const fakes::ScopedRecordingLog log;
    const callcontrol::CertificateAuthority system, extra;
    const ScopedVariable variable("SSL_CERT_FILE", directory.write("system.pem", system.certificate()));
    ScriptedServer first(answerWell, withCredentials(system.issue({{"127.0.0.1"}})));
    ScriptedServer second(answerWell, withCredentials(extra.issue({{"127.0.0.1"}})));
    platform::CurlTransport both(directory.write("extra.pem", extra.certificate()));
    EXPECT_EQ(download(both, first.url()).result, Success);
    EXPECT_EQ(download(both, second.url()).result, Success);
    platform::CurlTransport missing(directory.path("missing.pem"));
    EXPECT_EQ(download(missing, first.url()).result, Success);
    EXPECT_EQ(download(missing, second.url()).result, CertificateRejected);
}

TEST(TransportEnvironment, LoosensNoRuleOfTls) {
    // In a program of its own: the libraries look at these variables only once in their lives.
    const fakes::TemporaryDirectory directory;
    support::ChildOptions options;
    options.environment["OPENSSL_CONF"] = directory.write("openssl.cnf", "openssl_conf = all\n"
                                                                         "[all]\nssl_conf = tls\n"
                                                                         "[tls]\nsystem_default = loose\n"
                                                                         "[loose]\nMinProtocol = TLSv1\n"
                                                                         "CipherString = ALL:@SECLEVEL=0\n");
    options.environment["CURL_CA_BUNDLE"] = directory.path("openssl.cnf");
    options.environment["CURL_SSL_BACKEND"] = "none";
    options.environment["GTEST_OUTPUT"] = "";
    options.environment["GTEST_TOTAL_SHARDS"] = "1";
    options.environment["GTEST_SHARD_INDEX"] = "0";
    const support::Ended child =
        support::runProgram({std::filesystem::read_symlink("/proc/self/exe"), "--gtest_filter=TransferTls.*"}, options);
    EXPECT_EQ(child.status, 0) << child.out;
    EXPECT_THAT(child.out, HasSubstr("[  PASSED  ] 1"));
}

TEST(TransportEnvironment, HasNoPartInTheKeysOfConnections) {
    // In a program of its own: the library looks at the variable only once in its life.
    const fakes::TemporaryDirectory directory;
    const std::string keys = directory.path("keys");
    support::ChildOptions options;
    options.environment["SSLKEYLOGFILE"] = keys;
    options.environment["GTEST_OUTPUT"] = "";
    options.environment["GTEST_TOTAL_SHARDS"] = "1";
    options.environment["GTEST_SHARD_INDEX"] = "0";
    const support::Ended child = support::runProgram(
        {std::filesystem::read_symlink("/proc/self/exe"), "--gtest_filter=TransferTls.TrustsTheExtraAuthority"},
        options);
    EXPECT_EQ(child.status, 0) << child.out;
    EXPECT_THAT(child.out, HasSubstr("[  PASSED  ] 1 test."));
    EXPECT_TRUE(!std::filesystem::exists(keys) || directory.read("keys").empty());
}

TEST(TransportEnvironment, SendsNoSignalOfABrokenPipeToTheThreads) {
    ScriptedServer server(answerWell);
    platform::CurlTransport transport("");
    bool onTransfers = false;
    bool onCompletions = false;
    const auto progress = [&](double, double) { onTransfers = brokenPipeSignalIsBlocked(); };
    std::promise<void> ran;
    const auto completion = [&](std::string&, HttpDownloadResult) {
        onCompletions = brokenPipeSignalIsBlocked();
        ran.set_value();
    };
    transport.start({1, server.url(), progress, completion, 60});
    ran.get_future().wait();
    EXPECT_TRUE(onTransfers);
    EXPECT_TRUE(onCompletions);
    EXPECT_FALSE(brokenPipeSignalIsBlocked());
}
