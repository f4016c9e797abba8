#include <openssl/tls1.h>
#include <sys/stat.h>

#include <functional>
#include <string>

#include "Download.h"
#include "callcontrol/CertificateAuthority.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScriptedServer.h"
#include "fakes/TemporaryDirectory.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using callcontrol::CertificateAuthority;
using callcontrol::Credentials;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;

namespace {

void answer(ScriptedConnection& client) { client.respond(200, "<Corvid/>"); }

ScriptedServer::Options tls(const Credentials& credentials) {
    ScriptedServer::Options options;
    options.certificate = credentials.certificate;
    options.privateKey = credentials.privateKey;
    return options;
}

class TransferTls : public testing::Test {
protected:
    HttpDownloadResult resultWith(const Credentials& credentials) {
        ScriptedServer server(answer, tls(credentials));
        platform::CurlTransport transport(caFile);
        return download(transport, server.url()).result;
    }

    const fakes::TemporaryDirectory directory;
    const fakes::ScopedRecordingLog log;
    const CertificateAuthority authority;
    const std::string caFile = directory.write("ca.pem", authority.certificate());
};

/// Sends a body of which no length is stated. @param finish is to end the connection.
ScriptedServer::Script bodyEndedBy(const std::function<void(ScriptedConnection&)>& finish) {
    return [finish](ScriptedConnection& client) {
        client.send("HTTP/1.1 200 OK\r\n\r\n<Corvid/>");
        finish(client);
    };
}

}  // namespace

TEST_F(TransferTls, TrustsTheExtraAuthority) { EXPECT_EQ(resultWith(authority.issue({{"127.0.0.1"}})), Success); }

TEST_F(TransferTls, RejectsAnAuthorityThatNobodyTrusts) {
    EXPECT_EQ(resultWith(CertificateAuthority().issue({{"127.0.0.1"}})), CertificateRejected);
}

TEST_F(TransferTls, RejectsACertificateThatNobodyVouchesFor) {
    EXPECT_EQ(resultWith(CertificateAuthority::selfSigned({{"127.0.0.1"}})), CertificateRejected);
}

TEST_F(TransferTls, RejectsAnotherServersName) {
    EXPECT_EQ(resultWith(authority.issue({{"127.0.0.2", "server.example"}})), CertificateRejected);
}

TEST_F(TransferTls, RejectsACertificateOfThePast) {
    EXPECT_EQ(resultWith(authority.issue({{"127.0.0.1"}, -10, -1})), CertificateRejected);
}

TEST_F(TransferTls, RejectsACertificateOfTheFuture) {
    EXPECT_EQ(resultWith(authority.issue({{"127.0.0.1"}, 1, 10})), CertificateRejected);
}

TEST_F(TransferTls, ChecksTheHostNameToo) {
    ScriptedServer server(answer, tls(authority.issue({{"localhost"}})));
    platform::CurlTransport transport(caFile);
    const std::string port = std::to_string(server.port());
    EXPECT_EQ(download(transport, "https://localhost:" + port + "/").result, Success);
    EXPECT_EQ(download(transport, "https://127.0.0.1:" + port + "/").result, CertificateRejected);
}

TEST_F(TransferTls, ReadsTheExtraFileAnewForEachConnection) {
    ScriptedServer server(answer, tls(authority.issue({{"127.0.0.1"}})));
    const std::string file = directory.write("other.pem", CertificateAuthority().certificate());
    platform::CurlTransport transport(file);
    EXPECT_EQ(download(transport, server.url()).result, CertificateRejected);
    directory.write("other.pem", authority.certificate());
    EXPECT_EQ(download(transport, server.url()).result, Success);
    directory.write("other.pem", CertificateAuthority().certificate());
    EXPECT_EQ(download(transport, server.url()).result, CertificateRejected);
}

TEST_F(TransferTls, TrustsAllAuthoritiesOfTheExtraFile) {
    const CertificateAuthority second;
    ScriptedServer server(answer, tls(second.issue({{"127.0.0.1"}})));
    platform::CurlTransport transport(directory.write("two.pem", authority.certificate() + second.certificate()));
    EXPECT_EQ(download(transport, server.url()).result, Success);
}

TEST_F(TransferTls, WarnsOnceOfAnExtraFileThatCannotBeRead) {
    ScriptedServer server(answer, tls(authority.issue({{"127.0.0.1"}})));
    const std::string missing = directory.path("missing.pem");
    platform::CurlTransport transport(missing);
    EXPECT_EQ(download(transport, server.url()).result, CertificateRejected);
    EXPECT_EQ(download(transport, server.url()).result, CertificateRejected);
    EXPECT_EQ(log->count(3, "No certificates can be read from: " + missing), 1U);
    EXPECT_EQ(log->lines().size(), 1U);
}

TEST_F(TransferTls, WarnsOfAnExtraFileWithoutCertificates) {
    ScriptedServer server(answer, tls(authority.issue({{"127.0.0.1"}})));
    const std::string empty = directory.write("empty.pem", "no certificate\n");
    platform::CurlTransport transport(empty);
    EXPECT_EQ(download(transport, server.url()).result, CertificateRejected);
    EXPECT_EQ(log->count(3, "No certificates can be read from: " + empty), 1U);
}

TEST_F(TransferTls, WarnsOfAnExtraFileThatIsAPipeAndDoesNotWaitForIt) {
    ScriptedServer server(answer, tls(authority.issue({{"127.0.0.1"}})));
    const std::string pipe = directory.path("pipe.pem");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    platform::CurlTransport transport(pipe);
    EXPECT_EQ(download(transport, server.url()).result, CertificateRejected);
    EXPECT_EQ(log->count(3, "No certificates can be read from: " + pipe), 1U);
}

TEST_F(TransferTls, WarnsOfNothingWithoutAnExtraFile) {
    ScriptedServer server(answer, tls(authority.issue({{"127.0.0.1"}})));
    platform::CurlTransport transport("");
    EXPECT_EQ(download(transport, server.url()).result, CertificateRejected);
    EXPECT_TRUE(log->lines().empty());
}

TEST_F(TransferTls, FailsWithAServerThatSpeaksNone) {
    ScriptedServer::Options chatty;
    chatty.onConnect = [](ScriptedConnection& client) { client.send("HTTP/1.1 400 Bad Request\r\n\r\n"); };
    ScriptedServer server(answer, chatty);
    platform::CurlTransport transport(caFile);
    EXPECT_EQ(download(transport, "https://127.0.0.1:" + std::to_string(server.port())).result, TlsFailed);
}

TEST_F(TransferTls, FailsWithAServerThatHangsUp) {
    ScriptedServer::Options options = tls(authority.issue({{"127.0.0.1"}}));
    options.onConnect = [](ScriptedConnection& client) { client.close(); };
    ScriptedServer server(answer, options);
    platform::CurlTransport transport(caFile);
    EXPECT_EQ(download(transport, server.url()).result, TlsFailed);
}

TEST_F(TransferTls, FailsWithAVersionThatIsTooOld) {
    ScriptedServer::Options options = tls(authority.issue({{"127.0.0.1"}}));
    options.newestTls = TLS1_1_VERSION;
    ScriptedServer old(answer, options);
    platform::CurlTransport transport(caFile);
    EXPECT_EQ(download(transport, old.url()).result, TlsFailed);
    options.newestTls = TLS1_2_VERSION;
    ScriptedServer newer(answer, options);
    EXPECT_EQ(download(transport, newer.url()).result, Success);
}

TEST_F(TransferTls, TakesAConnectionThatEndsWithoutGoodbyeForACutBody) {
    ScriptedServer server(
        [](ScriptedConnection& client) {
            client.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<Corvid>");
            client.breakOff();
        },
        tls(authority.issue({{"127.0.0.1"}})));
    platform::CurlTransport transport(caFile);
    EXPECT_EQ(download(transport, server.url()).result, BodyCut);
}

TEST_F(TransferTls, VerifiesRequestsAsTransfers) {
    ScriptedServer good(answer, tls(authority.issue({{"127.0.0.1"}})));
    ScriptedServer bad(answer, tls(CertificateAuthority::selfSigned({{"127.0.0.1"}})));
    platform::CurlTransport transport(caFile);
    tessel::http::Response response;
    EXPECT_EQ(transport.send(tessel::http::Request(good.url()), response), Success);
    EXPECT_EQ(response.getBody(), "<Corvid/>");
    EXPECT_EQ(transport.send(tessel::http::Request(bad.url()), response), CertificateRejected);
    EXPECT_EQ(response.getBody(), "");
    EXPECT_TRUE(bad.requests().empty());
}

TEST_F(TransferTls, FollowsNoRedirectToAPlainConnection) {
    ScriptedServer server(
        [](ScriptedConnection& client) {
            const std::string host = client.request().substr(client.request().find("127.0.0.1"));
            client.redirect("http://" + host.substr(0, host.find('\r')) + "/other.xml");
        },
        tls(authority.issue({{"127.0.0.1"}})));
    platform::CurlTransport transport(caFile);
    EXPECT_EQ(download(transport, server.url()).result, RedirectRefused);
    EXPECT_EQ(server.connections(), 1U);
}

TEST_F(TransferTls, TellsTheEndOfABodyWithoutALength) {
    const Credentials credentials = authority.issue({{"127.0.0.1"}});
    const ScriptedServer server(bodyEndedBy([](ScriptedConnection& client) { client.close(); }), tls(credentials));
    platform::CurlTransport transport(caFile);
    EXPECT_EQ(download(transport, server.url()).result, Success);
}

TEST_F(TransferTls, CutsABodyWithoutALengthWhoseEndItDoesNotTell) {
    const Credentials credentials = authority.issue({{"127.0.0.1"}});
    platform::CurlTransport transport(caFile);
    const ScriptedServer breaking(bodyEndedBy([](ScriptedConnection& client) { client.breakOff(); }), tls(credentials));
    const Ended ended = download(transport, breaking.url());
    EXPECT_EQ(ended.result, BodyCut);
    EXPECT_EQ(ended.body, "");
    const ScriptedServer resetting(bodyEndedBy([](ScriptedConnection& client) { client.reset(); }), tls(credentials));
    EXPECT_NE(download(transport, resetting.url()).result, Success);
}

TEST_F(TransferTls, NeedNotTellTheEndOfABodyWithALength) {
    const ScriptedServer server(
        [](ScriptedConnection& client) {
            client.respond(200, "<Corvid/>");
            client.breakOff();
        },
        tls(authority.issue({{"127.0.0.1"}})));
    platform::CurlTransport transport(caFile);
    EXPECT_EQ(download(transport, server.url()).result, Success);
}
