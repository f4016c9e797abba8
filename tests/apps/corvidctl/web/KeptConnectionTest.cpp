#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "RequestReader.h"

namespace {

using testing::ElementsAre;

const std::string COOKIE_OF_THE_PAGE =
    "Host: 127.0.0.1:8080\r\nOrigin: http://127.0.0.1:8080\r\nCookie: corvid-inspector-8080=5ec8e7\r\n";

/// @param fields end each with "\r\n".
std::string reading(const std::string& path, const std::string& fields = "") {
    return "GET " + path + " HTTP/1.1\r\n" + COOKIE_OF_THE_PAGE + fields + "\r\n";
}

/// @param told the body's size, as the head says it.
std::string change(const std::string& body, const std::string& told, const std::string& fields = "") {
    return "POST /api/set HTTP/1.1\r\n" + COOKIE_OF_THE_PAGE + fields +
           "Content-Type: application/json\r\nContent-Length: " + told + "\r\n\r\n" + body;
}

std::string change(const std::string& body) { return change(body, std::to_string(body.size())); }

TEST(KeptConnection, CarriesSeveralRequestsWithTheirBodies) {
    EXPECT_THAT(changesHandedOver(change("{\"a\":1}") + reading("/api/keys") + change("") + change(change("inner")) +
                                  reading("/") + change("[]")),
                ElementsAre("{\"a\":1}", "", change("inner"), "[]"));
}

TEST(KeptConnection, EndsWithABodyThatIsCut) {
    EXPECT_THAT(changesHandedOver(change("{}") + change("{\"a\"", "5")), ElementsAre("{}"));
}

TEST(KeptConnection, EndsBehindABodyThatIsLongerThanItTells) {
    EXPECT_THAT(changesHandedOver(change("{}?", "2") + change("[]")), ElementsAre("{}"));
}

TEST(KeptConnection, EndsWithABodyOfTwoLengths) {
    EXPECT_THAT(changesHandedOver(change("{}", "2", "Content-Length: 2\r\n") + change("[]")), ElementsAre());
}

TEST(KeptConnection, EndsWithABodyThatNobodyReads) {
    const std::string unread = change("{}");
    EXPECT_THAT(changesHandedOver(reading("/", "Content-Length: " + std::to_string(unread.size()) + "\r\n") + unread),
                ElementsAre());
    EXPECT_THAT(changesHandedOver(reading("/", "Transfer-Encoding: chunked\r\n") + unread), ElementsAre());
}

TEST(KeptConnection, EndsWithAStream) {
    EXPECT_THAT(changesHandedOver(reading("/api/events") + change("{}")), ElementsAre());
}

}  // namespace
