// What a client keeps when its server, which has served it before, fails.

#include <atomic>

#include "Expectations.h"
#include "Servers.h"
#include "fakes/ScriptedServer.h"

using callcontrol::CallControlServer;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using namespace integration;
using namespace HttpDownloader::HttpDownloadResultEnum;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

const std::string GOOD = document({{"origin", "server"}, {"CtiServer1", "cti.example"}});
const std::string STATUS_LINE = "HTTP/1.1 200 OK\r\n";

/// The first answer is right, and all later ones go wrong.
class LaterFailures : public testing::Test {
protected:
    LaterFailures() { client_.startAndFetch(); }

    void expectKept(const ScriptedServer::Script& fault, Result result) {
        const std::string cache = client_.cacheFile();
        ASSERT_THAT(cache, HasSubstr("<origin>server</origin>"));
        ASSERT_EQ(client_.value(L"origin"), L"server");
        fault_ = fault;
        isFaulty_ = true;
        client_.store()->attemptDownloadFromCachedAddress();
        const Cycle cycle = client_.watch().waitUntilSettled().cycles.back();
        EXPECT_EQ(cycle.end, CycleEnd::Exhausted);
        EXPECT_THAT(cycle.attempts, ElementsAre(failed(address_, result)));
        EXPECT_THAT(client_.store()->getKeys(), IsEmpty());
        EXPECT_EQ(client_.value(L"origin"), L"");
        EXPECT_TRUE(isReleased(*client_.store()));
        EXPECT_EQ(client_.cacheFile(), cache);
        client_.stop();
        EXPECT_EQ(client_.cacheFile(), cache);
        client_.start();
        EXPECT_EQ(client_.value(L"origin"), L"server");
        EXPECT_EQ(client_.value(L"CtiServer1"), L"cti.example");
        EXPECT_EQ(client_.storeOf(L"origin"), CACHED_STORE);
    }

    const std::string address_ = CallControlServer::freeLoopbackAddress();
    ScriptedServer::Script fault_;
    std::atomic<bool> isFaulty_ = false;  ///< the fault is not touched before that
    const ScriptedServer server_{[this](ScriptedConnection& connection) {
                                     isFaulty_ ? fault_(connection) : static_cast<void>(connection.respond(200, GOOD));
                                 },
                                 {.address = address_, .port = 6970}};
    Client client_{{.servers = {address_}, .version = "10"}};
};

}  // namespace

TEST_F(LaterFailures, LeaveTheCacheWhenTheFileIsGone) {
    expectKept(
        [](ScriptedConnection& connection) {
            connection.respond(404, document({{"origin", "refused"}}));
        },
        StatusRefused);
}

TEST_F(LaterFailures, LeaveTheCacheWhenNoAnswerComesInTime) {
    expectKept([](ScriptedConnection& connection) { connection.waitUntilClientLeaves(); }, TimedOut);
}

TEST_F(LaterFailures, LeaveTheCacheWhenTheBodyIsCutShort) {
    expectKept(
        [](ScriptedConnection& connection) {
            const std::string cut = document({{"origin", "cut"}});
            connection.send(STATUS_LINE + "Content-Length: " + std::to_string(cut.size() + 1) + "\r\n\r\n" + cut);
        },
        BodyCut);
}

TEST_F(LaterFailures, LeaveTheCacheWhenTheBodyIsTooLarge) {
    expectKept(
        [](ScriptedConnection& connection) {
            connection.send(STATUS_LINE + "\r\n" + document({{"origin", "large"}}));
            while (connection.send(std::string(std::size_t{64} * 1024, ' '))) {
            }
        },
        BodyTooLarge);
}
