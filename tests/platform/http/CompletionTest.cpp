#include <atomic>
#include <future>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "Download.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedServer.h"
#include "http/HttpDownloader.h"
#include "http/Request.h"
#include "http/Response.h"
#include "impl/http/CurlTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using fakes::ScriptedConnection;
using fakes::ScriptedServer;
using testing::ElementsAre;

namespace {

constexpr long MINUTE = 60;

class Completion : public testing::Test {
protected:
    platform::HttpTransport::Transfer transfer(const HttpDownloader::HttpDownloader::Completion& completion,
                                               const HttpDownloader::HttpDownloader::Progress& progress = {}) {
        return {1, server.url("/file.xml"), progress, completion, MINUTE};
    }

    fakes::ScopedRecordingLog log;
    ScriptedServer server{[](ScriptedConnection& client) { client.respond(200, "<Corvid/>"); }};
    platform::CurlTransport transport{""};
};

}  // namespace

TEST_F(Completion, RunsOnAThreadOfItsOwn) {
    std::promise<std::thread::id> transferThread;
    std::promise<std::thread::id> completionThread;
    const auto progress = [&, told = false](double, double) mutable {
        if (!std::exchange(told, true)) {
            transferThread.set_value(std::this_thread::get_id());
        }
    };
    const auto completion = [&](std::string&, HttpDownloadResult) {
        completionThread.set_value(std::this_thread::get_id());
    };
    ASSERT_TRUE(transport.start(transfer(completion, progress)));
    const std::thread::id transfers = transferThread.get_future().get();
    const std::thread::id completions = completionThread.get_future().get();
    EXPECT_NE(transfers, std::this_thread::get_id());
    EXPECT_NE(completions, std::this_thread::get_id());
    EXPECT_NE(transfers, completions);
}

TEST_F(Completion, MayStartTheNextTransfer) {
    Download second;
    ASSERT_TRUE(transport.start(transfer(
        [&](std::string&, HttpDownloadResult) { EXPECT_TRUE(transport.start(transfer(second.completion()))); })));
    EXPECT_EQ(second.end().result, Success);
}

TEST_F(Completion, ThatBlocksHoldsUpNoTransferAndNoRequest) {
    std::latch arrived(1);
    std::promise<HttpDownloadResult> asked;
    const auto block = [&](std::string&, HttpDownloadResult) {
        tessel::http::Response response;
        asked.set_value(transport.send(tessel::http::Request(server.url("/version")), response));
        arrived.wait();
    };
    ASSERT_TRUE(transport.start(transfer(block)));
    EXPECT_EQ(asked.get_future().get(), Success);
    Download second;
    const auto progress = [&, once = false](double, double bytes) mutable {
        if (bytes == 9 && !std::exchange(once, true)) {
            arrived.count_down();
        }
    };
    ASSERT_TRUE(transport.start(transfer(second.completion(), progress)));
    EXPECT_EQ(second.end().result, Success);
}

TEST_F(Completion, RunsInTheOrderInWhichTransfersEnd) {
    std::latch slow(1);
    ScriptedServer other([&](ScriptedConnection& client) {
        slow.wait();
        client.respond(200, "slow");
    });
    std::vector<std::string> order;
    Download last;
    ASSERT_TRUE(transport.start({1,
                                 other.url(),
                                 {},
                                 [&](std::string& body, HttpDownloadResult result) {
                                     order.push_back(body);
                                     last.completion()(body, result);
                                 },
                                 MINUTE}));
    ASSERT_TRUE(transport.start(transfer([&](std::string& body, HttpDownloadResult) {
        order.push_back(body);
        slow.count_down();
    })));
    last.end();
    EXPECT_THAT(order, ElementsAre("<Corvid/>", "slow"));
}

TEST_F(Completion, ThatThrowsIsLoggedAndStopsNothing) {
    ASSERT_TRUE(
        transport.start(transfer([](std::string&, HttpDownloadResult) { throw std::runtime_error("out of order"); })));
    Download second;
    ASSERT_TRUE(transport.start(transfer(second.completion())));
    EXPECT_EQ(second.end().result, Success);
    transport.stop();
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].logger, "CurlTransport");
    EXPECT_EQ(log->count(2, "Task [completion of " + server.url("/file.xml") + "] threw: out of order"), 1U);
}

TEST_F(Completion, MayBeEmpty) {
    ASSERT_TRUE(transport.start(transfer({})));
    transport.stop();
    EXPECT_EQ(log->texts(2).size(), 1U);  // as any other that throws
}

TEST_F(Completion, IsDestroyedOnItsThreadWithWhatItHolds) {
    struct Held {
        ~Held() { thread.set_value(std::this_thread::get_id()); }
        std::promise<std::thread::id> thread;
    };
    auto held = std::make_shared<Held>();
    std::future<std::thread::id> destroyed = held->thread.get_future();
    std::promise<std::thread::id> ran;
    std::promise<void> letGo;
    ASSERT_TRUE(transport.start(transfer(
        [held, &ran, &letGo](std::string&, HttpDownloadResult) {
            letGo.get_future().wait();
            ran.set_value(std::this_thread::get_id());
        },
        [held](double, double) {})));
    held.reset();
    letGo.set_value();
    EXPECT_EQ(destroyed.get(), ran.get_future().get());
}

TEST_F(Completion, MayDropTheLastReferenceToItsDownloader) {
    fakes::ScopedWorld world;
    const auto shared = std::make_shared<platform::CurlTransport>("");
    world.change([&](platform::World& changed) { changed.httpTransport = shared; });
    /// Cancels and starts again on its way out, as it likes.
    struct Store {
        ~Store() {
            downloader.CancelCurrentTransfer();
            downloader.DownloadToString(url, {}, again, MINUTE);
        }
        HttpDownloader::HttpDownloader downloader;
        std::string url;
        HttpDownloader::HttpDownloader::Completion again;
    };
    Download again;
    auto store = std::make_shared<Store>();
    const std::weak_ptr<Store> weak = store;
    store->url = server.url("/again.xml");
    store->again = again.completion();
    const std::string url = server.url("/file.xml");
    std::latch dropped(1);
    store->downloader.DownloadToString(
        url, {}, [store, &dropped](std::string&, HttpDownloadResult) { dropped.wait(); }, MINUTE);
    store.reset();
    dropped.count_down();
    EXPECT_FALSE(again.end().body.empty());
    EXPECT_TRUE(weak.expired());
}

TEST_F(Completion, IsToldOfNoPartOfABodyThatFailed) {
    ScriptedServer cut(
        [](ScriptedConnection& client) { client.send("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\n<Corvid>"); });
    const Ended ended = download(transport, cut.url());
    EXPECT_EQ(ended.result, BodyCut);
    EXPECT_EQ(ended.body, "");
}

TEST_F(Completion, FollowsProgressThatTellsTheSizeAndWhatHasArrived) {
    std::vector<std::pair<double, double>> told;
    Download end;
    ASSERT_TRUE(transport.start(
        transfer(end.completion(), [&](double total, double arrived) { told.emplace_back(total, arrived); })));
    end.end();
    ASSERT_FALSE(told.empty());
    EXPECT_EQ(told.back(), std::make_pair(9.0, 9.0));
    EXPECT_EQ(std::adjacent_find(told.begin(), told.end()), told.end());
}

TEST_F(Completion, FollowsProgressWithoutASizeIfTheServerSaysNone) {
    ScriptedServer other([](ScriptedConnection& client) { client.send("HTTP/1.1 200 OK\r\n\r\n<Corvid/>"); });
    std::pair<double, double> last;
    Download end;
    const auto progress = [&](double total, double arrived) { last = {total, arrived}; };
    ASSERT_TRUE(transport.start(end.transfer(other.url(), 1, MINUTE, progress)));
    end.end();
    EXPECT_EQ(last, std::make_pair(0.0, 9.0));
}

TEST_F(Completion, FollowsProgressThatThrowsAndIsToldNoMore) {
    int calls = 0;
    Download end;
    ASSERT_TRUE(transport.start(transfer(end.completion(), [&](double, double) {
        ++calls;
        throw std::runtime_error("out of order");
    })));
    EXPECT_EQ(end.end().result, Success);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(log->count(2, "Task [progress of " + server.url("/file.xml") + "] threw: out of order"), 1U);
}
