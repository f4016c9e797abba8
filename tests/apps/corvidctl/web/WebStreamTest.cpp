#include <gtest/gtest.h>

#include <chrono>
#include <map>
#include <string>
#include <thread>
#include <vector>

#include "web/ServedPage.h"

using namespace corvidctl;

namespace {

/// What pages are told while they are open.
class WebStreamTest : public ServedPage {};

TEST_F(WebStreamTest, EventReachesEveryPage) {
    serve();
    RawClient one = listen();
    RawClient two = listen();
    server_->send({"batch", "{\"number\":7}", 7});
    server_->send({"chain", "{}", 0});
    for (RawClient* page : {&one, &two}) {
        EXPECT_EQ(page->readUpTo("\n\n"), "event: batch\nid: 7\ndata: {\"number\":7}\n\n");
        EXPECT_EQ(page->readUpTo("\n\n"), "event: chain\ndata: {}\n\n");
    }
}

TEST_F(WebStreamTest, ServerIsHeardOnceAPageListens) {
    serve();
    EXPECT_FALSE(server_->isHeard());
    const RawClient page = listen();
    EXPECT_TRUE(server_->isHeard());
}

TEST_F(WebStreamTest, StreamHasItsType) {
    serve();
    RawClient client = connect();
    client.send(get("/api/events"));
    const RawAnswer head = client.read(false);
    EXPECT_EQ(head.status, 200);
    EXPECT_EQ(head.field("Content-Type"), "text/event-stream");
    EXPECT_EQ(head.field("Cache-Control"), "no-store");
    EXPECT_EQ(head.field("Content-Length"), "");
}

TEST_F(WebStreamTest, PageThatComesBackGetsWhatItMissed) {
    api_.missed = [](std::uint64_t lastId) {
        return std::vector<ServerEvent>{{"batch", std::to_string(lastId + 1), lastId + 1}, {"server", "{}", 0}};
    };
    serve();
    RawClient page = listen("Last-Event-ID: 41\r\n");
    EXPECT_EQ(page.readUpTo("\n\n"), "event: batch\nid: 42\ndata: 42\n\n");
    EXPECT_EQ(page.readUpTo("\n\n"), "event: server\ndata: {}\n\n");
    RawClient fresh = listen();
    EXPECT_EQ(fresh.readUpTo("\n\n"), "event: batch\nid: 1\ndata: 1\n\n");
}

TEST_F(WebStreamTest, PageMaySayWhatItKnowsUntilItsBrowserDoes) {
    api_.missed = [](std::uint64_t lastId) { return std::vector<ServerEvent>{{"reload", std::to_string(lastId), 0}}; };
    serve();
    RawClient page = connect();
    page.send(get("/api/events?since=7"));
    EXPECT_TRUE(page.readUpTo("data: 7\n\n"));
    RawClient again = connect();
    again.send(get("/api/events?since=7", "Last-Event-ID: 9\r\n"));
    EXPECT_TRUE(again.readUpTo("data: 9\n\n"));
}

TEST_F(WebStreamTest, BatchThatComesWhileThePageIsCatchingUpIsToldOnce) {
    api_.missed = [this](std::uint64_t) {
        server_->send({"batch", "8", 8});
        server_->send({"chain", "{}", 0});
        server_->send({"batch", "9", 9});
        return std::vector<ServerEvent>{{"batch", "7", 7}, {"batch", "8", 8}};
    };
    serve();
    RawClient page = listen("Last-Event-ID: 6\r\n");
    EXPECT_EQ(page.readUpTo("data: 9\n\n"), "event: batch\nid: 7\ndata: 7\n\nevent: batch\nid: 8\ndata: 8\n\n"
                                            "event: chain\ndata: {}\n\nevent: batch\nid: 9\ndata: 9\n\n");
}

TEST_F(WebStreamTest, PageOfAnEarlierRunIsToldOfTheBatchesOfThisOne) {
    api_.missed = [](std::uint64_t) { return std::vector<ServerEvent>{{"reload", "{}", 0}}; };
    serve();
    RawClient page = listen("Last-Event-ID: 100\r\n");
    EXPECT_EQ(page.readUpTo("\n\n"), "event: reload\ndata: {}\n\n");
    server_->send({"batch", "1", 1});
    EXPECT_EQ(page.readUpTo("\n\n"), "event: batch\nid: 1\ndata: 1\n\n");
}

TEST_F(WebStreamTest, WhatIsNoNumberIsNoBatch) {
    serve();
    for (const std::string id : {"x", "-1", "7x", "99999999999999999999"}) {
        const RawAnswer answer = ask(get("/api/events", "Last-Event-ID: " + id + "\r\n"));
        EXPECT_EQ(answer.status, 400) << id;
        EXPECT_EQ(answer.body, R"({"error":"Last-Event-ID and \"since\" must be the number of a batch."})");
    }
    EXPECT_EQ(ask(get("/api/events?since=x")).status, 400);
}

TEST_F(WebStreamTest, EventsCanOnlyBeRead) {
    serve();
    const RawAnswer answer = ask(post("/api/events", "{}"));
    EXPECT_EQ(answer.status, 405);
    EXPECT_EQ(answer.field("Allow"), "GET, HEAD");
    EXPECT_EQ(answer.body, R"({"error":"Events can only be read: use GET."})");
    RawClient client = connect();
    client.send("HEAD" + get("/api/events").substr(3));
    EXPECT_EQ(client.read(false).status, 200);
    EXPECT_EQ(client.readToEnd(), "");
}

TEST_F(WebStreamTest, SilentStreamCarriesComments) {
    options_.pingInterval = std::chrono::milliseconds(5);
    serve();
    RawClient page = listen();
    EXPECT_EQ(page.readUpTo("\n\n"), ": ping\n\n");
    EXPECT_EQ(page.readUpTo("\n\n"), ": ping\n\n");
}

TEST_F(WebStreamTest, OnePageTooManyIsTold) {
    options_.streams = 2;
    serve();
    RawClient one = listen();
    const RawClient two = listen();
    const RawAnswer answer = ask(get("/api/events"));
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.field("Content-Type"), "application/json");
    EXPECT_EQ(answer.body, R"({"error":"Too many pages are open already: close one."})");
    EXPECT_EQ(ask(get("/api/keys")).status, 200);
}

TEST_F(WebStreamTest, PageThatLeavesMakesPlaceAtOnce) {
    options_.streams = 1;
    options_.pingInterval = std::chrono::hours(1);
    serve();
    for (int i = 0; i < 5; ++i) {
        RawClient page = connect();
        do {
            page = connect();
            page.send(get("/api/events"));
        } while (page.read(false).status != 200);
        server_->send({"chain", "{}", 0});
        EXPECT_TRUE(page.readUpTo("data: {}\n\n"));
    }
}

TEST_F(WebStreamTest, PageThatDoesNotReadLosesItsStreamAndNobodyElseDoes) {
    options_.streamBytes = 1000;
    options_.requestTime = std::chrono::milliseconds(100);
    serve();
    RawClient sleeper(server_->port(), 4096);
    sleeper.send(get("/api/events"));
    EXPECT_TRUE(sleeper.readUpTo("retry: 1000\n\n"));
    RawClient reader = listen();
    const std::string event(100'000, 'x');
    std::size_t sent = 0;
    for (int i = 0; i < 150; ++i) {
        server_->send({"batch", event, 0});
        const auto text = reader.readUpTo("\n\n");
        ASSERT_TRUE(text);
        sent += text->size();
    }
    EXPECT_LT(sleeper.readToEnd().size(), sent);
    server_->send({"chain", "{}", 0});
    EXPECT_EQ(reader.readUpTo("\n\n"), "event: chain\ndata: {}\n\n");
}

TEST_F(WebStreamTest, EndOfTheServerEndsStreamsAtOnce) {
    options_.pingInterval = std::chrono::hours(1);
    serve();
    RawClient one = listen();
    RawClient two = listen();
    server_.reset();
    EXPECT_EQ(one.readToEnd(), "");
    EXPECT_EQ(two.readToEnd(), "");
}

TEST_F(WebStreamTest, EndOfTheServerDoesNotWaitForAPageThatDoesNotRead) {
    options_.requestTime = std::chrono::hours(1);
    options_.streamBytes = 100'000'000;
    serve();
    RawClient sleeper = listen();
    server_->send({"batch", std::string(50'000'000, 'x'), 1});
    server_.reset();
    EXPECT_LT(sleeper.readToEnd().size(), 50'000'000U);
}

TEST_F(WebStreamTest, EventsOfSeveralThreadsArriveWhole) {
    serve();
    RawClient page = listen();
    std::vector<std::thread> senders;
    for (int sender = 0; sender < 4; ++sender) {
        senders.emplace_back([this, sender] {
            for (int i = 0; i < 50; ++i) {
                server_->send({"batch", std::string(100, static_cast<char>('a' + sender)), 0});
            }
        });
    }
    std::map<std::string, int> counts;
    for (int i = 0; i < 200; ++i) {
        ++counts[page.readUpTo("\n\n").value_or("")];
    }
    for (std::thread& sender : senders) {
        sender.join();
    }
    EXPECT_EQ(counts.size(), 4U);
    for (const auto& [text, count] : counts) {
        EXPECT_EQ(count, 50) << text;
    }
}

}  // namespace
