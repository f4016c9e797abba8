#include <chrono>
#include <limits>
#include <string>

#include "Download.h"
#include "fakes/ScriptedServer.h"
#include "impl/http/CurlTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;

namespace {

class TransferFailure : public testing::Test {
protected:
    HttpDownloadResult resultFrom(const ScriptedServer::Script& script, long timeout = 60) {
        ScriptedServer server(script);
        return download(transport, server.url("/file.xml"), timeout).result;
    }

    HttpDownloadResult resultOfUrl(const std::string& url) { return download(transport, url).result; }

    platform::CurlTransport transport{""};
};

}  // namespace

TEST_F(TransferFailure, IsAStatusOutsideTheTwoHundreds) {
    for (const int status : {206, 300, 304, 400, 403, 404, 500, 503, 999}) {
        ScriptedServer server([&](ScriptedConnection& client) { client.respond(status, "<Corvid/>"); });
        const Ended ended = download(transport, server.url());
        EXPECT_EQ(ended.result, StatusRefused) << status;
        EXPECT_EQ(ended.body, "") << status;
    }
}

TEST_F(TransferFailure, IsNoStatusInTheTwoHundreds) {
    for (const int status : {200, 201, 203, 299}) {
        ScriptedServer server([&](ScriptedConnection& client) { client.respond(status, "<Corvid/>"); });
        const Ended ended = download(transport, server.url());
        EXPECT_EQ(ended.result, Success) << status;
        EXPECT_EQ(ended.body, "<Corvid/>") << status;
    }
}

TEST_F(TransferFailure, IsARefusingStatusWhateverItsBody) {
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) {
                  client.send("HTTP/1.1 404 Not Found\r\nContent-Length: 99999999999\r\n\r\n");
                  client.waitUntilClientLeaves();
              }),
              StatusRefused);
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) {
                  client.send("HTTP/1.1 404 Not Found\r\nContent-Length: 100\r\n\r\ncut");
              }),
              StatusRefused);
}

TEST_F(TransferFailure, IsNoAnswerThatComesAfterAnInterimOne) {
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) {
                  client.send("HTTP/1.1 103 Early Hints\r\n\r\n");
                  client.respond(200, "<Corvid/>");
              }),
              Success);
}

TEST_F(TransferFailure, IsARefusedConnection) {
    ScriptedServer server([](ScriptedConnection&) {});
    const std::string url = server.url();
    server.stop();
    EXPECT_EQ(resultOfUrl(url), ConnectionFailed);
}

TEST_F(TransferFailure, IsAConnectionThatIsClosedBeforeTheAnswer) {
    EXPECT_EQ(resultFrom([](ScriptedConnection&) {}), ConnectionFailed);
}

TEST_F(TransferFailure, IsAConnectionThatIsResetBeforeTheAnswer) {
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) { client.reset(); }), ConnectionFailed);
}

TEST_F(TransferFailure, IsAConnectionThatIsResetInsideTheHead) {
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) {
                  client.send("HTTP/1.1 200 OK\r\nContent-Le");
                  client.reset();
              }),
              ConnectionFailed);
}

TEST_F(TransferFailure, IsAConnectionThatEndsInsideTheHead) {
    for (const std::string head : {"HTTP/1.1 2", "HTTP/1.1 200 OK\r\n", "HTTP/1.1 200 OK\r\nContent-Le",
                                   "HTTP/1.1 200 OK\r\nContent-Length: 9\r\n", "HTTP/1.1 103 Early Hints\r\n\r\n"}) {
        EXPECT_EQ(resultFrom([&](ScriptedConnection& client) { client.send(head); }), ConnectionFailed) << head;
    }
}

TEST_F(TransferFailure, IsAnAnswerInAnotherProtocol) {
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) { client.send("SSH-2.0-server\r\n"); }), Failed);
}

TEST_F(TransferFailure, IsAHeadWithoutEnd) {
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) {
                  client.send("HTTP/1.1 200 OK\r\n");
                  while (client.send("X-Filler: " + std::string(1000, 'x') + "\r\n")) {
                  }
              }),
              Failed);
}

TEST_F(TransferFailure, IsAServerThatDoesNotAnswerInTime) {
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) { client.waitUntilClientLeaves(); }, 1), TimedOut);
}

TEST_F(TransferFailure, IsABodyThatDoesNotEndInTime) {
    EXPECT_EQ(resultFrom(
                  [](ScriptedConnection& client) {
                      client.send("HTTP/1.1 200 OK\r\nContent-Length: 100000\r\n\r\n");
                      client.sendSlowly(std::string(100000, 'x'), std::chrono::milliseconds(10));
                  },
                  1),
              TimedOut);
}

TEST_F(TransferFailure, HasAtLeastASecond) {
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); }, 0), Success);
    EXPECT_EQ(resultFrom([](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); }, -5), Success);
}

TEST_F(TransferFailure, HasAnyLengthOfTime) {
    const auto answer = [](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); };
    EXPECT_EQ(resultFrom(answer, std::numeric_limits<long>::max()), Success);
    EXPECT_EQ(resultFrom(answer, std::numeric_limits<long>::min()), Success);
}

TEST_F(TransferFailure, IsANameThatDoesNotResolve) {
    // A label longer than the domain name system allows: no name server is asked.
    EXPECT_EQ(resultOfUrl("http://" + std::string(64, 'a') + ".invalid/"), NameNotResolved);
}

TEST_F(TransferFailure, IsWhatIsNoUrl) {
    for (const char* const url : {"", "file.xml", "http://", "http://127.0.0.1:99999/", "http://127.0.0.1/a b"}) {
        EXPECT_EQ(resultOfUrl(url), MalformedUrl) << url;
    }
}

TEST_F(TransferFailure, IsAnotherScheme) {
    for (const char* const url : {"ftp://127.0.0.1/file.xml", "file:///etc/passwd", "tftp://127.0.0.1/file.xml"}) {
        EXPECT_EQ(resultOfUrl(url), MalformedUrl) << url;
    }
}
