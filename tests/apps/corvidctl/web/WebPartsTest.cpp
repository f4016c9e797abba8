#include <gtest/gtest.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "web/EventStreams.h"
#include "web/Farewells.h"
#include "web/PageFiles.h"
#include "web/Token.h"

using namespace corvidctl;

namespace {

bool hasNews(const EventStream& stream) {
    pollfd waited{stream.descriptor(), POLLIN, 0};
    return poll(&waited, 1, 0) == 1;
}

std::shared_ptr<const std::string> eventOf(const std::string& text) {
    return std::make_shared<const std::string>(text);
}

/// A client that there is no place for.
class LeavingClient {
public:
    LeavingClient() { EXPECT_EQ(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, sockets_), 0); }
    ~LeavingClient() { close(sockets_[0]); }
    LeavingClient(const LeavingClient&) = delete;
    LeavingClient& operator=(const LeavingClient&) = delete;

    /// Belongs to the caller.
    int takeServerSide() const { return sockets_[1]; }

    std::string received() const {
        std::array<char, 100> text{};
        const ssize_t size = recv(sockets_[0], text.data(), text.size(), MSG_DONTWAIT);
        return std::string(text.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    }

    /// False if the other side is closed.
    bool canSend() const { return send(sockets_[0], "x", 1, MSG_NOSIGNAL | MSG_DONTWAIT) == 1; }

    void finishSending() const { shutdown(sockets_[0], SHUT_WR); }

private:
    int sockets_[2] = {-1, -1};
};

TEST(Token, Has256BitsThatNobodyHasSeenBefore) {
    std::set<std::string> tokens;
    for (int i = 0; i < 100; ++i) {
        const std::string token = makeToken();
        EXPECT_EQ(token.size(), 64U);
        EXPECT_EQ(token.find_first_not_of("0123456789abcdef"), std::string::npos) << token;
        tokens.insert(token);
    }
    EXPECT_EQ(tokens.size(), 100U);
}

TEST(Token, IsTheSameLetterByLetterOnly) {
    EXPECT_TRUE(isSameToken("abc", "abc"));
    for (const std::string other : {"", "ab", "abcd", "abd", "Abc", "xbc"}) {
        EXPECT_FALSE(isSameToken(other, "abc")) << other;
    }
}

TEST(Farewells, EachIsToldAndClosedWhenItHasGone) {
    LeavingClient client;
    Farewells farewells("No place.", 2, std::chrono::hours(1));
    farewells.add(client.takeServerSide());
    farewells.tend();
    EXPECT_EQ(client.received(), "No place.");
    EXPECT_TRUE(client.canSend());
    std::vector<pollfd> waited;
    EXPECT_GT(farewells.waitFor(waited), 0);
    ASSERT_EQ(waited.size(), 1U);
    EXPECT_EQ(poll(waited.data(), 1, -1), 1);
    farewells.tend();
    EXPECT_EQ(poll(waited.data(), 1, 0), 0);
    client.finishSending();
    EXPECT_EQ(poll(waited.data(), 1, -1), 1);
    farewells.tend();
    waited.clear();
    EXPECT_EQ(farewells.waitFor(waited), -1);
    EXPECT_TRUE(waited.empty());
}

TEST(Farewells, NobodyStaysForLongerThanAMoment) {
    LeavingClient client;
    Farewells farewells("No place.", 2, std::chrono::milliseconds(0));
    farewells.add(client.takeServerSide());
    EXPECT_TRUE(client.canSend());
    farewells.tend();
    EXPECT_FALSE(client.canSend());
    EXPECT_EQ(client.received(), "No place.");
}

TEST(Farewells, FirstGoesWhenThereAreTooMany) {
    LeavingClient clients[3];
    Farewells farewells("No place.", 2, std::chrono::hours(1));
    for (LeavingClient& client : clients) {
        farewells.add(client.takeServerSide());
    }
    EXPECT_FALSE(clients[0].canSend());
    EXPECT_TRUE(clients[1].canSend());
    EXPECT_TRUE(clients[2].canSend());
    EXPECT_EQ(clients[0].received(), "No place.");
}

TEST(PageFiles, RootIsTheIndex) {
    ASSERT_NE(pageFileAt("/"), nullptr);
    EXPECT_EQ(pageFileAt("/"), pageFileAt("/index.html"));
    EXPECT_EQ(pageFileAt("/")->name, "index.html");
    EXPECT_NE(pageFileAt("/")->contents.find("<title>"), std::string_view::npos);
}

TEST(PageFiles, EveryFileIsFoundByItsNameAndHasAMediaType) {
    for (const PageFile& file : pageFiles()) {
        const std::string path = "/" + std::string(file.name);
        EXPECT_EQ(pageFileAt(path), &file) << path;
        EXPECT_NE(mediaTypeOf(file.name), "application/octet-stream") << path;
        EXPECT_FALSE(file.contents.empty()) << path;
    }
}

TEST(PageFiles, OtherPathsLeadNowhere) {
    for (const std::string path : {"", "index.html", "//", "//index.html", "/./index.html", "/../index.html",
                                   "/index.html/", "/INDEX.HTML", "/index%2ehtml", "/%2e%2e/index.html",
                                   "/..%2findex.html", "/index.html\\", "/etc/passwd", "/../../etc/passwd"}) {
        EXPECT_EQ(pageFileAt(path), nullptr) << path;
    }
}

TEST(PageFiles, MediaTypeComesFromTheName) {
    EXPECT_EQ(mediaTypeOf("a.html"), "text/html; charset=utf-8");
    EXPECT_EQ(mediaTypeOf("a.css"), "text/css; charset=utf-8");
    EXPECT_EQ(mediaTypeOf("a.js"), "text/javascript; charset=utf-8");
    EXPECT_EQ(mediaTypeOf("a.json"), "application/json");
    EXPECT_EQ(mediaTypeOf("a.svg"), "image/svg+xml");
    EXPECT_EQ(mediaTypeOf("a.png"), "image/png");
    EXPECT_EQ(mediaTypeOf("a.txt"), "text/plain; charset=utf-8");
    EXPECT_EQ(mediaTypeOf("a.bin"), "application/octet-stream");
}

TEST(EventStreams, EventIsTextOfItsStream) {
    EXPECT_EQ(streamText({"batch", "{\"a\":1}", 12}), "event: batch\nid: 12\ndata: {\"a\":1}\n\n");
    EXPECT_EQ(streamText({"chain", "{}", 0}), "event: chain\ndata: {}\n\n");
}

TEST(EventStreams, WhatWaitsIsTakenInItsOrder) {
    EventStream stream(100);
    EXPECT_FALSE(hasNews(stream));
    stream.push(eventOf("a"), 1);
    stream.push(eventOf("b"), 0);
    stream.push(eventOf("c"), 2);
    EXPECT_TRUE(hasNews(stream));
    EXPECT_EQ(stream.take(0), "abc");
    EXPECT_FALSE(hasNews(stream));
    EXPECT_EQ(stream.take(0), "");
}

TEST(EventStreams, BatchThatThePageHasIsLeftOut) {
    EventStream stream(100);
    stream.push(eventOf("a"), 6);
    stream.push(eventOf("b"), 0);
    stream.push(eventOf("c"), 7);
    stream.push(eventOf("d"), 8);
    EXPECT_EQ(stream.take(7), "bd");
}

TEST(EventStreams, PageThatDoesNotKeepUpLosesItsStream) {
    EventStream stream(10);
    stream.push(eventOf("12345"), 0);
    stream.push(eventOf("67890"), 0);
    EXPECT_FALSE(stream.isOver());
    stream.push(eventOf("1"), 0);
    EXPECT_TRUE(stream.isOver());
    EXPECT_TRUE(hasNews(stream));
    EXPECT_EQ(stream.take(0), "");
    stream.push(eventOf("2"), 0);
    EXPECT_EQ(stream.take(0), "");
    EXPECT_TRUE(hasNews(stream));
}

TEST(EventStreams, LargeEventMayWaitAlone) {
    EventStream stream(10);
    stream.push(eventOf("more than ten bytes"), 0);
    EXPECT_FALSE(stream.isOver());
    EXPECT_EQ(stream.take(0), "more than ten bytes");
    stream.push(eventOf("1234567890"), 0);
    EXPECT_FALSE(stream.isOver());
}

TEST(EventStreams, ThereAreNoMoreThanTheMost) {
    EventStreams streams(2, 100);
    auto one = streams.open();
    const auto two = streams.open();
    EXPECT_TRUE(one && two);
    EXPECT_EQ(streams.open(), nullptr);
    one.reset();
    EXPECT_NE(streams.open(), nullptr);
}

TEST(EventStreams, EventReachesThoseThatAreOpen) {
    EventStreams streams(2, 100);
    const auto one = streams.open();
    auto two = streams.open();
    two.reset();
    streams.send({"chain", "{}", 0});
    const auto three = streams.open();
    EXPECT_EQ(one->take(0), "event: chain\ndata: {}\n\n");
    EXPECT_EQ(three->take(0), "");
}

}  // namespace
