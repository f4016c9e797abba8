#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <stdexcept>
#include <string>

#include "web/PageFiles.h"
#include "web/ServedPage.h"

using namespace corvidctl;

namespace {

/// What is served, and to whom.
class WebServerTest : public ServedPage {
protected:
    WebServerTest() { serve(); }
};

TEST_F(WebServerTest, LinkGivesTheCookieAndLeadsToThePage) {
    const std::string link = server_->link();
    ASSERT_EQ(link.substr(0, link.find('=') + 1), "http://" + host() + "/?token=");
    const RawAnswer answer = ask("GET /?token=" + token() + " HTTP/1.1\r\nHost: " + host() + "\r\n\r\n");
    EXPECT_EQ(answer.status, 303);
    const std::string place = answer.field("Location");
    EXPECT_THAT(place, testing::MatchesRegex("/[0-9a-f]+/"));
    EXPECT_EQ(place.size(), 66U) << "256 bits, which no other server guesses";
    EXPECT_EQ(place.find(token()), std::string::npos) << "an address is seen by more people than a cookie";
    EXPECT_EQ(answer.field("Set-Cookie"), "corvid-inspector-" + std::to_string(server_->port()) + "=" + token() +
                                              "; HttpOnly; SameSite=Strict; Path=" + place);
}

TEST_F(WebServerTest, EverythingIsInThePlaceThatTheCookieIsFor) {
    const std::string link = server_->link();
    const std::string place =
        ask("GET " + link.substr(link.find("/?")) + " HTTP/1.1\r\nHost: " + host() + "\r\n\r\n").field("Location");
    EXPECT_EQ(ask(get(place)).body, pageFileAt("/index.html")->contents);
    EXPECT_EQ(ask(get(place + "style.css")).field("Content-Type"), "text/css; charset=utf-8");
    EXPECT_EQ(ask(get(place + "api/keys?a=b")).body, "{\"path\":\"keys\"}");
    EXPECT_EQ(ask(post(place + "api/set", "{}")).body, "{\"path\":\"set\"}");
    EXPECT_EQ(ask(get(place.substr(0, place.size() - 1))).status, 404);
    EXPECT_EQ(ask(get("/" + std::string(64, '0') + "/api/keys")).status, 404);
    EXPECT_EQ(ask("GET " + place + "api/keys HTTP/1.1\r\nHost: " + host() + "\r\n\r\n").status, 401);
}

TEST_F(WebServerTest, PageIsServedAtTheRoot) {
    const RawAnswer answer = ask(get("/"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.field("Content-Type"), "text/html; charset=utf-8");
    EXPECT_EQ(answer.body, pageFileAt("/index.html")->contents);
}

TEST_F(WebServerTest, TokenIsMadeForEachServer) {
    const std::string first = server_->link();
    serve();
    EXPECT_NE(server_->link().substr(server_->link().find('=')), first.substr(first.find('=')));
}

TEST_F(WebServerTest, LinkMayBeOpenedAgain) {
    const std::string request = "GET /?token=" + token() +
                                " HTTP/1.1\r\nHost: localhost:" + std::to_string(server_->port()) +
                                "\r\nSec-Fetch-Site: none\r\n\r\n";
    EXPECT_EQ(ask(request).status, 303);
    EXPECT_EQ(ask(request).status, 303);
}

TEST_F(WebServerTest, NobodyGetsAnythingWithoutTheToken) {
    const std::string start = " HTTP/1.1\r\nHost: " + host() + "\r\n\r\n";
    const std::string sentence =
        "Open the link that \"corvidctl inspect\" has printed: it carries the token that lets you in.";
    const RawAnswer page = ask("GET /" + start);
    EXPECT_EQ(page.status, 401);
    EXPECT_EQ(page.field("Content-Type"), "text/plain; charset=utf-8");
    EXPECT_EQ(page.body, sentence + "\n");
    const RawAnswer data = ask("GET /api/keys" + start);
    EXPECT_EQ(data.status, 401);
    EXPECT_EQ(data.field("Content-Type"), "application/json");
    EXPECT_EQ(nlohmann::json::parse(data.body), (nlohmann::json{{"error", sentence}}));
    EXPECT_EQ(ask("GET /api/events" + start).status, 401);
    EXPECT_EQ(ask("GET /?token=" + std::string(64, '0') + start).status, 401);
    EXPECT_TRUE(api_.requests().empty());
}

TEST_F(WebServerTest, OtherHostsAndSitesNeverReachTheApi) {
    EXPECT_EQ(ask("GET /api/keys HTTP/1.1\r\nHost: evil.example\r\n" + cookie() + "\r\n").status, 403);
    EXPECT_EQ(ask("GET /api/keys HTTP/1.0\r\n" + cookie() + "\r\n").status, 403);
    EXPECT_EQ(ask(get("/api/keys", "Origin: http://evil.example\r\n")).status, 403);
    EXPECT_EQ(ask(get("/api/keys", "Sec-Fetch-Site: cross-site\r\n")).status, 403);
    EXPECT_EQ(ask(post("/api/set", "{}", "Origin: null\r\n")).status, 403);
    EXPECT_EQ(ask(get("/api/events", "Sec-Fetch-Site: same-site\r\n")).status, 403);
    EXPECT_TRUE(api_.requests().empty());
}

TEST_F(WebServerTest, ChangesComeByPostAndAsJsonAlone) {
    const RawAnswer put =
        ask("PUT /api/set HTTP/1.1\r\nHost: " + host() + "\r\nOrigin: http://" + host() + "\r\n" + cookie() + "\r\n");
    EXPECT_EQ(put.status, 405);
    EXPECT_EQ(put.field("Allow"), "GET, HEAD, POST");
    const RawAnswer text = ask("POST /api/set HTTP/1.1\r\nHost: " + host() + "\r\nOrigin: http://" + host() + "\r\n" +
                               cookie() + "Content-Type: text/plain\r\nContent-Length: 2\r\n\r\n{}");
    EXPECT_EQ(text.status, 415);
    EXPECT_EQ(text.body, R"({"error":"The body must be JSON, sent with \"Content-Type: application/json\"."})");
    EXPECT_TRUE(api_.requests().empty());
}

TEST_F(WebServerTest, EveryAnswerIsProtected) {
    const std::string own = "Host: " + host() + "\r\n";
    const std::map<std::string, int> statuses = {{get("/"), 200},
                                                 {get("/api/keys"), 200},
                                                 {"GET /?token=" + token() + " HTTP/1.1\r\n" + own + "\r\n", 303},
                                                 {"nonsense\r\n\r\n", 400},
                                                 {"GET / HTTP/1.1\r\n" + own + "\r\n", 401},
                                                 {"GET / HTTP/1.1\r\nHost: evil.example\r\n\r\n", 403},
                                                 {get("/nothing"), 404},
                                                 {post("/", "{}"), 405},
                                                 {post("/api/set", "", "Transfer-Encoding: chunked\r\n"), 411},
                                                 {post("/api/set", std::string(70000, ' ')), 413},
                                                 {get("/", "Range: nonsense\r\n"), 416},
                                                 {get("/", "A: " + std::string(9000, 'a') + "\r\n"), 431},
                                                 {"GET / HTTP/3\r\n\r\n", 400},
                                                 {"PROPFIND / HTTP/1.1\r\n\r\n", 400},
                                                 {post("/api/set\n", "{}"), 400},
                                                 {post("/api/a%0Ab", "{}"), 200},
                                                 {"HEAD" + get("/").substr(3), 200}};
    for (const auto& [request, status] : statuses) {
        const RawAnswer answer = ask(request);
        EXPECT_EQ(answer.status, status) << request.substr(0, 200);
        EXPECT_EQ(answer.field("Content-Security-Policy"),
                  "default-src 'none'; script-src 'self'; style-src 'self'; connect-src 'self'; img-src 'self'; "
                  "base-uri 'none'; form-action 'none'; frame-ancestors 'none'");
        EXPECT_EQ(answer.field("X-Content-Type-Options"), "nosniff");
        EXPECT_EQ(answer.field("Referrer-Policy"), "no-referrer");
        EXPECT_EQ(answer.field("Cross-Origin-Resource-Policy"), "same-origin");
        EXPECT_EQ(answer.field("Cache-Control"), "no-store");
        EXPECT_EQ(answer.field("Accept-Ranges"), "none");
        EXPECT_EQ(answer.field("Keep-Alive"), "");
    }
}

TEST_F(WebServerTest, PathThatLeadsNowhereIsToldWhereThePageIs) {
    for (const std::string path : {"/nothing", "/../index.html", "/%2e%2e/index.html", "/index.html/", "/api", "//"}) {
        const RawAnswer answer = ask(get(path));
        EXPECT_EQ(answer.status, 404) << path;
        EXPECT_EQ(answer.body, "There is nothing here: the page is at \"/\".\n");
    }
}

TEST_F(WebServerTest, UnreadableRequestIsToldInTheFormOfItsPath) {
    const RawAnswer data = ask(get("/api/keys", "Range: nonsense\r\n"));
    EXPECT_EQ(data.status, 416);
    EXPECT_EQ(data.body, R"({"error":"The request cannot be read as one of HTTP/1.1."})");
    for (const std::string request :
         {"nonsense", "", "GET /", "GET / HTTP/2", "GET/ HTTP/1.1", "get / HTTP/1.1", "GET /a b HTTP/1.1",
          "GET /?a?b HTTP/1.1", "\r\nGET / HTTP/1.1", "PRI * HTTP/2.0"}) {
        RawClient client = connect();
        client.send(std::string(request).append("\r\n\r\n") + get("/api/keys"));
        const RawAnswer page = client.read();
        EXPECT_EQ(page.status, 400) << request;
        EXPECT_EQ(page.field("Content-Type"), "text/plain; charset=utf-8");
        EXPECT_EQ(page.field("Connection"), "close");
        EXPECT_EQ(page.body, "The request cannot be read as one of HTTP/1.1.\n");
        EXPECT_EQ(client.readToEnd(), "") << request;
    }
    EXPECT_TRUE(api_.requests().empty());
}

TEST_F(WebServerTest, OtherFormsOfAPathLeadNowhereElse) {
    EXPECT_EQ(ask(get("http://" + host() + "/api/keys")).status, 404);
    EXPECT_EQ(ask(get("api/keys")).status, 404);
    EXPECT_EQ(ask(get("/api/%2e%2e/keys")).status, 200);
    EXPECT_EQ(api_.requests().front().path, "../keys");
    EXPECT_EQ(ask(get("/index%2ehtml#top")).body, pageFileAt("/")->contents);
}

TEST_F(WebServerTest, WhatIsAskedForIsWellFormedText) {
    EXPECT_EQ(ask(get("/api/%FFx?key=%FFa%C3&a%FE=1&key=2")).status, 200);
    const ApiRequest request = api_.requests().front();
    EXPECT_EQ(request.path, "\xEF\xBF\xBDx");
    EXPECT_EQ(request.parameters, (std::map<std::string, std::string>{{"key", "\xEF\xBF\xBD"
                                                                              "a\xEF\xBF\xBD"},
                                                                      {"a\xEF\xBF\xBD", "1"}}));
}

TEST_F(WebServerTest, AnswersComeWholeAndAsTheyAre) {
    const std::string_view page = pageFileAt("/")->contents;
    for (const std::string more : {"Range: bytes=0-3\r\n", "Range: bytes=0-3, 5-6\r\n", "Range: bytes=99999999-\r\n",
                                   "Accept-Encoding: gzip, br\r\n", "If-None-Match: *\r\n"}) {
        const RawAnswer answer = ask(get("/", more));
        EXPECT_EQ(answer.status, 200) << more;
        EXPECT_EQ(answer.field("Content-Encoding"), "") << more;
        EXPECT_EQ(answer.body, page) << more;
    }
}

TEST_F(WebServerTest, ClientThatAsksFirstIsToldToSendItsBody) {
    RawClient client = connect();
    const std::string request = post("/api/set", "{}", "Expect: 100-continue\r\n");
    client.send(request.substr(0, request.size() - 2));
    EXPECT_EQ(client.readUpTo("\r\n\r\n"), "HTTP/1.1 100 Continue\r\n\r\n");
    client.send("{}");
    EXPECT_EQ(client.read().body, R"({"path":"set"})");
}

/// Patterns are looked for with recursion, which takes the more of a thread's stack the longer the text is.
TEST_F(WebServerTest, NothingIsTooDeep) {
    const std::string path(7000, 'a');
    EXPECT_EQ(ask(get("/" + path)).status, 404);
    EXPECT_EQ(ask(get("/api/" + path)).status, 200);
    EXPECT_EQ(ask(post("/api/" + path, "{}")).status, 200);
    std::string ranges = "0-0";
    while (ranges.size() < 7000) {
        ranges.append(",0-0");
    }
    EXPECT_EQ(ask(get("/", "Range: bytes=" + ranges + "\r\n")).status, 200);
    EXPECT_EQ(ask(get("/", "Range: bytes=" + ranges + "x\r\n")).status, 416);
    EXPECT_EQ(ask(get("/", "Range: bytes=0" + std::string(7000, '1') + "-\r\n")).status, 416);
}

TEST_F(WebServerTest, HeadIsAsGetWithoutTheBody) {
    RawClient client = connect();
    client.send("HEAD" + get("/").substr(3));
    const RawAnswer head = client.read(false);
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.field("Content-Length"), std::to_string(pageFileAt("/")->contents.size()));
    client.send("HEAD" + get("/api/keys").substr(3));
    const RawAnswer data = client.read(false);
    EXPECT_EQ(data.status, 200);
    EXPECT_EQ(data.field("Content-Length"), "15");
    EXPECT_EQ(api_.requests().front().method, "GET");
    client.send("HEAD /nothing HTTP/1.1\r\n\r\n");
    EXPECT_EQ(client.read(false).status, 403);
    EXPECT_EQ(client.readToEnd(), "");
}

TEST_F(WebServerTest, ConnectionCarriesOneRequestAfterTheOther) {
    RawClient client = connect();
    for (int i = 0; i < 20; ++i) {
        client.send(get("/api/keys"));
        EXPECT_EQ(client.read().body, R"({"path":"keys"})");
        client.send(post("/api/set", "{}"));
        EXPECT_EQ(client.read().body, R"({"path":"set"})");
    }
}

TEST_F(WebServerTest, RequestsMayBeSentBeforeTheAnswers) {
    RawClient client = connect();
    client.send(post("/api/set", "{\"a\":1}") + get("/api/keys") + get("/nothing") + get("/api/about"));
    EXPECT_EQ(client.read().body, R"({"path":"set"})");
    EXPECT_EQ(client.read().body, R"({"path":"keys"})");
    EXPECT_EQ(client.read().status, 404);
    EXPECT_EQ(client.read().body, R"({"path":"about"})");
}

TEST_F(WebServerTest, ConnectionEndsWhereTheClientWantsItsEnd) {
    RawClient client = connect();
    client.send(get("/api/keys", "Connection: close\r\n") + get("/api/about"));
    const RawAnswer answer = client.read();
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.field("Connection"), "close");
    EXPECT_EQ(client.readToEnd(), "");
    EXPECT_EQ(api_.requests().size(), 1U);
}

TEST_F(WebServerTest, NothingBehindARefusedRequestIsRead) {
    RawClient client = connect();
    client.send("POST /api/set HTTP/1.1\r\nHost: " + host() + "\r\nContent-Length: 5\r\n\r\n" + get("/api/keys"));
    const RawAnswer answer = client.read();
    EXPECT_EQ(answer.status, 403);
    EXPECT_EQ(answer.field("Connection"), "close");
    EXPECT_EQ(client.readToEnd(), "");
    EXPECT_TRUE(api_.requests().empty());
}

TEST_F(WebServerTest, BodyOfSomethingToReadIsNobodysBusiness) {
    RawClient client = connect();
    client.send(get("/api/keys", "Content-Length: 3\r\n") + "abc" + get("/api/about"));
    const RawAnswer answer = client.read();
    EXPECT_EQ(answer.body, R"({"path":"keys"})");
    EXPECT_EQ(answer.field("Connection"), "close");
    EXPECT_EQ(client.readToEnd(), "");
    EXPECT_EQ(api_.requests().size(), 1U);
    EXPECT_EQ(api_.requests().front().body, "");
    EXPECT_EQ(ask(get("/api/keys", "Transfer-Encoding: chunked\r\n")).field("Connection"), "close");
}

TEST_F(WebServerTest, DataComesFromTheApi) {
    const RawAnswer answer = ask(get("/api/explain?key=Docked+Window%3F&x="));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.field("Content-Type"), "application/json");
    EXPECT_EQ(answer.body, "{\"path\":\"explain\"}");
    ASSERT_EQ(api_.requests().size(), 1U);
    const ApiRequest request = api_.requests().front();
    EXPECT_EQ(request.method, "GET");
    EXPECT_EQ(request.path, "explain");
    EXPECT_EQ(request.parameters, (std::map<std::string, std::string>{{"key", "Docked Window?"}, {"x", ""}}));
    EXPECT_EQ(request.body, "");
}

TEST_F(WebServerTest, ChangesReachTheApiWithTheirBody) {
    const RawAnswer answer = ask(post("/api/set", R"({"key":"A"})"));
    EXPECT_EQ(answer.status, 200);
    ASSERT_EQ(api_.requests().size(), 1U);
    const ApiRequest request = api_.requests().front();
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.path, "set");
    EXPECT_EQ(request.body, R"({"key":"A"})");
}

TEST_F(WebServerTest, FailureOfTheApiIsPassedOn) {
    api_.script = [](const ApiRequest&) { return ApiAnswer{409, R"({"error":"No."})"}; };
    serve();
    const RawAnswer answer = ask(post("/api/set", "{}"));
    EXPECT_EQ(answer.status, 409);
    EXPECT_EQ(answer.field("Content-Type"), "application/json");
    EXPECT_EQ(answer.body, R"({"error":"No."})");
}

TEST_F(WebServerTest, PortInUseIsTold) {
    options_.port = server_->port();
    try {
        const WebServer second(options_, api_);
        FAIL() << "two servers on a port";
    } catch (const std::runtime_error& error) {
        EXPECT_EQ(std::string(error.what()), "cannot listen on " + host() + ": Address already in use");
    }
}

TEST_F(WebServerTest, PortMayBeTakenAgainAtOnce) {
    RawClient client = connect();
    client.send(get("/"));
    client.read();
    options_.port = server_->port();
    server_.reset();
    serve();
    EXPECT_EQ(server_->port(), options_.port);
    EXPECT_EQ(ask(get("/")).status, 200);
}

TEST_F(WebServerTest, OnlyOneAddressOfThisMachineLeadsHere) {
    EXPECT_NO_THROW(RawClient(server_->port(), 0, 0x7F000001));
    EXPECT_THROW(RawClient(server_->port(), 0, 0x7F000002), std::runtime_error);
}

TEST_F(WebServerTest, ProgramsThatAreStartedInheritNothing) {
    const RawClient page = listen();
    std::size_t sockets = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        const int descriptor = std::stoi(entry.path().filename().string());
        sockaddr_in address{};
        socklen_t length = sizeof address;
        if (getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
            ntohs(address.sin_port) == server_->port()) {
            EXPECT_NE(fcntl(descriptor, F_GETFD) & FD_CLOEXEC, 0);
            ++sockets;
        }
    }
    EXPECT_EQ(sockets, 2U);
}

}  // namespace
