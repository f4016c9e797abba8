#include <atomic>
#include <future>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "Download.h"
#include "fakes/PlainNetwork.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedNames.h"
#include "fakes/ScriptedServer.h"
#include "http/HttpDownloader.h"
#include "impl/http/CurlTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;

namespace {

constexpr long MUCH_TOO_LONG = 3600;
constexpr std::uint64_t FIRST = 1;
constexpr std::uint64_t SECOND = 2;

class Cancellation : public testing::Test {
protected:
    ScriptedServer answering{[](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); }};
    ScriptedServer silent{[](ScriptedConnection& client) { client.waitUntilClientLeaves(); }};
    platform::CurlTransport transport{""};
};

/// Keeps the thread of transfers busy, inside a transfer's progress, until it is let go.
class BusyTransfer {
public:
    explicit BusyTransfer(platform::HttpTransport& transport, const std::string& url) {
        const auto hold = [this, once = false](double, double) mutable {
            if (!std::exchange(once, true)) {
                held_.count_down();
                release_.wait();
            }
        };
        transport.start(download_.transfer(url, 99, MUCH_TOO_LONG, hold));
        held_.wait();
    }

    HttpDownloadResult letGo() {
        release_.count_down();
        return download_.end().result;
    }

private:
    std::latch held_{1};
    std::latch release_{1};
    Download download_;
};

}  // namespace

TEST_F(Cancellation, EndsATransferThatRuns) {
    Download download;
    transport.start(download.transfer(silent.url(), FIRST, MUCH_TOO_LONG));
    silent.waitForRequests(1);
    transport.cancel(FIRST);
    const Ended ended = download.end();
    EXPECT_EQ(ended.result, Cancelled);
    EXPECT_EQ(ended.body, "");
}

TEST_F(Cancellation, EndsATransferWhoseNameIsLookedUp) {
    const fakes::PlainNetwork noProxy;
    fakes::ScriptedNames names;
    names.keepSilent("silent.example");
    Download download;
    transport.start(download.transfer("http://silent.example/", FIRST, MUCH_TOO_LONG));
    names.waitForSilence(1);
    transport.cancel(FIRST);
    EXPECT_EQ(download.end().result, Cancelled);
}

TEST_F(Cancellation, EndsATransferThatHasHalfItsBody) {
    ScriptedServer half([](ScriptedConnection& client) {
        client.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<Corvid>");
        client.waitUntilClientLeaves();
    });
    std::latch arrived(1);
    Download download;
    const auto progress = [&, once = false](double, double bytes) mutable {
        if (bytes > 0 && !std::exchange(once, true)) {
            arrived.count_down();
        }
    };
    transport.start(download.transfer(half.url(), FIRST, MUCH_TOO_LONG, progress));
    arrived.wait();
    transport.cancel(FIRST);
    const Ended ended = download.end();
    EXPECT_EQ(ended.result, Cancelled);
    EXPECT_EQ(ended.body, "");
}

TEST_F(Cancellation, EndsATransferThatHasNotBegun) {
    BusyTransfer busy(transport, answering.url());
    Download download;
    transport.start(download.transfer(silent.url(), FIRST, MUCH_TOO_LONG));
    transport.cancel(FIRST);
    EXPECT_EQ(busy.letGo(), Success);
    EXPECT_EQ(download.end().result, Cancelled);
    EXPECT_EQ(silent.connections(), 0U);
}

TEST_F(Cancellation, EndsAllTransfersOfADownloaderAndNoOthers) {
    ScriptedServer steered([](ScriptedConnection& client) {
        if (client.target() == "/go") {
            client.respond(200, "<Corvid/>");
        } else {
            client.waitUntilClientLeaves();
        }
    });
    Download one, other, two;
    transport.start(one.transfer(steered.url("/1"), FIRST, MUCH_TOO_LONG));
    transport.start(other.transfer(steered.url("/other"), SECOND, MUCH_TOO_LONG));
    transport.start(two.transfer(steered.url("/2"), FIRST, MUCH_TOO_LONG));
    steered.waitForRequests(3);
    transport.cancel(FIRST);
    EXPECT_EQ(one.end().result, Cancelled);
    EXPECT_EQ(two.end().result, Cancelled);
    Download late;
    transport.start(late.transfer(steered.url("/go"), FIRST, MUCH_TOO_LONG));
    EXPECT_EQ(late.end().result, Success);
    transport.cancel(SECOND);
    EXPECT_EQ(other.end().result, Cancelled);
}

TEST_F(Cancellation, KnowsTheTransfersOfADownloaderByItsObject) {
    fakes::ScopedWorld world;
    const auto shared = std::make_shared<platform::CurlTransport>("");
    world.change([&](platform::World& changed) { changed.httpTransport = shared; });
    HttpDownloader::HttpDownloader downloader, another;
    Download one, two, foreign;
    std::latch letGo(1);
    ScriptedServer waiting([&](ScriptedConnection& client) {
        letGo.wait();
        client.respond(200, "<Corvid/>");
    });
    downloader.DownloadToString(silent.url(), {}, one.completion(), MUCH_TOO_LONG);
    another.DownloadToString(waiting.url(), {}, foreign.completion(), MUCH_TOO_LONG);
    downloader.DownloadToString(silent.url(), {}, two.completion(), MUCH_TOO_LONG);
    silent.waitForRequests(2);
    waiting.waitForRequests(1);
    downloader.CancelCurrentTransfer();
    EXPECT_EQ(one.end().result, Cancelled);
    EXPECT_EQ(two.end().result, Cancelled);
    letGo.count_down();
    EXPECT_EQ(foreign.end().result, Success);
}

TEST_F(Cancellation, IsAllowedInsideACompletion) {
    Download running;
    transport.start(running.transfer(silent.url(), FIRST, MUCH_TOO_LONG));
    silent.waitForRequests(1);
    transport.start({SECOND,
                     answering.url(),
                     {},
                     [&](std::string&, HttpDownloadResult) {
                         transport.cancel(FIRST);
                         transport.cancel(SECOND);
                     },
                     MUCH_TOO_LONG});
    EXPECT_EQ(running.end().result, Cancelled);
}

TEST_F(Cancellation, IsAllowedInsideAProgress) {
    Download download;
    transport.start(
        download.transfer(answering.url(), FIRST, MUCH_TOO_LONG, [&](double, double) { transport.cancel(FIRST); }));
    EXPECT_EQ(download.end().result, Cancelled);
}

TEST_F(Cancellation, LeavesTheResultOfATransferThatHasEnded) {
    std::latch left(1);
    ScriptedServer watching([&](ScriptedConnection& client) {
        client.respond(200, "<Corvid/>");
        client.waitUntilClientLeaves();
        left.count_down();
    });
    std::latch letGo(1);
    transport.start(
        {SECOND, answering.url(), {}, [&](std::string&, HttpDownloadResult) { letGo.wait(); }, MUCH_TOO_LONG});
    Download download;
    transport.start(download.transfer(watching.url(), FIRST, MUCH_TOO_LONG));
    left.wait();
    // The thread has turned to another transfer since: the ended one waits for its completion.
    BusyTransfer later(transport, answering.url());
    transport.cancel(FIRST);
    letGo.count_down();
    EXPECT_EQ(download.end().result, Success);
    EXPECT_EQ(later.letGo(), Success);
}

TEST_F(Cancellation, HasNoEffectWithoutATransfer) {
    transport.cancel(FIRST);
    Download download;
    transport.start(download.transfer(answering.url(), FIRST, MUCH_TOO_LONG));
    EXPECT_EQ(download.end().result, Success);
    transport.cancel(FIRST);
    transport.stop();
}

TEST_F(Cancellation, FromManyThreadsLeavesOneCompletionForEachTransfer) {
    constexpr int THREADS = 4;
    constexpr int TRANSFERS = 25;
    std::atomic<int> completions{0};
    std::vector<std::thread> users;
    for (std::uint64_t user = 0; user < THREADS; ++user) {
        users.emplace_back([&, user] {
            for (int i = 0; i < TRANSFERS; ++i) {
                const std::string url = i % 3 == 0 ? silent.url() : answering.url();
                EXPECT_TRUE(transport.start(
                    {user, url, {}, [&](std::string&, HttpDownloadResult) { ++completions; }, MUCH_TOO_LONG}));
                if (i % 2 == 0) {
                    transport.cancel(user);
                }
            }
        });
    }
    for (std::thread& user : users) {
        user.join();
    }
    transport.stop();
    EXPECT_EQ(completions, THREADS * TRANSFERS);
}
