#pragma once

#include <curl/curl.h>

#include <atomic>
#include <mutex>
#include <set>

namespace platform {

class CurlExchange;

/// Runs exchanges on the threads of those who wait for them, until it is interrupted. Any thread; must outlive what it
/// runs.
class RequestRunner {
public:
    /// Returns when the exchange has ended by itself, or as soon as interrupt() has been called: its result is
    /// Cancelled then, even if nothing of it had begun.
    void run(CurlExchange& exchange);

    /// Ends what runs, whatever it waits for, and everything that comes later. Returns at once.
    void interrupt();

private:
    CURLcode perform(CURLM* multi, CURL* handle);

    std::atomic<bool> interrupted_ = false;
    std::mutex mutex_;
    std::set<CURLM*> waiting_;  ///< all that run
};

}  // namespace platform
