#include "http/Request.h"

#include <chrono>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "Download.h"
#include "fakes/PlainNetwork.h"
#include "fakes/ScriptedNames.h"
#include "fakes/ScriptedServer.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using tessel::http::Request;
using tessel::http::Response;

namespace {

class SentRequest : public testing::Test {
protected:
    HttpDownloadResult sendTo(const ScriptedServer::Script& script, std::int64_t timeout = 60000) {
        ScriptedServer server(script);
        return sendTo(server.url("/hubm-uds/version"), timeout);
    }

    HttpDownloadResult sendTo(const std::string& url, std::int64_t timeout = 60000) {
        const Request request(url);
        request.getOptions()->requestTimeout = timeout;
        response.setBody("of an earlier answer");
        response.setStatusCode(299);
        return transport.send(request, response);
    }

    Response response;
    platform::CurlTransport transport{""};
};

void answerNever(ScriptedConnection& client) { client.waitUntilClientLeaves(); }

}  // namespace

TEST_F(SentRequest, IsAnsweredWithStatusAndBody) {
    EXPECT_EQ(sendTo([](ScriptedConnection& client) { client.respond(200, "<version/>"); }), Success);
    EXPECT_EQ(response.getStatusCode(), 200);
    EXPECT_EQ(response.getBody(), "<version/>");
}

TEST_F(SentRequest, IsAPlainGet) {
    ScriptedServer server([](ScriptedConnection& client) { client.respond(200, ""); });
    EXPECT_EQ(sendTo(server.url("/hubm-uds/version")), Success);
    const std::string host = "127.0.0.1:" + std::to_string(server.port());
    EXPECT_EQ(server.requests().at(0), "GET /hubm-uds/version HTTP/1.1\r\nHost: " + host + "\r\nAccept: */*\r\n\r\n");
}

TEST_F(SentRequest, TakesAnErrorForAnAnswer) {
    for (const int status : {304, 401, 404, 500, 503}) {
        const std::string body = status == 304 ? "" : "sorry";
        EXPECT_EQ(sendTo([&](ScriptedConnection& client) { client.respond(status, body); }), Success) << status;
        EXPECT_EQ(response.getStatusCode(), status);
        EXPECT_EQ(response.getBody(), body) << status;
    }
}

TEST_F(SentRequest, FollowsRedirectsInsideTheServerOnly) {
    const auto redirectTo = [](const std::string& location) {
        return [location](ScriptedConnection& client) {
            client.target() == "/b" ? client.respond(200, "<version/>") : client.redirect(location);
        };
    };
    EXPECT_EQ(sendTo(redirectTo("/b")), Success);
    EXPECT_EQ(response.getBody(), "<version/>");
    EXPECT_EQ(sendTo(redirectTo("http://127.0.0.1:1/b")), RedirectRefused);
    EXPECT_EQ(response.getBody(), "");
    EXPECT_EQ(sendTo(redirectTo("/a")), RedirectRefused);
    EXPECT_EQ(sendTo([](ScriptedConnection& client) { client.respond(302, "nowhere"); }), Success);
    EXPECT_EQ(response.getStatusCode(), 302);
    EXPECT_EQ(response.getBody(), "nowhere");
}

TEST_F(SentRequest, HasTheLimitOfTransfers) {
    const std::string most(16 * 1024 * 1024, 'x');
    EXPECT_EQ(sendTo([&](ScriptedConnection& client) { client.respond(200, most); }), Success);
    EXPECT_EQ(response.getBody().size(), most.size());
    EXPECT_EQ(sendTo([&](ScriptedConnection& client) { client.respond(200, most + "x"); }), BodyTooLarge);
    EXPECT_EQ(response.getBody(), "");
    EXPECT_EQ(sendTo([&](ScriptedConnection& client) { client.send("HTTP/1.1 500 X\r\n\r\n" + most + "x"); }),
              BodyTooLarge);
}

TEST_F(SentRequest, FailsAsTransfersDo) {
    EXPECT_EQ(sendTo(answerNever, 200), TimedOut);
    EXPECT_EQ(response.getStatusCode(), 0);
    EXPECT_EQ(response.getBody(), "");
    EXPECT_EQ(sendTo([](ScriptedConnection&) {}), ConnectionFailed);
    EXPECT_EQ(sendTo([](ScriptedConnection& client) { client.send("HTTP/1.1 200 OK\r\nContent-Length: 9\r\n\r\n<"); }),
              BodyCut);
    EXPECT_EQ(response.getStatusCode(), 200);
    EXPECT_EQ(response.getBody(), "");
    EXPECT_EQ(sendTo("http://" + std::string(64, 'a') + ".invalid/"), NameNotResolved);
    EXPECT_EQ(sendTo("ftp://127.0.0.1/"), MalformedUrl);
    EXPECT_EQ(sendTo(""), MalformedUrl);
}

TEST_F(SentRequest, TakesAnAnswerWithoutABody) {
    for (const int status : {200, 204, 500}) {
        EXPECT_EQ(sendTo([&](ScriptedConnection& client) {
                      client.respond(status, "");
                      client.waitUntilClientLeaves();
                  }),
                  Success)
            << status;
        EXPECT_EQ(response.getStatusCode(), status);
    }
}

TEST_F(SentRequest, TakesNoBodyThatIsNotWhatTheHeadTold) {
    EXPECT_EQ(sendTo([](ScriptedConnection& client) { client.respond(200, "?", "Content-Encoding: gzip\r\n"); }),
              BodyCoded);
    EXPECT_EQ(response.getBody(), "");
    EXPECT_EQ(sendTo([](ScriptedConnection& client) { client.send("HTTP/1.1 200 OK\r\nContent-Length: 1\r\n\r\n12"); }),
              BodyOverrun);
    EXPECT_EQ(response.getBody(), "");
}

TEST_F(SentRequest, HasAtLeastAMillisecond) {
    EXPECT_EQ(sendTo(answerNever, 0), TimedOut);
    EXPECT_EQ(sendTo(answerNever, -1), TimedOut);
}

TEST_F(SentRequest, WaitsForNoOther) {
    std::latch meeting(3);
    ScriptedServer server([&](ScriptedConnection& client) {
        meeting.arrive_and_wait();
        client.respond(200, "<version/>");
    });
    std::vector<std::thread> callers;
    for (int i = 0; i < 3; ++i) {
        callers.emplace_back([&] {
            Response own;
            EXPECT_EQ(transport.send(Request(server.url()), own), Success);
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
}

TEST_F(SentRequest, IsEndedByAnInterruption) {
    ScriptedServer server(answerNever);
    std::thread interrupter([&] {
        server.waitForRequests(1);
        transport.interruptRequests();
        transport.interruptRequests();
    });
    EXPECT_EQ(sendTo(server.url(), 3600000), Cancelled);
    interrupter.join();
}

TEST_F(SentRequest, IsEndedByAnInterruptionWithoutATimer) {
    // One that looked about once a second, say, would take half a minute.
    const auto began = std::chrono::steady_clock::now();
    ScriptedServer server(answerNever);
    for (std::size_t count = 1; count <= 30; ++count) {
        platform::CurlTransport interrupted("");
        std::thread asking([&] {
            const Request request(server.url());
            request.getOptions()->requestTimeout = 3600000;
            Response own;
            EXPECT_EQ(interrupted.send(request, own), Cancelled);
        });
        server.waitForRequests(count);
        interrupted.interruptRequests();
        asking.join();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - began, std::chrono::seconds(15));
}

TEST_F(SentRequest, IsEndedByAnInterruptionWhileANameIsLookedUp) {
    const fakes::PlainNetwork noProxy;
    fakes::ScriptedNames names;
    names.keepSilent("silent.example");
    std::thread interrupter([&] {
        names.waitForSilence(1);
        transport.interruptRequests();
    });
    EXPECT_EQ(sendTo("http://silent.example/", 3600000), Cancelled);
    interrupter.join();
}

TEST_F(SentRequest, IsEndedByAnInterruptionInTheMiddleOfTheHandshake) {
    ScriptedServer::Options mute;
    mute.onConnect = [](ScriptedConnection& client) { client.waitUntilClientLeaves(); };
    ScriptedServer server([](ScriptedConnection&) {}, mute);
    std::thread interrupter([&] {
        server.waitForConnections(1);
        transport.interruptRequests();
    });
    EXPECT_EQ(sendTo("https://127.0.0.1:" + std::to_string(server.port()) + "/", 3600000), Cancelled);
    interrupter.join();
}

TEST_F(SentRequest, FailsAtOnceAfterAnInterruption) {
    ScriptedServer server(answerNever);
    transport.interruptRequests();
    EXPECT_EQ(sendTo(server.url(), 3600000), Cancelled);
    EXPECT_EQ(response.getStatusCode(), 0);
    EXPECT_EQ(server.connections(), 0U);
}

TEST_F(SentRequest, IsAnsweredOnceEveryInterruptionHasBeenTakenBack) {
    ScriptedServer server([](ScriptedConnection& client) { client.respond(200, "<version/>"); });
    transport.interruptRequests();
    transport.interruptRequests();
    transport.allowRequests();
    EXPECT_EQ(sendTo(server.url()), Cancelled);
    EXPECT_EQ(server.connections(), 0U);
    transport.allowRequests();
    EXPECT_EQ(sendTo(server.url()), Success);
    EXPECT_EQ(response.getBody(), "<version/>");
}

TEST_F(SentRequest, FailsAfterTheStopAlthoughAnInterruptionIsTakenBack) {
    ScriptedServer server(answerNever);
    transport.interruptRequests();
    transport.stop();
    transport.allowRequests();
    EXPECT_EQ(sendTo(server.url(), 3600000), Cancelled);
    EXPECT_EQ(server.connections(), 0U);
}

TEST_F(SentRequest, IsInterruptedWithoutHarmToTransfers) {
    ScriptedServer server([](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); });
    transport.interruptRequests();
    EXPECT_EQ(download(transport, server.url()).result, Success);
}
