#include <gtest/gtest.h>

#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "web/RequestHead.h"

using namespace corvidctl;

namespace {

RequestHead headOfRequest(const std::string& text) {
    RequestHead head;
    const auto refusal = readRequestHead(text + "\r\n\r\n", head);
    EXPECT_FALSE(refusal) << text << ": " << refusal->sentence;
    return head;
}

Refusal refusalOfRequest(const std::string& text) {
    RequestHead head;
    const auto refusal = readRequestHead(text + "\r\n\r\n", head);
    EXPECT_TRUE(refusal) << text;
    return refusal.value_or(Refusal{});
}

TEST(RequestHead, TellsMethodPathAndFields) {
    const RequestHead head = headOfRequest("GET /api/keys HTTP/1.1\r\nHost: localhost:1\r\nX-Two:\t a b \t\r\nx-two:c");
    EXPECT_EQ(head.method, "GET");
    EXPECT_EQ(head.path, "/api/keys");
    EXPECT_TRUE(head.isForApi());
    EXPECT_TRUE(head.parameters.empty());
    EXPECT_EQ(head.valuesOf("host"), std::vector<std::string_view>{"localhost:1"});
    EXPECT_EQ(head.valuesOf("x-two"), (std::vector<std::string_view>{"a b", "c"}));
    EXPECT_TRUE(head.valuesOf("origin").empty());
    EXPECT_EQ(head.bodyBytes, 0U);
}

TEST(RequestHead, QueryIsDecodedAndThePathIsNot) {
    const RequestHead head = headOfRequest("GET /api%2Fkeys?key=a%20b+c%3D%C3%A9&empty=&bare&=x&&last=a=b HTTP/1.1");
    EXPECT_EQ(head.path, "/api%2Fkeys");
    EXPECT_FALSE(head.isForApi());
    const std::map<std::string, std::string> expected = {
        {"key", "a b c=\xC3\xA9"}, {"empty", ""}, {"bare", ""}, {"", "x"}, {"last", "a=b"}};
    EXPECT_EQ(head.parameters, expected);
}

TEST(RequestHead, ParametersAreWellFormedText) {
    const RequestHead head = headOfRequest("GET /?key=%FFa%C3 HTTP/1.1");
    EXPECT_EQ(head.parameters.at("key"), "\xEF\xBF\xBD"
                                         "a\xEF\xBF\xBD");
}

TEST(RequestHead, ConnectionStaysUnlessTheClientWantsItsEnd) {
    EXPECT_TRUE(headOfRequest("GET / HTTP/1.1").keepsAlive);
    EXPECT_TRUE(headOfRequest("GET / HTTP/1.1\r\nConnection: keep-alive").keepsAlive);
    EXPECT_FALSE(headOfRequest("GET / HTTP/1.1\r\nConnection: Close").keepsAlive);
    EXPECT_FALSE(headOfRequest("GET / HTTP/1.1\r\nConnection: te, close").keepsAlive);
    EXPECT_FALSE(headOfRequest("GET / HTTP/1.0").keepsAlive);
}

TEST(RequestHead, LengthOfTheBodyIsTold) {
    EXPECT_EQ(headOfRequest("POST / HTTP/1.1\r\nContent-Length: 12").bodyBytes, 12U);
    EXPECT_EQ(headOfRequest("POST / HTTP/1.1\r\nContent-Length: 99999999999999999999999").bodyBytes,
              std::numeric_limits<std::size_t>::max());
}

TEST(RequestHead, BodyWhoseEndCouldBeReadInTwoWaysIsRefused) {
    for (const std::string length : {"", "a", "1a", "+1", "-1", "0x1", "1, 1", "1 1", "1.0"}) {
        const Refusal refusal = refusalOfRequest("POST / HTTP/1.1\r\nContent-Length: " + length);
        EXPECT_EQ(refusal.status, 400) << length;
        EXPECT_EQ(refusal.sentence, "Content-Length must be one number.");
    }
    EXPECT_EQ(refusalOfRequest("POST / HTTP/1.1\r\nContent-Length: 1\r\nContent-Length: 1").status, 400);
    for (const std::string coding : {"chunked", "identity", "gzip, chunked"}) {
        const Refusal refusal =
            refusalOfRequest("POST / HTTP/1.1\r\nContent-Length: 1\r\nTransfer-Encoding: " + coding);
        EXPECT_EQ(refusal.status, 411) << coding;
        EXPECT_EQ(refusal.sentence, "A body must come in one piece, with its Content-Length.");
    }
}

TEST(RequestHead, NothingIsToBeExpected) {
    const Refusal refusal = refusalOfRequest("POST / HTTP/1.1\r\nExpect: 100-continue");
    EXPECT_EQ(refusal.status, 417);
    EXPECT_EQ(refusal.sentence, "Nothing can be expected of this server: send the body at once.");
}

TEST(RequestHead, FirstLineMustBeOne) {
    for (const std::string line : {"", " ", "GET", "GET /", "GET/ HTTP/1.1", " GET / HTTP/1.1", "G(T / HTTP/1.1",
                                   "\r\nGET / HTTP/1.1", "G\tT / HTTP/1.1"}) {
        const Refusal refusal = refusalOfRequest(line);
        EXPECT_EQ(refusal.status, 400) << line;
        EXPECT_EQ(refusal.sentence, "A request must start with a method, a path and \"HTTP/1.1\".") << line;
    }
}

TEST(RequestHead, OtherVersionsAreNotSpoken) {
    for (const std::string version : {"HTTP/2", "HTTP/2.0", "HTTP/0.9", "http/1.1", "HTTP/1.1x", "HTTP/1.2", ""}) {
        const Refusal refusal = refusalOfRequest("GET / " + version);
        EXPECT_EQ(refusal.status, 505) << version;
        EXPECT_EQ(refusal.sentence, "This server speaks HTTP/1.1.");
    }
}

TEST(RequestHead, TargetMustBeAPathOfThisServer) {
    const std::vector<std::string> targets = {"http://127.0.0.1:80/",
                                              "http://localhost/api/keys",
                                              "*",
                                              "localhost:80",
                                              "api/keys",
                                              "?token=1",
                                              "",
                                              " /",
                                              "/a b",
                                              "/\x01",
                                              "/\xC3\xA9"};
    for (const std::string& target : targets) {
        const Refusal refusal = refusalOfRequest("GET " + target + " HTTP/1.1");
        EXPECT_EQ(refusal.status, 400) << target;
        EXPECT_EQ(refusal.sentence, "A request must name a path of this server, such as \"/\".") << target;
    }
}

TEST(RequestHead, QueryMustBeReadableInOneWay) {
    for (const std::string query : {"a=%", "a=%4", "a=%4g", "a=%-1", "%=1", "a=1&a=2", "a&a", "a=1&%61=2"}) {
        const Refusal refusal = refusalOfRequest("GET /api/keys?" + query + " HTTP/1.1");
        EXPECT_EQ(refusal.status, 400) << query;
        EXPECT_EQ(refusal.sentence, "The query must consist of NAME=VALUE with each name once, joined by \"&\".");
    }
}

TEST(RequestHead, FieldsMustBeReadableInOneWay) {
    const std::vector<std::string> fields = {"Host",        "Host : a",        ": a",
                                             " Host: a",    "A: b\r\n folded", "A: b\r\n\tfolded",
                                             "A: b\rc",     "A: b\nc",         "A: b\x01",
                                             "A: b\x7F",    "H\xC3\xA9: a",    "A B: c",
                                             "A: b\r\n\rX", "(A): b",          std::string("A: b\0c", 6)};
    for (const std::string& field : fields) {
        const Refusal refusal = refusalOfRequest("GET / HTTP/1.1\r\n" + field);
        EXPECT_EQ(refusal.status, 400) << field;
        EXPECT_EQ(refusal.sentence, "Each header field must stand on a line of its own, as \"Name: value\".");
    }
}

TEST(RequestHead, WhatStoodBeforeTheMistakeIsKnown) {
    RequestHead head;
    EXPECT_TRUE(readRequestHead("HEAD /api/keys?a=% HTTP/1.1\r\n\r\n", head));
    EXPECT_EQ(head.method, "HEAD");
    EXPECT_TRUE(head.isForApi());
}

}  // namespace
