#include <atomic>
#include <functional>
#include <latch>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "Download.h"
#include "fakes/ScriptedServer.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using testing::Each;

namespace {

constexpr long LONGER_THAN_A_STOP = 3600;

class TransportStop : public testing::Test {
protected:
    ScriptedServer silent{[](ScriptedConnection& client) { client.waitUntilClientLeaves(); }};
    platform::CurlTransport transport{""};
};

}  // namespace

TEST_F(TransportStop, EndsTheTransfersThatRun) {
    std::vector<HttpDownloadResult> results;
    for (int i = 0; i < 3; ++i) {
        transport.start({1,
                         silent.url(),
                         {},
                         [&](std::string&, HttpDownloadResult result) { results.push_back(result); },
                         LONGER_THAN_A_STOP});
    }
    silent.waitForRequests(3);
    transport.stop();
    EXPECT_EQ(results.size(), 3U);  // all have run when it returns
    EXPECT_THAT(results, Each(Cancelled));
}

TEST_F(TransportStop, EndsWhatCompletionsStartMeanwhile) {
    int runs = 0;
    HttpDownloader::HttpDownloader::Completion again = [&](std::string&, HttpDownloadResult result) {
        EXPECT_EQ(result, Cancelled);
        if (++runs < 5) {
            EXPECT_TRUE(transport.start({1, silent.url(), {}, again, LONGER_THAN_A_STOP}));
        }
    };
    transport.start({1, silent.url(), {}, again, LONGER_THAN_A_STOP});
    silent.waitForRequests(1);
    transport.stop();
    EXPECT_EQ(runs, 5);
    EXPECT_EQ(silent.connections(), 1U);
}

TEST_F(TransportStop, EndsARequestThatACompletionWaitsFor) {
    ScriptedServer answering([](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); });
    HttpDownloadResult asked = Success;
    transport.start({1,
                     answering.url(),
                     {},
                     [&](std::string&, HttpDownloadResult) {
                         const tessel::http::Request request(silent.url());
                         request.getOptions()->requestTimeout = LONGER_THAN_A_STOP * 1000;
                         tessel::http::Response response;
                         asked = transport.send(request, response);
                     },
                     LONGER_THAN_A_STOP});
    silent.waitForRequests(1);
    transport.stop();
    EXPECT_EQ(asked, Cancelled);
}

TEST_F(TransportStop, TakesNoTransferAfterwards) {
    transport.stop();
    const auto held = std::make_shared<int>();
    EXPECT_FALSE(transport.start(
        {1, silent.url(), {}, [held](std::string&, HttpDownloadResult) { FAIL(); }, LONGER_THAN_A_STOP}));
    EXPECT_EQ(held.use_count(), 1);
    transport.cancel(1);
    EXPECT_EQ(silent.connections(), 0U);
}

TEST_F(TransportStop, SendsNoRequestAfterwards) {
    transport.stop();
    tessel::http::Response response;
    EXPECT_EQ(transport.send(tessel::http::Request(silent.url()), response), Cancelled);
    EXPECT_EQ(silent.connections(), 0U);
}

TEST_F(TransportStop, IsDoneByManyAtOnceAndAgain) {
    Download download;
    transport.start(download.transfer(silent.url(), 1, LONGER_THAN_A_STOP));
    std::vector<std::thread> stoppers;
    for (int i = 0; i < 4; ++i) {
        stoppers.emplace_back([&] { transport.stop(); });
    }
    for (std::thread& stopper : stoppers) {
        stopper.join();
    }
    transport.stop();
    EXPECT_EQ(download.end().result, Cancelled);
}

TEST_F(TransportStop, IsDoneByTheDestructor) {
    std::atomic<int> runs = 0;
    {
        platform::CurlTransport shortLived("");
        shortLived.start({1, silent.url(), {}, [&](std::string&, HttpDownloadResult) { ++runs; }, LONGER_THAN_A_STOP});
    }
    EXPECT_EQ(runs, 1);
}

TEST_F(TransportStop, LosesNoTransferThatComesAtTheSameTime) {
    std::atomic<int> taken{0};
    std::atomic<int> completed{0};
    std::latch begun(2);
    std::vector<std::thread> starters;
    for (int i = 0; i < 2; ++i) {
        starters.emplace_back([&] {
            const auto count = [&](std::string&, HttpDownloadResult) { ++completed; };
            for (int n = 0; n < 300 && transport.start({1, silent.url(), {}, count, LONGER_THAN_A_STOP}); ++n) {
                ++taken;
                if (n == 0) {
                    begun.count_down();
                }
            }
        });
    }
    begun.wait();
    transport.stop();
    for (std::thread& starter : starters) {
        starter.join();
    }
    EXPECT_EQ(completed, taken);
}
