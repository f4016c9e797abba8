#pragma once

#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "http/HttpTransport.h"
#include "impl/http/CurlMulti.h"

namespace platform {

class CertificateTrust;
class CompletionThread;

/// Does the transfers, all at once, from construction to stop(), and hands each to its completion when it has ended.
class TransferThread {
public:
    /// @param trust, completions must outlive this.
    TransferThread(CertificateTrust& trust, CompletionThread& completions);

    /// Stops.
    ~TransferThread();

    TransferThread(const TransferThread&) = delete;
    TransferThread& operator=(const TransferThread&) = delete;

    /// Any thread, without waiting. @return false if the completions have ended; while stop() runs, and after it, a
    /// transfer goes straight to its completion.
    bool start(HttpTransport::Transfer transfer);

    /// Ends a downloader's transfers. Any thread, without waiting.
    void cancel(std::uint64_t downloader);

    /// Ends all transfers and joins the thread. One thread at a time, not this one.
    void stop();

private:
    struct Job;

    void run();
    bool takeOrders();
    void begin(Job& job);
    void advance(Job& job);
    void takeInEnds();
    void end(Job& job);

    CertificateTrust& trust_;
    CompletionThread& completions_;
    CurlMulti multi_;  ///< woken under the mutex only, and only while thread_ runs

    std::mutex mutex_;
    std::vector<std::unique_ptr<Job>> jobs_;  ///< all that have not ended
    bool stopping_ = false;

    std::thread thread_;
};

}  // namespace platform
