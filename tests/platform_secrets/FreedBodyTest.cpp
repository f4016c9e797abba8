#include <cstdlib>
#include <cstring>
#include <latch>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <curl/curl.h>
#include <curl/mprintf.h>

#include "callcontrol/CertificateAuthority.h"
#include "fakes/ScriptedServer.h"
#include "fakes/TemporaryDirectory.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/BodyBuffer.h"
#include "impl/http/CurlMemory.h"
#include "impl/http/CurlTransport.h"
#include "support/FreedMemory.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using support::blocksLeftBy;

namespace {

const std::string SECRET = "<a>the password hunter22 is here</a>";

/// A large body, so that it outgrows the memory that it begins in, several times.
std::string secretBody() { return "<b>" + SECRET + std::string(200'000, 'x') + SECRET + "</b>"; }

/// How many blocks with the secret a transfer leaves that ends as the server's script wants.
class FreedBody : public testing::Test {
protected:
    int leftBy(const ScriptedServer::Script& script, const HttpDownloader::HttpDownloader::Completion& completion,
               const ScriptedServer::Options& options = {}, const std::string& caFile = "") {
        ScriptedServer server(script, options);
        platform::CurlTransport transport(caFile);
        return blocksLeftBy([&] {
            std::latch ran(1);
            transport.start({1,
                             server.url(),
                             {},
                             [&](std::string& given, HttpDownloadResult result) {
                                 completion(given, result);
                                 results.push_back(result);
                                 ran.count_down();
                             },
                             60});
            ran.wait();
            transport.stop();
        });
    }

    ScriptedServer::Script sends(const std::string& head) {
        return [this, head](ScriptedConnection& client) { client.send(head) && client.send(body); };
    }

    // Outlives the watch: it is the server's own copy.
    const std::string body = secretBody();
    std::vector<HttpDownloadResult> results;
};

const std::string OPEN_HEAD = "HTTP/1.1 200 OK\r\n\r\n";

}  // namespace

TEST_F(FreedBody, IsWatched) {
    EXPECT_GT(blocksLeftBy([&] { std::string copy(body); }), 0);
    EXPECT_EQ(blocksLeftBy([] { std::free(strdup(SECRET.c_str())); }), 1);
    EXPECT_EQ(leftBy(sends(OPEN_HEAD), [](std::string& given, HttpDownloadResult) { std::string copy(given); }), 1);
}

TEST_F(FreedBody, HoldsNoSecretAfterTheCompletion) {
    EXPECT_EQ(leftBy(sends(OPEN_HEAD), [&](std::string& given, HttpDownloadResult) { EXPECT_TRUE(given == body); }), 0);
    EXPECT_THAT(results, testing::ElementsAre(Success));
}

TEST_F(FreedBody, HoldsNoSecretOfALengthThatWasStated) {
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: ";
    const auto compare = [&](std::string& given, HttpDownloadResult) { EXPECT_TRUE(given == body); };
    EXPECT_EQ(leftBy(sends(head + std::to_string(body.size()) + "\r\n\r\n"), compare), 0);
    EXPECT_EQ(leftBy(sends(head + "99\r\n\r\n"), [](std::string&, HttpDownloadResult) {}), 0);
    EXPECT_THAT(results, testing::ElementsAre(Success, BodyOverrun));
}

TEST_F(FreedBody, HoldsNoSecretBehindTheEndThatACompletionHasSet) {
    EXPECT_EQ(leftBy(sends(OPEN_HEAD), [](std::string& given, HttpDownloadResult) { given.resize(1); }), 0);
    EXPECT_EQ(leftBy(sends(OPEN_HEAD), [](std::string& given, HttpDownloadResult) { given.clear(); }), 0);
}

TEST_F(FreedBody, HoldsNoSecretThatWasShort) {
    const auto sendShort = [](ScriptedConnection& client) { client.send(OPEN_HEAD) && client.send(SECRET); };
    EXPECT_EQ(leftBy(sendShort, [](std::string& given, HttpDownloadResult) { EXPECT_EQ(given, SECRET); }), 0);
}

TEST_F(FreedBody, HoldsNoSecretThatCameOverTls) {
    const fakes::TemporaryDirectory directory;
    const callcontrol::CertificateAuthority authority;
    const std::string caFile = directory.write("ca.pem", authority.certificate());
    const callcontrol::Credentials credentials = authority.issue({{"127.0.0.1"}});
    ScriptedServer::Options tls;
    tls.certificate = credentials.certificate;
    tls.privateKey = credentials.privateKey;
    const auto compare = [&](std::string& given, HttpDownloadResult) { EXPECT_TRUE(given == body); };
    EXPECT_EQ(leftBy(sends(OPEN_HEAD), compare, tls, caFile), 0);
    EXPECT_THAT(results, testing::ElementsAre(Success));
}

TEST_F(FreedBody, HoldsNoSecretIfItWasCut) {
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Length: 999999\r\n\r\n";
    EXPECT_EQ(leftBy(sends(head), [](std::string&, HttpDownloadResult) {}), 0);
    EXPECT_THAT(results, testing::ElementsAre(BodyCut));
}

TEST_F(FreedBody, HoldsNoSecretIfTheTransferWasCancelled) {
    ScriptedServer server([this](ScriptedConnection& client) {
        client.send(OPEN_HEAD);
        client.send(body);
        client.waitUntilClientLeaves();
    });
    platform::CurlTransport transport("");
    std::latch arrived(1);
    const auto progress = [&, once = false](double, double bytes) mutable {
        if (bytes == static_cast<double>(body.size()) && !std::exchange(once, true)) {
            arrived.count_down();
        }
    };
    EXPECT_EQ(blocksLeftBy([&] {
                  transport.start({1, server.url(), progress, [](std::string&, HttpDownloadResult) {}, 60});
                  arrived.wait();
                  transport.stop();
              }),
              0);
}

TEST_F(FreedBody, HoldsNoSecretIfTheCompletionThrew) {
    ScriptedServer server(sends(OPEN_HEAD));
    platform::CurlTransport transport("");
    EXPECT_EQ(blocksLeftBy([&] {
                  std::latch ran(1);
                  const auto fail = [&](std::string&, HttpDownloadResult) {
                      ran.count_down();
                      throw std::runtime_error("out of order");
                  };
                  transport.start({1, server.url(), {}, fail, 60});
                  ran.wait();
                  transport.stop();
              }),
              0);
}

TEST_F(FreedBody, HoldsNoSecretOfARequestThatFailed) {
    ScriptedServer server(sends("HTTP/1.1 200 OK\r\nContent-Length: 999999\r\n\r\n"));
    platform::CurlTransport transport("");
    EXPECT_EQ(blocksLeftBy([&] {
                  tessel::http::Response response;
                  EXPECT_EQ(transport.send(tessel::http::Request(server.url()), response), BodyCut);
              }),
              0);
}

TEST_F(FreedBody, HoldsNoSecretThatABufferHasOutgrown) {
    platform::BodyBuffer buffer;
    EXPECT_EQ(blocksLeftBy([&] {
                  buffer.append(SECRET.data(), SECRET.size());
                  buffer.append(body.data(), body.size());
                  buffer.append(body.data(), body.size());
              }),
              0);
    EXPECT_EQ(buffer.take().size(), SECRET.size() + 2 * body.size());
}

TEST(FreedMemoryOfTheLibrary, HoldsNoSecret) {
    ASSERT_EQ(platform::initialiseCurlWithWipedMemory(), CURLE_OK);
    const std::string body = secretBody();
    EXPECT_EQ(blocksLeftBy([&] { curl_slist_free_all(curl_slist_append(nullptr, SECRET.c_str())); }), 0);
    // A text that grows as it is made, from one place to the next.
    EXPECT_EQ(blocksLeftBy([&] { curl_free(curl_maprintf("%s%s", body.c_str(), body.c_str())); }), 0);
}

TEST(FreedMemoryOfTheLibrary, KeepsWhatItMoves) {
    ASSERT_EQ(platform::initialiseCurlWithWipedMemory(), CURLE_OK);
    const std::string body = secretBody();
    const std::unique_ptr<char, void (*)(void*)> text(curl_maprintf("%s%s", body.c_str(), body.c_str()), curl_free);
    EXPECT_TRUE(text.get() == body + body);
}
