#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "http/HttpTransport.h"
#include "http/Request.h"
#include "http/Response.h"

namespace fakes {

/// A transport without a network: transfers wait until the test ends them, requests are answered by the test's script.
/// Give it to ScopedWorld as World::httpTransport. Any thread; completions run on the thread that ends a transfer.
class ScriptedHttpTransport : public platform::HttpTransport {
public:
    using Result = HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult;

    /// What a request is answered with, by its URL; runs with no lock held and may block. An empty body means that the
    /// request fails.
    using Answer = std::function<std::string(const std::string& url)>;

    struct Running {
        std::uint64_t number;  ///< counted from 1 in the order of their starts
        std::uint64_t downloader;
        std::string url;
        long timeoutSeconds;
        bool watched;  ///< somebody is told of its progress
        bool cancelled;
    };

    bool start(Transfer transfer) override;
    void cancel(std::uint64_t downloader) override;
    Result send(const tessel::http::Request& request, tessel::http::Response& response) override;

    /// Without one, every request fails.
    void setAnswer(Answer answer);

    /// How every request that fails ends from here on; with ConnectionFailed at the start.
    void failRequestsWith(Result result);

    /// The HTTP status of every answer from here on; 200 at the start.
    void setStatus(int status);

    /// Runs on the thread that ends a transfer, before its completion, with no lock held.
    void beforeCompletions(std::function<void()> hook);

    /// From here on no transfer is taken.
    void refuseWork();

    /// Those that have been started and not been completed, in the order of their starts.
    std::vector<Running> running() const;

    /// URLs of all transfers ever started, of all requests ever sent, and the timeouts of the latter, in order.
    std::vector<std::string> startedUrls() const;
    std::vector<std::string> sentUrls() const;
    std::vector<std::int64_t> sentTimeouts() const;

    /// How often a downloader's transfers were cancelled.
    std::size_t cancellations() const;

    /// Ends a running transfer: the completion runs here and now, and its function is destroyed before this returns.
    /// A cancelled transfer ends as told all the same. @return false if there is no such transfer.
    bool complete(std::uint64_t number, const std::string& body, Result result);

    /// The oldest running transfer.
    bool deliver(const std::string& body);
    bool fail(Result result = HttpDownloader::HttpDownloadResultEnum::ConnectionFailed);

    /// The body as the completion left it, of the transfer completed last.
    std::string bodyAfterCompletion() const;

    /// Waits until at least count transfers have ever been started. For tests with real threads.
    void waitForStarted(std::size_t count);

    /// Waits for the oldest running transfer. @return none once nobody is to wait any more.
    std::optional<Running> waitForRunning();

    /// Ends the waits for running transfers, now and from here on.
    void endWaits();

private:
    struct Entry {
        std::uint64_t number;
        Transfer transfer;
        bool cancelled;
    };

    static Running described(const Entry& entry);

    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Entry> running_;
    std::vector<std::string> startedUrls_;
    std::vector<std::string> sentUrls_;
    std::vector<std::int64_t> sentTimeouts_;
    std::size_t cancellations_ = 0;
    std::string bodyAfterCompletion_;
    Answer answer_;
    int status_ = 200;
    Result failure_ = HttpDownloader::HttpDownloadResultEnum::ConnectionFailed;
    std::function<void()> beforeCompletions_;
    bool refuses_ = false;
    bool waitsEnded_ = false;
};

}  // namespace fakes
