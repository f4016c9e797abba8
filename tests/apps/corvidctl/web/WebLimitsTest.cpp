#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "web/ServedPage.h"

using namespace corvidctl;

namespace {

constexpr std::chrono::hours VERY_LONG(1);

/// What is too large, too slow or one too many.
class WebLimitsTest : public ServedPage {
protected:
    /// A request whose head has so many bytes.
    std::string requestOf(std::size_t bytes) const {
        const std::size_t others = get("/api/keys", "A: \r\n").size();
        return get("/api/keys", "A: " + std::string(bytes - others, 'a') + "\r\n");
    }
};

std::size_t threadsOfThisProcess() {
    return static_cast<std::size_t>(std::distance(std::filesystem::directory_iterator("/proc/self/task"), {}));
}

/// How many files this process may have open, while this lives.
class DescriptorLimit {
public:
    /// @param wanted as many of them as the system allows.
    explicit DescriptorLimit(rlim_t wanted) {
        getrlimit(RLIMIT_NOFILE, &before_);
        const rlimit limit{std::min(wanted, before_.rlim_max), before_.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~DescriptorLimit() { setrlimit(RLIMIT_NOFILE, &before_); }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

    bool allows(rlim_t wanted) const { return wanted <= before_.rlim_max; }

private:
    rlimit before_{};
};

rlim_t lowestFreeDescriptor() {
    const int descriptor = dup(STDIN_FILENO);
    close(descriptor);
    return static_cast<rlim_t>(descriptor);
}

TEST_F(WebLimitsTest, BodyOf64KibibytesIsTheLargest) {
    serve();
    const RawAnswer largest = ask(post("/api/set", std::string(65536, ' ')));
    EXPECT_EQ(largest.status, 200);
    EXPECT_EQ(api_.requests().front().body.size(), 65536U);
    const RawAnswer larger = ask(post("/api/set", std::string(65537, ' ')));
    EXPECT_EQ(larger.status, 413);
    EXPECT_EQ(larger.body, R"({"error":"The request's body is too large: at most 65536 bytes are read."})");
    EXPECT_EQ(api_.requests().size(), 1U);
}

TEST_F(WebLimitsTest, BodyThatWouldBeTooLargeIsNotWaitedFor) {
    options_.requestTime = VERY_LONG;
    serve();
    for (const std::string length : {"65537", "9999999999", "99999999999999999999999999"}) {
        RawClient client = connect();
        client.send("POST /api/set HTTP/1.1\r\nHost: " + host() + "\r\nOrigin: http://" + host() + "\r\n" + cookie() +
                    "Content-Type: application/json\r\nContent-Length: " + length + "\r\n\r\n");
        EXPECT_EQ(client.read().status, 413) << length;
    }
}

TEST_F(WebLimitsTest, AnswerReachesAClientThatIsStillSending) {
    options_.goodbyeTime = VERY_LONG;
    serve();
    RawClient client = connect();
    EXPECT_TRUE(client.send(post("/api/set", std::string(900'000, ' '))));
    EXPECT_EQ(client.read().status, 413);
    EXPECT_EQ(client.readToEnd(), "");
    EXPECT_FALSE(client.wasCutOff());
    EXPECT_TRUE(client.send("more"));
}

TEST_F(WebLimitsTest, ClientThatStaysAfterTheEndIsCutOff) {
    options_.goodbyeTime = std::chrono::milliseconds(5);
    options_.connections = 1;
    serve();
    RawClient client = connect();
    client.send("nonsense\r\n\r\n");
    EXPECT_EQ(client.read().status, 400);
    EXPECT_EQ(askUntilServed(get("/api/keys")).status, 200);
    while (client.send("more")) {
    }
}

TEST_F(WebLimitsTest, HeadOf8KibibytesIsTheLargest) {
    serve();
    EXPECT_EQ(ask(requestOf(8192)).status, 200);
    const RawAnswer larger = ask(requestOf(8193));
    EXPECT_EQ(larger.status, 431);
    EXPECT_EQ(larger.body, R"({"error":"The request's header is too large: at most 8192 bytes are read."})");
    EXPECT_EQ(ask(std::string(8193, 'A') + "\r\n\r\n").body,
              "The request's header is too large: at most 8192 bytes are read.\n");
}

TEST_F(WebLimitsTest, HeadWithoutAnEndIsCutOff) {
    options_.requestTime = VERY_LONG;
    serve();
    RawClient client = connect();
    client.send("GET / HTTP/1.1\r\n");
    while (!client.hasSomething(0) && client.send("A: a\r\n")) {
    }
    EXPECT_EQ(client.read().status, 431);
    RawClient line = connect();
    while (!line.hasSomething(0) && line.send("GET")) {
    }
    EXPECT_EQ(line.read().status, 431);
}

TEST_F(WebLimitsTest, RequestThatStopsIsCutOff) {
    options_.requestTime = std::chrono::milliseconds(20);
    options_.idleTime = VERY_LONG;
    serve();
    const std::string whole = post("/api/set", "{}");
    for (const std::size_t size : {std::size_t(1), std::size_t(20), whole.size() - 3, whole.size() - 1}) {
        RawClient client = connect();
        client.send(whole.substr(0, size));
        const RawAnswer answer = client.read();
        EXPECT_EQ(answer.status, 408) << size;
        EXPECT_NE(answer.body.find("The request did not come in time."), std::string::npos) << answer.body;
        EXPECT_EQ(client.readToEnd(), "");
    }
    EXPECT_TRUE(api_.requests().empty());
}

TEST_F(WebLimitsTest, RequestThatDripsIsCutOff) {
    options_.requestTime = std::chrono::milliseconds(200);
    options_.idleTime = VERY_LONG;
    options_.headBytes = 1000;
    serve();
    const std::string whole = post("/api/set", std::string(1000, ' '));
    for (const std::string& start : {std::string("GET / HTTP/1.1\r\nA: "), whole.substr(0, whole.size() - 1000)}) {
        RawClient client = connect();
        client.send(start);
        while (!client.hasSomething(1) && client.send(" ")) {
        }
        EXPECT_EQ(client.read().status, 408) << start;
    }
}

TEST_F(WebLimitsTest, ConnectionWithoutARequestEnds) {
    options_.idleTime = std::chrono::milliseconds(20);
    serve();
    RawClient silent = connect();
    EXPECT_EQ(silent.readToEnd(), "");
    RawClient served = connect();
    served.send(get("/api/keys"));
    EXPECT_EQ(served.read().status, 200);
    EXPECT_EQ(served.readToEnd(), "");
}

TEST_F(WebLimitsTest, ClientThatDoesNotReadItsAnswerIsCutOff) {
    options_.connections = 1;
    options_.requestTime = std::chrono::milliseconds(50);
    options_.goodbyeTime = std::chrono::milliseconds(5);
    api_.script = [](const ApiRequest& request) {
        return ApiAnswer{200, std::string(request.path == "large" ? 50'000'000 : 2, ' ')};
    };
    serve();
    RawClient sleeper = connect();
    sleeper.send(get("/api/large"));
    EXPECT_EQ(askUntilServed(get("/api/small", "Connection: close\r\n")).body, "  ");
    EXPECT_LT(sleeper.read().body.size(), 50'000'000U);
}

TEST_F(WebLimitsTest, OneConnectionTooManyIsTold) {
    options_.connections = 2;
    options_.idleTime = VERY_LONG;
    serve();
    RawClient one = connect();
    RawClient two = connect();
    RawClient three = connect();
    const RawAnswer answer = three.read();
    EXPECT_EQ(answer.status, 503);
    EXPECT_EQ(answer.body, "Too many connections are open already: try again in some seconds.\n");
    EXPECT_EQ(answer.field("Content-Type"), "text/plain; charset=utf-8");
    EXPECT_EQ(answer.field("Cache-Control"), "no-store");
    EXPECT_EQ(answer.field("Referrer-Policy"), "no-referrer");
    EXPECT_EQ(three.readToEnd(), "");
    for (RawClient* client : {&one, &two}) {
        client->send(get("/api/keys"));
        EXPECT_EQ(client->read().status, 200);
    }
    one.close();
    EXPECT_EQ(askUntilServed(get("/api/keys")).status, 200);
}

TEST_F(WebLimitsTest, StreamsCountAsConnections) {
    options_.connections = 1;
    serve();
    RawClient page = listen();
    EXPECT_EQ(ask(get("/api/keys")).status, 503);
    page.close();
    EXPECT_EQ(askUntilServed(get("/api/keys")).status, 200);
}

TEST_F(WebLimitsTest, ClientThatIsTurnedAwayAndStaysIsCutOff) {
    options_.connections = 0;
    options_.goodbyeTime = std::chrono::milliseconds(5);
    serve();
    RawClient client = connect();
    EXPECT_EQ(client.read().status, 503);
    while (client.send("more")) {
    }
}

TEST_F(WebLimitsTest, ClientWaitsWhileTheSystemHasNoDescriptor) {
    serve();
    const std::string request = get("/api/keys");
    std::optional<DescriptorLimit> limit(std::in_place, lowestFreeDescriptor() + 1);
    RawClient client = connect();
    client.send(request);
    EXPECT_FALSE(client.hasSomething(20));
    limit.reset();
    EXPECT_EQ(client.read().status, 200);
}

TEST_F(WebLimitsTest, ThousandConnectionsAtOnce) {
    const DescriptorLimit limit(3000);
    if (!limit.allows(3000)) {
        GTEST_SKIP() << "this process may not open enough files";
    }
    options_.idleTime = VERY_LONG;
    serve();
    const std::size_t threadsBefore = threadsOfThisProcess();
    std::vector<RawClient> clients;
    for (int i = 0; i < 1000; ++i) {
        clients.push_back(connect());
    }
    std::map<int, std::size_t> statuses;
    for (RawClient& client : clients) {
        client.send(get("/api/keys"));
        ++statuses[client.read().status];
    }
    EXPECT_EQ(statuses[200], 64U);
    EXPECT_EQ(statuses[200] + statuses[503] + statuses[0], 1000U);
    EXPECT_GE(statuses[503], 128U);
    EXPECT_EQ(api_.requests().size(), 64U);
    EXPECT_LE(threadsOfThisProcess(), threadsBefore + 64);
    clients.clear();
    EXPECT_EQ(askUntilServed(get("/api/keys")).status, 200);
}

TEST_F(WebLimitsTest, EndOfTheServerWaitsForNoClient) {
    options_.requestTime = VERY_LONG;
    options_.idleTime = VERY_LONG;
    serve();
    RawClient silent = connect();
    RawClient half = connect();
    half.send("GET / HTTP/1.1\r\n");
    RawClient served = connect();
    served.send(get("/"));
    EXPECT_EQ(served.read().status, 200);
    server_.reset();
    for (RawClient* client : {&silent, &half, &served}) {
        EXPECT_EQ(client->readToEnd().find("200 OK"), std::string::npos);
    }
}

TEST_F(WebLimitsTest, EndOfTheServerWaitsForTheApi) {
    bool answered = false;
    std::mutex mutex;
    std::condition_variable asked;
    bool isAsked = false;
    api_.script = [&](const ApiRequest&) {
        {
            const std::lock_guard lock(mutex);
            isAsked = true;
        }
        asked.notify_one();
        std::this_thread::yield();
        answered = true;
        return ApiAnswer{200, "{}"};
    };
    serve();
    const RawClient client = connect();
    client.send(get("/api/keys"));
    {
        std::unique_lock lock(mutex);
        asked.wait(lock, [&] { return isAsked; });
    }
    server_.reset();
    EXPECT_TRUE(answered);
}

}  // namespace
