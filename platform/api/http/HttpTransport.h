#pragma once

#include <cstdint>
#include <string>

#include "http/HttpDownloader.h"

namespace tessel::http {
class Request;
class Response;
}  // namespace tessel::http

namespace platform {

/// What fetches documents for HttpDownloader and for the blocking client: one for the whole process, set up by the
/// host, replaced in tests. Any thread.
class HttpTransport {
public:
    /// One document to be fetched; what each part means is told at HttpDownloader::DownloadToString().
    struct Transfer {
        std::uint64_t downloader;                           ///< whose it is; tells the downloaders of a process apart
        std::string url;                                    ///< http or https
        HttpDownloader::HttpDownloader::Progress progress;  ///< may be empty
        HttpDownloader::HttpDownloader::Completion completion;  ///< runs once
        long timeoutSeconds;                                    ///< for the whole transfer
    };

    virtual ~HttpTransport() = default;

    /// Queues the transfer and returns at once. The completion never runs inside this call.
    /// @return false if no more work is taken: the completion will not run.
    virtual bool start(Transfer transfer) = 0;

    /// Ends all transfers of one downloader, without waiting and without running a completion inside the call.
    virtual void cancel(std::uint64_t downloader) = 0;

    /// Sends a request and waits for the answer; see tessel::http::BasicHttpClient.
    virtual HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult send(const tessel::http::Request& request,
                                                                            tessel::http::Response& response) = 0;
};

}  // namespace platform
