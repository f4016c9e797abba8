#pragma once

#include <memory>
#include <string>

#include "http/HttpTransport.h"

namespace platform {

/// The network, by libcurl: one thread of its own does the transfers, another runs the completions, and requests are
/// sent on their callers' threads. From construction to stop().
///
/// No signal is used or caused; the process may have a handler of its own for any.
class CurlTransport : public HttpTransport {
public:
    /// @param caFile further trusted certificates (PEM), read anew at each connection; empty: none. The system's own
    ///        authorities count in any case. If the file cannot be read, a level 3 line says so, once.
    explicit CurlTransport(std::string caFile);

    /// Stops. Must not run on one of the two threads.
    ~CurlTransport() override;

    CurlTransport(const CurlTransport&) = delete;
    CurlTransport& operator=(const CurlTransport&) = delete;

    /// False once stop() has ended the completions' thread. While stop() runs, a transfer is taken and ends at once,
    /// with Cancelled.
    bool start(Transfer transfer) override;
    void cancel(std::uint64_t downloader) override;
    HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult send(const tessel::http::Request& request,
                                                                    tessel::http::Response& response) override;

    /// Ends the requests that are being sent, whatever they wait for, and fails all later ones with Cancelled, until it
    /// is taken back. Transfers go on. Any thread, any number of times.
    void interruptRequests();

    /// Takes one call of interruptRequests() back: requests are sent again once all have been, and not after stop().
    /// One that is being sent and has not noticed them goes on. Any thread.
    void allowRequests();

    /// Ends all requests and transfers with Cancelled, runs the completions, those of transfers that they start
    /// included, and joins both threads. Any thread but those two that holds no lock which a completion wants, any
    /// number of times.
    void stop();

private:
    class Engine;
    const std::unique_ptr<Engine> engine_;
};

}  // namespace platform
