#pragma once

#include <curl/curl.h>

#include <atomic>
#include <mutex>
#include <set>

namespace platform {

class CurlExchange;

/// Runs exchanges on the threads of those who wait for them, unless it is interrupted. Any thread; must outlive what it
/// runs.
class RequestRunner {
public:
    /// Returns when the exchange has ended by itself, or as soon as interrupt() has been called: its result is
    /// Cancelled then, even if nothing of it had begun.
    void run(CurlExchange& exchange);

    /// Ends what runs, whatever it waits for, and everything that comes until it is taken back. Returns at once.
    void interrupt();

    /// Takes one interruption back: what comes runs again once all have been. What has not noticed them goes on.
    void takeInterruptionBack();

private:
    CURLcode perform(CURLM* multi, CURL* handle);

    bool isInterrupted() const { return interruptions_ != 0; }

    std::atomic<unsigned> interruptions_ = 0;  ///< that have not been taken back
    std::mutex mutex_;
    std::set<CURLM*> waiting_;  ///< all that run
};

}  // namespace platform
