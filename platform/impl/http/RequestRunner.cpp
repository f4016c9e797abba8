#include "impl/http/RequestRunner.h"

#include "impl/http/CurlExchange.h"
#include "impl/http/CurlMulti.h"

namespace platform {

namespace {

/// libcurl cuts it short for its own timers.
constexpr int POLL_MILLISECONDS = 60 * 1000;

}  // namespace

void RequestRunner::run(CurlExchange& exchange) {
    const CurlMulti multi = makeCurlMulti();
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        waiting_.insert(multi.get());
    }
    while (!isInterrupted() && exchange.prepare()) {
        exchange.conclude(perform(multi.get(), exchange.handle()));
    }
    const std::lock_guard<std::mutex> lock(mutex_);
    waiting_.erase(multi.get());
}

void RequestRunner::interrupt() {
    ++interruptions_;
    const std::lock_guard<std::mutex> lock(mutex_);
    for (CURLM* const multi : waiting_) {
        curl_multi_wakeup(multi);
    }
}

void RequestRunner::takeInterruptionBack() { --interruptions_; }

CURLcode RequestRunner::perform(CURLM* multi, CURL* handle) {
    CURLcode code = CURLE_ABORTED_BY_CALLBACK;
    curl_multi_add_handle(multi, handle);
    while (!isInterrupted()) {
        int left = 0;
        curl_multi_perform(multi, &left);
        if (const CURLMsg* const message = curl_multi_info_read(multi, &left)) {
            code = message->data.result;
            break;
        }
        curl_multi_poll(multi, nullptr, 0, POLL_MILLISECONDS, nullptr);
    }
    curl_multi_remove_handle(multi, handle);
    return code;
}

}  // namespace platform
