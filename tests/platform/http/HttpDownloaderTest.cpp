#include "http/HttpDownloader.h"

#include <memory>
#include <string>
#include <vector>

#include "fakes/HandSteppedThreadPool.h"
#include "fakes/RecordingLogSink.h"
#include "fakes/ScopedWorld.h"
#include "fakes/ScriptedHttpTransport.h"

using namespace HttpDownloader::HttpDownloadResultEnum;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class HttpDownloaderTest : public testing::Test {
protected:
    void giveTransport() {
        world.change([this](platform::World& changed) { changed.httpTransport = transport; });
    }
    void givePool() {
        world.change([this](platform::World& changed) { changed.threadPool = pool; });
    }

    HttpDownloader::HttpDownloader::Completion completion() {
        return [this](std::string& body, HttpDownloadResult result) {
            bodies.push_back(body);
            results.push_back(result);
        };
    }

    fakes::ScopedWorld world;
    const std::shared_ptr<fakes::ScriptedHttpTransport> transport = std::make_shared<fakes::ScriptedHttpTransport>();
    const std::shared_ptr<fakes::HandSteppedThreadPool> pool = std::make_shared<fakes::HandSteppedThreadPool>();
    const fakes::ScopedRecordingLog log;
    HttpDownloader::HttpDownloader downloader;
    std::vector<std::string> bodies;
    std::vector<HttpDownloadResult> results;
};

}  // namespace

TEST_F(HttpDownloaderTest, GivesTheTransferToTheTransport) {
    giveTransport();
    downloader.DownloadToString("http://server/file.xml", {}, completion(), 3);
    ASSERT_EQ(transport->running().size(), 1U);
    EXPECT_EQ(transport->running()[0].url, "http://server/file.xml");
    EXPECT_EQ(transport->running()[0].timeoutSeconds, 3);
    EXPECT_THAT(results, IsEmpty());
    transport->deliver("<Corvid/>");
    EXPECT_THAT(bodies, ElementsAre("<Corvid/>"));
    EXPECT_THAT(results, ElementsAre(Success));
}

TEST_F(HttpDownloaderTest, CancelsItsOwnTransfersAndNoOthers) {
    giveTransport();
    HttpDownloader::HttpDownloader other;
    downloader.DownloadToString("http://server/a", {}, completion(), 3);
    other.DownloadToString("http://server/b", {}, completion(), 3);
    downloader.DownloadToString("http://server/c", {}, completion(), 3);
    downloader.CancelCurrentTransfer();
    EXPECT_TRUE(transport->running()[0].cancelled);
    EXPECT_FALSE(transport->running()[1].cancelled);
    EXPECT_TRUE(transport->running()[2].cancelled);
}

TEST_F(HttpDownloaderTest, LeavesItsTransfersBehindWhenItGoes) {
    giveTransport();
    HttpDownloader::HttpDownloader().DownloadToString("http://server/a", {}, completion(), 3);
    transport->deliver("<Corvid/>");
    EXPECT_THAT(results, ElementsAre(Success));
}

TEST_F(HttpDownloaderTest, FailsOnThePoolWithoutATransport) {
    givePool();
    downloader.DownloadToString("http://server/file.xml", {}, completion(), 3);
    EXPECT_THAT(results, IsEmpty());
    EXPECT_THAT(pool->allNames(), ElementsAre("HttpDownloader::DownloadToString"));
    EXPECT_EQ(pool->runAll(), 1U);
    EXPECT_THAT(bodies, ElementsAre(""));
    EXPECT_THAT(results, ElementsAre(NoTransport));
}

TEST_F(HttpDownloaderTest, DropsTheTransferWithAWarningWithoutATransportAndAPool) {
    downloader.DownloadToString("http://server/file.xml", {}, completion(), 3);
    EXPECT_THAT(results, IsEmpty());
    ASSERT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->lines()[0].level, 3);
}

TEST_F(HttpDownloaderTest, DropsTheTransferWithAWarningIfTheTransportHasEnded) {
    giveTransport();
    transport->refuseWork();
    downloader.DownloadToString("http://server/file.xml", {}, completion(), 3);
    EXPECT_THAT(results, IsEmpty());
    EXPECT_EQ(log->lines().size(), 1U);
    EXPECT_EQ(log->count(3, "The transport takes no more work, dropped: http://server/file.xml"), 1U);
}

TEST_F(HttpDownloaderTest, CancelsNothingWithoutATransport) {
    downloader.CancelCurrentTransfer();
    EXPECT_THAT(log->lines(), IsEmpty());
}
