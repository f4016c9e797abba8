#pragma once

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>

#include "http/HttpTransport.h"

namespace platform {

/// A transfer that is over, on its way to its completion.
struct EndedTransfer {
    HttpTransport::Transfer transfer;
    std::string body;
    HttpDownloader::HttpDownloadResultEnum::HttpDownloadResult result;
};

/// Runs the completions of transfers, one after the other, from construction to stop().
class CompletionThread {
public:
    CompletionThread();

    /// Stops.
    ~CompletionThread();

    CompletionThread(const CompletionThread&) = delete;
    CompletionThread& operator=(const CompletionThread&) = delete;

    /// Queues the completion and returns at once. Its function objects are destroyed on this thread as well, with no
    /// lock held; the same goes for what is left of the body, which is wiped. What it throws is logged at level 2.
    /// Any thread. @return false if the thread has ended: the completion will not run.
    bool post(EndedTransfer ended);

    /// Runs what is queued and what comes meanwhile, and joins the thread. One thread at a time, not this one.
    void stop();

private:
    void run();

    std::mutex mutex_;
    std::condition_variable work_;
    std::deque<EndedTransfer> queue_;
    bool stopping_ = false;
    bool closed_ = false;
    std::thread thread_;
};

}  // namespace platform
