#pragma once

#include <future>
#include <memory>
#include <string>
#include <utility>

#include "http/HttpTransport.h"

/// How a transfer ended.
struct Ended {
    HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult result;
    std::string body;
};

/// Lets a test wait for the end of a transfer.
class Download {
public:
    /// @param progress may be empty.
    platform::HttpTransport::Transfer transfer(const std::string& url, std::uint64_t downloader = 1, long timeout = 60,
                                               const HttpDownloader::HttpDownloader::Progress& progress = {}) {
        return {downloader, url, progress, completion(), timeout};
    }

    HttpDownloader::HttpDownloader::Completion completion() {
        return [promise = promise_](std::string& body, HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult how) {
            promise->set_value({how, body});  // throws at a second completion
        };
    }

    /// Waits.
    Ended end() { return promise_->get_future().get(); }

private:
    std::shared_ptr<std::promise<Ended>> promise_ = std::make_shared<std::promise<Ended>>();
};

/// One transfer from its start to its end.
inline Ended download(platform::HttpTransport& transport, const std::string& url, long timeout = 60) {
    Download download;
    EXPECT_TRUE(transport.start(download.transfer(url, 1, timeout)));
    return download.end();
}
