#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

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
    EXPECT_EQ(answer.field("Location"), "/");
    EXPECT_EQ(answer.field("Set-Cookie"), "corvid-inspector-" + std::to_string(server_->port()) + "=" + token() +
                                              "; HttpOnly; SameSite=Strict; Path=/");
}

TEST_F(WebServerTest, PageIsServedAtTheRoot) {
    const RawAnswer answer = ask(get("/"));
    EXPECT_EQ(answer.status, 200);
    EXPECT_EQ(answer.field("Content-Type"), "text/html; charset=utf-8");
    EXPECT_EQ(answer.body, pageFileAt("/index.html")->contents);
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

}  // namespace
